#pragma once
// The SMTP sender the sending loop drives: settings for one message, Send() and Cancel(), and
// four events. Send() runs the transfer on a worker thread and waits in a local event loop, so
// its events arrive on the caller's (UI) thread while the user can still press stop.
#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

#include "support/mime/MimeMail.h"
#include "transfer/SmtpSession.h"

namespace kvmail {

namespace smtp {
class Flight;
class SerialWorker;
}  // namespace smtp

class SmtpSender : public QObject {
  Q_OBJECT
 public:
  explicit SmtpSender(QObject* parent = nullptr);
  ~SmtpSender() override;  // ends a kept session with QUIT

  void setServer(const QString& server) { server_ = server; }
  QString server() const { return server_; }
  // 0 or less means the security mode's standard port: 25, 587 for STARTTLS, 465 for TLS.
  void setPort(int port) { port_ = port; }
  int port() const { return port_; }
  // 0: as the port says (465 TLS, any other STARTTLS when the server offers it); 1: STARTTLS
  // required before anything else; 2: TLS from the first byte. The certificate is verified
  // against the system's trust store, or the certificate file when one is set.
  void setSecurity(long mode) { security_ = mode; }
  long security() const { return security_; }
  void setCertificateFile(const QString& path) { certificateFile_ = path; }
  QString certificateFile() const { return certificateFile_; }
  void setUserName(const QString& name) { userName_ = name; }
  QString userName() const { return userName_; }
  void setPassword(const QString& password) { password_ = password; }
  void setFromAddress(const QString& address) { fromAddress_ = address; }
  QString fromAddress() const { return fromAddress_; }
  void setFromName(const QString& name) { fromName_ = name; }
  QString fromName() const { return fromName_; }
  // The To list, entries "a@x" or "Name <a@x>" joined by the list delimiter.
  void setRecipients(const QString& list) { recipients_ = list; }
  QString recipients() const { return recipients_; }
  void setReplyTo(const QString& address) { replyTo_ = address; }
  QString replyTo() const { return replyTo_; }
  void setSubject(const QString& subject) { subject_ = subject; }
  QString subject() const { return subject_; }
  void setBody(const QString& body) { body_ = body; }
  QString body() const { return body_; }
  // File paths joined by the list delimiter.
  void setAttachments(const QString& list) { attachments_ = list; }
  QString attachments() const { return attachments_; }
  // X-Priority: 1 high, 3 normal, 5 low.
  void setHeaderPriority(int priority) { headerPriority_ = priority; }
  int headerPriority() const { return headerPriority_; }
  void setListDelimiter(const QString& delimiter) { delimiter_ = delimiter; }
  QString listDelimiter() const { return delimiter_; }

  // The sending loop's options, in the order it sets them:
  // protocol detail sent to Status: 0 none, 1 commands and replies, 2 also connection notes.
  void setLogLevel(int level) { logLevel_ = level; }
  int logLevel() const { return logLevel_; }
  // 1 keeps the session to the same server open across the messages of one run.
  void setKeepSession(int keep) { keepSession_ = keep != 0; }
  bool keepSession() const { return keepSession_; }
  // true: log in (AUTH) whenever a user name is set.
  void setAuthenticate(bool on) { authenticate_ = on; }
  bool authenticate() const { return authenticate_; }
  // true: the body is HTML (what the composer stores); false: plain text, shown as it is.
  void setHtmlBody(bool html) { htmlBody_ = html; }
  bool htmlBody() const { return htmlBody_; }

  // Giving up on a server that does not answer the connection, or stops answering midway.
  void setConnectTimeout(int seconds) { connectTimeout_ = seconds; }
  void setStallTimeout(int seconds) { stallTimeout_ = seconds; }

  // Work for the UI thread while the message is on the wire (the next message read ahead, say);
  // it must not throw, must not process events, and runs once per Send after the transfer has
  // started.
  void setWhileSending(std::function<void()> work) { whileSending_ = std::move(work); }

  // A message written ahead from this sender's settings; an empty one when it cannot be written.
  struct Prepared {
    OutgoingMail mail;
    std::optional<smtp::Job> job;  // the transaction that sends it, with the message's bytes
    QString sessionKey;
  };
  Prepared prepare() const;
  // The next Send uses these bytes when its settings make the same message, else writes its own.
  // On a kept session the transaction starts at once, after the one in progress: its commands
  // go out while the caller finishes with the current message, and its content waits for that
  // Send. Any other Send, setPrepared or closeSession drops it before the content goes out.
  void setPrepared(Prepared prepared);

  // Sends the message and returns when it has ended, after SendSuccesful or SendFailed.
  bool Send();
  // Asks the send in progress to stop; it then ends with SendFailed. No effect when idle.
  void Cancel();
  // Ends a kept session now (QUIT); the next Send connects afresh.
  void closeSession();

  bool isSending() const { return sending_; }
  // Whether the last successful send went out on a session kept from an earlier one.
  bool lastSendReusedSession() const { return reused_; }

 Q_SIGNALS:
  void Progress(QString text, int percent);
  void SendFailed(QString reason);
  void SendSuccesful();
  void Status(QString text);

 private:
  bool fail(const QString& reason);
  OutgoingMail outgoingMail() const;
  QString sessionKey() const;
  // The transaction for mail with this sender's settings, using ahead's bytes when they are of
  // this mail; nothing, with the reason, when it cannot be sent.
  std::optional<smtp::Job> job(const OutgoingMail& mail, const Prepared* ahead,
                               QString* reason) const;
  std::shared_ptr<smtp::Flight> launch(smtp::Job job, bool held);
  void dropStaged();

  QString server_, userName_, password_, fromAddress_, fromName_, recipients_, replyTo_;
  QString subject_, body_, attachments_, certificateFile_;
  long security_ = 0;
  QString delimiter_ = QStringLiteral(";");
  int port_ = 25;
  int headerPriority_ = 3;
  int logLevel_ = 0;
  bool keepSession_ = false;
  bool authenticate_ = true;
  bool htmlBody_ = true;
  int connectTimeout_ = 30;
  int stallTimeout_ = 60;

  bool sending_ = false;
  bool reused_ = false;
  std::unique_ptr<smtp::Session> session_;
  QString sessionKey_;
  std::function<void()> whileSending_;
  Prepared prepared_;
  std::shared_ptr<smtp::SerialWorker> worker_;
  std::shared_ptr<smtp::Flight> active_;  // the transaction Send waits for
  std::shared_ptr<smtp::Flight> staged_;  // the next one, started ahead and held
};

}  // namespace kvmail
