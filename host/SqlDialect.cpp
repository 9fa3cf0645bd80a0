#include "SqlDialect.h"

#include <QRegularExpression>

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
  text.replace(deleteWithoutFrom, QStringLiteral("\\1 from "));
  return text;
}

bool isPlainName(const QString& name) {
  static const QRegularExpression plain(QStringLiteral("^[\\p{L}_][\\p{L}\\p{N}_]*$"),
                                        QRegularExpression::UseUnicodePropertiesOption);
  return plain.match(name).hasMatch();
}

}  // namespace kvmail::host
