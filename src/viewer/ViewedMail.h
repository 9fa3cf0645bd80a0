#pragma once
// One stored mail made ready for the viewer, without a window: its header texts, the message
// file in the temporary folder, the parsed parts and the attachments saved beside it.
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include "store/MailStore.h"
#include "support/mime/MimeMail.h"

namespace kvmail {

struct ViewedAttachment {
  QString key;   // "0k", "1k", ...: the attachment's 0-based number and "k"
  QString name;  // as the mail names it
  QString path;  // the saved copy in the temporary folder; empty when it could not be written
  qint64 size = 0;
};

struct ViewedMail {
  long mailId = 0;
  bool found = false;  // the row exists
  StoredHeader header;
  QString messagePath;      // <temp>/<mail id>.eml
  bool hasMessage = false;  // the stored message was written there and could be read
  ParsedMail parsed;        // the bodies; attachment data only for the parts the body may show
  bool htmlBody = false;    // the mail has an HTML part (otherwise plain text, or nothing)
  QList<ViewedAttachment> attachments;

  // The parts the body may show in place: by Content-ID and by file name.
  QHash<QString, QByteArray> partsById;
  QHash<QString, QByteArray> partsByName;
};

// "Name<address>", or the address alone when the name is empty; no blank in between.
QString senderText(const QString& name, const QString& address);
// "邮件状态：高优先级。" for 1, "邮件状态：低优先级。" for 2, "" (strip hidden) otherwise.
QString priorityText(long priority);

// The message file of a mail in the temporary folder, and the folder its attachments go to.
QString viewedMessagePath(long mailId);
QString viewedAttachmentFolder(long mailId);

// Reads the header row, writes the stored message to its file, parses it and, when the row says
// the mail has attachments, saves them and lists them. Nothing is written outside the temporary
// folder. Bad or missing message files give what could be read; it never throws for them.
ViewedMail loadViewedMail(const MailStore& store, long mailId);

// The body as the browser is given it: the mail's HTML, or its plain text as HTML that keeps
// the line breaks and makes web and mail addresses clickable.
QString bodyHtml(const ViewedMail& mail);
QString plainTextHtml(const QString& text);

// The text file the print command hands on: header lines, the attachment names and the body
// as read on screen (bodyText). The first line never looks like markup.
QString printText(const ViewedMail& mail, const QString& bodyText);

}  // namespace kvmail
