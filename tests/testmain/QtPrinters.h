#pragma once
// Readable GoogleTest output for Qt values (forced into every test file by kv_test).
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
  *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray& b, std::ostream* os) {
  *os << '"' << (b.size() > 400 ? b.left(400).toStdString() + "..." : b.toStdString()) << '"';
}
inline void PrintTo(const QStringList& l, std::ostream* os) {
  *os << '{';
  for (qsizetype i = 0; i < l.size(); ++i) *os << (i ? ", \"" : "\"") << l[i].toStdString() << '"';
  *os << '}';
}
