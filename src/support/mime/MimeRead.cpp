// Reading Internet messages into ParsedMail with GMime.
#include <gmime/gmime.h>

#include <QFile>
#include <QMimeDatabase>
#include <QRegularExpression>

#include <fcntl.h>

#include <memory>

#include "support/mime/LineEnds.h"
#include "support/mime/MimeCharset.h"
#include "support/mime/MimeGlib.h"
#include "support/mime/MimeHeaderText.h"
#include "support/mime/MimeMail.h"

namespace kvmail {
namespace {

using mime::GRef;

using mime::GChars;

using mime::ensureGMime;

constexpr qint64 kReadWhole = 1024 * 1024;  // mails up to this size are parsed from memory

QString utf8(const char* s) {
  return s ? QString::fromUtf8(s) : QString();
}

bool isSevenBit(const QByteArray& bytes) {
  for (char c : bytes)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

// Where the header section starts: after leading blank lines and an mbox "From " line.
qsizetype headerStart(const QByteArray& raw) {
  qsizetype start = 0;
  while (start < raw.size() && (raw[start] == '\r' || raw[start] == '\n')) ++start;
  const auto nextLine = [&raw](qsizetype at) {
    const qsizetype end = raw.indexOf('\n', at);
    return end < 0 ? raw.size() : end + 1;
  };
  if (raw.mid(start, 5) == "From ") start = nextLine(start);
  // A first line that starts with a blank continues nothing: it is skipped, as mail readers do.
  for (int i = 0; i < 4 && start < raw.size() && (raw[start] == ' ' || raw[start] == '\t'); ++i)
    start = nextLine(start);
  return start;
}

// Where the header section ends: its blank line, or the end of what is there.
qsizetype headerEnd(const QByteArray& raw, qsizetype start) {
  for (qsizetype nl = raw.indexOf('\n', start); nl >= 0; nl = raw.indexOf('\n', nl + 1)) {
    if (nl + 1 < raw.size() && raw[nl + 1] == '\n') return nl + 1;
    if (nl + 2 < raw.size() && raw[nl + 1] == '\r' && raw[nl + 2] == '\n') return nl + 1;
  }
  return raw.size();
}

// The parser keeps header values as C strings, so a NUL byte in a header would cut the rest of
// its value off: NULs in the header section are dropped (the stored file keeps them).
bool headerHasNul(const QByteArray& raw, qsizetype start) {
  const qsizetype nul = raw.indexOf('\0', start);
  return nul >= 0 && nul < headerEnd(raw, start);
}

QByteArray withoutHeaderNuls(const QByteArray& raw, qsizetype start) {
  const qsizetype end = headerEnd(raw, start);
  QByteArray head = raw.mid(start, end - start);
  head.replace('\0', QByteArray());
  return head + raw.mid(end);
}

// Parameters whose value holds (UTF-8) 8-bit text become RFC 2231 values, so the parser never
// has to guess the charset of raw bytes: name="纪要.txt" becomes name*=UTF-8''%E7%BA%AA...
QByteArray eightBitParamsExtended(const QByteArray& value) {
  static const QRegularExpression param(
      QStringLiteral(R"re((;\s*)([A-Za-z0-9_.\-]+)\s*=\s*(?:"([^"]*)"|([^;\s"]+)))re"));
  const QString text = QString::fromLatin1(value);
  QString out;
  qsizetype last = 0;
  auto it = param.globalMatch(text);
  while (it.hasNext()) {
    const auto m = it.next();
    const QString v = m.capturedStart(3) >= 0 ? m.captured(3) : m.captured(4);
    const QByteArray bytes = v.toLatin1();
    if (isSevenBit(bytes)) continue;
    out += QStringView(text).mid(last, m.capturedStart() - last);
    out += m.captured(1) + m.captured(2) + QStringLiteral("*=UTF-8''") +
           QString::fromLatin1(bytes.toPercentEncoding());
    last = m.capturedEnd();
  }
  out += QStringView(text).mid(last);
  return out.toLatin1();
}

// The charset a message declares: its own, or that of its first labelled part. Raw 8-bit header
// text that is not UTF-8 is read in it.
QString declaredCharset(GMimeObject* obj, int depth = 0) {
  if (!obj || depth > 8) return {};
  if (GMIME_IS_MULTIPART(obj)) {
    GMimeMultipart* multi = GMIME_MULTIPART(obj);
    for (int i = 0; i < g_mime_multipart_get_count(multi); ++i)
      if (QString c = declaredCharset(g_mime_multipart_get_part(multi, i), depth + 1); !c.isEmpty())
        return c;
    return {};
  }
  const char* charset = g_mime_object_get_content_type_parameter(obj, "charset");
  const QString label = charset ? QString::fromUtf8(charset).trimmed() : QString();
  return mime::converterName(label) == "US-ASCII" ? QString() : label;
}

// A header section starts with "Name:" on its first line.
bool looksLikeHeaders(const QByteArray& raw, qsizetype start) {
  qsizetype i = start;
  // A field name: printable ASCII but the colon, at least one character.
  while (i < raw.size() && raw[i] >= '!' && raw[i] <= '~' && raw[i] != ':') ++i;
  if (i == start) return false;
  while (i < raw.size() && (raw[i] == ' ' || raw[i] == '\t')) ++i;
  return i < raw.size() && raw[i] == ':';
}

QString textToHtml(const QString& text) {
  QString html = text.toHtmlEscaped();
  html.replace(QLatin1String("\n"), QLatin1String("<br>\n"));
  return html;
}

QString normaliseLineEnds(const QString& s) {
  return mime::withLf(s);
}

QByteArray streamBytes(GMimeStream* stream) {
  GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream));
  return QByteArray(reinterpret_cast<const char*>(bytes->data), static_cast<qsizetype>(bytes->len));
}

QString suffixFor(const QString& contentType) {
  static const QMimeDatabase db;
  const QString suffix = db.mimeTypeForName(contentType).preferredSuffix();
  return suffix.isEmpty() ? QStringLiteral(".dat") : QLatin1Char('.') + suffix;
}

// The charset an HTML document declares in a meta tag, for parts that carry no charset label.
QString metaCharset(const QByteArray& html) {
  static const QRegularExpression meta(
      QStringLiteral(R"(<meta[^>]*charset\s*=\s*["']?([A-Za-z0-9_.:\-]+))"),
      QRegularExpression::CaseInsensitiveOption);
  const auto m = meta.match(QString::fromLatin1(html.left(4096)));
  return m.hasMatch() ? m.captured(1) : QString();
}

class Reader {
 public:
  Reader(const QString& defaultCharset, MimeParts parts)
      : defaultCharset_(defaultCharset), withContent_(parts == MimeParts::WithContent) {
    ensureGMime();
    options_ = g_mime_parser_options_new();
    // Header text reaches the parser decoded already (UTF-8) or as RFC 2047/2231 words with
    // labels it knows, so UTF-8 is its only fallback: any other would read our UTF-8 again.
    const char* list[] = {"UTF-8", nullptr};
    g_mime_parser_options_set_fallback_charsets(options_, list);
    g_mime_parser_options_set_rfc2047_compliance_mode(options_, GMIME_RFC_COMPLIANCE_LOOSE);
    g_mime_parser_options_set_parameter_compliance_mode(options_, GMIME_RFC_COMPLIANCE_LOOSE);
    g_mime_parser_options_set_address_compliance_mode(options_, GMIME_RFC_COMPLIANCE_LOOSE);
  }
  ~Reader() { g_mime_parser_options_free(options_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  ParsedMail read(const QByteArray& raw) {
    ParsedMail mail;
    if (raw.trimmed().isEmpty()) return mail;
    const qsizetype start = headerStart(raw);
    if (!looksLikeHeaders(raw, start)) return readHeaderless(raw);
    if (headerHasNul(raw, start)) {
      const QByteArray clean = withoutHeaderNuls(raw, start);
      GRef<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(clean.constData(), clean.size()));
      return readStream(stream.get(), clean);
    }
    GRef<GMimeStream> stream(
        g_mime_stream_mem_new_with_buffer(raw.constData() + start, raw.size() - start));
    return readStream(stream.get(), raw);
  }

  // Parses straight from the file, so a large mail is not copied into memory first; a small one
  // is read at once, which spares the many small reads and seeks of the file stream.
  ParsedMail readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return {};
    if (file.size() <= kReadWhole) return read(file.readAll());
    const QByteArray head = file.peek(64 * 1024);
    if (head.trimmed().isEmpty()) return {};
    const qsizetype start = headerStart(head);
    if (!looksLikeHeaders(head, start))
      return readHeaderless(withContent_ ? file.readAll() : QByteArray());
    if (headerHasNul(head, start)) return read(file.readAll());
    file.close();
    GRef<GMimeStream> whole(
        g_mime_stream_fs_open(QFile::encodeName(path).constData(), O_RDONLY, 0, nullptr));
    if (!whole) return {};
    GRef<GMimeStream> stream(g_mime_stream_substream(whole.get(), start, -1));
    return readStream(stream.get(), QByteArray());
  }

  ParsedMail readStream(GMimeStream* stream, const QByteArray& raw) {
    ParsedMail mail;
    GRef<GMimeParser> parser(g_mime_parser_new_with_stream(stream));
    g_mime_parser_set_format(parser.get(), GMIME_FORMAT_MESSAGE);
    GRef<GMimeMessage> message(g_mime_parser_construct_message(parser.get(), options_));
    if (!message) return raw.isNull() ? mail : readHeaderless(raw);

    mail.ok = true;
    GMimeObject* top = GMIME_OBJECT(message.get());
    charsets_ = {declaredCharset(g_mime_message_get_mime_part(message.get())), defaultCharset_};
    mail.subject = unstructured(top, "Subject");
    const QList<MimeAddress> from = addresses(top, "From");
    if (!from.isEmpty()) mail.from = from.first();
    const QList<MimeAddress> replyTo = addresses(top, "Reply-To");
    if (!replyTo.isEmpty()) mail.replyTo = replyTo.first();
    mail.to = addresses(top, "To");
    mail.cc = addresses(top, "Cc");
    mail.bcc = addresses(top, "Bcc");
    mail.date = date(top);
    mail.priority = priority(top);
    mail.messageId = messageId(top);

    if (GMimeObject* body = g_mime_message_get_mime_part(message.get())) walk(body, mail);
    if (mail.htmlBody.isEmpty() && !mail.textBody.isEmpty())
      mail.htmlBody = textToHtml(mail.textBody);
    return mail;
  }

 private:
  ParsedMail readHeaderless(const QByteArray& raw) {
    ParsedMail mail;
    mail.ok = true;
    if (!withContent_) return mail;  // text without headers is all body
    mail.textBody = normaliseLineEnds(mime::decodeText(raw, {}, defaultCharset_));
    mail.htmlBody = textToHtml(mail.textBody);
    return mail;
  }

  // Every raw value of a header (some senders repeat To or Cc), joined as one list.
  static QByteArray rawHeader(GMimeObject* obj, const char* name, bool all = false) {
    GMimeHeaderList* list = g_mime_object_get_header_list(obj);
    QByteArray joined;
    const int count = g_mime_header_list_get_count(list);
    for (int i = 0; i < count; ++i) {
      GMimeHeader* h = g_mime_header_list_get_header_at(list, i);
      if (g_ascii_strcasecmp(g_mime_header_get_name(h), name) != 0) continue;
      const char* raw = g_mime_header_get_raw_value(h);
      if (!raw) continue;
      if (!joined.isEmpty()) joined += ',';
      joined += raw;
      if (!all) break;
    }
    return joined;
  }

  static QByteArray unfolded(const QByteArray& raw) {
    GChars u(g_mime_utils_header_unfold(raw.constData()));
    return QByteArray(u.get()).trimmed();
  }

  // A raw parameter header made ready for GMime: labels it knows, split words joined, raw 8-bit
  // text read once and handed over as RFC 2231 values.
  QByteArray prepared(const QByteArray& raw) const {
    QByteArray value = mime::mergeEncodedWords(mime::canonicalLabels(mime::unfoldHeader(raw)));
    if (!isSevenBit(value)) {
      const QByteArray converter =
          mime::headerTextConverter(value, charsets_.declared, charsets_.fallback);
      value = eightBitParamsExtended(mime::decodeLenient(value, converter).toUtf8());
    }
    return value.trimmed();
  }

  QString unstructured(GMimeObject* obj, const char* name) const {
    const QByteArray raw = rawHeader(obj, name);
    return raw.isEmpty() ? QString() : mime::decodeHeaderText(raw, charsets_);
  }

  QList<MimeAddress> addresses(GMimeObject* obj, const char* name) const {
    return mime::parseAddressList(rawHeader(obj, name, true), charsets_);
  }

  static QDateTime date(GMimeObject* obj) {
    const QByteArray raw = rawHeader(obj, "Date");
    if (raw.isEmpty()) return {};
    GDateTime* dt = g_mime_utils_header_decode_date(unfolded(raw).constData());
    if (!dt) return {};
    const QDateTime result = QDateTime::fromSecsSinceEpoch(
        g_date_time_to_unix(dt), Qt::OffsetFromUTC,
        static_cast<int>(g_date_time_get_utc_offset(dt) / G_TIME_SPAN_SECOND));
    g_date_time_unref(dt);
    return result;
  }

  // "3 (Normal)" gives 3; anything without a leading number gives 0.
  static int priority(GMimeObject* obj) {
    const QByteArray value = unfolded(rawHeader(obj, "X-Priority"));
    int n = 0, i = 0;
    while (i < value.size() && value[i] >= '0' && value[i] <= '9' && i < 6)
      n = n * 10 + (value[i++] - '0');
    return n;
  }

  static QString messageId(GMimeObject* obj) {
    const QByteArray raw = unfolded(rawHeader(obj, "Message-ID"));
    if (raw.isEmpty()) return {};
    GChars id(g_mime_utils_decode_message_id(raw.constData()));
    if (id && *id.get()) return utf8(id.get());
    QByteArray bare = raw;
    if (bare.startsWith('<')) bare.remove(0, 1);
    if (bare.endsWith('>')) bare.chop(1);
    return QString::fromLatin1(bare.trimmed());
  }

  // The decoded file name from Content-Disposition filename= or Content-Type name=.
  QString fileName(GMimeObject* obj) {
    const QByteArray disposition = prepared(rawHeader(obj, "Content-Disposition"));
    if (!disposition.isEmpty()) {
      GRef<GMimeContentDisposition> d(
          g_mime_content_disposition_parse(options_, disposition.constData()));
      if (d) {
        const QString name =
            utf8(g_mime_content_disposition_get_parameter(d.get(), "filename")).trimmed();
        if (!name.isEmpty()) return name;
      }
    }
    const QByteArray type = prepared(rawHeader(obj, "Content-Type"));
    if (!type.isEmpty()) {
      GRef<GMimeContentType> t(g_mime_content_type_parse(options_, type.constData()));
      if (t) return utf8(g_mime_content_type_get_parameter(t.get(), "name")).trimmed();
    }
    return {};
  }

  static QString contentType(GMimeObject* obj) {
    GMimeContentType* t = g_mime_object_get_content_type(obj);
    if (!t) return QStringLiteral("application/octet-stream");
    return (utf8(g_mime_content_type_get_media_type(t)) + QLatin1Char('/') +
            utf8(g_mime_content_type_get_media_subtype(t)))
        .toLower();
  }

  static QByteArray partBytes(GMimePart* part) {
    GMimeDataWrapper* content = g_mime_part_get_content(part);
    if (!content) return {};
    GRef<GMimeStream> mem(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(content, mem.get());
    return streamBytes(mem.get());
  }

  void addAttachment(ParsedMail& mail, GMimeObject* obj, QString name, const QByteArray& data,
                     bool inRelated) {
    MimeAttachment a;
    a.contentType = contentType(obj);
    a.contentId = utf8(g_mime_object_get_content_id(obj)).trimmed();
    const QString disposition = utf8(g_mime_object_get_disposition(obj)).toLower();
    a.isInline = disposition == QLatin1String("inline") ||
                 (disposition.isEmpty() && (inRelated || !a.contentId.isEmpty()));
    if (name.isEmpty())
      name =
          QStringLiteral("part%1%2").arg(mail.attachments.size() + 1).arg(suffixFor(a.contentType));
    a.fileName = name;
    a.data = data;
    mail.attachments << a;
  }

  void leaf(GMimePart* part, ParsedMail& mail, bool inRelated) {
    GMimeObject* obj = GMIME_OBJECT(part);
    const QString type = contentType(obj);
    const QString name = fileName(obj);
    const bool attached = utf8(g_mime_object_get_disposition(obj))
                              .compare(QLatin1String("attachment"), Qt::CaseInsensitive) == 0;
    const bool html = type == QLatin1String("text/html");
    const bool plain = type == QLatin1String("text/plain");
    const bool body =
        (html || plain) && !attached && name.isEmpty() && (html ? !htmlTaken_ : !textTaken_);
    if (!withContent_) {
      (html ? htmlTaken_ : textTaken_) |= body;
      if (!body) addAttachment(mail, obj, name, QByteArray(), inRelated);
      return;
    }
    const QByteArray data = partBytes(part);
    if (body) {
      QString charset = utf8(g_mime_object_get_content_type_parameter(obj, "charset"));
      if (charset.isEmpty() && html) charset = metaCharset(data);
      const QString text = normaliseLineEnds(mime::decodeText(data, charset, defaultCharset_));
      if (html) {
        mail.htmlBody = text;
        htmlTaken_ = true;
      } else {
        mail.textBody = text;
        textTaken_ = true;
      }
      return;
    }
    addAttachment(mail, obj, name, data, inRelated);
  }

  void walk(GMimeObject* obj, ParsedMail& mail, bool inRelated = false) {
    if (GMIME_IS_MULTIPART(obj)) {
      GMimeMultipart* multi = GMIME_MULTIPART(obj);
      GMimeContentType* t = g_mime_object_get_content_type(obj);
      const bool related =
          inRelated ||
          (t && g_ascii_strcasecmp(g_mime_content_type_get_media_subtype(t), "related") == 0);
      const int count = g_mime_multipart_get_count(multi);
      for (int i = 0; i < count; ++i) walk(g_mime_multipart_get_part(multi, i), mail, related);
    } else if (GMIME_IS_MESSAGE_PART(obj)) {
      GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(obj));
      QByteArray data;
      QString name = fileName(obj);
      if (inner && withContent_) {
        GRef<GMimeStream> mem(g_mime_stream_mem_new());
        g_mime_object_write_to_stream(GMIME_OBJECT(inner), nullptr, mem.get());
        data = streamBytes(mem.get());
        if (name.isEmpty()) {
          const QString subject = unstructured(GMIME_OBJECT(inner), "Subject");
          if (!subject.isEmpty()) name = subject + QStringLiteral(".eml");
        }
      }
      addAttachment(mail, obj, name, data, inRelated);
    } else if (GMIME_IS_PART(obj)) {
      leaf(GMIME_PART(obj), mail, inRelated);
    }
  }

  QString defaultCharset_;
  mime::HeaderCharsets charsets_;  // for raw 8-bit header text of the message being read
  bool withContent_ = true;
  GMimeParserOptions* options_ = nullptr;
  bool htmlTaken_ = false;
  bool textTaken_ = false;
};

}  // namespace

ParsedMail readMailBytes(const QByteArray& raw, const QString& defaultCharset, MimeParts parts) {
  Reader reader(defaultCharset, parts);
  return reader.read(raw);
}

ParsedMail readMailFile(const QString& path, const QString& defaultCharset, MimeParts parts) {
  Reader reader(defaultCharset, parts);
  return reader.readFile(path);
}

}  // namespace kvmail
