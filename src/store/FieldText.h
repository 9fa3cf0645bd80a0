#pragma once
// Reading stored values the way the module always has: everything as text, numbers as the
// leading number of that text.
#include <QDateTime>
#include <QString>

namespace kvmail {

class IHostSystem;

// The leading number of a text: blanks, tabs and line feeds are skipped wherever they stand,
// reading stops at the first other character that cannot continue a number. "" and "abc" give 0,
// "12\r\n" gives 12, "&H1F" gives 31.
double vbVal(const QString& text);
// vbVal rounded half to even into a long; values past the long range are clamped to it.
long vbLong(const QString& text);

// The first column of the first row as text, or "" for no row, a null or a failed query.
QString firstValue(IHostSystem& host, const QString& sql);

// A stored date text (接收时间) read back, e.g. "2024-03-05 14:07:00"; invalid when it is no date.
QDateTime dateFromText(const QString& text);
// Whether a stored date text holds a real date.
bool isValidDateText(const QString& text);

}  // namespace kvmail
