#pragma once
// A blocking line client for talking SMTP or POP3 to the loopback servers in tests.
// Every wait is bounded; a timeout yields an empty answer instead of hanging.
#include <QByteArray>
#include <QString>
#include <QTcpSocket>

namespace kvtest {

class LineClient {
 public:
  bool connectTo(quint16 port, int timeoutMs = 5000);
  void send(const QByteArray& line);  // CR LF is added
  void sendRaw(const QByteArray& bytes);
  // One line without its CR LF; false on timeout or close.
  bool readLine(QByteArray* line, int timeoutMs = 10000);
  // An SMTP reply, all lines joined with LF ("250-a\n250 b").
  QByteArray smtpReply(int timeoutMs = 10000);
  // SMTP: sends a command and answers the reply.
  QByteArray command(const QByteArray& line) {
    send(line);
    return smtpReply();
  }
  // POP3: the lines after a "+OK" status up to the lone ".", joined with CR LF, still stuffed.
  QByteArray pop3Body(int timeoutMs = 10000);
  bool isOpen() const { return socket_.state() == QAbstractSocket::ConnectedState; }

 private:
  QTcpSocket socket_;
};

}  // namespace kvtest
