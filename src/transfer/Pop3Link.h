#pragma once
// The line-reply layer under the POP3 session: the socket, and the arrivals it hands up. Outside
// message text an arrival is handed up once it holds a whole reply line; message text is handed
// up piece by piece as it arrives.
#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>

class QTcpSocket;

namespace kvmail {

// Joins a reply line split across arrivals. Sturdier than the original handler, which took
// each arrival for one whole reply; two replies in one arrival still go up together.
class Pop3ReplyJoiner {
 public:
  // The data to hand up now, or nothing while a reply line still lacks its line feed.
  // In raw mode (message text) every arrival goes up at once.
  bool take(QByteArray data, bool raw, QByteArray* out);
  void reset() { pending_.clear(); }

 private:
  QByteArray pending_;
};

class Pop3Link : public QObject {
  Q_OBJECT
 public:
  using Handler = std::function<void(const QByteArray& arrival)>;

  explicit Pop3Link(QObject* parent = nullptr);
  ~Pop3Link() override;

  void setHandler(Handler handler) { handler_ = std::move(handler); }
  // Message text is handed up as it arrives (the RETR stage).
  void setRaw(bool raw) { raw_ = raw; }

  void connectTo(const QString& host, quint16 port);
  // Sends one command and its CR LF at once.
  void send(const QString& command);
  void close();
  void abort();
  // Stops handing up arrivals: the session is over.
  void stopReading() { reading_ = false; }

  QTcpSocket* socket() const { return socket_; }

 Q_SIGNALS:
  // Winsock's number for the error, and the socket's own description.
  void failed(int number, const QString& description);

 private:
  void onReadyRead();

  QTcpSocket* socket_;
  Handler handler_;
  Pop3ReplyJoiner joiner_;
  bool raw_ = false;
  bool reading_ = false;
  bool inHandler_ = false;
};

// Winsock's numbers for the socket errors a user is likely to meet; others keep Qt's own.
int socketErrorNumber(int qtSocketError);

}  // namespace kvmail
