#pragma once
// What the POP3 session asks about the local mailbox: is a server mail already stored, how big
// is the stored copy, may it go from the server, and storing a retrieved one. The session
// itself never touches the store.
#include <QByteArray>
#include <QString>

namespace kvmail {

class IMailboxPolicy {
 public:
  virtual ~IMailboxPolicy() = default;

  // The receive time stored for a server id, "" when the mail is not stored yet.
  virtual QString storedReceiveTime(const QString& uidl) = 0;
  // Whether a receive time read back is a real date (a stored mail).
  virtual bool isStored(const QString& receiveTime) const = 0;
  // The stored copy's size in bytes, 0 when unknown.
  virtual double storedSize(const QString& uidl) = 0;
  // Whether a mail stored at that time is due for deletion on the server now.
  virtual bool deleteStoredNow(const QString& receiveTime) const = 0;
  // Whether a newly stored mail is deleted on the server at once.
  virtual bool deleteAfterStore() const = 0;
  // Stores a retrieved message; true only when its row and file are both stored, so that only
  // then may it go from the server. The text is taken over so a large mail is not held twice.
  virtual bool store(QByteArray text, const QString& uidl) = 0;
};

}  // namespace kvmail
