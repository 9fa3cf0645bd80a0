#pragma once
// Lets GoogleTest print Qt strings and byte arrays readably in failure messages.
#include <QByteArray>
#include <QString>

#include <ostream>

inline void PrintTo(const QString& s, std::ostream* os) {
  *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray& b, std::ostream* os) {
  *os << '"' << b.toPercentEncoding(" <>=?;:,.\"'/@()[]{}!#$&*+-_|").toStdString() << '"';
}
