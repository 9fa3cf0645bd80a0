#include "support/mime/MimeCharset.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

#include <iconv.h>
#include <cerrno>
#include <map>
#include <utility>
#include <vector>

namespace kvmail::mime {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

// Labels as mail programs write them, lower case with "_" read as "-", mapped to the converter
// that reads them. Families whose common label names a narrower set than senders really use go to
// the superset, as mail readers do: gb2312 to GB18030, euc-kr to CP949, shift_jis to CP932.
const QHash<QString, QByteArray>& labelAliases() {
  static const QHash<QString, QByteArray> aliases = [] {
    QHash<QString, QByteArray> a;
    const auto add = [&a](const char* converter, std::initializer_list<const char*> labels) {
      for (const char* label : labels) a.insert(QString::fromLatin1(label), converter);
    };
    add("GB18030",
        {"gb2312",   "gb-2312",         "gb-2312-80",  "gb2312-80", "csgb2312", "euc-cn",
         "x-euc-cn", "euccn",           "cn-gb",       "gbk",       "x-gbk",    "csgbk",
         "cp936",    "ms936",           "windows-936", "gb18030",   "gb-18030", "x-gb18030",
         "chinese",  "csiso58gb231280", "iso-ir-58"});
    add("CP949", {"euc-kr", "x-euc-kr", "cseuckr", "ks-c-5601-1987", "ks-c-5601-1989", "ks-c-5601",
                  "ksc5601", "ksc-5601", "korean", "csksc56011987", "iso-ir-149", "windows-949",
                  "x-windows-949", "cp949", "ms949", "uhc"});
    add("CP932", {"shift-jis", "sjis", "x-sjis", "ms-kanji", "csshiftjis", "windows-31j", "cp932",
                  "ms932", "x-ms-cp932"});
    add("EUC-JP", {"euc-jp", "x-euc-jp", "cseucpkdfmtjapanese"});
    add("ISO-2022-JP", {"iso-2022-jp", "csiso2022jp"});
    add("BIG5-HKSCS", {"big5", "big-5", "x-x-big5", "x-big5", "cn-big5", "csbig5", "big5-hkscs"});
    add("KOI8-R", {"koi8-r", "koi8", "koi", "cskoi8r"});
    add("KOI8-U", {"koi8-u", "koi8-ru"});
    add("UTF-8", {"utf-8", "utf8", "unicode-1-1-utf-8", "x-unicode20utf8"});
    add("US-ASCII", {"us-ascii", "ascii", "ansi-x3.4-1968", "us", "iso646-us", "cp367"});
    add("ISO-8859-1",
        {"iso-8859-1", "latin1", "l1", "iso-ir-100", "cp819", "ibm819", "csisolatin1"});
    add("CP874", {"tis-620", "windows-874", "x-windows-874", "dos-874", "iso-8859-11"});
    return a;
  }();
  return aliases;
}

bool isMeaningless(const QString& key) {
  static const QSet<QString> none = {
      QStringLiteral("x-unknown"),      QStringLiteral("unknown"), QStringLiteral("unknown-8bit"),
      QStringLiteral("x-user-defined"), QStringLiteral("default"), QStringLiteral("none"),
      QStringLiteral("charset"),
  };
  return none.contains(key);
}

bool iconvKnows(const QByteArray& name) {
  thread_local QHash<QByteArray, bool> known;
  if (auto it = known.constFind(name); it != known.cend()) return *it;
  const iconv_t cd = iconv_open("UTF-8", name.constData());
  const bool ok = cd != reinterpret_cast<iconv_t>(-1);
  if (ok) iconv_close(cd);
  known.insert(name, ok);
  return ok;
}

// A label outside the table: a numbered family by pattern, else the spelling iconv accepts.
QByteArray converterByPattern(const QString& key) {
  static const QRegularExpression windows(
      QStringLiteral("^(?:x-)?(?:windows|win|cp|ms)-?(12\\d\\d|8\\d\\d)$"));
  static const QRegularExpression iso(QStringLiteral("^iso-?8859-?(\\d{1,2})$"));
  if (const auto m = windows.match(key); m.hasMatch()) return "CP" + m.captured(1).toLatin1();
  if (const auto m = iso.match(key); m.hasMatch()) return "ISO-8859-" + m.captured(1).toLatin1();
  QString bare = key;
  if (bare.startsWith(QLatin1String("x-"))) bare.remove(0, 2);
  if (bare != key) {
    if (auto it = labelAliases().constFind(bare); it != labelAliases().cend()) return *it;
  }
  QString underscored = bare;
  underscored.replace(QLatin1Char('-'), QLatin1Char('_'));
  QString joined = bare;
  joined.remove(QLatin1Char('-'));
  for (const QString& spelling : {bare, underscored, joined}) {
    const QByteArray name = spelling.toUpper().toLatin1();
    if (!name.isEmpty() && iconvKnows(name)) return name;
  }
  return key.toUpper().toLatin1();
}

// Opening a converter loads and unloads a gconv module each time, which costs milliseconds;
// converters are kept per thread instead, reset before each use.
struct KeptConverters {
  KeptConverters() = default;
  KeptConverters(const KeptConverters&) = delete;
  KeptConverters& operator=(const KeptConverters&) = delete;
  std::map<std::pair<QByteArray, QByteArray>, iconv_t> byNames;
  ~KeptConverters() {
    for (const auto& [names, cd] : byNames) iconv_close(cd);
  }
};

// Answers the converter and whether the cache keeps it (otherwise the caller closes it).
std::pair<iconv_t, bool> cachedConverter(const char* to, const char* from) {
  constexpr size_t kMaxKept = 32;
  thread_local KeptConverters kept;
  const auto key = std::make_pair(QByteArray(to), QByteArray(from));
  if (auto it = kept.byNames.find(key); it != kept.byNames.end()) {
    iconv(it->second, nullptr, nullptr, nullptr, nullptr);
    return {it->second, true};
  }
  const iconv_t cd = iconv_open(to, from);
  if (cd == reinterpret_cast<iconv_t>(-1) || kept.byNames.size() >= kMaxKept) return {cd, false};
  kept.byNames.emplace(key, cd);
  return {cd, true};
}

class Converter {
 public:
  Converter(const char* to, const char* from) {
    const auto [cd, kept] = cachedConverter(to, from);
    cd_ = cd;
    owned_ = valid() && !kept;
  }
  ~Converter() {
    if (owned_) iconv_close(cd_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  bool valid() const { return cd_ != reinterpret_cast<iconv_t>(-1); }

  // Converts all of `in`; undecodable bytes become U+FFFD (when `replace`) and are counted.
  QByteArray run(const QByteArray& in, bool replace, int* failures) {
    QByteArray out;
    QByteArray chunk(4 * in.size() + 16, Qt::Uninitialized);
    char* src = const_cast<char*>(in.constData());
    size_t srcLeft = static_cast<size_t>(in.size());
    while (true) {
      char* dst = chunk.data();
      size_t dstLeft = static_cast<size_t>(chunk.size());
      const size_t rc = iconv(cd_, srcLeft ? &src : nullptr, &srcLeft, &dst, &dstLeft);
      out.append(chunk.constData(), chunk.size() - static_cast<qsizetype>(dstLeft));
      if (rc != static_cast<size_t>(-1)) {
        if (rc > 0) ++*failures;  // irreversible substitutions count as failures
        if (srcLeft == 0) break;
        continue;
      }
      if (errno == E2BIG) continue;
      ++*failures;
      if (replace) out.append(kReplacement);
      if (errno == EILSEQ && srcLeft > 0) {
        ++src;
        --srcLeft;
        continue;
      }
      break;  // incomplete sequence at the end (EINVAL) or anything unexpected
    }
    return out;
  }

 private:
  iconv_t cd_ = reinterpret_cast<iconv_t>(-1);
  bool owned_ = false;  // not kept in the cache: closed here
};

// Chinese text is the bulk of what this layer converts, and iconv costs tens of instructions a
// character. These tables, filled once from iconv itself, do the common cases by lookup:
// encoding to GB2312, and decoding text made of ASCII and two-byte GBK/GB18030 codes.
struct GbTables {
  std::vector<char16_t> fromGbk;  // (lead - 0x81) * 191 + (trail - 0x40) -> code point, 0: none
  std::vector<quint16> toGb2312;  // code point -> GB2312 bytes (lead << 8 | trail), 0: none

  GbTables() : fromGbk(126 * 191, 0), toGb2312(65536, 0) {
    Converter gbk("UTF-16LE", "GB18030");
    Converter gb2312("UTF-16LE", "GB2312");
    char pair[2];
    for (int lead = 0x81; lead <= 0xFE; ++lead) {
      for (int trail = 0x40; trail <= 0xFE; ++trail) {
        if (trail == 0x7F) continue;
        pair[0] = char(lead);
        pair[1] = char(trail);
        const QByteArray in(pair, 2);
        int failures = 0;
        QByteArray out = gbk.run(in, false, &failures);
        if (failures == 0 && out.size() == 2)
          fromGbk[(lead - 0x81) * 191 + (trail - 0x40)] =
              char16_t(quint8(out[0]) | quint8(out[1]) << 8);
        if (lead < 0xA1 || trail < 0xA1) continue;
        failures = 0;
        out = gb2312.run(in, false, &failures);
        if (failures == 0 && out.size() == 2) {
          const char16_t u = char16_t(quint8(out[0]) | quint8(out[1]) << 8);
          if (!toGb2312[u]) toGb2312[u] = quint16(lead << 8 | trail);
        }
      }
    }
  }

  static const GbTables& get() {
    static const GbTables tables;
    return tables;
  }
};

bool isGb18030(const QByteArray& converter) {
  return converter == "GB18030";
}

// nullopt when the text holds anything the table does not cover (then iconv decides).
std::optional<QString> decodeGbkByTable(const QByteArray& bytes) {
  const auto& t = GbTables::get();
  QString out(bytes.size(), Qt::Uninitialized);
  char16_t* dst = reinterpret_cast<char16_t*>(out.data());
  qsizetype n = 0;
  const auto* p = reinterpret_cast<const quint8*>(bytes.constData());
  const auto* end = p + bytes.size();
  while (p < end) {
    if (*p < 0x80) {
      dst[n++] = *p++;
      continue;
    }
    if (end - p < 2 || *p < 0x81 || *p > 0xFE || p[1] < 0x40 || p[1] > 0xFE) return std::nullopt;
    const char16_t u = t.fromGbk[(p[0] - 0x81) * 191 + (p[1] - 0x40)];
    if (!u) return std::nullopt;
    dst[n++] = u;
    p += 2;
  }
  out.truncate(n);
  return out;
}

std::optional<QByteArray> encodeGb2312ByTable(const QString& text) {
  const auto& t = GbTables::get();
  QByteArray out(text.size() * 2, Qt::Uninitialized);
  char* dst = out.data();
  for (const QChar c : text) {
    const char16_t u = c.unicode();
    if (u < 0x80) {
      *dst++ = char(u);
      continue;
    }
    const quint16 code = t.toGb2312[u];
    if (!code) return std::nullopt;
    *dst++ = char(code >> 8);
    *dst++ = char(code & 0xFF);
  }
  out.truncate(dst - out.constData());
  return out;
}

std::optional<QString> decodeWith(const QByteArray& bytes, const QByteArray& converter,
                                  bool strict) {
  if (converter.isEmpty()) return std::nullopt;
  if (isGb18030(converter))
    if (auto fast = decodeGbkByTable(bytes)) return fast;
  Converter cv("UTF-8", converter.constData());
  if (!cv.valid()) return std::nullopt;
  int failures = 0;
  const QByteArray utf8 = cv.run(bytes, !strict, &failures);
  if (strict && failures > 0) return std::nullopt;
  return QString::fromUtf8(utf8);
}

bool isSevenBit(const QByteArray& bytes) {
  for (char c : bytes)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

}  // namespace

void keepConvertersLoaded() {
  static KeptConverters pinned;  // closed only at exit
  static const bool filled = [] {
    for (const char* name : {"GB18030", "GBK", "GB2312", "UTF-16", "ISO-8859-1"}) {
      for (const auto& names : {std::make_pair(QByteArray("UTF-8"), QByteArray(name)),
                                std::make_pair(QByteArray(name), QByteArray("UTF-8"))}) {
        const iconv_t cd = iconv_open(names.first.constData(), names.second.constData());
        if (cd != reinterpret_cast<iconv_t>(-1)) pinned.byNames.emplace(names, cd);
      }
    }
    return true;
  }();
  (void)filled;
}

bool knownConverter(const QByteArray& converter) {
  return !converter.isEmpty() && iconvKnows(converter);
}

QByteArray converterName(const QString& label) {
  QString l = label.trimmed().toLower();
  if (l.startsWith(QLatin1Char('"')) && l.endsWith(QLatin1Char('"')) && l.size() >= 2)
    l = l.mid(1, l.size() - 2).trimmed();
  if (const qsizetype star = l.indexOf(QLatin1Char('*')); star >= 0) l.truncate(star);  // "*lang"
  l.replace(QLatin1Char('_'), QLatin1Char('-'));
  l.replace(QLatin1Char(' '), QLatin1Char('-'));
  if (l.isEmpty() || isMeaningless(l)) return {};
  if (auto it = labelAliases().constFind(l); it != labelAliases().cend()) return *it;
  return converterByPattern(l);
}

std::optional<QString> decodeStrict(const QByteArray& bytes, const QByteArray& converter) {
  return decodeWith(bytes, converter, true);
}

QString decodeText(const QByteArray& bytes, const QString& declared, const QString& fallback) {
  if (isSevenBit(bytes)) return QString::fromLatin1(bytes);
  const QByteArray first = converterName(declared);
  QList<QByteArray> tries;
  // Mail labelled us-ascii that carries 8-bit bytes is really unlabelled.
  if (!first.isEmpty() && first != "US-ASCII") tries << first;
  for (const QByteArray& c :
       {converterName(fallback), QByteArrayLiteral("UTF-8"), QByteArrayLiteral("GB18030")})
    if (!c.isEmpty() && !tries.contains(c)) tries << c;
  for (const QByteArray& c : tries)
    if (auto text = decodeWith(bytes, c, true)) return *text;
  for (const QByteArray& c : tries)
    if (auto text = decodeWith(bytes, c, false)) return *text;
  return QString::fromUtf8(bytes);
}

QByteArray headerTextConverter(const QByteArray& bytes, const QString& declared,
                               const QString& fallback) {
  const QByteArray utf8 = QByteArrayLiteral("UTF-8");
  if (isSevenBit(bytes) || decodeWith(bytes, utf8, true)) return utf8;
  QList<QByteArray> tries;
  for (const QString& label : {declared, fallback}) {
    const QByteArray c = converterName(label);
    // Mail labelled us-ascii that carries 8-bit bytes is really unlabelled.
    if (!c.isEmpty() && c != "US-ASCII" && c != utf8 && !tries.contains(c)) tries << c;
  }
  if (!tries.contains("GB18030")) tries << QByteArrayLiteral("GB18030");
  for (const QByteArray& c : tries)
    if (decodeWith(bytes, c, true)) return c;
  return tries.first();
}

QString decodeLenient(const QByteArray& bytes, const QByteArray& converter) {
  if (isSevenBit(bytes)) return QString::fromLatin1(bytes);
  if (auto text = decodeWith(bytes, converter, false)) return *text;
  return QString::fromUtf8(bytes);
}

std::optional<QByteArray> encodeStrict(const QString& text, const char* converter) {
  if (qstrcmp(converter, "GB2312") == 0) return encodeGb2312ByTable(text);
  Converter cv(converter, "UTF-8");
  if (!cv.valid()) return std::nullopt;
  int failures = 0;
  QByteArray out = cv.run(text.toUtf8(), false, &failures);
  if (failures > 0) return std::nullopt;
  return out;
}

QByteArray canonicalLabels(const QByteArray& rawHeader) {
  // Encoded words "=?charset[*lang]?" and RFC 2231 values "*=charset'lang'".
  static const QRegularExpression labels(
      QStringLiteral(R"((=\?)([^?*\s]+)(?=[*?])|(\*\s*=\s*"?)([A-Za-z0-9_.:\-]+)(?='))"));
  const QString text = QString::fromLatin1(rawHeader);  // byte-preserving round trip
  QString out;
  qsizetype last = 0;
  auto it = labels.globalMatch(text);
  while (it.hasNext()) {
    const auto m = it.next();
    const int group = m.capturedStart(2) >= 0 ? 2 : 4;
    const QByteArray converter = converterName(m.captured(group));
    if (converter.isEmpty() ||
        m.captured(group).compare(QLatin1String(converter), Qt::CaseInsensitive) == 0)
      continue;
    out += QStringView(text).mid(last, m.capturedStart(group) - last);
    out += QLatin1String(converter);
    last = m.capturedEnd(group);
  }
  out += QStringView(text).mid(last);
  return out.toLatin1();
}

namespace {

QByteArray decodeQ(const QByteArray& payload) {
  QByteArray out;
  for (qsizetype i = 0; i < payload.size(); ++i) {
    const char c = payload[i];
    if (c == '_') {
      out += ' ';
    } else if (c == '=' && i + 2 < payload.size()) {
      bool ok = false;
      const int byte = payload.mid(i + 1, 2).toInt(&ok, 16);
      if (ok) {
        out += static_cast<char>(byte);
        i += 2;
      } else {
        out += c;
      }
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

QByteArray decodeWordPayload(const QByteArray& payload, char encoding) {
  return encoding == 'B' || encoding == 'b' ? QByteArray::fromBase64(payload) : decodeQ(payload);
}

QByteArray mergeEncodedWords(const QByteArray& rawHeader) {
  static const QRegularExpression word(QStringLiteral(R"(=\?([^?\s]+)\?([BbQq])\?([^?\s]*)\?=)"));
  const QString text = QString::fromLatin1(rawHeader);
  QString out;
  qsizetype last = 0;       // end of what has been copied to out
  qsizetype runStart = -1;  // start of the current run of words
  qsizetype runEnd = -1;
  QString runCharset;
  QByteArray runBytes;
  int runWords = 0;
  auto closeRun = [&] {
    if (runStart < 0) return;
    out += QStringView(text).mid(last, runStart - last);
    if (runWords > 1)
      out +=
          QStringLiteral("=?%1?B?%2?=").arg(runCharset, QString::fromLatin1(runBytes.toBase64()));
    else
      out += QStringView(text).mid(runStart, runEnd - runStart);
    last = runEnd;
    runStart = -1;
    runWords = 0;
    runBytes.clear();
  };
  auto it = word.globalMatch(text);
  while (it.hasNext()) {
    const auto m = it.next();
    const QString charset = m.captured(1);
    const QByteArray payload = m.captured(3).toLatin1();
    const QByteArray bytes = decodeWordPayload(payload, m.captured(2).at(0).toUpper().toLatin1());
    const bool adjacent =
        runStart >= 0 && charset.compare(runCharset, Qt::CaseInsensitive) == 0 &&
        QStringView(text).mid(runEnd, m.capturedStart() - runEnd).trimmed().isEmpty();
    if (!adjacent) {
      closeRun();
      runStart = m.capturedStart();
      runCharset = charset;
    }
    runBytes += bytes;
    runEnd = m.capturedEnd();
    ++runWords;
  }
  closeRun();
  out += QStringView(text).mid(last);
  return out.toLatin1();
}

}  // namespace kvmail::mime
