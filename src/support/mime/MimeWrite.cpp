// Writing OutgoingMail as an Internet message with GMime: gb2312 where the text fits,
// UTF-8 where it does not, CR LF line ends throughout.
#include <gmime/gmime.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QSaveFile>
#include <QUrl>

#include <memory>
#include <vector>

#include "support/mime/LineEnds.h"
#include "support/mime/MimeCharset.h"
#include "support/mime/MimeGlib.h"
#include "support/mime/MimeMail.h"

namespace kvmail {
namespace {

using mime::GRef;

using mime::ensureGMime;

constexpr int kMaxWordBytes = 39;  // 52 base64 characters: a word and its header name fit 78
constexpr int kMaxLine = 78;

struct Encoded {
  QByteArray charset;  // "gb2312" or "UTF-8"
  QByteArray bytes;
};

// GB2312 when every character fits; otherwise UTF-8, so nothing is replaced by "?".
Encoded encodeText(const QString& text) {
  if (auto gb = mime::encodeStrict(text, "GB2312")) return {QByteArrayLiteral("gb2312"), *gb};
  return {QByteArrayLiteral("UTF-8"), text.toUtf8()};
}

bool isPlainAscii(const QString& text) {
  for (QChar c : text)
    if (c.unicode() < 0x20 || c.unicode() > 0x7e) return false;
  return !text.contains(QLatin1String("=?"));
}

QString oneLine(QString text) {
  text.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
  return text;
}

// RFC 2047 B words split between characters. A word ends early on a multiple of three bytes
// when it can, because GMime-based readers join a run's base64 before decoding it.
QList<QByteArray> encodedWords(const QString& text) {
  const QByteArray charset = encodeText(text).charset;
  const bool gb = charset == "gb2312";
  QList<QByteArray> words;
  QByteArray pending;
  auto flush = [&] {
    if (pending.isEmpty()) return;
    words << "=?" + charset + "?B?" + pending.toBase64() + "?=";
    pending.clear();
  };
  for (qsizetype i = 0; i < text.size();) {
    const qsizetype len = (text[i].isHighSurrogate() && i + 1 < text.size()) ? 2 : 1;
    const QString ch = text.mid(i, len);
    const QByteArray bytes =
        gb ? mime::encodeStrict(ch, "GB2312").value_or(QByteArray("?")) : ch.toUtf8();
    if (pending.size() + bytes.size() > kMaxWordBytes) flush();
    pending += bytes;
    if (pending.size() % 3 == 0 && pending.size() > kMaxWordBytes - 6) flush();
    i += len;
  }
  flush();
  return words;
}

// Joins tokens into a raw header value, folding before the line would pass 78 columns.
QByteArray folded(const char* name, const QList<QByteArray>& tokens) {
  QByteArray out;
  qsizetype column = qstrlen(name) + 1;
  for (const QByteArray& token : tokens) {
    const bool fold = !out.isEmpty() && !token.isEmpty() && column + 1 + token.size() > kMaxLine;
    out += fold ? "\n " : " ";
    column = fold ? 1 : column + 1;
    out += token;
    column += token.size();
  }
  return out + '\n';
}

// An unstructured value (Subject): plain when it is ASCII, otherwise encoded words.
QByteArray rawText(const char* name, const QString& text) {
  const QString line = oneLine(text);
  if (isPlainAscii(line)) return folded(name, line.toLatin1().split(' '));
  return folded(name, encodedWords(line));
}

QList<QByteArray> mailboxTokens(const MimeAddress& a) {
  QString address = oneLine(a.address).trimmed();
  address.remove(QLatin1Char('<')).remove(QLatin1Char('>'));
  const QString name = oneLine(a.name).trimmed();
  if (name.isEmpty()) return {address.toUtf8()};
  QList<QByteArray> tokens;
  if (isPlainAscii(name)) {
    QString quoted = name;
    quoted.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
        .replace(QLatin1Char('"'), QLatin1String("\\\""));
    tokens << '"' + quoted.toLatin1() + '"';
  } else {
    tokens = encodedWords(name);
  }
  return tokens << '<' + address.toUtf8() + '>';
}

QByteArray rawAddressList(const char* name, const QList<MimeAddress>& list) {
  QList<QByteArray> tokens;
  for (const MimeAddress& a : list) {
    if (a.address.trimmed().isEmpty() && a.name.trimmed().isEmpty()) continue;
    if (!tokens.isEmpty()) tokens.last() += ',';
    tokens << mailboxTokens(a);
  }
  return tokens.isEmpty() ? QByteArray() : folded(name, tokens);
}

// A file name parameter as common Chinese clients write and read it: one B-encoded word.
QByteArray rawParameterName(const QString& name) {
  const QString line = oneLine(name);
  if (isPlainAscii(line) && !line.contains(QLatin1Char('"')) && !line.contains(QLatin1Char('\\')) &&
      line.size() < 900)
    return '"' + line.toLatin1() + '"';
  const Encoded e = encodeText(line);
  return "\"=?" + e.charset + "?B?" + e.bytes.toBase64() + "?=\"";
}

GMimeHeader* header(GMimeObject* obj, const char* name, const QString& value) {
  g_mime_object_set_header(obj, name, value.toUtf8().constData(), "UTF-8");
  return g_mime_header_list_get_header(g_mime_object_get_header_list(obj), name);
}

void setRawHeader(GMimeObject* obj, const char* name, const QString& value, const QByteArray& raw) {
  if (raw.isEmpty()) return;
  g_mime_header_set_raw_value(header(obj, name, value), raw.constData());
}

QString displayList(const QList<MimeAddress>& list) {
  return joinDisplay(list).replace(QLatin1Char(';'), QLatin1Char(','));
}

GRef<GMimeDataWrapper> wrap(const QByteArray& bytes) {
  GRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.constData(), bytes.size()));
  return GRef<GMimeDataWrapper>(
      g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_DEFAULT));
}

GMimePart* htmlPart(const QString& html) {
  const Encoded e = encodeText(mime::withCrLf(html));
  GMimePart* part = g_mime_part_new_with_type("text", "html");
  g_mime_object_set_content_type_parameter(GMIME_OBJECT(part), "charset", e.charset.constData());
  g_mime_part_set_content(part, wrap(e.bytes).get());
  g_mime_part_set_content_encoding(part, GMIME_CONTENT_ENCODING_BASE64);
  return part;
}

QString guessType(const QString& path) {
  static const QMimeDatabase db;
  const QMimeType t = db.mimeTypeForFile(path, QMimeDatabase::MatchExtension);
  return t.isValid() && !t.isDefault() ? t.name() : QStringLiteral("application/octet-stream");
}

// The attachment part; its name headers are written raw after the structure is complete.
GMimePart* attachmentPart(const QString& path, const QByteArray& data, QString* type) {
  *type = guessType(path);
  const QByteArray t = type->section(QLatin1Char('/'), 0, 0).toLatin1();
  const QByteArray sub = type->section(QLatin1Char('/'), 1).toLatin1();
  GMimePart* part = g_mime_part_new_with_type(t.constData(), sub.constData());
  g_mime_part_set_content(part, wrap(data).get());
  g_mime_part_set_content_encoding(part, GMIME_CONTENT_ENCODING_BASE64);
  g_mime_object_set_disposition(GMIME_OBJECT(part), "attachment");
  return part;
}

void nameAttachment(GMimePart* part, const QString& type, const QString& fileName,
                    const QByteArray& disposition = "attachment") {
  GMimeObject* obj = GMIME_OBJECT(part);
  g_mime_part_set_filename(part, fileName.toUtf8().constData());
  const QByteArray param = rawParameterName(fileName);
  GMimeHeaderList* list = g_mime_object_get_header_list(obj);
  g_mime_header_set_raw_value(g_mime_header_list_get_header(list, "Content-Type"),
                              ' ' + type.toLatin1() + ";\n\tname=" + param + '\n');
  g_mime_header_set_raw_value(g_mime_header_list_get_header(list, "Content-Disposition"),
                              ' ' + disposition + ";\n\tfilename=" + param + '\n');
}

// A picture of the body that travels inside the message.
struct Picture {
  QString contentId;
  QString fileName;
  QString type;
  QByteArray data;
};

// The local file an <img> source names: a "file:" URL or an absolute path; "" for anything else
// (a web address, "cid:", "data:").
QString localPicturePath(const QString& source) {
  const QUrl url(source);
  if (url.isLocalFile()) return url.toLocalFile();
  if (url.scheme().size() <= 1 && QDir::isAbsolutePath(source)) return source;  // C:/ or /
  return {};
}

// Replaces each local picture of the body by a "cid:" reference and collects the pictures,
// one part per file however often it is shown. A file that is gone or is no picture stays as
// it was written: the reader sees what the writer saw.
QString embedPictures(const QString& html, QList<Picture>* pictures) {
  static const QRegularExpression img(
      QStringLiteral("(<img\\b[^>]*?\\bsrc\\s*=\\s*)([\"'])([^\"']*)\\2"),
      QRegularExpression::CaseInsensitiveOption);
  static const QMimeDatabase db;
  // Most bodies show no picture; the expression costs more than the rest of the message.
  if (!html.contains(QLatin1String("<img"), Qt::CaseInsensitive)) return html;
  QHash<QString, QString> byPath;
  QString out;
  qsizetype last = 0;
  for (auto it = img.globalMatch(html); it.hasNext();) {
    const QRegularExpressionMatch m = it.next();
    QString source = m.captured(3);
    source.replace(QLatin1String("&amp;"), QLatin1String("&"));
    const QString path = localPicturePath(source);
    QString cid = byPath.value(path);
    if (!path.isEmpty() && cid.isEmpty()) {
      QFile file(path);
      if (file.open(QIODevice::ReadOnly)) {
        const QByteArray data = file.readAll();
        const QMimeType type = db.mimeTypeForFileNameAndData(path, data);
        if (type.name().startsWith(QLatin1String("image/"))) {
          const QByteArray digest = QCryptographicHash::hash(data, QCryptographicHash::Sha1);
          cid = QStringLiteral("img%1.%2@kvmail")
                    .arg(pictures->size() + 1)
                    .arg(QString::fromLatin1(digest.toHex().left(16)));
          pictures->append({cid, QFileInfo(path).fileName(), type.name(), data});
          byPath.insert(path, cid);
        }
      }
    }
    if (cid.isEmpty()) continue;
    out += html.mid(last, m.capturedStart(3) - last) + QStringLiteral("cid:") + cid;
    last = m.capturedEnd(3);
  }
  return last == 0 ? html : out + html.mid(last);
}

GMimePart* picturePart(const Picture& picture) {
  const QByteArray t = picture.type.section(QLatin1Char('/'), 0, 0).toLatin1();
  const QByteArray sub = picture.type.section(QLatin1Char('/'), 1).toLatin1();
  GMimePart* part = g_mime_part_new_with_type(t.constData(), sub.constData());
  g_mime_part_set_content(part, wrap(picture.data).get());
  g_mime_part_set_content_encoding(part, GMIME_CONTENT_ENCODING_BASE64);
  g_mime_object_set_disposition(GMIME_OBJECT(part), "inline");
  g_mime_object_set_content_id(GMIME_OBJECT(part), picture.contentId.toUtf8().constData());
  return part;
}

GDateTime* toGDateTime(const QDateTime& when) {
  const QDateTime dt = when.isValid() ? when : QDateTime::currentDateTime();
  GTimeZone* tz = g_time_zone_new_offset(dt.offsetFromUtc());
  GDateTime* utc = g_date_time_new_from_unix_utc(dt.toSecsSinceEpoch());
  GDateTime* local = g_date_time_to_timezone(utc, tz);
  g_date_time_unref(utc);
  g_time_zone_unref(tz);
  return local;
}

QByteArray messageIdFor(const OutgoingMail& mail) {
  if (!mail.messageId.trimmed().isEmpty()) {
    QString id = oneLine(mail.messageId).trimmed();
    id.remove(QLatin1Char('<')).remove(QLatin1Char('>'));
    return id.toUtf8();
  }
  QString domain = mail.from.address.section(QLatin1Char('@'), 1).trimmed();
  if (domain.isEmpty()) domain = QStringLiteral("kvmail.localdomain");
  char* id = g_mime_utils_generate_message_id(domain.toUtf8().constData());
  const QByteArray result(id);
  g_free(id);
  return result;
}

}  // namespace

bool writeMailBytes(const OutgoingMail& mail, QByteArray* out, QString* error) {
  ensureGMime();
  struct Attached {
    QString path, type;
    QByteArray data;
  };
  QList<Attached> files;
  for (const QString& path : mail.attachmentPaths) {
    QFile file(path);
    if (!QFileInfo(path).isFile()) {
      if (error) *error = QStringLiteral("附件文件不存在：%1").arg(path);
      return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
      if (error) *error = QStringLiteral("无法读取附件文件：%1").arg(path);
      return false;
    }
    files.append({path, {}, file.readAll()});
  }

  GRef<GMimeMessage> message(g_mime_message_new(TRUE));
  GMimeObject* top = GMIME_OBJECT(message.get());
  // Encoded headers are written raw, in the order mail programs show them.
  setRawHeader(top, "From", joinDisplay({mail.from}), rawAddressList("From", {mail.from}));
  if (!mail.replyTo.address.trimmed().isEmpty())
    setRawHeader(top, "Reply-To", joinDisplay({mail.replyTo}),
                 rawAddressList("Reply-To", {mail.replyTo}));
  setRawHeader(top, "To", displayList(mail.to), rawAddressList("To", mail.to));
  setRawHeader(top, "Cc", displayList(mail.cc), rawAddressList("Cc", mail.cc));
  setRawHeader(top, "Bcc", displayList(mail.bcc), rawAddressList("Bcc", mail.bcc));
  setRawHeader(top, "Subject", oneLine(mail.subject), rawText("Subject", mail.subject));
  GDateTime* date = toGDateTime(mail.date);
  g_mime_message_set_date(message.get(), date);
  g_date_time_unref(date);
  g_mime_message_set_message_id(message.get(), messageIdFor(mail).constData());
  if (mail.headerPriority != 0)
    g_mime_object_set_header(top, "X-Priority", QByteArray::number(mail.headerPriority).constData(),
                             nullptr);

  QList<Picture> pictures;
  GRef<GMimePart> body(htmlPart(embedPictures(mail.htmlBody, &pictures)));
  GRef<GMimeMultipart> mixed;
  GRef<GMimeMultipart> related;
  std::vector<GRef<GMimePart>> parts;
  GMimeObject* content = GMIME_OBJECT(body.get());
  if (!pictures.isEmpty()) {
    // The body and the pictures it shows, as one related whole.
    related.reset(g_mime_multipart_new_with_subtype("related"));
    g_mime_object_set_content_type_parameter(GMIME_OBJECT(related.get()), "type", "text/html");
    g_mime_multipart_add(related.get(), content);
    for (const Picture& picture : pictures) {
      parts.emplace_back(picturePart(picture));
      g_mime_multipart_add(related.get(), GMIME_OBJECT(parts.back().get()));
      nameAttachment(parts.back().get(), picture.type, picture.fileName, "inline");
    }
    content = GMIME_OBJECT(related.get());
  }
  if (files.isEmpty()) {
    g_mime_message_set_mime_part(message.get(), content);
  } else {
    mixed.reset(g_mime_multipart_new_with_subtype("mixed"));
    g_mime_multipart_add(mixed.get(), content);
    for (Attached& f : files) {
      parts.emplace_back(attachmentPart(f.path, f.data, &f.type));
      g_mime_multipart_add(mixed.get(), GMIME_OBJECT(parts.back().get()));
      nameAttachment(parts.back().get(), f.type, QFileInfo(f.path).fileName());
    }
    g_mime_message_set_mime_part(message.get(), GMIME_OBJECT(mixed.get()));
  }

  GMimeFormatOptions* format = g_mime_format_options_clone(nullptr);
  g_mime_format_options_set_newline_format(format, GMIME_NEWLINE_FORMAT_DOS);
  GRef<GMimeStream> stream(g_mime_stream_mem_new());
  const bool written = g_mime_object_write_to_stream(top, format, stream.get()) >= 0;
  g_mime_format_options_free(format);
  if (!written) {
    if (error) *error = QStringLiteral("邮件内容无法写出");
    return false;
  }
  GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
  *out = QByteArray(reinterpret_cast<const char*>(bytes->data), static_cast<qsizetype>(bytes->len));
  return true;
}

bool writeMailFile(const OutgoingMail& mail, const QString& path, QString* error) {
  QByteArray bytes;
  if (!writeMailBytes(mail, &bytes, error)) return false;
  QSaveFile file(path);
  if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
    if (error) *error = QStringLiteral("无法写入邮件文件：%1").arg(path);
    return false;
  }
  return true;
}

}  // namespace kvmail
