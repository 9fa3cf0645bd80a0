#pragma once
// Readable GoogleTest output for Qt values, and Qt's string literals (u"…"_s, "…"_L1), forced
// into every test file and rig.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

using namespace Qt::StringLiterals;

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
