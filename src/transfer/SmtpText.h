#pragma once
// Plain-text helpers of the SMTP sender: recipient lists, and the protocol transcript with the
// password hidden and the last command and reply remembered for error texts.
#include <QByteArray>
#include <QList>
#include <QString>

#include "support/mime/MimeMail.h"

namespace kvmail::smtp {

// Splits "a@x;Name <b@y>;" on the delimiter; blanks around entries and empty entries are dropped.
QList<MimeAddress> parseRecipients(const QString& list, const QString& delimiter);
// True when the address can stand between angle brackets in MAIL FROM or RCPT TO.
bool isSafeAddress(const QString& address);

// Follows the SMTP dialogue line by line. Outgoing lines are masked while an AUTH exchange runs,
// and the password never survives in any line, neither as it is nor in base64.
class ProtocolLog {
 public:
  ProtocolLog(const QString& userName, const QString& password);

  // Each answers the line as it may be shown.
  QString outgoing(const QByteArray& line);
  QString incoming(const QByteArray& line);
  // A transfer library note (not part of the dialogue), with secrets hidden.
  QString note(const QByteArray& line) const { return hide(QString::fromUtf8(line)); }

  bool greeted() const { return greeted_; }
  // The last error reply (code 400 and up), lines joined by a blank ("550 5.1.1 ... unknown"),
  // and the command it answered ("RCPT TO:<a@x>"); the QUIT after a failure does not hide it.
  int errorCode() const { return errorCode_; }
  const QString& errorReply() const { return errorReply_; }
  const QString& errorCommand() const { return errorCommand_; }

 private:
  QString hide(QString line) const;

  QList<QByteArray> secrets_;
  bool inAuth_ = false;
  bool greeted_ = false;
  QString lastCommand_;
  QString pendingReply_;
  int errorCode_ = 0;
  QString errorReply_;
  QString errorCommand_;
};

}  // namespace kvmail::smtp
