#include "FakeSmtpServer.h"

#include <QTcpSocket>

namespace kvtest {

FakeSmtpServer::FakeSmtpServer(Fault fault) : fault_(fault) {
  server_.listen(QHostAddress::LocalHost);
  connect(&server_, &QTcpServer::newConnection, this, [this] {
    while (QTcpSocket* socket = server_.nextPendingConnection()) {
      socket->setParent(this);
      socket->write("220 fake.localhost ESMTP scripted\r\n");
      connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
        while (socket->canReadLine()) onLine(socket, socket->readLine().trimmed());
      });
    }
  });
}

void FakeSmtpServer::onLine(QTcpSocket* socket, const QByteArray& line) {
  if (inData_) {
    if (fault_ == Fault::DropInSecondData && messages_ == 2 && ++linesInData_ == 3) {
      inData_ = false;
      socket->abort();
      return;
    }
    if (line != ".") return;
    inData_ = false;
    if (fault_ == Fault::SilentAfterData) return;
    socket->write("250 queued\r\n");
    return;
  }
  commands << line;
  const QByteArray verb = line.left(4).toUpper();
  if (fault_ == Fault::SilentAfterGreeting) return;
  if (verb == "EHLO" && fault_ == Fault::CloseAfterEhlo) {
    socket->disconnectFromHost();
    return;
  }
  if (verb == "EHLO")
    socket->write("250-fake.localhost\r\n250 8BITMIME\r\n");
  else if (verb == "DATA") {
    inData_ = true;
    ++messages_;
    linesInData_ = 0;
    socket->write("354 go ahead\r\n");
  } else if (verb == "QUIT") {
    if (fault_ == Fault::SilentOnQuit) return;
    socket->write("221 bye\r\n");
    socket->disconnectFromHost();
  } else {
    socket->write("250 ok\r\n");
  }
}

}  // namespace kvtest
