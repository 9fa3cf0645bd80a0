#include "transfer/Pop3Session.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTcpSocket>

#include <cmath>

#include "store/FieldText.h"
#include "store/HostSystem.h"
#include "store/Statements.h"
#include "support/Prompt.h"
#include "transfer/TransferView.h"

namespace kvmail {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QByteArray kEndMarker = QByteArrayLiteral("\n.\r\n");

void yieldToWindow() {
  QCoreApplication::processEvents();
}

// Winsock's numbers for the socket errors a user is likely to meet; others keep Qt's own.
int socketErrorNumber(QAbstractSocket::SocketError error) {
  switch (error) {
    case QAbstractSocket::ConnectionRefusedError:
      return 10061;
    case QAbstractSocket::RemoteHostClosedError:
      return 10053;
    case QAbstractSocket::HostNotFoundError:
      return 11001;
    case QAbstractSocket::SocketTimeoutError:
      return 10060;
    case QAbstractSocket::NetworkError:
      return 10050;
    default:
      return 10000 + static_cast<int>(error);
  }
}

// The announced size of a RETR reply ("+OK 20480 octets"), to reserve the buffer once.
qsizetype announcedOctets(const QByteArray& firstArrival) {
  const qsizetype eol = firstArrival.indexOf('\n');
  const QList<QByteArray> words = firstArrival.left(eol < 0 ? 64 : eol).simplified().split(' ');
  if (words.size() < 2) return 0;
  bool ok = false;
  const qlonglong n = words.at(1).toLongLong(&ok);
  return ok && n > 0 && n < (qlonglong(1) << 31) ? qsizetype(n) : 0;
}

}  // namespace

QString GetField(const QString& text, int index, const QString& delimiter) {
  qsizetype p = text.indexOf(delimiter);
  if (index == 0) return p < 0 ? text : text.left(p);
  for (int n = 2; n <= index && p >= 0; ++n) p = text.indexOf(delimiter, p + 1);
  if (p < 0 || p + 1 >= text.size()) return QStringLiteral("NOT FOUND");
  const qsizetype next = text.indexOf(delimiter, p + 1);
  return next < 0 ? text.mid(p + 1) : text.mid(p + 1, next - p - 1);
}

Pop3Session::Pop3Session(ITransferView& view, IHostSystem& host, const clsAccount& account,
                         SaveFn save, QObject* parent)
    : QObject(parent),
      view_(view),
      host_(host),
      account_(account),
      save_(std::move(save)),
      wskMail_(new QTcpSocket(this)) {
  wskMail_->setObjectName(QStringLiteral("wskMail"));
  bool ok = false;
  const int envPort = qEnvironmentVariableIntValue("KVMAIL_POP3_PORT", &ok);
  port_ = ok && envPort > 0 && envPort < 65536 ? quint16(envPort) : quint16(110);
  stallTimer_.setSingleShot(true);
  connect(&stallTimer_, &QTimer::timeout, this, &Pop3Session::onStalled);
  connect(wskMail_, &QTcpSocket::readyRead, this, &Pop3Session::onReadyRead);
  connect(wskMail_, &QTcpSocket::errorOccurred, this, &Pop3Session::onSocketError);
  connect(wskMail_, &QTcpSocket::connected, this,
          [this] { wskMail_->setSocketOption(QAbstractSocket::LowDelayOption, 1); });
}

Pop3Session::~Pop3Session() {
  wskMail_->abort();
}

void Pop3Session::ConnectPop3() {
  plStage_ = 0;
  wskMail_->abort();
  ptBox_ = MailboxState{};
  pendingLine_.clear();
  markerFrom_ = 0;
  running_ = true;
  view_.WriteLog(QStringLiteral("开始服务器") + account_.sPop3 + QStringLiteral("连接"), 1);
  view_.setCaption(QStringLiteral("正在连接到") + account_.sName + QStringLiteral("...") + kCrLf +
                   kCrLf + QStringLiteral("已连接..."));
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  wskMail_->connectToHost(account_.sPop3, port_);
}

void Pop3Session::onReadyRead() {
  // Data that arrives while a reply is handled (the handler yields) is picked up by this loop.
  if (inHandler_) return;
  inHandler_ = true;
  while (running_ && wskMail_->bytesAvailable() > 0) {
    QByteArray data = wskMail_->readAll();
    if (plStage_ != 6) {
      // Sturdier than the original: a reply line split across arrivals is joined first.
      pendingLine_ += data;
      if (!pendingLine_.contains('\n')) continue;
      data = std::exchange(pendingLine_, QByteArray());
    }
    handleArrival(data);
  }
  inHandler_ = false;
}

QString Pop3Session::replyText(const QByteArray& reply) const {
  return QString::fromUtf8(reply);
}

void Pop3Session::handleArrival(const QByteArray& reply) {
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  if (!reply.startsWith('+') && plStage_ != 6) {
    wskMail_->close();
    const QString text = QStringLiteral("POP3 Error: ") + replyText(reply);
    prompt().messageBox(text, QStringLiteral("POP3 Error"), PromptIcon::Exclamation);
    view_.WriteLog(text, 1);
    endSession(false);
    return;
  }
  switch (plStage_) {
    case 0:
      stageGreeting();
      break;
    case 1:
      plStage_ = 2;
      send(QStringLiteral("PASS ") + account_.sPassword);
      view_.WriteLog(QStringLiteral("PASS ***** "), 1);  // the password never reaches the log
      break;
    case 2:
      plStage_ = 3;
      send(QStringLiteral("STAT"));
      view_.WriteLog(QStringLiteral("STAT"), 1);
      view_.setCaption(QStringLiteral("正在检查") + account_.sName +
                       QStringLiteral("上的新邮件...") + kCrLf + kCrLf +
                       QStringLiteral("正在验证身份..."));
      break;
    case 3:
      stageStat(reply);
      break;
    case 4:
      stageUidl(reply);
      break;
    case 6:
      stageMessageText(reply);
      break;
    case 7:
      nextMessage(false);
      break;
    case 8:
      wskMail_->close();
      view_.FinishReceive();
      endSession(true);
      break;
    default:
      break;  // stage 5 is never entered
  }
}

void Pop3Session::stageGreeting() {
  ptBox_.iCount = 0;
  ptBox_.iIndex = 0;
  plStage_ = 1;
  send(QStringLiteral("USER ") + account_.sUserName);
  view_.WriteLog(QStringLiteral("USER ") + account_.sUserName, 1);
  view_.setCaption(QStringLiteral("正在连接到") + account_.sName + QStringLiteral("...") + kCrLf +
                   kCrLf + QStringLiteral("正在验证身份..."));
}

void Pop3Session::stageStat(const QByteArray& reply) {
  const QString text = replyText(reply);
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
  plStage_ = 4;
  send(QStringLiteral("UIDL ") + QString::number(ptBox_.iIndex));
}

void Pop3Session::stageUidl(const QByteArray& reply) {
  // The stop button is read here only, so a message in retrieval always completes first.
  if (!view_.isStopEnabled()) {
    sendQuit();
    return;
  }
  const QString n = QString::number(ptBox_.iIndex);
  const QString text = replyText(reply);
  view_.WriteLog(QStringLiteral("UIDL ") + n + QStringLiteral(" ") + text, 1);
  psUIDL_ = QString(text).remove(QStringLiteral("+OK ") + n + QStringLiteral(" ")).remove(kCrLf);
  psRecvTime_ = firstValue(host_, sql::receivedTimeByUidl(psUIDL_));
  if (!isValidDateText(psRecvTime_)) {
    plStage_ = 6;
    send(QStringLiteral("RETR ") + n);
    view_.WriteLog(QStringLiteral("RETR ") + n + kCrLf, 1);
    view_.setCaption(QStringLiteral("正在检查") + account_.sName + QStringLiteral("上的新邮件...") +
                     kCrLf + kCrLf + QStringLiteral("正在接收第") + n +
                     QStringLiteral("封邮件，共") + QString::number(ptBox_.iCount) +
                     QStringLiteral("封..."));
    return;
  }
  // Already stored: the bar counts it by its stored size.
  const double stored = vbVal(firstValue(host_, sql::storedSizeByUidl(psUIDL_)));
  view_.setProgressValue(int(view_.progressValue() + stored));
  yieldToWindow();
  if (!account_.bIsDelete && account_.bIsAfterdayDelete) {
    // Days from now to the receive time: zero or negative for mail received in the past, so any
    // positive day count deletes at once. The direction is kept as the original had it.
    const long days = QDate::currentDate().daysTo(dateFromText(psRecvTime_).date());
    if (account_.lDeleteDay > days) {
      sendDele();
      return;
    }
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
  const bool saved = save_ ? save_(std::move(text), psUIDL_) : false;
  // Deleted on the server only after its row and file are stored.
  if (saved && account_.bIsDelete) {
    sendDele();
    return;
  }
  nextMessage(true);
}

void Pop3Session::sendDele() {
  const QString n = QString::number(ptBox_.iIndex);
  view_.WriteLog(QStringLiteral("正在邮件服务器上删除#") + n, 1);
  plStage_ = 7;
  send(QStringLiteral("DELE ") + n);
}

void Pop3Session::nextMessage(bool yield) {
  if (yield) yieldToWindow();
  ptBox_.sBuffer = QByteArray();
  markerFrom_ = 0;
  if (ptBox_.iIndex != ptBox_.iCount) {
    ptBox_.iIndex = qint16(ptBox_.iIndex + 1);
    plStage_ = 4;
    send(QStringLiteral("UIDL ") + QString::number(ptBox_.iIndex));
  } else {
    sendQuit();
  }
}

void Pop3Session::sendQuit() {
  plStage_ = 8;
  send(QStringLiteral("QUIT"));
  view_.WriteLog(QStringLiteral("QUIT"), 1);
}

void Pop3Session::send(const QString& command) {
  if (stallMs_ > 0) stallTimer_.start(stallMs_);
  wskMail_->write(command.toUtf8() + "\r\n");
  wskMail_->flush();  // out now rather than on the next pass of the event loop
}

void Pop3Session::onSocketError() {
  if (!running_) return;
  const int number = socketErrorNumber(wskMail_->error());
  const QString description = wskMail_->errorString();
  wskMail_->close();
  view_.WriteLog(QString::number(number) + QStringLiteral(" : ") + description, 1);
  endSession(false);
}

void Pop3Session::onStalled() {
  if (!running_) return;
  // Sturdier than the original, which waited for ever: a silent server ends the session.
  wskMail_->abort();
  const QString reason = QStringLiteral("服务器") + QString::number(stallMs_ / 1000) +
                         QStringLiteral("秒内没有响应，已断开连接。");
  view_.WriteLog(reason, 1);
  endSession(false);
  view_.FailReceive(reason);
}

void Pop3Session::endSession(bool ok) {
  if (!running_) return;
  running_ = false;
  stallTimer_.stop();
  Q_EMIT ended(ok);
}

}  // namespace kvmail
