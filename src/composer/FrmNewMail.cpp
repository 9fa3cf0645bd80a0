#include "composer/FrmNewMail.h"

#include <QAction>
#include <QClipboard>
#include <QCloseEvent>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "composer/AttachmentList.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "composer/ComposePrint.h"
#include "composer/ComposeReply.h"
#include "composer/ComposeStore.h"
#include "model/IAttachment.h"
#include "model/IAttachments.h"
#include "model/IBundle.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/MailError.h"
#include "model/clsBundle.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"
#include "support/Prompt.h"
#include "support/ShellOpen.h"
#include "support/SpecialFolders.h"

namespace kvmail {
namespace {

const QString kInfoTitle = QStringLiteral("提示：");
const QString kErrorTitle = QStringLiteral("错误：");
enum Field { FieldFrom = 0, FieldTo = 1, FieldCc = 2, FieldSubject = 3 };

QString describe(const std::exception& e) {
  if (const auto* mail = dynamic_cast<const MailError*>(&e)) return mail->description();
  return QString::fromLocal8Bit(e.what());
}

// Runs a command; an unexpected failure is shown with the routine's prefix.
template <typename F>
void guarded(FrmNewMail* window, const QString& prefix, F&& run) {
  try {
    run();
  } catch (const std::exception& e) {
    prompt().messageBox(prefix + describe(e), kErrorTitle, PromptIcon::Critical, PromptButtons::Ok,
                        window);
  }
}

}  // namespace

FrmNewMail::FrmNewMail(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("FrmNewMail"));
  try {
    buildUi();
  } catch (const std::exception& e) {
    reportFailure(QStringLiteral("加载时发生错误，原因："), describe(e));
  }
  resize(760, 560);
}

FrmNewMail::~FrmNewMail() = default;

void FrmNewMail::buildUi() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  buildMenus(layout);
  buildToolbar(layout);

  auto* fields = new QWidget(this);
  auto* grid = new QGridLayout(fields);
  grid->setContentsMargins(8, 6, 8, 4);
  grid->setVerticalSpacing(4);
  const QStringList labels = {QStringLiteral("发件人："), QStringLiteral("收件人："),
                              QStringLiteral("抄  送："), QStringLiteral("主  题：")};
  for (int i = 0; i < 4; ++i) {
    auto* label = new QLabel(labels[i], fields);
    label->setObjectName(QStringLiteral("lbl(%1)").arg(i));
    label->setMinimumWidth(56);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    txt_[i] = new QLineEdit(fields);
    txt_[i]->setObjectName(QStringLiteral("Txt(%1)").arg(i));
    label->setBuddy(txt_[i]);
    grid->addWidget(label, i, 0);
    grid->addWidget(txt_[i], i, 1);
    connect(txt_[i], &QLineEdit::textChanged, this, &FrmNewMail::markModified);
  }
  layout->addWidget(fields);

  // The priority indicator: an icon and a status text, hidden for normal priority.
  picType_ = new QWidget(this);
  picType_->setObjectName(QStringLiteral("PicType"));
  auto* strip = new QHBoxLayout(picType_);
  strip->setContentsMargins(8, 2, 8, 2);
  imgType_ = new QLabel(picType_);
  imgType_->setObjectName(QStringLiteral("ImgType"));
  lblType_ = new QLabel(picType_);
  lblType_->setObjectName(QStringLiteral("lblType"));
  strip->addWidget(imgType_);
  strip->addWidget(lblType_, 1);
  picType_->hide();
  layout->addWidget(picType_);

  attachments_ = new AttachmentList(this);
  attachments_->layout()->setContentsMargins(8, 2, 8, 4);
  connect(attachments_, &AttachmentList::ItemChosen, this, &FrmNewMail::mnu_Click);
  connect(attachments_, &AttachmentList::OpenRequested, this, [this] { mnu_Click(0); });
  layout->addWidget(attachments_);

  editor_ = new BodyEditor(this);
  connect(editor_, &QTextEdit::textChanged, this, &FrmNewMail::markModified);
  layout->addWidget(editor_, 1);

  auto* status = new QStatusBar(this);
  status->setObjectName(QStringLiteral("StatusBar"));
  status->setSizeGripEnabled(false);
  lblPosition_ = new QLabel(status);
  lblPosition_->setObjectName(QStringLiteral("lblPosition"));
  status->addWidget(lblPosition_);
  layout->addWidget(status);

  // Print has no menu item or button of its own; the key is still handled, and Ctrl+P reaches it.
  auto* print = new QAction(QStringLiteral("打印"), this);
  print->setObjectName(QStringLiteral("mnuFilePrint"));
  print->setShortcut(QKeySequence::Print);
  connect(print, &QAction::triggered, this,
          [this] { m_cMenu_Click(QStringLiteral("mnuFilePrint")); });
  addAction(print);
  actions_.insert(print->objectName(), print);
}

void FrmNewMail::buildMenus(QLayout* layout) {
  auto* bar = new QMenuBar(this);
  bar->setObjectName(QStringLiteral("MenuBar"));
  QMenu* current = nullptr;
  for (const compose::CommandEntry& e : compose::menuEntries()) {
    QAction* action = nullptr;
    if (e.menu) {
      current = bar->addMenu(e.caption);
      current->setObjectName(e.key);
      action = current->menuAction();
    } else if (e.caption == QLatin1String("-")) {
      action = current->addSeparator();
    } else {
      action = current->addAction(e.caption);
      const QString key = e.key;
      connect(action, &QAction::triggered, this, [this, key] { m_cMenu_Click(key); });
    }
    action->setObjectName(e.key);
    actions_.insert(e.key, action);
  }
  // The send shortcut is shown in the caption; it works too, from any field of the window.
  auto* send = new QAction(this);
  send->setObjectName(QStringLiteral("keySend"));
  send->setShortcut(QKeySequence(QStringLiteral("Ctrl+S")));
  connect(send, &QAction::triggered, this,
          [this] { m_cMenu_Click(QStringLiteral("mnuMailSend")); });
  addAction(send);
  static_cast<QBoxLayout*>(layout)->setMenuBar(bar);
}

void FrmNewMail::buildToolbar(QLayout* layout) {
  auto* bar = new QToolBar(this);
  bar->setObjectName(QStringLiteral("cToolbar1"));
  bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
  bar->setMovable(false);
  priorityMenu_ = new QMenu(this);
  priorityMenu_->setObjectName(QStringLiteral("mnuTool"));
  for (const compose::CommandEntry& e : compose::priorityEntries()) {
    QAction* action = priorityMenu_->addAction(e.caption);
    action->setObjectName(e.key);
    const QString key = e.key;
    connect(action, &QAction::triggered, this, [this, key] { m_cMenu_Tool_Click(key); });
    actions_.insert(e.key, action);
  }
  for (const compose::CommandEntry& e : compose::toolbarEntries()) {
    QAction* action = nullptr;
    if (e.caption == QLatin1String("-")) {
      action = bar->addSeparator();
    } else {
      action = bar->addAction(e.caption);
      if (!e.tip.isEmpty()) action->setToolTip(e.tip);
      const QString key = e.key;
      connect(action, &QAction::triggered, this, [this, key] { cToolbar1_ButtonClick(key); });
    }
    action->setObjectName(e.key);
    actions_.insert(e.key, action);
    if (e.key == QLatin1String("TBType")) {
      // The drop-down opens from the button itself; choosing an entry sets the priority.
      action->setMenu(priorityMenu_);
      if (auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(action)))
        button->setPopupMode(QToolButton::InstantPopup);
    }
  }
  layout->addWidget(bar);
}

void FrmNewMail::py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
                         const QString& caption, long mailId, bool forward) {
  // A window still holding unsaved mail asks first, so opening another never loses it.
  if (isVisible() && !AskSaveOnClose()) {
    raise();
    activateWindow();
    return;
  }
  ++generation_;
  try {
    bundle_ = bundle ? bundle : std::make_shared<clsBundle>();
    system_ = system;
    account_ = account;
    caption_ = caption;
    mailId_ = mailId;
    modified_ = false;
    closing_ = false;
    setWindowTitle(caption.isEmpty() ? QStringLiteral("新邮件") : caption);
    // The window works from the mail identifier: a reply or forward is built here from the stored
    // mail, since the service hands over an empty bundle for them.
    if (bundle_->Count() == 0 && mailId >= 1 && system_) {
      const auto kind = forward ? compose::AnswerKind::Forward : compose::AnswerKind::Reply;
      if (MessagePtr answer = compose::answerFromStore(MailStore(*system_), mailId, kind))
        bundle_->AddMessage(answer);
    }
    // The window always shows a mail: an empty list gets one empty mail.
    if (bundle_->Count() == 0) bundle_->AddMessage(std::make_shared<clsMessage>());
    count_ = bundle_->Count();
    position_ = 1;
    setNavigationVisible(true);
    loading_ = true;
    editor_->resetDocument();
    loading_ = false;
    txt_[FieldFrom]->setText(senderText());
    ShowMail(position_);
  } catch (const std::exception& e) {
    loading_ = false;
    reportFailure(QStringLiteral("初始化时发生错误，原因："), describe(e));
  }
  modified_ = false;
  show();
  raise();
}

QString FrmNewMail::senderText() const {
  if (!account_) return {};
  if (account_->sFrom.isEmpty()) return account_->sFromAddress;
  return account_->sFrom + QLatin1Char('<') + account_->sFromAddress + QLatin1Char('>');
}

void FrmNewMail::ShowMail(long n) {
  const MessagePtr message = bundle_->Item(IndexKey(n));
  if (!message) throw MailError::invalidArgument(QStringLiteral("ShowMail"));
  loading_ = true;
  txt_[FieldTo]->setText(message->TOs() ? message->TOs()->ToString() : QString());
  txt_[FieldCc]->setText(message->Cc() ? message->Cc()->ToString() : QString());
  txt_[FieldFrom]->setText(senderText());
  txt_[FieldSubject]->setText(message->Subject());
  editor_->setDocumentHtml(message->BodyText());
  QStringList files;
  if (message->Attachments())
    for (const AttachmentPtr& a : message->Attachments()->NewEnum()) files << a->FileName();
  attachments_->setPaths(files);
  showPriority(message->Priority());
  loading_ = false;
  showPosition();
}

void FrmNewMail::CollectForm(long n) {
  const MessagePtr previous = bundle_->Item(IndexKey(n));
  auto message = std::make_shared<clsMessage>();
  if (closing_) {
    // Closing: the document goes through a file in the temporary folder and is read back whole.
    const QString path =
        tempFilePath(QStringLiteral("temp") + QString::number(n) + QStringLiteral(".eml"));
    QString error;
    if (!editor_->saveDocument(path, &error)) throw MailError::pathFileAccess(error);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) throw MailError::pathFileAccess(path);
    message->setBodyText(QString::fromUtf8(file.readAll()));
    file.close();
    if (QFile::exists(path)) QFile::remove(path);
  } else {
    message->setBodyText(editor_->documentHtml());
  }
  message->setPriority(collectedPriority());
  for (const QString& path : attachments_->paths()) message->Attachments()->Add(path, QString());
  message->TOs()->Parser(txt_[FieldTo]->text());
  message->Cc()->Parser(txt_[FieldCc]->text());
  message->From()->Parser(txt_[FieldFrom]->text());
  message->setSubject(txt_[FieldSubject]->text());
  // The window has no Bcc field: a template's Bcc stays with its mail instead of being dropped.
  if (previous && previous->Bcc()) message->setBcc(previous->Bcc());
  bundle_->setItem(IndexKey(n), message);
}

bool FrmNewMail::CheckMails() {
  try {
    const QString problem = compose::checkMails(*bundle_);
    if (problem.isEmpty()) return true;
    prompt().messageBox(problem, kInfoTitle, PromptIcon::Information, PromptButtons::Ok, this);
  } catch (const std::exception& e) {
    reportFailure(QStringLiteral("DoSend:"), describe(e));
  }
  return false;
}

bool FrmNewMail::StoreAll() {
  CollectForm(position_);
  if (!CheckMails()) return false;
  if (!system_) throw MailError(91, QString(), QStringLiteral("Object variable not set"));
  const compose::StoreOutcome outcome = compose::storeBundle(*system_, *bundle_, mailId_);
  if (!outcome.ok) {
    Q_EMIT ErrMessage(outcome.error, outcome.kind, outcome.title);
    return false;
  }
  modified_ = false;
  Q_EMIT ReturnData(outcome.keys);
  return true;
}

bool FrmNewMail::AskSaveOnClose() {
  try {
    if (!modified_) return true;
    const PromptAnswer answer =
        prompt().messageBox(QStringLiteral("是否保存邮件？"), kInfoTitle, PromptIcon::Information,
                            PromptButtons::YesNoCancel, this);
    if (answer == PromptAnswer::Cancel) return false;
    if (answer == PromptAnswer::Yes) {
      closing_ = true;
      if (!StoreAll()) return false;
    }
    return true;
  } catch (const std::exception& e) {
    reportFailure(QStringLiteral("IsCanSave:"), describe(e));
  }
  return false;
}

void FrmNewMail::closeEvent(QCloseEvent* event) {
  if (!AskSaveOnClose()) {
    event->ignore();
    return;
  }
  event->accept();
  modified_ = false;
  bundle_.reset();
  system_ = nullptr;
  account_.reset();
  Q_EMIT Unload();
}

void FrmNewMail::reportFailure(const QString& prefix, const QString& description) {
  prompt().messageBox(prefix + description, kErrorTitle, PromptIcon::Critical, PromptButtons::Ok,
                      this);
}

void FrmNewMail::markModified() {
  if (!loading_) modified_ = true;
}

QString FrmNewMail::positionText() const {
  return QStringLiteral("第") + QString::number(position_) + QStringLiteral("封/共") +
         QString::number(count_) + QStringLiteral("封");
}

void FrmNewMail::showPosition() {
  lblPosition_->setText(positionText());
  lblPosition_->repaint();
}

void FrmNewMail::showPriority(const QString& priority) {
  const bool high = priority == QLatin1String("1");
  const bool low = priority == QLatin1String("2");
  if (!high && !low) {
    lblType_->clear();
    picType_->hide();
    return;
  }
  const QStyle::StandardPixmap icon = high ? QStyle::SP_MessageBoxWarning : QStyle::SP_ArrowDown;
  imgType_->setPixmap(style()->standardIcon(icon).pixmap(16, 16));
  lblType_->setText(high ? compose::highPriorityText() : compose::lowPriorityText());
  picType_->show();
}

QString FrmNewMail::collectedPriority() const {
  if (picType_->isHidden()) return QStringLiteral("3");
  return lblType_->text() == compose::highPriorityText() ? QStringLiteral("1")
                                                         : QStringLiteral("2");
}

void FrmNewMail::setNavigationVisible(bool visible) {
  for (const char* key : {"mnuMail3", "mnuMailPrior", "mnuMailNext", "mnuFileDelete", "TBs5",
                          "TBPrior", "TBNext", "TBDelete"})
    if (QAction* a = action(QLatin1String(key))) a->setVisible(visible);
}

// ---- commands ----

void FrmNewMail::m_cMenu_Click(const QString& key) {
  guarded(this, QStringLiteral("m_cMenu_Click："), [&] {
    static const QHash<QString, QString> commands = {
        {QStringLiteral("mnuFileAddHtml"), QStringLiteral("addhtml")},
        {QStringLiteral("mnuFileSaveHtml"), QStringLiteral("savehtml")},
        {QStringLiteral("mnuFileClose"), QStringLiteral("close")},
        {QStringLiteral("mnuFilePrint"), QStringLiteral("print")},
        {QStringLiteral("mnuEditUndo"), QStringLiteral("undo")},
        {QStringLiteral("mnuEditCopy"), QStringLiteral("copy")},
        {QStringLiteral("mnuEditCut"), QStringLiteral("cut")},
        {QStringLiteral("mnuEditPaste"), QStringLiteral("paste")},
        {QStringLiteral("mnuEditSelectall"), QStringLiteral("selectall")},
        {QStringLiteral("mnuMailSend"), QStringLiteral("send")},
        {QStringLiteral("mnuMailTattach"), QStringLiteral("attach")},
        {QStringLiteral("mnuMailTdxb"), QStringLiteral("dxb")},
        {QStringLiteral("mnuMailPrior"), QStringLiteral("prior")},
        {QStringLiteral("mnuMailNext"), QStringLiteral("next")},
        {QStringLiteral("mnuFileDelete"), QStringLiteral("delete")},
    };
    runCommand(commands.value(key));
  });
}

void FrmNewMail::cToolbar1_ButtonClick(const QString& key) {
  guarded(this, QStringLiteral("cToolbar1_ButtonClick："), [&] {
    static const QHash<QString, QString> commands = {
        {QStringLiteral("tbsend"), QStringLiteral("send")},
        {QStringLiteral("tbcut"), QStringLiteral("cut")},
        {QStringLiteral("tbcopy"), QStringLiteral("copy")},
        {QStringLiteral("tbpaste"), QStringLiteral("paste")},
        {QStringLiteral("tbundo"), QStringLiteral("undo")},
        {QStringLiteral("tbtattach"), QStringLiteral("attach")},
        {QStringLiteral("tbtdxb"), QStringLiteral("dxb")},
        {QStringLiteral("tbtype"), QStringLiteral("type")},
        {QStringLiteral("tbprint"), QStringLiteral("print")},
        {QStringLiteral("tbdelete"), QStringLiteral("delete")},
        {QStringLiteral("tbprior"), QStringLiteral("prior")},
        {QStringLiteral("tbnext"), QStringLiteral("next")},
        {QStringLiteral("tbaddhtml"), QStringLiteral("addhtml")},
        {QStringLiteral("tbsavehtml"), QStringLiteral("savehtml")},
        {QStringLiteral("tbclose"), QStringLiteral("close")},
    };
    runCommand(commands.value(key.toLower()));
  });
}

void FrmNewMail::runCommand(const QString& command) {
  if (!bundle_) return;  // closed: the mail list is gone until the service opens the window again
  static const QHash<QString, int> editing = {{QStringLiteral("cut"), compose::CmdCut},
                                              {QStringLiteral("copy"), compose::CmdCopy},
                                              {QStringLiteral("paste"), compose::CmdPaste},
                                              {QStringLiteral("undo"), compose::CmdUndo},
                                              {QStringLiteral("selectall"), compose::CmdSelectAll}};
  if (editing.contains(command)) {
    editor_->ExecCommand(editing.value(command));
  } else if (command == QLatin1String("send")) {
    SendCommand();
  } else if (command == QLatin1String("attach")) {
    InsertAttachment();
  } else if (command == QLatin1String("dxb")) {
    Q_EMIT AddressBookRequested();
  } else if (command == QLatin1String("type")) {
    if (auto* button = findChild<QToolBar*>(QStringLiteral("cToolbar1")))
      if (QWidget* w = button->widgetForAction(action(QStringLiteral("TBType"))))
        priorityMenu_->popup(w->mapToGlobal(QPoint(0, w->height())));
  } else if (command == QLatin1String("print")) {
    PrintMail();
  } else if (command == QLatin1String("delete")) {
    DeleteMail();
  } else if (command == QLatin1String("prior")) {
    MovePrior();
  } else if (command == QLatin1String("next")) {
    MoveNext();
  } else if (command == QLatin1String("addhtml")) {
    AddBody();
  } else if (command == QLatin1String("savehtml")) {
    SaveBody();
  } else if (command == QLatin1String("close")) {
    close();
  }
}

void FrmNewMail::m_cMenu_Tool_Click(const QString& key) {
  guarded(this, QStringLiteral("m_cMenu_Tool_Click："), [&] {
    if (!bundle_) return;
    if (key == QLatin1String("mnuTool_H"))
      showPriority(QStringLiteral("1"));
    else if (key == QLatin1String("mnuTool_N"))
      showPriority(QStringLiteral("3"));
    else if (key == QLatin1String("mnuTool_L"))
      showPriority(QStringLiteral("2"));
    else
      return;
    modified_ = true;
  });
}

void FrmNewMail::mnu_Click(int index) {
  guarded(this, QStringLiteral("mnu_Click："), [&] {
    if (!bundle_) return;
    switch (index) {
      case 0:
        OpenAttachment();
        break;
      case 2:
        if (const QString path = attachments_->selectedPath(); !path.isEmpty())
          QGuiApplication::clipboard()->setText(path);
        break;
      case 3:
        InsertAttachment();
        break;
      case 4:
        RemoveAttachment();
        break;
      default:
        break;
    }
  });
}

void FrmNewMail::moFrmDxb_EvHasReturn(const QString& addresses) {
  txt_[FieldTo]->setText(addresses);
}

void FrmNewMail::MoveNext() {
  if (count_ < 2) return;
  CollectForm(position_);
  position_ = qMin(position_ + 1, count_);
  ShowMail(position_);
}

void FrmNewMail::MovePrior() {
  if (count_ < 2) return;
  CollectForm(position_);
  position_ = qMax(position_ - 1, 1L);
  ShowMail(position_);
}

void FrmNewMail::DeleteMail() {
  const PromptAnswer answer =
      prompt().messageBox(QStringLiteral("是否删除当前显示的邮件！"), QStringLiteral("提示"),
                          PromptIcon::Information, PromptButtons::YesNo, this);
  if (answer != PromptAnswer::Yes || count_ < 2) return;  // the last mail is never deleted
  bundle_->Remove(IndexKey(position_));
  --count_;
  if (count_ == 1) setNavigationVisible(false);
  position_ = qMin(position_, count_);
  ShowMail(position_);
}

void FrmNewMail::SendCommand() {
  if (!StoreAll()) return;
  const BundlePtr sent = bundle_;
  const int generation = generation_;
  // Out of sight before the send starts, so nothing can be typed into mail already stored.
  hide();
  Q_EMIT SendMail(sent);
  if (generation == generation_) close();  // the modified flag is clear: no question follows
}

void FrmNewMail::PrintMail() {
  CollectForm(position_);
  const QString path = compose::writePrintFile(*bundle_->Item(IndexKey(position_)),
                                               QStringLiteral("mail") + QString::number(position_));
  if (path.isEmpty()) throw MailError::pathFileAccess(compose::printFolder());
  Q_EMIT DoPrint(path);
}

void FrmNewMail::AddBody() {
  const QStringList files =
      prompt().openFiles(QStringLiteral("添加正文"), compose::addBodyFilter(),
                         GetSystemPath(QStringLiteral("Mydocuments")), false, this);
  if (files.isEmpty() || files.first().isEmpty()) return;
  QString error;
  if (!editor_->loadDocument(files.first(), &error)) throw MailError::fileNotFound(error);
}

void FrmNewMail::SaveBody() {
  const QString suggested =
      GetSystemPath(QStringLiteral("Mydocuments")) + QStringLiteral("/正文另存为.html");
  QString path =
      prompt().saveFile(QStringLiteral("保存正文"), compose::saveBodyFilter(), suggested, this);
  if (path.isEmpty()) return;
  if (QFileInfo(path).suffix().isEmpty()) path += QStringLiteral(".html");  // default extension
  QString error;
  if (!editor_->saveDocument(path, &error)) throw MailError::pathFileAccess(error);
}

void FrmNewMail::InsertAttachment() {
  const QStringList files =
      prompt().openFiles(QStringLiteral("插入附件"), compose::attachmentFilter(),
                         GetSystemPath(QStringLiteral("Mydocuments")), false, this);
  if (files.isEmpty() || files.first().isEmpty()) return;
  attachments_->addFile(files.first());
  modified_ = true;
}

void FrmNewMail::OpenAttachment() {
  const QString path = attachments_->selectedPath();
  if (path.isEmpty() || !QFileInfo::exists(path)) return;  // a vanished file is ignored
  const QString error = shellOpen(path, ShowDefault);
  if (!error.isEmpty())
    prompt().messageBox(QStringLiteral("打开时错误，原因：") + error, kErrorTitle,
                        PromptIcon::Critical, PromptButtons::Ok, this);
}

void FrmNewMail::RemoveAttachment() {
  if (attachments_->removeSelected()) modified_ = true;
}

}  // namespace kvmail
