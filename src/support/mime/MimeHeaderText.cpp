#include "support/mime/MimeHeaderText.h"

#include <QRegularExpression>

#include "support/mime/MimeCharset.h"

namespace kvmail::mime {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

bool isSpecial(char c) {
  return c == '"' || c == '(' || c == '<' || c == '>' || c == ',' || c == ';' || c == ':';
}

bool isBlankText(QStringView text) {
  for (const QChar c : text)
    if (c != QLatin1Char(' ') && c != QLatin1Char('\t')) return false;
  return true;
}

bool hasEightBit(const QByteArray& bytes) {
  for (const char c : bytes)
    if (static_cast<unsigned char>(c) >= 0x80) return true;
  return false;
}

// "=?charset?B?payload?=" or Q; a Q payload may hold blanks, as some senders write it.
const QRegularExpression& encodedWord() {
  static const QRegularExpression word(QStringLiteral(R"(=\?([^?\s]+)\?([BbQq])\?([^?]*)\?=)"));
  return word;
}

// Decodes the text of one header value. Raw 8-bit text is read with one converter chosen for the
// whole value, so a short run that happens to look like UTF-8 does not switch charsets midway.
class TextDecoder {
 public:
  TextDecoder(const QByteArray& value, const HeaderCharsets& charsets)
      : rawConverter_(hasEightBit(value)
                          ? headerTextConverter(value, charsets.declared, charsets.fallback)
                          : QByteArray()),
        charsets_(charsets) {}

  QString raw(const QByteArray& bytes) const { return decodeLenient(bytes, rawConverter_); }

  // Encoded words by their own charset; blanks between adjacent words dropped; runs of words in
  // one charset joined before conversion, so a character split across two words survives.
  QString decode(const QByteArray& bytes) const {
    const QString text = QString::fromLatin1(bytes);  // byte-preserving
    QString out;
    qsizetype last = 0;
    QByteArray runLabel, runBytes;
    auto closeRun = [&] {
      if (!runLabel.isEmpty()) out += wordText(runBytes, runLabel);
      runLabel.clear();
      runBytes.clear();
    };
    auto it = encodedWord().globalMatch(text);
    while (it.hasNext()) {
      const auto m = it.next();
      const QStringView gap = QStringView(text).mid(last, m.capturedStart() - last);
      const QByteArray label = converterName(m.captured(1));
      const bool joins = !runLabel.isEmpty() && isBlankText(gap);
      if (!joins) {
        closeRun();
        out += raw(gap.toLatin1());
      } else if (label != runLabel) {
        closeRun();
      }
      if (runLabel.isEmpty()) runLabel = label.isEmpty() ? QByteArrayLiteral("?") : label;
      runBytes += decodeWordPayload(m.captured(3).toLatin1(), m.captured(2).at(0).toLatin1());
      last = m.capturedEnd();
    }
    closeRun();
    out += raw(QStringView(text).mid(last).toLatin1());
    return out;
  }

 private:
  QString wordText(const QByteArray& bytes, const QByteArray& converter) const {
    if (knownConverter(converter)) {
      if (auto text = decodeStrict(bytes, converter)) return *text;
      // A wrong label: UTF-8 that says otherwise is common enough to check before giving up.
      if (auto text = decodeStrict(bytes, QByteArrayLiteral("UTF-8"))) return *text;
      return decodeLenient(bytes, converter);
    }
    // An unknown or meaningless label: read as unlabelled text.
    return decodeLenient(bytes, headerTextConverter(bytes, charsets_.declared, charsets_.fallback));
  }

  QByteArray rawConverter_;
  HeaderCharsets charsets_;
};

// ---- address lists ----

enum class Kind { Word, Quoted, Comment, Angle, Comma, Semicolon, Colon };

struct Token {
  Kind kind;
  QByteArray text;  // quoted strings and comments without their delimiters or escapes
  bool blankBefore = false;
};

// Up to the delimiter that closes what starts at i (a quote, comment or angle), honouring
// backslash escapes, nested comments and quotes inside angles; *end is past the delimiter.
QByteArray delimited(const QByteArray& s, qsizetype i, char open, char close, qsizetype* end) {
  QByteArray text;
  int depth = 1;
  bool quoted = false;
  qsizetype j = i + 1;
  for (; j < s.size(); ++j) {
    const char c = s[j];
    if (c == '\\' && open != '<' && j + 1 < s.size()) {
      text += s[++j];
      continue;
    }
    if (open == '<' && c == '"') quoted = !quoted;
    if (!quoted && open == '(' && c == '(') ++depth;
    if (!quoted && c == close && --depth == 0) break;
    text += c;
  }
  *end = j + 1;
  return text;
}

// The length of the encoded word "=?charset?X?payload?=" that starts at i, or 0 when none does.
// Scanned by hand: a regular expression anchored at each position would rescan the whole value.
qsizetype encodedWordAt(const QByteArray& s, qsizetype i) {
  if (i + 1 >= s.size() || s[i] != '=' || s[i + 1] != '?') return 0;
  qsizetype j = i + 2;
  while (j < s.size() && s[j] != '?' && !isBlank(s[j]) && s[j] != '\r' && s[j] != '\n') ++j;
  if (j == i + 2 || j + 2 >= s.size() || s[j] != '?' ||
      !QByteArrayView("BbQq").contains(s[j + 1]) || s[j + 2] != '?')
    return 0;
  const qsizetype close = s.indexOf('?', j + 3);  // the payload holds no "?"
  return close < 0 || close + 1 >= s.size() || s[close + 1] != '=' ? 0 : close + 2 - i;
}

QList<Token> tokenize(const QByteArray& s) {
  QList<Token> tokens;
  bool blank = false;
  qsizetype i = 0;
  auto push = [&](Kind kind, QByteArray text) {
    tokens.append(Token{kind, std::move(text), blank});
    blank = false;
  };
  while (i < s.size()) {
    const char c = s[i];
    qsizetype end = i + 1;
    if (isBlank(c)) {
      blank = true;
    } else if (c == '"') {
      push(Kind::Quoted, delimited(s, i, '"', '"', &end));
    } else if (c == '(') {
      push(Kind::Comment, delimited(s, i, '(', ')', &end));
    } else if (c == '<') {
      push(Kind::Angle, delimited(s, i, '<', '>', &end));
    } else if (c == ',' || c == ';' || c == ':') {
      push(c == ',' ? Kind::Comma : c == ';' ? Kind::Semicolon : Kind::Colon, {});
    } else if (c == '>') {
      // a stray closing bracket says nothing
    } else if (const qsizetype length = encodedWordAt(s, i)) {
      end = i + length;
      push(Kind::Word, s.mid(i, length));
    } else {
      // An atom, dots and "@" included, a domain literal taken whole; it stops where an encoded
      // word begins, as senders glue them to other text.
      end = i;
      while (end < s.size() && !isBlank(s[end]) && !isSpecial(s[end])) {
        if (s[end] == '[') {
          const qsizetype close = s.indexOf(']', end);
          end = close < 0 ? s.size() : close + 1;
          continue;
        }
        if (end > i && encodedWordAt(s, end)) break;
        ++end;
      }
      push(Kind::Word, s.mid(i, end - i));
    }
    i = end;
  }
  return tokens;
}

// The address inside angle brackets: comments and blanks out, an old source route cut off.
QByteArray angleAddress(const QByteArray& inner) {
  QByteArray out;
  int depth = 0;
  for (const char c : inner) {
    if (c == '(') ++depth;
    if (depth == 0 && !isBlank(c)) out += c;
    if (c == ')' && depth > 0) --depth;
  }
  if (out.startsWith('@'))
    if (const qsizetype colon = out.lastIndexOf(':'); colon >= 0) out.remove(0, colon + 1);
  return out;
}

class AddressReader {
 public:
  AddressReader(const QByteArray& value, const HeaderCharsets& charsets)
      : decoder_(value, charsets) {}

  QList<MimeAddress> read(const QByteArray& value) {
    QList<Token> element;
    bool inGroup = false;
    for (const Token& t : tokenize(value)) {
      switch (t.kind) {
        case Kind::Comma:
          flush(element);
          break;
        case Kind::Semicolon:
          flush(element);
          inGroup = false;
          break;
        case Kind::Colon:
          // "Team: a@x, b@y;" — the words before the colon name the group, not a mailbox.
          if (!inGroup && !hasAngle(element)) {
            element.clear();
            inGroup = true;
          }
          break;
        default:
          element.append(t);
      }
    }
    flush(element);
    return out_;
  }

 private:
  static bool hasAngle(const QList<Token>& element) {
    for (const Token& t : element)
      if (t.kind == Kind::Angle) return true;
    return false;
  }

  // Words and quoted strings as one phrase: blanks between tokens kept as one, quoted text as it
  // stands; encoded words and raw 8-bit text decoded.
  QString phrase(const QList<Token>& tokens) const {
    QByteArray joined;
    for (const Token& t : tokens) {
      if (!joined.isEmpty() && t.blankBefore) joined += ' ';
      joined += t.text;
    }
    return decoder_.decode(joined).trimmed();
  }

  void flush(QList<Token>& element) {
    MimeAddress a;
    QList<Token> words;  // words and quoted strings, with a quoted local part joined to its domain
    QString comment;
    qsizetype angle = -1;
    for (const Token& t : element) {
      if (t.kind == Kind::Comment) {
        if (comment.isEmpty()) comment = decoder_.decode(t.text).trimmed();
      } else if (t.kind == Kind::Angle) {
        if (angle < 0) {
          angle = words.size();
          a.address = decoder_.raw(angleAddress(t.text)).trimmed();
        }
      } else if (angle < 0) {
        if (t.kind == Kind::Word && t.text.startsWith('@') && !t.blankBefore && !words.isEmpty() &&
            words.last().kind == Kind::Quoted) {
          words.last() =
              Token{Kind::Word, '"' + words.last().text + '"' + t.text, words.last().blankBefore};
        } else {
          words.append(t);
        }
      }
    }
    element.clear();
    if (angle >= 0) {
      a.name = phrase(words);  // "MAILER DAEMON <>" keeps its name with an empty address
    } else {
      // The address is the last word with an "@"; words before it are the name, as in
      // "=?ks_c_5601-1987?B?...?= user@host" that some servers send without angle brackets.
      qsizetype at = -1;
      for (qsizetype i = 0; i < words.size(); ++i)
        if (words[i].kind == Kind::Word && words[i].text.contains('@')) at = i;
      if (at >= 0) {
        a.address = decoder_.raw(words[at].text).trimmed();
        a.name = phrase(words.mid(0, at));
      } else if (isName(words)) {
        a.name = phrase(words);
      } else {
        a.address = phrase(words);  // a local name such as "postmaster"
      }
    }
    // The old form "addr (Full Name)": the comment names the mailbox.
    if (a.name.isEmpty() && !a.address.isEmpty()) a.name = comment;
    if (!a.name.isEmpty() || !a.address.isEmpty()) out_.append(a);
  }

  // Text without an "@" that was clearly meant as a name: encoded, 8-bit or quoted.
  static bool isName(const QList<Token>& words) {
    for (const Token& t : words)
      if (t.kind == Kind::Quoted || hasEightBit(t.text) || t.text.contains("=?")) return true;
    return false;
  }

  TextDecoder decoder_;
  QList<MimeAddress> out_;
};

}  // namespace

QByteArray unfoldHeader(const QByteArray& raw) {
  QByteArray out;
  out.reserve(raw.size());
  for (const char c : raw)
    if (c != '\r' && c != '\n' && c != '\0') out += c;
  return out;
}

QString decodeHeaderText(const QByteArray& raw, const HeaderCharsets& charsets) {
  const QByteArray value = unfoldHeader(raw);
  return TextDecoder(value, charsets).decode(value).trimmed();
}

QList<MimeAddress> parseAddressList(const QByteArray& raw, const HeaderCharsets& charsets) {
  const QByteArray value = unfoldHeader(raw);
  return AddressReader(value, charsets).read(value);
}

}  // namespace kvmail::mime
