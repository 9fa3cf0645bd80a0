#pragma once
// A scripted SMTP peer for the faults the real sink will not produce: a server that stops
// answering, or drops the connection midway. Lives on the test's thread; the sender's local
// event loop drives it.
#include <QByteArray>
#include <QList>
#include <QTcpServer>

namespace kvtest {

class FakeSmtpServer : public QObject {
 public:
  enum class Fault {
    SilentAfterGreeting,  // greets, then never answers
    SilentAfterData,      // takes the whole message, then never confirms it
    CloseAfterEhlo,       // hangs up instead of answering EHLO
    SilentOnQuit,         // takes the message, then never answers QUIT
    DropInSecondData,     // takes the first message, hangs up halfway through the second's text
  };

  explicit FakeSmtpServer(Fault fault);
  quint16 port() const { return server_.serverPort(); }
  QList<QByteArray> commands;  // what the client said, one command per entry

 private:
  void onLine(QTcpSocket* socket, const QByteArray& line);

  Fault fault_;
  QTcpServer server_;
  bool inData_ = false;
  int messages_ = 0;     // DATA commands so far, over every connection
  int linesInData_ = 0;  // text lines of the current message
};

}  // namespace kvtest
