#include "viewer/FrmMail.h"

#include <QAction>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QSaveFile>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "model/MailError.h"
#include "store/MailStore.h"
#include "support/Prompt.h"
#include "support/ShellOpen.h"
#include "support/SpecialFolders.h"
#include "viewer/MailBrowser.h"

namespace kvmail {
namespace {

const QString kErrorTitle = QStringLiteral("错误：");
constexpr long kCritical = 8;

const QString kInitPhrase = QStringLiteral("初始化时发生错误，原因：");
const QString kLoadPhrase = QStringLiteral("加载时发生错误，原因：");
const QString kOpenPhrase = QStringLiteral("打开时错误，原因：");
const QString kToolbarPhrase = QStringLiteral("cToolbar1_ButtonClick：");
const QString kMenuPhrase = QStringLiteral("m_cMenu_Click：");

// Where the last attachment was saved, offered again for the next one.
QString& lastSaveFolder() {
  static QString folder = QDir::homePath();
  return folder;
}

QString describe(const std::exception& e) {
  if (const auto* mail = dynamic_cast<const MailError*>(&e)) return mail->description();
  return QString::fromLocal8Bit(e.what());
}

// Copies a file into place in one step: the target is replaced only once the copy is whole.
QString copyFile(const QString& from, const QString& to) {
  QFile source(from);
  if (!source.open(QIODevice::ReadOnly)) return source.errorString();
  QSaveFile target(to);
  if (!target.open(QIODevice::WriteOnly)) return target.errorString();
  while (!source.atEnd()) {
    const QByteArray chunk = source.read(1 << 20);
    if (chunk.isEmpty() || target.write(chunk) != chunk.size()) {
      target.cancelWriting();
      return target.errorString().isEmpty() ? source.errorString() : target.errorString();
    }
  }
  return target.commit() ? QString() : target.errorString();
}

}  // namespace

FrmMail::FrmMail(QWidget* parent) : QMainWindow(parent) {
  setObjectName(QStringLiteral("FrmMail"));
  buildMenus();
  buildToolbar();

  auto* central = new QWidget(this);
  auto* layout = new QVBoxLayout(central);
  layout->setContentsMargins(6, 6, 6, 0);
  layout->setSpacing(4);
  layout->addWidget(buildHeader());

  picType_ = new QFrame(central);
  picType_->setObjectName(QStringLiteral("PicType"));
  picType_->setStyleSheet(
      QStringLiteral("#PicType { background: #fff4ce; border: 1px solid #e6c96b; }"));
  auto* strip = new QHBoxLayout(picType_);
  strip->setContentsMargins(6, 3, 6, 3);
  auto* image = new QLabel(picType_);
  image->setObjectName(QStringLiteral("ImgType"));
  image->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(16, 16));
  lblType_ = new QLabel(picType_);
  lblType_->setObjectName(QStringLiteral("lblType"));
  strip->addWidget(image);
  strip->addWidget(lblType_, 1);
  picType_->hide();
  layout->addWidget(picType_);

  auto* split = new QSplitter(Qt::Vertical, central);
  web_ = new MailBrowser(split);
  web_->setObjectName(QStringLiteral("Web"));
  split->addWidget(web_);
  split->addWidget(buildAttachments());
  split->setStretchFactor(0, 4);
  split->setStretchFactor(1, 1);
  split->setChildrenCollapsible(false);
  layout->addWidget(split, 1);
  setCentralWidget(central);

  statusBar()->setObjectName(QStringLiteral("StatusBar"));
  connect(web_, &MailBrowser::linkActivated, this, &FrmMail::openLink);
  connect(web_, &QTextBrowser::highlighted, this, [this](const QUrl& url) {
    // Where a link leads is shown before anyone clicks it.
    if (url.isEmpty())
      statusBar()->showMessage(status_);
    else
      statusBar()->showMessage(url.toString());
  });
  resize(780, 600);
}

FrmMail::~FrmMail() = default;

void FrmMail::buildMenus() {
  const auto item = [this](QMenu* menu, const char* name, const QString& text) {
    QAction* action = text == QLatin1String("-") ? menu->addSeparator() : menu->addAction(text);
    action->setObjectName(QLatin1String(name));
    if (!action->isSeparator())
      connect(action, &QAction::triggered, this,
              [this, key = QString::fromLatin1(name)] { menuClick(key); });
    return action;
  };
  QMenu* file = menuBar()->addMenu(QStringLiteral("文件(&F)"));
  file->setObjectName(QStringLiteral("mnuFile"));
  file->menuAction()->setObjectName(QStringLiteral("mnuFile"));
  item(file, "mnuFileDelete", QStringLiteral("删除"))->setShortcut(QKeySequence::Delete);
  item(file, "mnuFilePrint", QStringLiteral("打印"))->setShortcut(QKeySequence::Print);
  item(file, "mnuFile1", QStringLiteral("-"));
  item(file, "mnuFileClose", QStringLiteral("退出(&X)"));

  QMenu* mail = menuBar()->addMenu(QStringLiteral("邮件(&M)"));
  mail->setObjectName(QStringLiteral("mnuMail"));
  mail->menuAction()->setObjectName(QStringLiteral("mnuMail"));
  item(mail, "mnuMailRevert", QStringLiteral("答复"))
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
  item(mail, "mnuMailRevertAll", QStringLiteral("全部答复"))
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R));
  item(mail, "mnuMailTransmit", QStringLiteral("转发"))
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_F));
  item(mail, "mnuMail3", QStringLiteral("-"));
  item(mail, "mnuMailPrior", QStringLiteral("上一条"))
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
  item(mail, "mnuMailNext", QStringLiteral("下一条"))
      ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Period));
}

void FrmMail::buildToolbar() {
  QToolBar* bar = addToolBar(QStringLiteral("邮件"));
  bar->setObjectName(QStringLiteral("cToolbar1"));
  bar->setMovable(false);
  bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
  bar->toggleViewAction()->setObjectName(QStringLiteral("cToolbar1Shown"));
  struct Button {
    const char* key;
    QString caption;
    QString tip;
  };
  const QList<Button> buttons = {
      {"TBRevert", QStringLiteral(" 答复 "), {}},
      {"TBRevertAll", QStringLiteral("全部答复"), {}},
      {"TBTransmit", QStringLiteral("转发"), {}},
      {"TBs4", {}, {}},
      {"TBPrint", QStringLiteral(" 打印 "), {}},
      {"TBDelete", QStringLiteral(" 删除 "), QStringLiteral("删除")},
      {"TBs5", {}, {}},
      {"TBPrior", QStringLiteral("上一条"), {}},
      {"TBNext", QStringLiteral("下一条"), {}},
      {"TBs6", {}, {}},
      {"TBClose", QStringLiteral(" 退出 "), QStringLiteral("退出")},
  };
  for (const Button& b : buttons) {
    const QString key = QString::fromLatin1(b.key);
    if (b.caption.isEmpty()) {
      bar->addSeparator()->setObjectName(key);
      continue;
    }
    QAction* action = bar->addAction(b.caption);
    action->setObjectName(key);
    if (!b.tip.isEmpty()) action->setToolTip(b.tip);
    connect(action, &QAction::triggered, this, [this, key] { toolbarClick(key); });
  }
}

QWidget* FrmMail::buildHeader() {
  auto* box = new QWidget(this);
  auto* grid = new QGridLayout(box);
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setHorizontalSpacing(6);
  grid->setVerticalSpacing(3);
  // Shown sender first, as people read a letter; the indexes follow the header query.
  const struct {
    int index;
    QString label;
  } rows[] = {{1, QStringLiteral("发件人：")},
              {0, QStringLiteral("收件人：")},
              {2, QStringLiteral("发送时间：")},
              {3, QStringLiteral("主　题：")}};
  int row = 0;
  for (const auto& r : rows) {
    auto* label = new QLabel(r.label, box);
    auto* edit = new QLineEdit(box);
    edit->setObjectName(QStringLiteral("Txt(%1)").arg(r.index));
    edit->setReadOnly(true);
    edit->setFrame(false);
    edit->setStyleSheet(QStringLiteral("QLineEdit { background: transparent; }"));
    label->setBuddy(edit);
    grid->addWidget(label, row, 0, Qt::AlignRight);
    grid->addWidget(edit, row, 1);
    txt_[r.index] = edit;
    ++row;
  }
  QFont bold = txt_[3]->font();
  bold.setBold(true);
  txt_[3]->setFont(bold);
  grid->setColumnStretch(1, 1);
  return box;
}

QWidget* FrmMail::buildAttachments() {
  attachPanel_ = new QWidget(this);
  attachPanel_->setObjectName(QStringLiteral("picAttach"));
  auto* layout = new QVBoxLayout(attachPanel_);
  layout->setContentsMargins(0, 2, 0, 2);
  layout->setSpacing(2);

  attachOpen_ = new QAction(QStringLiteral("打开"), this);
  attachOpen_->setObjectName(QStringLiteral("mnuAttachOpen"));
  attachSaveAs_ = new QAction(QStringLiteral("附件另存为..."), this);
  attachSaveAs_->setObjectName(QStringLiteral("mnuAttachSaveAs"));
  connect(attachOpen_, &QAction::triggered, this, &FrmMail::openAttachment);
  connect(attachSaveAs_, &QAction::triggered, this, &FrmMail::saveAttachmentAs);

  auto* top = new QHBoxLayout;
  lblAttach_ = new QLabel(QStringLiteral("附件："), attachPanel_);
  lblAttach_->setObjectName(QStringLiteral("lblAttach"));
  top->addWidget(lblAttach_);
  top->addStretch(1);
  for (QAction* action : {attachOpen_, attachSaveAs_}) {
    auto* button = new QToolButton(attachPanel_);
    button->setDefaultAction(action);
    button->setObjectName(QStringLiteral("cmd") + action->objectName().mid(3));
    top->addWidget(button);
  }
  layout->addLayout(top);

  lview_ = new QTreeWidget(attachPanel_);
  lview_->setObjectName(QStringLiteral("LView"));
  lview_->setHeaderLabels({QStringLiteral("文件名"), QStringLiteral("文件路径")});
  lview_->setRootIsDecorated(false);
  lview_->setUniformRowHeights(true);
  lview_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  lview_->setContextMenuPolicy(Qt::ActionsContextMenu);
  lview_->addAction(attachOpen_);
  lview_->addAction(attachSaveAs_);
  connect(lview_, &QTreeWidget::itemActivated, this, [this] { openAttachment(); });
  layout->addWidget(lview_, 1);
  attachPanel_->hide();
  lblAttach_->hide();
  return attachPanel_;
}

void FrmMail::py_Init(long mailId, IHostSystem* system, const QString& caption) {
  mailId_ = mailId;
  system_ = system;
  caption_ = caption;
  setWindowTitle(caption);
  if (!system_) {
    raiseError(kInitPhrase + QStringLiteral("Object variable not set"));
    return;
  }
  loadMail();
  show();
  raise();
  activateWindow();
}

void FrmMail::loadMail() {
  lview_->clear();
  try {
    shown_ = loadViewedMail(MailStore(*system_), mailId_);
  } catch (const std::exception& e) {
    shown_ = ViewedMail{};
    shown_.mailId = mailId_;
    clearShown();
    raiseError(kLoadPhrase + describe(e));
    return;
  }
  if (!shown_.found) {
    clearShown();
    setStatus(QStringLiteral("没有找到邮件（邮件ID=%1）。").arg(mailId_));
    return;
  }
  showHeader();
  if (shown_.hasMessage)
    web_->showBody(bodyHtml(shown_), shown_.partsById, shown_.partsByName);
  else
    web_->showNothing();
  showAttachments();
  setStatus(shown_.hasMessage ? QString() : QStringLiteral("这封邮件没有保存内容。"));
  if (!caption_.isEmpty())
    setWindowTitle(caption_);
  else
    setWindowTitle(shown_.header.subject);
  // A mail that says it has attachments but has no message to take them from.
  if (!shown_.hasMessage && shown_.header.attachments != 0)
    raiseError(kLoadPhrase + MailError::fileNotFound().description());
}

void FrmMail::clearShown() {
  for (QLineEdit* edit : txt_) edit->clear();
  lblType_->clear();
  picType_->hide();
  web_->showNothing();
  lview_->clear();
  attachPanel_->hide();
  lblAttach_->hide();
}

void FrmMail::showHeader() {
  const StoredHeader& h = shown_.header;
  txt_[0]->setText(h.toText);
  txt_[1]->setText(senderText(h.fromName, h.fromAddress));
  txt_[2]->setText(h.sentTime);
  txt_[3]->setText(h.subject);
  for (QLineEdit* edit : txt_) {
    edit->setCursorPosition(0);
    edit->setToolTip(edit->text());
  }
  const QString priority = priorityText(h.priority);
  lblType_->setText(priority);
  picType_->setVisible(!priority.isEmpty());
}

void FrmMail::showAttachments() {
  lview_->clear();
  for (const ViewedAttachment& a : shown_.attachments) {
    auto* row = new QTreeWidgetItem(lview_, {a.name, a.path});
    row->setData(0, Qt::UserRole, a.key);
    row->setToolTip(0, QStringLiteral("%1（%2 字节）").arg(a.name).arg(a.size));
  }
  const bool any = lview_->topLevelItemCount() > 0;
  if (any) lview_->setCurrentItem(lview_->topLevelItem(0));
  attachPanel_->setVisible(any);
  lblAttach_->setVisible(any);
}

void FrmMail::setStatus(const QString& text) {
  status_ = text;
  statusBar()->showMessage(text);
}

void FrmMail::raiseError(const QString& text) {
  Q_EMIT ErrMessage(text, kCritical, kErrorTitle);
}

FrmMail::Command FrmMail::commandForKey(const QString& key) {
  static const QHash<QString, Command> keys = {
      {QStringLiteral("tbrevert"), Command::Revert},
      {QStringLiteral("tbrevertall"), Command::RevertAll},
      {QStringLiteral("tbtransmit"), Command::Transmit},
      {QStringLiteral("tbprint"), Command::Print},
      {QStringLiteral("tbdelete"), Command::Delete},
      {QStringLiteral("tbprior"), Command::Prior},
      {QStringLiteral("tbnext"), Command::Next},
      {QStringLiteral("tbclose"), Command::Close},
  };
  return keys.value(key, Command::None);
}

FrmMail::Command FrmMail::commandForMenu(const QString& name) {
  static const QHash<QString, Command> names = {
      {QStringLiteral("mnuMailRevert"), Command::Revert},
      {QStringLiteral("mnuMailRevertAll"), Command::RevertAll},
      {QStringLiteral("mnuMailTransmit"), Command::Transmit},
      {QStringLiteral("mnuFilePrint"), Command::Print},
      {QStringLiteral("mnuFileDelete"), Command::Delete},
      {QStringLiteral("mnuMailPrior"), Command::Prior},
      {QStringLiteral("mnuMailNext"), Command::Next},
      {QStringLiteral("mnuFileClose"), Command::Close},
  };
  return names.value(name, Command::None);
}

void FrmMail::toolbarClick(const QString& key) {
  run(commandForKey(key.toLower()), kToolbarPhrase);
}

void FrmMail::menuClick(const QString& name) {
  run(commandForMenu(name), kMenuPhrase);
}

void FrmMail::run(Command command, const QString& phrase) {
  try {
    switch (command) {
      case Command::Revert:
      case Command::RevertAll:
        // Reply and reply to all are deliberately the same here: the service decides.
        Q_EMIT RevertMail(mailId_);
        close();
        break;
      case Command::Transmit:
        Q_EMIT TransmitMail(mailId_);
        close();
        break;
      case Command::Print:
        printMail();
        break;
      case Command::Delete:
        deleteMail();
        break;
      case Command::Prior:
        move(-1);
        break;
      case Command::Next:
        move(1);
        break;
      case Command::Close:
        close();
        break;
      case Command::None:
        break;
    }
  } catch (const std::exception& e) {
    raiseError(phrase + describe(e));
  }
}

void FrmMail::move(long direction) {
  long id = mailId_;
  Q_EMIT RecordMove(direction, &id);
  mailId_ = id;
  loadMail();
}

void FrmMail::deleteMail() {
  long id = mailId_;
  Q_EMIT Delete(&id);
  if (id <= 0) {
    close();
    return;
  }
  mailId_ = id;
  loadMail();
}

void FrmMail::printMail() {
  const QString folder = tempFilePath(QStringLiteral("selfPrint"));
  if (!QDir().mkpath(folder)) throw MailError::pathFileAccess(QStringLiteral("FrmMail"));
  const QString path = folder + u'/' + QString::number(mailId_) + QStringLiteral(".txt");
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly)) throw MailError::pathFileAccess(QStringLiteral("FrmMail"));
  file.write(printText(shown_, web_->toPlainText()).toUtf8());
  if (!file.commit()) throw MailError::pathFileAccess(QStringLiteral("FrmMail"));
  Q_EMIT DoPrint(path);
}

QString FrmMail::selectedAttachmentPath() const {
  const QTreeWidgetItem* item = lview_->currentItem();
  return item ? item->text(1) : QString();
}

void FrmMail::openAttachment() {
  if (!lview_->currentItem()) return;
  const QString error = shellOpen(selectedAttachmentPath(), ShowDefault);
  if (!error.isEmpty()) raiseError(kOpenPhrase + error);
}

void FrmMail::saveAttachmentAs() {
  const QTreeWidgetItem* item = lview_->currentItem();
  if (!item) return;
  const QString source = QDir::cleanPath(item->text(1));
  const QString suggested = lastSaveFolder() + u'/' + QFileInfo(source).fileName();
  QString chosen = prompt().saveFile(QStringLiteral("附件另存为"), QStringLiteral("All (*.*)| *.*"),
                                     suggested, this);
  chosen.remove(QChar(0));
  chosen = chosen.trimmed();
  if (chosen.isEmpty()) {
    setStatus(QStringLiteral("取消了下载文件"));
    return;
  }
  const QString error = QFileInfo(chosen).absoluteFilePath() == QFileInfo(source).absoluteFilePath()
                            ? QString()
                            : copyFile(source, chosen);
  if (!error.isEmpty()) {
    setStatus(QStringLiteral("下载文件") + chosen + QStringLiteral("失败"));
    raiseError(QStringLiteral("附件另存为：") + error);
    return;
  }
  lastSaveFolder() = QFileInfo(chosen).absolutePath();
  setStatus(QStringLiteral("下载文件") + chosen + QStringLiteral("成功"));
}

void FrmMail::openLink(const QUrl& url) {
  const QString scheme = url.scheme().toLower();
  if (scheme.isEmpty() && !url.fragment().isEmpty() && url.path().isEmpty()) {
    web_->scrollToAnchor(url.fragment());
    return;
  }
  if (scheme == QLatin1String("cid")) {  // a link to one of the mail's own parts
    const QString id = url.path(QUrl::FullyDecoded);
    for (int i = 0; i < shown_.parsed.attachments.size(); ++i) {
      if (shown_.parsed.attachments[i].contentId.compare(id, Qt::CaseInsensitive) != 0) continue;
      if (QTreeWidgetItem* row = lview_->topLevelItem(i)) {
        lview_->setCurrentItem(row);
        openAttachment();
      }
      return;
    }
    return;
  }
  static const QStringList web = {QStringLiteral("http"), QStringLiteral("https"),
                                  QStringLiteral("ftp"), QStringLiteral("mailto")};
  if (!web.contains(scheme)) {
    setStatus(QStringLiteral("不能打开这个链接：") + url.toString());
    return;
  }
  // The user's own browser (or mail program) opens it, as the shell opens a file.
  const QString error = shellOpen(
      ShellRequest{QStringLiteral("open"), url.toString(QUrl::FullyEncoded), {}, {}, ShowDefault},
      [](const ShellRequest& request) -> long {
        return prompt().openWithDesktop(request.file) ? 42 : 31;
      });
  if (!error.isEmpty()) raiseError(kOpenPhrase + error);
}

void FrmMail::closeEvent(QCloseEvent* event) {
  QMainWindow::closeEvent(event);
  Q_EMIT Unload();
}

}  // namespace kvmail
