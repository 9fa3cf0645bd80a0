#pragma once
// Reading and writing Internet messages. Only this layer's .cpp files see GMime; everything
// else uses these plain values.
#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace kvmail {

struct MimeAddress {
  QString name;
  QString address;
  bool operator==(const MimeAddress&) const = default;
};

struct MimeAttachment {
  QString fileName;     // decoded (RFC 2047 / RFC 2231); a made-up name when the part has none
  QString contentType;  // "image/png"
  QString contentId;    // without angle brackets; empty when none
  bool isInline = false;
  QByteArray data;  // decoded bytes
};

struct ParsedMail {
  bool ok = false;  // false only when nothing at all could be read
  QString subject;
  MimeAddress from;
  MimeAddress replyTo;
  QList<MimeAddress> to, cc, bcc;
  QDateTime date;     // invalid when the message has no readable Date
  QString htmlBody;   // the HTML part, or the plain text escaped with "<br>\n" for each line end
  QString textBody;   // the plain text part, when there is one; line ends are "\n" in both
  int priority = 0;   // numeric value of X-Priority; 0 when missing or unreadable
  QString messageId;  // without angle brackets
  QList<MimeAttachment> attachments;  // every non-body leaf part, inline images included
};

// Reads a message; broken or truncated input yields what could be read.
// Text labelled gb2312 is decoded as GB18030; defaultCharset is used for unlabelled 8-bit text.
// How much of the parts to read: everything, or only the headers and which parts there are
// (attachments then carry no data and the bodies stay empty) for callers that store the file.
enum class MimeParts { WithContent, StructureOnly };

ParsedMail readMailBytes(const QByteArray& raw, const QString& defaultCharset = {},
                         MimeParts parts = MimeParts::WithContent);
ParsedMail readMailFile(const QString& path, const QString& defaultCharset = {},
                        MimeParts parts = MimeParts::WithContent);

// Saves each attachment under folder by its own file name (replacing older files);
// answers the full paths in order. Names are stripped of folder parts, characters no file system
// accepts become "_", and a name used twice in one mail gets " (2)". The folder is made when
// missing; a file that cannot be written is left out of the answer.
QStringList saveAttachments(const ParsedMail& mail, const QString& folder);

// The pictures the HTML body shows by "cid:" saved under folder, and the body pointing at the
// saved files instead, so an editor shows them and the writer embeds them again; those parts
// leave the attachment list. Everything else of the mail is unchanged.
ParsedMail withLocalPictures(const ParsedMail& mail, const QString& folder);

// The joined text forms used by the store: "a@x;b@y" (entries without an address left out) and
// "Name <a@x>;b@y".
QString joinAddresses(const QList<MimeAddress>& list);
QString joinDisplay(const QList<MimeAddress>& list);

struct OutgoingMail {
  MimeAddress from;
  MimeAddress replyTo;  // left out when the address is empty
  QList<MimeAddress> to, cc, bcc;
  QString subject;
  // Pictures the body shows from local files (<img src="file:..."> or an absolute path) travel
  // inside the message as related parts, and the body shows them by "cid:".
  QString htmlBody;
  int headerPriority = 0;       // X-Priority 1, 3 or 5; 0 writes no header
  QStringList attachmentPaths;  // files attached by path, in order
  QDateTime date;               // now when invalid
  QString messageId;            // generated when empty
  bool operator==(const OutgoingMail&) const = default;
};

// Writes the message with CR LF line ends: gb2312 headers and base64 HTML body, UTF-8 for any
// text that gb2312 cannot hold. Answers false and sets *error (e.g. a missing attachment file).
bool writeMailBytes(const OutgoingMail& mail, QByteArray* out, QString* error);
bool writeMailFile(const OutgoingMail& mail, const QString& path, QString* error);

}  // namespace kvmail
