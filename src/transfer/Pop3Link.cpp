#include "transfer/Pop3Link.h"

#include <QTcpSocket>

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

Pop3Link::Pop3Link(QObject* parent) : QObject(parent), socket_(new QTcpSocket(this)) {
  socket_->setObjectName(QStringLiteral("wskMail"));
  connect(socket_, &QTcpSocket::readyRead, this, &Pop3Link::onReadyRead);
  connect(socket_, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) {
    if (!reading_) return;
    Q_EMIT failed(socketErrorNumber(int(error)), socket_->errorString());
  });
  connect(socket_, &QTcpSocket::connected, this,
          [this] { socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1); });
}

Pop3Link::~Pop3Link() {
  socket_->abort();
}

void Pop3Link::connectTo(const QString& host, quint16 port) {
  socket_->abort();
  joiner_.reset();
  raw_ = false;
  reading_ = true;
  socket_->connectToHost(host, port);
}

void Pop3Link::send(const QString& command) {
  socket_->write(command.toUtf8() + "\r\n");
  socket_->flush();  // out now rather than on the next pass of the event loop
}

void Pop3Link::close() {
  socket_->close();
}

void Pop3Link::abort() {
  socket_->abort();
}

void Pop3Link::onReadyRead() {
  // Data that arrives while an arrival is handled (the handler yields) is picked up by this loop.
  if (inHandler_) return;
  inHandler_ = true;
  while (reading_ && socket_->bytesAvailable() > 0) {
    QByteArray arrival;
    if (joiner_.take(socket_->readAll(), raw_, &arrival) && handler_) handler_(arrival);
  }
  inHandler_ = false;
}

}  // namespace kvmail
