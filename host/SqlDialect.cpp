#include "SqlDialect.h"

#include <QRegularExpression>

#include <initializer_list>

namespace kvmail::host {
namespace {

// Index of the first ';' outside quotes and brackets, or -1.
qsizetype statementEnd(const QString& sql) {
  QChar closing;
  for (qsizetype i = 0; i < sql.size(); ++i) {
    const QChar c = sql.at(i);
    if (!closing.isNull()) {
      if (c == closing) closing = QChar();
      continue;
    }
    if (c == u'\'')
      closing = u'\'';
    else if (c == u'"')
      closing = u'"';
    else if (c == u'[')
      closing = u']';
    else if (c == u';')
      return i;
  }
  return -1;
}

// Brackets outside string literals become double quotes.
QString quoteBracketNames(const QString& sql) {
  QString out;
  out.reserve(sql.size());
  QChar closing;
  for (QChar c : sql) {
    if (closing == u']') {
      if (c == u']') {
        out.append(u'"');
        closing = QChar();
      } else {
        out.append(c);
        if (c == u'"') out.append(u'"');
      }
      continue;
    }
    if (!closing.isNull()) {
      if (c == closing) closing = QChar();
      out.append(c);
      continue;
    }
    if (c == u'[') {
      closing = u']';
      out.append(u'"');
      continue;
    }
    if (c == u'\'' || c == u'"') closing = c;
    out.append(c);
  }
  return out;
}

bool isIdentifierChar(QChar c) {
  return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

bool isDataStatement(const QString& sql) {
  const QString head = sql.trimmed().left(7).toLower();
  return head.startsWith(QLatin1String("select")) || head.startsWith(QLatin1String("insert")) ||
         head.startsWith(QLatin1String("update")) || head.startsWith(QLatin1String("delete"));
}

bool isOneOf(QStringView word, std::initializer_list<const char*> keywords) {
  for (const char* k : keywords)
    if (word.compare(QLatin1String(k), Qt::CaseInsensitive) == 0) return true;
  return false;
}

// The text of the '...' literal opening at i, with '' undoubled; *end is past its closing quote.
// False when it is never closed.
bool quotedText(const QString& sql, qsizetype i, QString* text, qsizetype* end) {
  *text = QStringLiteral("");  // '' is an empty text, never a null
  for (qsizetype j = i + 1; j < sql.size(); ++j) {
    if (sql.at(j) != u'\'') {
      *text += sql.at(j);
    } else if (j + 1 < sql.size() && sql.at(j + 1) == u'\'') {
      *text += u'\'';
      ++j;
    } else {
      *end = j + 1;
      return true;
    }
  }
  return false;
}

// The number starting at i when it stands alone (not 1e5, not 3abc); *end is past it.
QVariant wholeNumber(const QString& sql, qsizetype i, qsizetype* end) {
  const qsizetype n = sql.size();
  qsizetype j = i;
  while (j < n && sql.at(j).isDigit()) ++j;
  bool real = false;
  if (j + 1 < n && sql.at(j) == u'.' && sql.at(j + 1).isDigit()) {
    real = true;
    for (++j; j < n && sql.at(j).isDigit();) ++j;
  }
  if (j < n && (isIdentifierChar(sql.at(j)) || sql.at(j) == u'.')) return {};
  bool ok = false;
  const QStringView number = QStringView(sql).mid(i, j - i);
  const QVariant value = real ? QVariant(number.toDouble(&ok)) : QVariant(number.toLongLong(&ok));
  *end = j;
  return ok ? value : QVariant();
}

}  // namespace

bool hasSecondStatement(const QString& sql) {
  const qsizetype end = statementEnd(sql);
  return end >= 0 && !sql.mid(end + 1).trimmed().isEmpty();
}

QString toEngineSql(const QString& sql, QString* error) {
  if (hasSecondStatement(sql)) {
    if (error) *error = QStringLiteral("每次只能执行一条语句，分号后的第二条语句被拒绝。");
    return {};
  }
  QString text = sql;
  const qsizetype end = statementEnd(text);
  if (end >= 0) text.truncate(end);
  text = quoteBracketNames(text);
  static const QRegularExpression deleteWithoutFrom(
      QStringLiteral("^(\\s*delete)\\s+(?!from\\b)"),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
  if (QStringView(text).trimmed().startsWith(QLatin1String("delete"), Qt::CaseInsensitive))
    text.replace(deleteWithoutFrom, QStringLiteral("\\1 from "));
  return text;
}

QString bindLiterals(const QString& sql, QVariantList* values) {
  if (!isDataStatement(sql) || sql.contains(QLatin1String("--")) ||
      sql.contains(QLatin1String("/*")))
    return sql;
  QVariantList found;
  QString out;
  out.reserve(sql.size());
  bool inValues = false;
  QChar before;  // the last character outside blanks
  const qsizetype n = sql.size();
  for (qsizetype i = 0; i < n;) {
    const QChar c = sql.at(i);
    qsizetype end = i + 1;
    if (c == u'?') return sql;
    if (c == u'"') {  // a quoted name goes through as it is
      end = sql.indexOf(u'"', i + 1) + 1;
      if (end <= 0) return sql;
    } else if (c == u'\'') {
      QString text;
      if (!quotedText(sql, i, &text, &end)) return sql;
      if (i > 0 && isIdentifierChar(sql.at(i - 1))) return sql;  // X'00ff' and the like
      if (inValues) {
        found << text;
        out += u'?';
        before = u'?';
        i = end;
        continue;
      }
    } else if (isIdentifierChar(c) && !c.isDigit()) {
      while (end < n && isIdentifierChar(sql.at(end))) ++end;
      // Literals are values after these words; before them they name result columns, and
      // after order, group or limit a number is a column position or a count.
      const QStringView word = QStringView(sql).mid(i, end - i);
      if (isOneOf(word, {"where", "values", "set", "having", "on"}))
        inValues = true;
      else if (isOneOf(word, {"order", "group", "limit"}))
        inValues = false;
    } else if (c.isDigit()) {
      const QVariant value = wholeNumber(sql, i, &end);
      if (inValues && value.isValid() && QStringView(u"=,(<>+-*/%|").contains(before)) {
        found << value;
        out += u'?';
        before = u'?';
        i = end;
        continue;
      }
      while (end < n && (isIdentifierChar(sql.at(end)) || sql.at(end) == u'.')) ++end;
    }
    out += QStringView(sql).mid(i, end - i);
    if (!c.isSpace()) before = sql.at(end - 1);
    i = end;
  }
  *values << found;
  return out;
}

bool isPlainName(const QString& name) {
  static const QRegularExpression plain(QStringLiteral("^[\\p{L}_][\\p{L}\\p{N}_]*$"),
                                        QRegularExpression::UseUnicodePropertiesOption);
  return plain.match(name).hasMatch();
}

}  // namespace kvmail::host
