#include "FakePop3Server.h"

#include <QTcpSocket>
#include <QTimer>

namespace kvtest {

const QByteArray FakePop3Server::Drop = QByteArrayLiteral("<<drop>>");

FakePop3Server::FakePop3Server(QObject* parent) : QObject(parent) {
  server_.listen(QHostAddress::LocalHost, 0);
  connect(&server_, &QTcpServer::newConnection, this, &FakePop3Server::onConnection);
}

void FakePop3Server::onConnection() {
  while (QTcpSocket* socket = server_.nextPendingConnection()) {
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    auto line = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, this, [this, socket, line] {
      *line += socket->readAll();
      qsizetype eol;
      while ((eol = line->indexOf("\r\n")) >= 0) {
        const QByteArray command = line->left(eol);
        line->remove(0, eol + 2);
        commands_ << command;
        if (handler_) sendChunks(socket, handler_(command));
      }
    });
    sendChunks(socket, greeting_);
  }
}

void FakePop3Server::sendChunks(QTcpSocket* socket, QList<QByteArray> chunks) {
  if (chunks.isEmpty()) return;
  const QByteArray first = chunks.takeFirst();
  if (first == Drop) {
    socket->abort();
    return;
  }
  socket->write(first);
  socket->flush();
  if (chunks.isEmpty()) return;
  // A pause between chunks makes each one arrive on its own.
  QTimer::singleShot(40, socket, [this, socket, chunks] { sendChunks(socket, chunks); });
}

QList<QByteArray> FakePop3Server::uidls(int n) {
  QList<QByteArray> ids;
  for (int i = 1; i <= n; ++i) ids << "uid-" + QByteArray::number(i);
  return ids;
}

FakePop3Server::Handler FakePop3Server::mailbox(const QList<QByteArray>& messages,
                                                const QList<QByteArray>& uidls) {
  return [messages, uidls](const QByteArray& command) -> QList<QByteArray> {
    const QList<QByteArray> words = command.split(' ');
    const QByteArray verb = words.value(0).toUpper();
    const int n = words.value(1).toInt();
    if (verb == "STAT") {
      qsizetype total = 0;
      for (const QByteArray& m : messages) total += m.size();
      return {"+OK " + QByteArray::number(messages.size()) + " " + QByteArray::number(total) +
              "\r\n"};
    }
    if (verb == "UIDL" && n >= 1 && n <= messages.size())
      return {"+OK " + QByteArray::number(n) + " " + uidls.value(n - 1) + "\r\n"};
    if (verb == "RETR" && n >= 1 && n <= messages.size())
      return {"+OK " + QByteArray::number(messages[n - 1].size()) + " octets\r\n" +
              messages[n - 1] + ".\r\n"};
    if (verb == "QUIT") return {"+OK bye\r\n"};
    if (verb == "USER" || verb == "PASS" || verb == "DELE") return {"+OK\r\n"};
    return {"-ERR unknown\r\n"};
  };
}

}  // namespace kvtest
