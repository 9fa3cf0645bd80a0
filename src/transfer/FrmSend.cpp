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

#include "model/IBundle.h"
#include "transfer/Pop3Session.h"
#include "transfer/ReceivedMailStore.h"
#include "transfer/SendEngine.h"
#include "transfer/TransferAnimation.h"

namespace kvmail {

namespace {

enum Column { ColTask = 0, ColState = 1, ColLink = 2, ColDone = 3, ColIcon = 4, ColInfo = 5 };
const QString kCrLf = QStringLiteral("\r\n");
const QString kErrorCaption =
    QStringLiteral("处理请求的任务时出错。请复查下列错误列表以获取详细信息");
const QString kDoneCaption = QStringLiteral("请求的任务已成功完成。");
// The two heights of the details toggle, in the window's original units (twips).
constexpr int kTallTwips = 6420;
constexpr int kShortTwips = 2000;

QString now() {
  return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

}  // namespace

FrmSend::FrmSend(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("FrmSend"));
  buildUi();
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

  connect(cmdStop_, &QPushButton::clicked, this, &FrmSend::onStop);
  connect(cmdClose_, &QPushButton::clicked, this, &FrmSend::onClose);
  connect(cmdDetails_, &QPushButton::clicked, this, &FrmSend::onDetails);
  resize(640, kTallTwips / 15);
}

void FrmSend::py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
                      bool sendOnly, const QString& caption) {
  if (isBusy()) {
    // A run is under way (its loop may be on the stack): it goes on, the window comes forward.
    show();
    raise();
    return;
  }
  bundle_ = bundle;
  system_ = system;
  poAccount_ = account;
  sendOnly_ = sendOnly;
  if (!caption.isEmpty()) setWindowTitle(caption);
  show();
  raise();
  StartTasks();
}

int FrmSend::addTaskRow(const QString& text) {
  auto* item = new QTreeWidgetItem(lvTasks_);
  item->setText(ColTask, text);
  item->setText(ColLink, QStringLiteral("局域网"));
  return lvTasks_->topLevelItemCount();
}

void FrmSend::StartTasks() {
  finished_ = false;
  runOk_ = true;
  lvTasks_->clear();
  lvErrors_->clear();  // a new run starts with an empty error list
  txt_->clear();
  pendingLog_.clear();
  pendingInfo_.clear();
  setProgressRange(0, 100);
  setProgressValue(0);
  cmdStop_->setEnabled(true);

  const long n = bundle_ ? bundle_->Count() : 0;
  const QString name = poAccount_ ? poAccount_->sName : QString();
  if (n > 0)
    addTaskRow(QStringLiteral("发送") + QString::number(n) + QStringLiteral("封邮件(使用“") + name +
               QStringLiteral("”)。"));
  if (!sendOnly_) addTaskRow(QStringLiteral("检查") + name + QStringLiteral("上的新邮件。"));
  updateSummary();

  sending_ = n > 0;
  receiving_ = !sendOnly_;
  if (n > 0) {
    plTaskRow_ = 1;
    sender_ = std::make_unique<SendEngine>(*this, *system_, *poAccount_);
    connect(sender_.get(), &SendEngine::ReturnData, this, &FrmSend::ReturnData);
    sender_->SendQueue(bundle_);
    sending_ = false;
    if (sender_->failedCount() > 0) runOk_ = false;
  }
  if (!sendOnly_) {
    plTaskRow_ = n > 0 ? 2 : 1;
    StartReceive();
  } else {
    endRun();
    closeWhenDone();
  }
}

void FrmSend::StartReceive() {
  xTab_->setCurrentIndex(0);
  setTaskState(plTaskRow_, QStringLiteral("正在执行"));
  // The module carries its animations itself, so no file beside the program is needed.
  startAnimation(QStringLiteral("ReceiveMail"));
  WriteLog(QStringLiteral("开始邮件接收与检测服务:") + now(), 1);
  setCaption(QStringLiteral("正在连接到") + poAccount_->sName + QStringLiteral("...") + kCrLf +
             kCrLf);
  WriteLog(QStringLiteral("启动服务正常!"), 1);

  receiving_ = true;
  store_ = std::make_unique<ReceivedMailStore>(*this, *system_, *poAccount_);
  connect(store_.get(), &ReceivedMailStore::EvMailRead, this, &FrmSend::EvMailRead);
  pop3_ = std::make_unique<Pop3Session>(*this, *system_, *poAccount_,
                                        [this](const QByteArray& text, const QString& uidl) {
                                          return store_->SaveReceivedMail(text, uidl);
                                        });
  pop3_->setTaskRow(plTaskRow_);
  pop3_->setStallTimeout(stallMs_);
  connect(pop3_.get(), &Pop3Session::ended, this, &FrmSend::onReceiveEnded);
  pop3_->ConnectPop3();
}

void FrmSend::FinishReceive() {
  setCaption(QStringLiteral("正在检查") + poAccount_->sName + QStringLiteral("上的新邮件...") +
             kCrLf + kCrLf + QStringLiteral("正在断开连接..."));
  QCoreApplication::processEvents();
  if (finished_) return;
  stopAnimation();
  WriteLog(QStringLiteral("接收邮件结束:") + now() + kCrLf, 1);
  if (errorCount() > 0) {
    setCaption(kErrorCaption);
    xTab_->setCurrentIndex(1);
  } else {
    setCaption(kDoneCaption);
  }
  setRowDone(plTaskRow_, !cmdStop_->isEnabled());
  updateSummary();
  refreshNow();
  closeWhenDone();
  finished_ = true;
}

void FrmSend::FailReceive(const QString& reason) {
  if (finished_) return;
  stopAnimation();
  addErrorRow(reason);
  setCaption(kErrorCaption);
  xTab_->setCurrentIndex(1);
  setTaskState(plTaskRow_, QStringLiteral("失败"));
  updateSummary();
  refreshNow();
  finished_ = true;
}

void FrmSend::FinishSend(int sent, int failed) {
  if (errorCount() > 0) {
    setCaption(kErrorCaption);
    xTab_->setCurrentIndex(1);
  } else {
    setCaption(kDoneCaption);
  }
  const bool stopped = !cmdStop_->isEnabled();
  if (stopped || failed == 0) {
    setRowDone(plTaskRow_, stopped);
  } else {
    // Every message failed: "失败"; some went out: "警告", and the task still counts as done.
    auto* item = lvTasks_->topLevelItem(plTaskRow_ - 1);
    const bool none = sent == 0;
    item->setText(ColState, none ? QStringLiteral("失败") : QStringLiteral("警告"));
    item->setText(ColIcon, none ? QStringLiteral("4") : QStringLiteral("1"));
    item->setIcon(ColTask, style()->standardIcon(none ? QStyle::SP_MessageBoxCritical
                                                      : QStyle::SP_MessageBoxWarning));
    if (!none) item->setText(ColDone, QStringLiteral("1"));
  }
  if (stopped) runOk_ = false;
  updateSummary();
  refreshNow();
}

void FrmSend::setRowDone(int row, bool cancelled) {
  auto* item = lvTasks_->topLevelItem(row - 1);
  if (!item) return;
  if (cancelled) {
    item->setText(ColIcon, QStringLiteral("4"));
    item->setIcon(ColTask, style()->standardIcon(QStyle::SP_DialogCancelButton));
    item->setText(ColState, QStringLiteral("取消"));
  } else {
    item->setText(ColIcon, QStringLiteral("1"));
    item->setIcon(ColTask, style()->standardIcon(QStyle::SP_DialogApplyButton));
    item->setText(ColState, QStringLiteral("已完成"));
    item->setText(ColDone, QStringLiteral("1"));
  }
}

void FrmSend::updateSummary() {
  const int total = lvTasks_->topLevelItemCount();
  int done = 0;
  for (int i = 0; i < total; ++i)
    if (lvTasks_->topLevelItem(i)->text(ColDone).toDouble() >= 1) ++done;
  lblMessage_->setText(QStringLiteral("已完成 ") + QString::number(done) +
                       QStringLiteral(" 项任务(共 ") + QString::number(total) +
                       QStringLiteral(" 项)"));
}

void FrmSend::onReceiveEnded(bool ok) {
  receiving_ = false;
  if (!ok || !cmdStop_->isEnabled()) runOk_ = false;
  endRun();
}

void FrmSend::endRun() {
  if (sending_ || receiving_) return;
  cmdStop_->setEnabled(false);  // nothing left to stop
  refreshNow();
  Q_EMIT TasksEnded(runOk_);
}

void FrmSend::closeWhenDone() {
  // Never while a task runs; only when the user asked for it and everything went well.
  if (chk_->isChecked() && !isBusy() && runOk_ && errorCount() == 0) hide();
}

void FrmSend::onStop() {
  cmdStop_->setEnabled(false);
  const QString row = taskText(plTaskRow_);
  if (sender_ && row.startsWith(QStringLiteral("发送"))) sender_->Stop();
}

void FrmSend::onClose() {
  if (isBusy() && cmdStop_->isEnabled()) onStop();
  hide();
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
