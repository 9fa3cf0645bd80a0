#pragma once
// Every operation the module performs on stored mail, templates, accounts and addresses, over
// the host system object. Windows, engines, the service and hosts store and read mail only here;
// the statements themselves are the catalogue's (Statements.h).
#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

#include "model/ModelTypes.h"
#include "support/mime/MimeMail.h"

namespace kvmail {

class IHostSystem;
class clsAccount;

// Which step of a store operation failed; the caller words the failure for its user. Nothing
// of the operation is kept when a step fails: it ran in one transaction.
enum class StoreStep { None, Write, Begin, Key, Insert, File, Commit };

struct StoreFailure {
  StoreStep step = StoreStep::None;
  QString error;  // the host's text, or the message writer's; empty for a failed file copy
  int index = 0;  // 1-based: which mail of a batch failed
  bool failed() const { return step != StoreStep::None; }
};

// A received message as it goes into the store. The message is in memory (bytes) or, when it is
// large, only in the file at path; size is the stored file's length in bytes.
struct ReceivedMail {
  ParsedMail header;  // the parsed headers and part structure
  QString uidl;
  QString pop3Server;  // written to messageID, so the row is never taken for queued mail
  QByteArray bytes;
  QString path;
  qint64 size = 0;
};

// A composed mail as it goes into the store: the message to write to its file, and the row texts.
struct ComposedMail {
  OutgoingMail message;
  QString filePath;  // where the message file is written ("temp" + position + ".eml")
  QString fromName;
  QString fromAddress;
  QString fromText;     // the sender's text form, the [E-MAIL] value of a reply
  QString toAddresses;  // 收件人邮箱: the To addresses joined by ";"
  QString toTexts;      // 收件人: each To entry's text form joined by ";"
  QString priority = QStringLiteral("3");
  long replyKey = 0;  // the mail this one answers; less than 1 for none
  bool hasAttachments = false;
};

// A composed mail's row texts from a message to write, by the address rules of the object model.
ComposedMail composedMail(const OutgoingMail& message, const QString& filePath,
                          const QString& priority = QStringLiteral("3"), long replyKey = 0);

// The header fields of one stored mail (the viewer's query).
struct StoredHeader {
  QString toText;  // 收件人
  QString fromName;
  QString fromAddress;
  QString sentTime;
  QString subject;
  long priority = 0;
  long attachments = 0;
};

// The program's template: the MailTemplet row and what its stored file holds.
struct TemplateContent {
  QString to, cc, bcc, subject;  // the row
  bool hasFile = false;
  QString fileSubject;
  QString body;
  int priority = 0;  // X-Priority of the file, 3 when the file has none; 0 without a file
  QStringList attachmentPaths;
};

class MailStore {
 public:
  explicit MailStore(IHostSystem& host) : host_(host) {}
  IHostSystem& host() const { return host_; }

  // The current user's account, else the default one; false with the record untouched when the
  // store has neither.
  bool loadAccount(clsAccount& account) const;

  // Received mail. The receive time stored for a server id ("" when not stored), its stored size.
  QString receivedTime(const QString& uidl) const;
  double storedSize(const QString& uidl) const;
  // A new row and its message file, in one transaction. The new key, or 0 and *failure.
  long storeReceived(const ReceivedMail& mail, StoreFailure* failure) const;

  // Composed mail: each message file is written, then every row and file of the batch is stored
  // in one transaction, or none. The new keys in batch order, or nothing and *failure.
  QList<long> storeComposed(const QList<ComposedMail>& mails, StoreFailure* failure) const;

  // The queue of outgoing mail, newest first, as a bundle that reads each message when it is asked
  // for (readQueuedMessage). Raises MailError when the queue cannot be read. The host system
  // must outlive the bundle.
  BundlePtr readSendQueue() const;
  // A queued mail read from its stored file into a message that carries its key; attachments are
  // saved under a folder of the mail's own. Nothing when the row or its file cannot be read.
  MessagePtr readQueuedMessage(long mailId) const;
  // The length of a mail's stored message file; -1 when the row or its file is gone.
  qint64 messageLength(long mailId) const;
  // The keys of the queued mail, newest first; nothing (and *error) when the query fails.
  QList<long> queuedMailIds(QString* error = nullptr) const;
  // Marks a mail sent through a server; the host's error text, empty on success.
  QString markSent(const QString& smtpServer, long mailId) const;

  // One stored mail: its header row (nothing when there is no such row), its message file
  // written to path (false when the row holds none), and the message read back from storage.
  std::optional<StoredHeader> header(long mailId) const;
  bool messageToFile(long mailId, const QString& path) const;
  // The stored message parsed; ok is false when the row or its file is missing. The file is
  // written to path on the way, as the platform's readers always had it.
  ParsedMail readMessage(long mailId, const QString& path,
                         MimeParts parts = MimeParts::WithContent) const;

  // Templates. Reading raises MailError when the row cannot be queried.
  TemplateContent readTemplate(long progId) const;
  QString deleteTemplate(long progId) const;
  QString insertTemplate(long progId, const QString& to, const QString& cc,
                         const QString& subject) const;
  bool templateFileToColumn(long progId, const QString& path) const;
  QString programName(long progId) const;
  bool templateExists(long progId) const;

  // Every address met in past mail (senders of received mail, recipients of composed mail),
  // without repeats, in order; the address book and the recipient history read it.
  QStringList knownAddresses(QString* error = nullptr) const;

 private:
  void readOptionalSettings(const QString& query, clsAccount& account) const;

  IHostSystem& host_;
};

// Received header fields as the row stores them, from the parsed message.
struct ReceivedFields {
  QString fromName, fromAddress, subject;
  QDateTime sentTime;
  QString toAddresses, toNames, email;
  bool hasAttachments = false;
  long priority = 3;
};
ReceivedFields receivedFields(const ParsedMail& mail);

// A message object carrying what a parsed mail file holds; attachments are saved under folder.
MessagePtr messageFromParsed(const ParsedMail& mail, long id, const QString& folder);

// The message to write for a message object: its sender, recipients (names kept as set),
// subject, HTML body and attachment files; headerPriority is X-Priority (0 writes none).
OutgoingMail outgoingMail(const IMessage& message, int headerPriority = 0);

}  // namespace kvmail
