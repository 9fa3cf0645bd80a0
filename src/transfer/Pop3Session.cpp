#include "transfer/Pop3Session.h"

#include <QCoreApplication>
#include <QSslCipher>
#include <QSslSocket>

#include "transfer/MailboxPolicy.h"
#include "transfer/Pop3Link.h"
#include "transfer/Pop3Text.h"
#include "transfer/TlsTrust.h"
#include "transfer/TransferView.h"

namespace kvmail {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QByteArray kEndMarker = QByteArrayLiteral("\n.\r\n");

void yieldToWindow() {
  QCoreApplication::processEvents();
}

}  // namespace

Pop3Session::Pop3Session(ITransferView& view, IMailboxPolicy& mailbox, const clsAccount& account,
                         QObject* parent)
    : QObject(parent),
      view_(view),
      mailbox_(mailbox),
      account_(account),
      link_(new Pop3Link(this)) {
  stallTimer_.setSingleShot(true);
  connect(&stallTimer_, &QTimer::timeout, this, &Pop3Session::onStalled);
  link_->setHandler([this](const QByteArray& arrival) { handleArrival(arrival); });
  connect(link_, &Pop3Link::failed, this, &Pop3Session::onLinkFailed);
  connect(link_, &Pop3Link::upgrading, this, [this] { view_.WriteLog(QStringLiteral("STLS"), 1); });
  connect(link_, &Pop3Link::encrypted, this, &Pop3Session::onEncrypted);
  connect(link_, &Pop3Link::tlsFailed, this, &Pop3Session::onTlsFailed);
}

Pop3Session::~Pop3Session() = default;

void Pop3Session::setStage(Pop3Stage stage) {
  plStage_ = stage;
  link_->setRaw(stage == Pop3Stage::MessageText);
}

void Pop3Session::ConnectPop3() {
  setStage(Pop3Stage::Greeting);
  ptBox_ = MailboxState{};
  markerFrom_ = 0;
  running_ = true;
  view_.WriteLog(QStringLiteral("开始服务器") + account_.sPop3 + QStringLiteral("连接"), 1);
  view_.setCaption(QStringLiteral("正在连接到") + account_.sName + QStringLiteral("...") + kCrLf +
                   kCrLf + QStringLiteral("已连接..."));
  if (const QString reason = prepareSecurity(); !reason.isEmpty()) {
    // Told like a socket error, after the caller has finished starting the session.
    QTimer::singleShot(0, this, [this, reason] { onTlsFailed(reason); });
    return;
  }
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  // The account's port when its table carries one, else the mode's standard one.
  const long mode = account_.lPop3Security;
  link_->connectTo(account_.sPop3, account_.lPop3Port > 0 ? quint16(account_.lPop3Port)
                                                          : quint16(tls::pop3Port(mode)));
}

QString Pop3Session::prepareSecurity() {
  const long mode = account_.lPop3Security;
  if (!tls::isKnownMode(mode)) return tls::unknownModeReason(QStringLiteral("POP3"), mode);
  QList<QSslCertificate> pinned;
  if (mode != long(tls::Mode::None)) {
    if (!QSslSocket::supportsSsl())
      return QStringLiteral("本机无法加载 TLS 加密组件，不能建立加密连接；没有连接服务器。");
    QString error;
    if (!account_.sCertFile.isEmpty()) pinned = tls::loadPinned(account_.sCertFile, &error);
    if (!error.isEmpty()) return error + QStringLiteral("没有连接服务器。");
  }
  link_->setSecurity(mode, pinned);
  return {};
}

void Pop3Session::handleArrival(const QByteArray& reply) {
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  if (!reply.startsWith('+') && plStage_ != Pop3Stage::MessageText) {
    link_->close();
    const QString text = QStringLiteral("POP3 Error: ") + QString::fromUtf8(reply);
    pauseStallGuard();  // a box left open is the user's time, not the server's
    view_.ask(text, QStringLiteral("POP3 Error"), PromptIcon::Exclamation);
    view_.WriteLog(text, 1);
    endSession(Pop3End::Refused, text);
    return;
  }
  switch (plStage_) {
    case Pop3Stage::Greeting:
      stageGreeting();
      break;
    case Pop3Stage::User:
      setStage(Pop3Stage::Pass);
      send(QStringLiteral("PASS ") + account_.sPassword);
      view_.WriteLog(QStringLiteral("PASS ***** "), 1);  // the password never reaches the log
      break;
    case Pop3Stage::Pass:
      setStage(Pop3Stage::Stat);
      send(QStringLiteral("STAT"));
      view_.WriteLog(QStringLiteral("STAT"), 1);
      view_.setCaption(QStringLiteral("正在检查") + account_.sName +
                       QStringLiteral("上的新邮件...") + kCrLf + kCrLf +
                       QStringLiteral("正在验证身份..."));
      break;
    case Pop3Stage::Stat:
      stageStat(reply);
      break;
    case Pop3Stage::Uidl:
      stageUidl(reply);
      break;
    case Pop3Stage::MessageText:
      stageMessageText(reply);
      break;
    case Pop3Stage::Dele:
      nextMessage(false);
      break;
    case Pop3Stage::Quit:
      link_->close();
      endSession(Pop3End::Finished);
      break;
    case Pop3Stage::Unused:
      break;
  }
}

void Pop3Session::onEncrypted() {
  if (!running_) return;
  const QSslCipher cipher = link_->socket()->sessionCipher();
  view_.WriteLog(QStringLiteral("已建立加密连接（%1，%2），服务器证书已验证")
                     .arg(cipher.protocolString(), cipher.name()),
                 1);
}

void Pop3Session::onTlsFailed(const QString& reason) {
  if (!running_) return;
  link_->abort();
  view_.WriteLog(reason, 1);
  endSession(Pop3End::Insecure, reason);
}

void Pop3Session::stageGreeting() {
  ptBox_.iCount = 0;
  ptBox_.iIndex = 0;
  setStage(Pop3Stage::User);
  send(QStringLiteral("USER ") + account_.sUserName);
  view_.WriteLog(QStringLiteral("USER ") + account_.sUserName, 1);
  view_.setCaption(QStringLiteral("正在连接到") + account_.sName + QStringLiteral("...") + kCrLf +
                   kCrLf + QStringLiteral("正在验证身份..."));
}

void Pop3Session::stageStat(const QByteArray& reply) {
  const QString text = QString::fromUtf8(reply);
  // A failed conversion (a count beyond 16 bits included) keeps the old value, as the handler did.
  vbInteger(GetField(text, 1, QStringLiteral(" ")), &ptBox_.iCount);
  vbLongInt(GetField(text, 2, QStringLiteral(" ")), &ptBox_.lTotalSize);
  const QString kb = vbFormatWhole(ptBox_.lTotalSize / 1024.0);
  if (ptBox_.iCount > 1) {
    view_.WriteLog(QStringLiteral("New mail : ") + QString::number(ptBox_.iCount), 2);
    view_.WriteLog(QStringLiteral("mail total sizes : ") + kb + QStringLiteral(" KB"), 2);
    view_.setProgressRange(1, ptBox_.lTotalSize);
    view_.setProgressValue(1);
  }
  view_.setTaskText(taskRow_, QStringLiteral("检查") + account_.sName +
                                  QStringLiteral("上的新邮件:共 ") +
                                  QString::number(ptBox_.iCount) + QStringLiteral(" (") + kb +
                                  QStringLiteral(" KB) 封。"));
  yieldToWindow();
  if (ptBox_.iCount < 1) {
    view_.WriteLog(QStringLiteral("您的邮箱为空,请确认后再试"), 2);
    sendQuit();
    return;
  }
  ptBox_.iIndex = qint16(ptBox_.iIndex + 1);
  setStage(Pop3Stage::Uidl);
  send(QStringLiteral("UIDL ") + QString::number(ptBox_.iIndex));
}

void Pop3Session::stageUidl(const QByteArray& reply) {
  // The stop button is read here only, so a message in retrieval always completes first.
  if (!view_.isStopEnabled()) {
    sendQuit();
    return;
  }
  const QString n = QString::number(ptBox_.iIndex);
  const QString text = QString::fromUtf8(reply);
  view_.WriteLog(QStringLiteral("UIDL ") + n + QStringLiteral(" ") + text, 1);
  psUIDL_ = QString(text).remove(QStringLiteral("+OK ") + n + QStringLiteral(" ")).remove(kCrLf);
  psRecvTime_ = mailbox_.storedReceiveTime(psUIDL_);
  if (!mailbox_.isStored(psRecvTime_)) {
    setStage(Pop3Stage::MessageText);
    send(QStringLiteral("RETR ") + n);
    view_.WriteLog(QStringLiteral("RETR ") + n + kCrLf, 1);
    view_.setCaption(QStringLiteral("正在检查") + account_.sName + QStringLiteral("上的新邮件...") +
                     kCrLf + kCrLf + QStringLiteral("正在接收第") + n +
                     QStringLiteral("封邮件，共") + QString::number(ptBox_.iCount) +
                     QStringLiteral("封..."));
    return;
  }
  // Already stored: the bar counts it by its stored size.
  view_.setProgressValue(int(view_.progressValue() + mailbox_.storedSize(psUIDL_)));
  yieldToWindow();
  if (mailbox_.deleteStoredNow(psRecvTime_)) {
    sendDele();
    return;
  }
  nextMessage(false);
}

void Pop3Session::stageMessageText(const QByteArray& reply) {
  if (ptBox_.sBuffer.isEmpty()) {
    const qsizetype octets = announcedOctets(reply);
    if (octets > 0) ptBox_.sBuffer.reserve(octets + reply.size() + 64);
  }
  ptBox_.sBuffer += reply;
  view_.setProgressValue(int(view_.progressValue() + reply.size()));
  yieldToWindow();
  // Sturdier than the original: only the new tail is searched, so a large mail costs linear time.
  if (ptBox_.sBuffer.indexOf(kEndMarker, markerFrom_) < 0) {
    markerFrom_ = qMax<qsizetype>(0, ptBox_.sBuffer.size() - (kEndMarker.size() - 1));
    return;
  }
  QByteArray text = std::exchange(ptBox_.sBuffer, QByteArray());
  text.remove(0, text.indexOf("\r\n") + 2);  // the status line
  text.chop(3);                              // the full stop and its CR LF; no un-stuffing
  if (text.startsWith('-')) {
    view_.WriteLog(QStringLiteral("------------------------"), 1);
    view_.WriteLog(QStringLiteral("接收数据过程中发生错误"), 1);
    view_.WriteLog(QString::fromUtf8(text), 1);
    nextMessage(true);
    return;
  }
  // Storing may ask the user (and the host may show its own boxes when told a mail arrived): the
  // server is not waited for meanwhile.
  pauseStallGuard();
  const bool stored = mailbox_.store(std::move(text), psUIDL_);
  if (!running_) return;
  // Deleted on the server only after its row and file are stored.
  if (stored && mailbox_.deleteAfterStore()) {
    sendDele();
    return;
  }
  nextMessage(true);
}

void Pop3Session::sendDele() {
  const QString n = QString::number(ptBox_.iIndex);
  view_.WriteLog(QStringLiteral("正在邮件服务器上删除#") + n, 1);
  setStage(Pop3Stage::Dele);
  send(QStringLiteral("DELE ") + n);
}

void Pop3Session::nextMessage(bool yield) {
  if (yield) yieldToWindow();
  ptBox_.sBuffer = QByteArray();
  markerFrom_ = 0;
  if (ptBox_.iIndex != ptBox_.iCount) {
    ptBox_.iIndex = qint16(ptBox_.iIndex + 1);
    setStage(Pop3Stage::Uidl);
    send(QStringLiteral("UIDL ") + QString::number(ptBox_.iIndex));
  } else {
    sendQuit();
  }
}

void Pop3Session::sendQuit() {
  setStage(Pop3Stage::Quit);
  send(QStringLiteral("QUIT"));
  view_.WriteLog(QStringLiteral("QUIT"), 1);
}

void Pop3Session::send(const QString& command) {
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  link_->send(command);
}

void Pop3Session::onLinkFailed(int number, const QString& description) {
  if (!running_) return;
  link_->close();
  const QString text = QString::number(number) + QStringLiteral(" : ") + description;
  view_.WriteLog(text, 1);
  endSession(Pop3End::SocketError, text);
}

void Pop3Session::pauseStallGuard() {
  stallTimer_.stop();  // send() starts it again with the next command
}

QString Pop3Session::stallReason() const {
  const QString seconds = QString::number(stallMs_ / 1000.0, 'g', 4);
  const QString n = QString::number(ptBox_.iIndex);
  if (plStage_ == Pop3Stage::MessageText && ptBox_.sBuffer.startsWith('-')) {
    const qsizetype eol = ptBox_.sBuffer.indexOf('\n');
    const QString line = QString::fromUtf8(ptBox_.sBuffer.left(eol < 0 ? 200 : eol)).trimmed();
    return QStringLiteral("服务器拒绝发送第") + n + QStringLiteral("封邮件：") + line +
           QStringLiteral("（等待") + seconds + QStringLiteral("秒后已断开连接）");
  }
  if (plStage_ == Pop3Stage::MessageText && !ptBox_.sBuffer.isEmpty())
    return QStringLiteral("接收第") + n + QStringLiteral("封邮件时，服务器") + seconds +
           QStringLiteral("秒内没有继续发送，已断开连接。");
  return QStringLiteral("服务器") + seconds + QStringLiteral("秒内没有响应，已断开连接。");
}

void Pop3Session::onStalled() {
  if (!running_) return;
  // Sturdier than the original, which waited for ever: a silent server ends the session.
  link_->abort();
  const QString reason = stallReason();
  view_.WriteLog(reason, 1);
  endSession(Pop3End::Stalled, reason);
}

void Pop3Session::endSession(Pop3End how, const QString& reason) {
  if (!running_) return;
  running_ = false;
  link_->stopReading();
  stallTimer_.stop();
  Q_EMIT ended(how, reason);
}

}  // namespace kvmail
