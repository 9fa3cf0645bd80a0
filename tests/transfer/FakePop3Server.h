#pragma once
// A scripted POP3 server on 127.0.0.1 for the faults a real server will not produce: a negative
// greeting, a reply split across arrivals, a connection dropped in the middle of a message.
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QTcpServer>

#include <functional>

class QTcpSocket;

namespace kvtest {

class FakePop3Server : public QObject {
  Q_OBJECT
 public:
  // A chunk equal to Drop closes the connection; chunks go out as separate arrivals.
  static const QByteArray Drop;
  using Handler = std::function<QList<QByteArray>(const QByteArray& command)>;

  explicit FakePop3Server(QObject* parent = nullptr);
  quint16 port() const { return server_.serverPort(); }

  void setGreeting(QList<QByteArray> chunks) { greeting_ = std::move(chunks); }
  void setHandler(Handler handler) { handler_ = std::move(handler); }
  // Every command line received, without its CR LF.
  const QList<QByteArray>& commands() const { return commands_; }

  // A well-behaved mailbox: USER/PASS/STAT/UIDL/RETR/DELE/QUIT over the given messages.
  static Handler mailbox(const QList<QByteArray>& messages, const QList<QByteArray>& uidls);
  // "uid-1" to "uid-n"; the commands of a session that logged in as "u" with "p", then rest.
  static QList<QByteArray> uidls(int n);
  static QList<QByteArray> loggedIn(const QList<QByteArray>& rest) {
    return QList<QByteArray>{"USER u", "PASS p", "STAT"} + rest;
  }

 private:
  void onConnection();
  void sendChunks(QTcpSocket* socket, QList<QByteArray> chunks);

  QTcpServer server_;
  QList<QByteArray> greeting_{QByteArrayLiteral("+OK fake ready.\r\n")};
  Handler handler_;
  QList<QByteArray> commands_;
};

}  // namespace kvtest
