#include "transfer/Pop3Link.h"

#include <QSslConfiguration>
#include <QSslSocket>

#include "transfer/TlsTrust.h"

namespace kvmail {

bool Pop3ReplyJoiner::take(QByteArray data, bool raw, QByteArray* out) {
  if (raw && pending_.isEmpty()) {
    *out = std::move(data);
    return true;
  }
  pending_ += data;
  if (!raw && !pending_.contains('\n')) return false;
  *out = std::exchange(pending_, QByteArray());
  return true;
}

int socketErrorNumber(int qtSocketError) {
  switch (QAbstractSocket::SocketError(qtSocketError)) {
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
      return 10000 + qtSocketError;
  }
}

Pop3Link::Pop3Link(QObject* parent) : QObject(parent), socket_(new QSslSocket(this)) {
  socket_->setObjectName(QStringLiteral("wskMail"));
  connect(socket_, &QSslSocket::readyRead, this, &Pop3Link::onReadyRead);
  connect(socket_, &QSslSocket::errorOccurred, this,
          [this](QAbstractSocket::SocketError error) { onSocketError(int(error)); });
  connect(socket_, &QSslSocket::connected, this,
          [this] { socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1); });
  connect(socket_, &QSslSocket::sslErrors, this, &Pop3Link::onSslErrors);
  connect(socket_, &QSslSocket::encrypted, this, &Pop3Link::onEncrypted);
}

Pop3Link::~Pop3Link() {
  socket_->abort();
}

void Pop3Link::setSecurity(long mode, QList<QSslCertificate> pinned) {
  mode_ = mode;
  pinned_ = std::move(pinned);
}

void Pop3Link::connectTo(const QString& host, quint16 port) {
  socket_->abort();
  joiner_.reset();
  raw_ = false;
  reading_ = true;
  host_ = host;
  port_ = port;
  greeting_.clear();
  upgrade_ = mode_ == long(tls::Mode::Upgrade) ? Upgrade::Greeting : Upgrade::Off;
  QSslConfiguration config = QSslConfiguration::defaultConfiguration();
  config.setPeerVerifyMode(QSslSocket::VerifyPeer);  // the system's trust store unless pinned
  if (!pinned_.isEmpty()) config.setCaCertificates(pinned_);
  socket_->setSslConfiguration(config);
  if (mode_ == long(tls::Mode::Implicit))
    socket_->connectToHostEncrypted(host, port);
  else
    socket_->connectToHost(host, port);
}

bool Pop3Link::isEncrypted() const {
  return socket_->isEncrypted();
}

void Pop3Link::send(const QString& command) {
  if (mode_ != long(tls::Mode::None) && !socket_->isEncrypted()) {
    // Only the command's name is named: its argument may be the password.
    refuse(QStringLiteral("与POP3服务器 %1 的连接尚未加密，为保护密码，没有发送 %2 命令。")
               .arg(peer(), command.section(u' ', 0, 0)));
    return;
  }
  socket_->write(command.toUtf8() + "\r\n");
  socket_->flush();  // out now rather than on the next pass of the event loop
}

void Pop3Link::close() {
  socket_->close();
}

void Pop3Link::abort() {
  socket_->abort();
}

void Pop3Link::refuse(const QString& reason) {
  socket_->abort();
  if (reading_) Q_EMIT tlsFailed(reason);
}

void Pop3Link::onSslErrors(const QList<QSslError>& errors) {
  if (tls::pinnedLeafAccepted(errors, socket_->peerCertificate(), pinned_))
    socket_->ignoreSslErrors(errors);
}

void Pop3Link::onSocketError(int error) {
  if (!reading_) return;
  const auto e = QAbstractSocket::SocketError(error);
  if (e != QAbstractSocket::SslHandshakeFailedError && e != QAbstractSocket::SslInternalError &&
      e != QAbstractSocket::SslInvalidUserDataError) {
    Q_EMIT failed(socketErrorNumber(error), socket_->errorString());
    return;
  }
  const QList<QSslError> problems = socket_->sslHandshakeErrors();
  const QString tail = QStringLiteral("为保护密码，没有登录。");
  if (!problems.isEmpty())
    Q_EMIT tlsFailed(QStringLiteral("无法验证POP3服务器 %1 的证书：%2。")
                         .arg(peer(), tls::problemOf(problems, host_, !pinned_.isEmpty())) +
                     tail);
  else
    Q_EMIT tlsFailed(
        QStringLiteral("无法与POP3服务器 %1 建立加密连接（%2），请检查端口和加密方式。")
            .arg(peer(), socket_->errorString()) +
        tail);
}

void Pop3Link::onEncrypted() {
  if (!reading_) return;
  Q_EMIT encrypted();
  if (upgrade_ != Upgrade::Handshake) return;
  // The session now meets the greeting it would have met in clear, and answers it with USER.
  upgrade_ = Upgrade::Off;
  inHandler_ = true;
  handUp(std::exchange(greeting_, QByteArray()));
  inHandler_ = false;
  onReadyRead();  // what came while the session answered the greeting
}

bool Pop3Link::upgradeStep(const QByteArray& arrival) {
  if (upgrade_ == Upgrade::Greeting) {
    if (!arrival.startsWith('+')) return false;  // the session reports a refusing server
    greeting_ = arrival;
    upgrade_ = Upgrade::StlsReply;
    socket_->write("STLS\r\n");
    socket_->flush();
    Q_EMIT upgrading();
    return true;
  }
  const qsizetype eol = arrival.indexOf('\n');
  if (!arrival.startsWith('+')) {
    refuse(QStringLiteral("POP3服务器 %1 不支持 STLS 加密（服务器回复：%2）。为保护密码，没有登录；"
                          "请向服务器管理员确认加密方式，或改用 SSL/TLS（端口 995）。")
               .arg(peer(), QString::fromUtf8(arrival.left(eol < 0 ? 200 : eol)).trimmed()));
    return true;
  }
  // Bytes after the reply would be read as if the encrypted server had sent them: someone on the
  // way may have put them there.
  if (eol + 1 < arrival.size()) {
    refuse(QStringLiteral("POP3服务器 %1 在开始加密之前多发送了数据，连接可能被篡改，已断开。"
                          "为保护密码，没有登录。")
               .arg(peer()));
    return true;
  }
  upgrade_ = Upgrade::Handshake;
  joiner_.reset();
  socket_->startClientEncryption();
  return true;
}

void Pop3Link::handUp(const QByteArray& arrival) {
  if (upgrade_ != Upgrade::Off && upgradeStep(arrival)) return;
  if (handler_) handler_(arrival);
}

void Pop3Link::onReadyRead() {
  // Data that arrives while an arrival is handled (the handler yields) is picked up by this loop.
  if (inHandler_) return;
  inHandler_ = true;
  while (reading_ && socket_->bytesAvailable() > 0) {
    QByteArray arrival;
    if (joiner_.take(socket_->readAll(), raw_, &arrival)) handUp(arrival);
  }
  inHandler_ = false;
}

}  // namespace kvmail
