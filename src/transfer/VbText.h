#pragma once
// Number conversions and formatting the protocol handler relies on, with the platform's rules:
// surrounding blanks and line breaks are ignored, a failed or out-of-range conversion changes
// nothing.
#include <QDateTime>
#include <QString>

namespace kvmail {

// CInt: rounds half to even; false (and *out untouched) when not a number or beyond 16 bits.
bool vbInteger(const QString& text, qint16* out);
// CLng: the same for 32 bits.
bool vbLongInt(const QString& text, qint32* out);
// Format(x, "0"): a whole number, halves rounded away from zero.
QString vbFormatWhole(double value);
// A stored date-time text read back; invalid when it is not a date.
QDateTime parseDateText(const QString& text);

}  // namespace kvmail
