#include "service/clsMail.h"

#include "composer/FrmNewMail.h"
#include "model/IBundle.h"
#include "model/MailError.h"
#include "model/clsBundle.h"
#include "model/clsMessage.h"
#include "service/MailBatch.h"
#include "service/clsError.h"
#include "store/HostSystem.h"
#include "store/MailStore.h"
#include "support/Prompt.h"
#include "transfer/FrmSend.h"
#include "viewer/FrmMail.h"

namespace kvmail {

namespace {
const QString kInfoTitle = QStringLiteral("提示：");
const QString kErrorTitle = QStringLiteral("错误：");
}  // namespace

clsMail::clsMail(QObject* parent)
    : QObject(parent),
      mAccount(std::make_shared<clsAccount>()),
      mError(std::make_shared<clsError>()) {}

clsMail::~clsMail() {
  releaseWindows(true);
  mSystem.reset();
  mAccount.reset();
  mError.reset();
}

void clsMail::releaseWindows(bool unload) {
  // Compose, then transfer, then viewer. Deletion waits for the event loop, so a window whose
  // loop is still on the stack (a send in progress) is never destroyed under its own feet.
  const auto release = [this, unload](auto& window) {
    if (!window) return;
    QObject::disconnect(window.get(), nullptr, this, nullptr);  // only what the service hears
    QWidget* w = window.release();
    if (unload || !w->isVisible()) {
      w->close();
      w->deleteLater();
    } else {
      w->setAttribute(Qt::WA_DeleteOnClose);  // left on screen until the user closes it
    }
  };
  release(mFrmNewMail);
  release(mFrmSend);
  release(mFrmMail);
}

bool clsMail::Init(const std::shared_ptr<IHostSystem>& pcSystem, long plProgID) {
  mError->Clear();
  mSystem = pcSystem;
  mAccount->lProgID = plProgID;
  releaseWindows(true);
  mFrmNewMail = std::make_unique<FrmNewMail>();
  mFrmSend = std::make_unique<FrmSend>();  // its load handler runs now
  mFrmMail = std::make_unique<FrmMail>();
  connectWindows();
  if (!mSystem || !MailStore(*mSystem).loadAccount(*mAccount)) {
    mError->setNumber(1000001);
    mError->setDescription(QStringLiteral("邮件帐户为空，请先设置！"));
    return false;
  }
  return true;
}

void clsMail::connectWindows() {
  FrmMail* viewer = mFrmMail.get();
  connect(viewer, &FrmMail::Delete, this, &clsMail::EvDelete);
  connect(viewer, &FrmMail::ErrMessage, this, &clsMail::showErrMessage);
  connect(viewer, &FrmMail::RecordMove, this, &clsMail::EvRecordMove);
  connect(viewer, &FrmMail::RevertMail, this, [this](long id) { ReplyMail(id); });
  connect(viewer, &FrmMail::TransmitMail, this, [this](long id) { TransmitMail(id); });
  // The windows write the print file; the service has it printed.
  connect(viewer, &FrmMail::DoPrint, this,
          [viewer](const QString& path) { prompt().printFile(path, viewer); });

  FrmNewMail* compose = mFrmNewMail.get();
  connect(compose, &FrmNewMail::ErrMessage, this, &clsMail::showErrMessage);
  connect(compose, &FrmNewMail::ReturnData, this,
          [this](const QString& ids) { Q_EMIT EvReturn(ids, 1); });
  connect(compose, &FrmNewMail::SendMail, this,
          [this](const BundlePtr& bundle) { openSend(bundle, true, QString()); });
  connect(compose, &FrmNewMail::DoPrint, this,
          [compose](const QString& path) { prompt().printFile(path, compose); });

  FrmSend* transfer = mFrmSend.get();
  connect(transfer, &FrmSend::EvMailRead, this, &clsMail::EvMailRead);
  connect(transfer, &FrmSend::ReturnData, this,
          [this](long id) { Q_EMIT EvReturn(QString::number(id).trimmed(), 2); });
  connect(transfer, &FrmSend::TasksEnded, this, &clsMail::EvTransferEnded);
}

QWidget* clsMail::composeWidget() const {
  return mFrmNewMail.get();
}
QWidget* clsMail::transferWidget() const {
  return mFrmSend.get();
}
QWidget* clsMail::viewerWidget() const {
  return mFrmMail.get();
}

bool clsMail::Clear() {
  releaseWindows(false);
  return false;
}

bool clsMail::CreateNew(const QString& psMails, const QString& psSeparator) {
  try {
    if (!mSystem) throw MailError(91, QString(), QStringLiteral("Object variable not set"));
    const BundlePtr bundle = buildTemplateBatch(*mSystem, *mAccount, psMails, psSeparator);
    openCompose(bundle, QString(), -1);
    return true;
  } catch (const MailError& e) {
    mError->setNumber(e.number());
    mError->setDescription(QStringLiteral("CreateNew:") + e.description());
  } catch (const std::exception& e) {
    mError->setNumber(MailError::InvalidArgument);
    mError->setDescription(QStringLiteral("CreateNew:") + QString::fromLocal8Bit(e.what()));
  }
  return false;
}

BundlePtr clsMail::GetSendMail() {
  try {
    if (!mSystem) throw MailError(91, QString(), QStringLiteral("Object variable not set"));
    BundlePtr bundle = MailStore(*mSystem).readSendQueue();
    if (bundle->Count() == 0) {
      prompt().messageBox(QStringLiteral("没有要发送的邮件！"), kInfoTitle,
                          PromptIcon::Information);
      return std::make_shared<clsBundle>();
    }
    return bundle;
  } catch (const MailError& e) {
    prompt().messageBox(QStringLiteral("GetSendMail:") + e.description(), kErrorTitle,
                        PromptIcon::Critical);
  } catch (const std::exception& e) {
    prompt().messageBox(QStringLiteral("GetSendMail:") + QString::fromLocal8Bit(e.what()),
                        kErrorTitle, PromptIcon::Critical);
  }
  return nullptr;
}

bool clsMail::SendMail(long) {
  const BundlePtr bundle = GetSendMail();
  if (!bundle || bundle->Count() < 1) return false;
  openSend(bundle, true, QString());
  return true;
}

bool clsMail::ReceiveMail() {
  openSend(nullptr, false, QStringLiteral("邮件接收"));
  return true;
}

bool clsMail::SendReceiveMail() {
  // An empty queue still shows its message here, and the window then opens to receive.
  BundlePtr bundle = GetSendMail();
  if (!bundle) bundle = std::make_shared<clsBundle>();
  openSend(bundle, false, QStringLiteral("邮件发送/接收"));
  return true;
}

void clsMail::openSend(const BundlePtr& bundle, bool sendOnly, const QString& caption) {
  if (!mFrmSend) return;
  mFrmSend->py_Init(bundle, mSystem.get(), mAccount, sendOnly, caption);
}

void clsMail::openCompose(const BundlePtr& bundle, const QString& caption, long mailId,
                          bool forward) {
  if (!mFrmNewMail) return;
  mFrmNewMail->py_Init(bundle, mSystem.get(), mAccount, caption, mailId, forward);
}

std::shared_ptr<IclsError> clsMail::Error() const {
  return mError;
}

long clsMail::ProgID() const {
  return mAccount->lProgID;
}

bool clsMail::DisPlayMail(long plMailID, const QString& psCaption) {
  if (!mFrmMail) return false;
  mFrmMail->py_Init(plMailID, mSystem.get(), psCaption);
  return true;
}

bool clsMail::NewMail() {
  auto bundle = std::make_shared<clsBundle>();
  bundle->AddMessage(std::make_shared<clsMessage>());
  openCompose(bundle, QStringLiteral("新邮件"), -1);
  return true;
}

BundlePtr clsMail::ReplyBundle(long, bool) {
  return nullptr;  // reserved: the compose window works from the mail identifier
}

bool clsMail::ReplyMail(long plMailID) {
  BundlePtr bundle = ReplyBundle(plMailID, true);
  if (!bundle) bundle = std::make_shared<clsBundle>();
  openCompose(bundle, QStringLiteral("答复邮件"), plMailID);
  return false;
}

bool clsMail::TransmitMail(long plMailID) {
  BundlePtr bundle = ReplyBundle(plMailID, false);
  if (!bundle) bundle = std::make_shared<clsBundle>();
  // A forward keeps the reply caption, as it always has.
  openCompose(bundle, QStringLiteral("答复邮件"), plMailID, true);
  return false;
}

void clsMail::showErrMessage(const QString& message, long kind, const QString& title) {
  PromptIcon icon;
  switch (kind) {
    case 2:
      icon = PromptIcon::Information;
      break;
    case 4:
      icon = PromptIcon::Exclamation;
      break;
    case 8:
      icon = PromptIcon::Critical;
      break;
    default:
      return;  // any other kind shows nothing
  }
  prompt().messageBox(message, title, icon);
}

}  // namespace kvmail
