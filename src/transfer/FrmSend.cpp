#include "transfer/FrmSend.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "support/Prompt.h"
#include "transfer/TransferAnimation.h"
#include "transfer/TransferRun.h"

namespace kvmail {

namespace {

enum Column { ColTask = 0, ColState = 1, ColLink = 2, ColDone = 3, ColIcon = 4, ColInfo = 5 };
const QString kCrLf = QStringLiteral("\r\n");
// The two heights of the details toggle, in the window's original units (twips).
constexpr int kTallTwips = 6420;
constexpr int kShortTwips = 2000;

QString now() {
  return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

}  // namespace

FrmSend::FrmSend(QWidget* parent)
    : QWidget(parent), run_(std::make_unique<TransferRun>(static_cast<ITransferView&>(*this))) {
  setObjectName(QStringLiteral("FrmSend"));
  buildUi();
  connect(run_.get(), &TransferRun::EvMailRead, this, &FrmSend::EvMailRead);
  connect(run_.get(), &TransferRun::ReturnData, this, &FrmSend::ReturnData);
  connect(run_.get(), &TransferRun::TasksEnded, this, &FrmSend::TasksEnded);
  refreshTimer_.setSingleShot(true);
  refreshTimer_.setInterval(120);
  connect(&refreshTimer_, &QTimer::timeout, this, &FrmSend::refreshNow);
}

FrmSend::~FrmSend() = default;

void FrmSend::buildUi() {
  setWindowTitle(QStringLiteral("邮件发送/接收"));
  auto* top = new QVBoxLayout(this);

  auto* head = new QHBoxLayout;
  img_ = new QLabel(this);
  img_->setObjectName(QStringLiteral("Img"));
  img_->setPixmap(style()->standardIcon(QStyle::SP_DriveNetIcon).pixmap(40, 40));
  animation_ = new TransferAnimation(this);
  animation_->setObjectName(QStringLiteral("Animation1"));
  animation_->hide();
  lblCaption_ = new QLabel(this);
  lblCaption_->setObjectName(QStringLiteral("lblCaption"));
  lblCaption_->setWordWrap(true);
  lblCaption_->setMinimumWidth(320);
  head->addWidget(img_);
  head->addWidget(animation_);
  head->addWidget(lblCaption_, 1);
  auto* buttons = new QVBoxLayout;
  cmdStop_ = new QPushButton(QStringLiteral("停止(&S)"), this);
  cmdStop_->setObjectName(QStringLiteral("Cmd(1)"));
  cmdDetails_ = new QPushButton(QStringLiteral("<< 详细信息(&D)"), this);
  cmdDetails_->setObjectName(QStringLiteral("Cmd(2)"));
  buttons->addWidget(cmdStop_);
  buttons->addWidget(cmdDetails_);
  head->addLayout(buttons);
  top->addLayout(head);

  progBar_ = new QProgressBar(this);
  progBar_->setObjectName(QStringLiteral("ProgBar"));
  progBar_->setTextVisible(false);
  top->addWidget(progBar_);

  details_ = new QWidget(this);
  auto* detailLayout = new QVBoxLayout(details_);
  detailLayout->setContentsMargins(0, 0, 0, 0);
  xTab_ = new QTabWidget(details_);
  xTab_->setObjectName(QStringLiteral("XTab"));
  lvTasks_ = new QTreeWidget(xTab_);
  lvTasks_->setObjectName(QStringLiteral("LV(0)"));
  lvTasks_->setRootIsDecorated(false);
  lvTasks_->setHeaderLabels({QStringLiteral("任务"), QStringLiteral("状态"), QStringLiteral("连接"),
                             QStringLiteral("已完成"), QStringLiteral("图标"),
                             QStringLiteral("信息")});
  lvTasks_->header()->resizeSection(ColTask, 300);
  lvTasks_->setColumnHidden(ColIcon, true);
  lvErrors_ = new QTreeWidget(xTab_);
  lvErrors_->setObjectName(QStringLiteral("LV(1)"));
  lvErrors_->setRootIsDecorated(false);
  lvErrors_->setHeaderLabels({QStringLiteral("错误"), QStringLiteral("时间")});
  lvErrors_->header()->resizeSection(0, 420);
  xTab_->addTab(lvTasks_, QStringLiteral("任务"));
  xTab_->addTab(lvErrors_, QStringLiteral("错误"));
  detailLayout->addWidget(xTab_, 2);
  txt_ = new QPlainTextEdit(details_);
  txt_->setObjectName(QStringLiteral("Txt"));
  txt_->setReadOnly(true);
  txt_->setMaximumBlockCount(20000);
  detailLayout->addWidget(txt_, 1);
  top->addWidget(details_, 1);

  auto* bottom = new QHBoxLayout;
  lblMessage_ = new QLabel(this);
  lblMessage_->setObjectName(QStringLiteral("lblMessage"));
  chk_ = new QCheckBox(QStringLiteral("完成后关闭此窗口"), this);
  chk_->setObjectName(QStringLiteral("Chk"));
  cmdClose_ = new QPushButton(QStringLiteral("关闭"), this);
  cmdClose_->setObjectName(QStringLiteral("Cmd(0)"));
  bottom->addWidget(lblMessage_, 1);
  bottom->addWidget(chk_);
  bottom->addWidget(cmdClose_);
  top->addLayout(bottom);

  connect(cmdStop_, &QPushButton::clicked, this, [this] { run_->stop(); });
  connect(cmdClose_, &QPushButton::clicked, this, [this] { run_->close(); });
  connect(cmdDetails_, &QPushButton::clicked, this, &FrmSend::onDetails);
  resize(640, kTallTwips / 15);
}

void FrmSend::py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
                      bool sendOnly, const QString& caption) {
  if (!run_->isBusy() && !caption.isEmpty()) setWindowTitle(caption);
  show();
  raise();
  run_->start(bundle, system, account, sendOnly);
}

void FrmSend::StartTasks() {
  run_->StartTasks();
}
void FrmSend::StartReceive() {
  run_->StartReceive();
}
bool FrmSend::isBusy() const {
  return run_->isBusy();
}
bool FrmSend::lastRunOk() const {
  return run_->lastRunOk();
}
int FrmSend::plTaskRow() const {
  return run_->plTaskRow();
}
BundlePtr FrmSend::bundle() const {
  return run_->bundle();
}
bool FrmSend::isSendOnly() const {
  return run_->isSendOnly();
}
Pop3Session* FrmSend::pop3Session() const {
  return run_->pop3Session();
}
void FrmSend::setPop3StallTimeout(int milliseconds) {
  run_->setPop3StallTimeout(milliseconds);
}

void FrmSend::clearRun() {
  lvTasks_->clear();
  lvErrors_->clear();
  txt_->clear();
  pendingLog_.clear();
  pendingInfo_.clear();
}

int FrmSend::addTaskRow(const QString& text, const QString& link) {
  auto* item = new QTreeWidgetItem(lvTasks_);
  item->setText(ColTask, text);
  item->setText(ColLink, link);
  return lvTasks_->topLevelItemCount();
}

int FrmSend::taskCount() const {
  return lvTasks_->topLevelItemCount();
}

void FrmSend::setTaskDone(int row, const QString& done) {
  if (auto* item = lvTasks_->topLevelItem(row - 1)) item->setText(ColDone, done);
}
QString FrmSend::taskDone(int row) const {
  auto* item = lvTasks_->topLevelItem(row - 1);
  return item ? item->text(ColDone) : QString();
}
QString FrmSend::taskState(int row) const {
  auto* item = lvTasks_->topLevelItem(row - 1);
  return item ? item->text(ColState) : QString();
}

void FrmSend::setTaskIcon(int row, TaskIcon icon) {
  auto* item = lvTasks_->topLevelItem(row - 1);
  if (!item) return;
  QStyle::StandardPixmap picture = QStyle::SP_DialogApplyButton;
  QString code = QStringLiteral("1");
  switch (icon) {
    case TaskIcon::None:
      item->setText(ColIcon, QString());
      item->setIcon(ColTask, QIcon());
      return;
    case TaskIcon::Done:
      break;
    case TaskIcon::Warning:
      picture = QStyle::SP_MessageBoxWarning;
      break;
    case TaskIcon::Cancelled:
      picture = QStyle::SP_DialogCancelButton;
      code = QStringLiteral("4");
      break;
    case TaskIcon::Failed:
      picture = QStyle::SP_MessageBoxCritical;
      code = QStringLiteral("4");
      break;
  }
  item->setText(ColIcon, code);
  item->setIcon(ColTask, style()->standardIcon(picture));
}

void FrmSend::setSummary(const QString& text) {
  lblMessage_->setText(text);
}

void FrmSend::showErrorPage(bool errors) {
  xTab_->setCurrentIndex(errors ? 1 : 0);
}

void FrmSend::setStopEnabled(bool enabled) {
  cmdStop_->setEnabled(enabled);
}

bool FrmSend::closeWhenDone() const {
  return chk_->isChecked();
}

PromptAnswer FrmSend::ask(const QString& text, const QString& title, PromptIcon icon,
                          PromptButtons buttons) {
  return prompt().messageBox(text, title, icon, buttons, this);
}

void FrmSend::onDetails() {
  if (cmdDetails_->text().startsWith(QStringLiteral("<<"))) {
    cmdDetails_->setText(QStringLiteral("详细信息(&D) >>"));
    details_->hide();
    resize(width(), kShortTwips / 15);
  } else {
    cmdDetails_->setText(QStringLiteral("<< 详细信息(&D)"));
    details_->show();
    resize(width(), kTallTwips / 15);
  }
}

void FrmSend::WriteLog(const QString& text, int level) {
  if (level <= 0) return;
  pendingLog_ += text;
  pendingLog_ += kCrLf;
  scheduleRefresh();
}

void FrmSend::setCaption(const QString& text) {
  caption_ = text;
  scheduleRefresh();
}

void FrmSend::setProgressRange(int minimum, int maximum) {
  progressMin_ = minimum;
  progressMax_ = maximum;
  progressValue_ = qBound(minimum, progressValue_, maximum);
  scheduleRefresh();
}
int FrmSend::progressValue() const {
  return progressValue_;
}
void FrmSend::setProgressValue(int value) {
  if (value < progressMin_ || value > progressMax_) return;  // as the bar itself ignores it
  progressValue_ = value;
  scheduleRefresh();
}

void FrmSend::scheduleRefresh() {
  if (!refreshTimer_.isActive()) refreshTimer_.start();
}

void FrmSend::refreshNow() {
  refreshTimer_.stop();
  lblCaption_->setText(QString(caption_).replace(kCrLf, QStringLiteral("\n")));
  if (progBar_->minimum() != progressMin_ || progBar_->maximum() != progressMax_)
    progBar_->setRange(progressMin_, progressMax_);
  progBar_->setValue(progressValue_);
  if (!pendingLog_.isEmpty()) {
    txt_->moveCursor(QTextCursor::End);
    txt_->insertPlainText(pendingLog_.replace(kCrLf, QStringLiteral("\n")));
    txt_->moveCursor(QTextCursor::End);
    pendingLog_.clear();
  }
  for (auto it = pendingInfo_.cbegin(); it != pendingInfo_.cend(); ++it)
    if (auto* item = lvTasks_->topLevelItem(it.key() - 1)) item->setText(ColInfo, it.value());
  pendingInfo_.clear();
}

void FrmSend::setTaskText(int row, const QString& text) {
  if (auto* item = lvTasks_->topLevelItem(row - 1)) item->setText(ColTask, text);
}
QString FrmSend::taskText(int row) const {
  auto* item = lvTasks_->topLevelItem(row - 1);
  return item ? item->text(ColTask) : QString();
}
void FrmSend::setTaskState(int row, const QString& state) {
  if (auto* item = lvTasks_->topLevelItem(row - 1)) item->setText(ColState, state);
}

void FrmSend::setTaskInfo(int row, const QString& info) {
  pendingInfo_[row] = info;  // counted per mail, so shown with the next refresh
  scheduleRefresh();
}

void FrmSend::addErrorRow(const QString& reason) {
  auto* item = new QTreeWidgetItem(lvErrors_);
  item->setText(0, reason);
  item->setText(1, now());
}
int FrmSend::errorCount() const {
  return lvErrors_->topLevelItemCount();
}
bool FrmSend::isStopEnabled() const {
  return cmdStop_->isEnabled();
}

void FrmSend::startAnimation(const QString& name) {
  img_->hide();
  animation_->play(name);
}
void FrmSend::stopAnimation() {
  animation_->stop();
  animation_->hide();
  img_->show();
}

}  // namespace kvmail
