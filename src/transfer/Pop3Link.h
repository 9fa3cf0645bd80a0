#pragma once
// The line-reply layer under the POP3 session: the socket, and the arrivals it hands up. Outside
// message text an arrival is handed up once it holds a whole reply line; message text is handed
// up piece by piece as it arrives. The socket speaks TLS when the account asks for it.
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSslCertificate>
#include <QSslError>
#include <QString>

#include <functional>

class QSslSocket;

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

  // How the next connection is secured: the account's POP3 mode (0 plain, 1 STLS, 2 TLS from
  // the first byte) and the certificates trusted instead of the system's (none: the system's).
  void setSecurity(long mode, QList<QSslCertificate> pinned);
  void connectTo(const QString& host, quint16 port);
  bool isEncrypted() const;
  // Sends one command and its CR LF at once. When TLS was asked for, nothing goes out before the
  // connection is encrypted: a command sent earlier ends the connection with tlsFailed().
  void send(const QString& command);
  void close();
  void abort();
  // Stops handing up arrivals: the session is over.
  void stopReading() { reading_ = false; }

  QSslSocket* socket() const { return socket_; }
  QString peer() const { return host_ + u':' + QString::number(port_); }

 Q_SIGNALS:
  // Winsock's number for the error, and the socket's own description.
  void failed(int number, const QString& description);
  // STLS went out: the greeting is held back until the connection is encrypted.
  void upgrading();
  // The connection is encrypted and the server's certificate verified.
  void encrypted();
  // The secure connection asked for could not be made, in the user's words; nothing was sent.
  void tlsFailed(const QString& reason);

 private:
  void onReadyRead();
  void onSocketError(int error);
  void onSslErrors(const QList<QSslError>& errors);
  void refuse(const QString& reason);
  // STLS is done here, below the session: it sees the greeting only once the link is encrypted.
  bool upgradeStep(const QByteArray& arrival);
  void onEncrypted();
  void handUp(const QByteArray& arrival);

  QSslSocket* socket_;
  QString host_;
  quint16 port_ = 0;
  long mode_ = 0;
  QList<QSslCertificate> pinned_;
  enum class Upgrade { Off, Greeting, StlsReply, Handshake } upgrade_ = Upgrade::Off;
  QByteArray greeting_;
  Handler handler_;
  Pop3ReplyJoiner joiner_;
  bool raw_ = false;
  bool reading_ = false;
  bool inHandler_ = false;
};

// Winsock's numbers for the socket errors a user is likely to meet; others keep Qt's own.
int socketErrorNumber(int qtSocketError);

}  // namespace kvmail
