#pragma once
// Reading the numbers and fields of POP3 replies the way the receive handler always has.
#include <QByteArray>
#include <QString>

namespace kvmail {

// Field n of a text split at a delimiter; "NOT FOUND" when there is no such field.
QString GetField(const QString& text, int index, const QString& delimiter);

// CInt and CLng: round half to even; false (and *out untouched) when the text is no number or
// the value does not fit, so a failed conversion changes nothing. Blanks and line breaks around
// the number are ignored.
bool vbInteger(const QString& text, qint16* out);
bool vbLongInt(const QString& text, qint32* out);
// Format(x, "0"): a whole number, halves rounded away from zero.
QString vbFormatWhole(double value);

// The size a RETR reply announces ("+OK 20480 octets"), to reserve the buffer once; 0 if none.
// The server's word is trusted only up to kMaxReservedOctets: a larger mail grows as it arrives.
constexpr qsizetype kMaxReservedOctets = qsizetype(64) << 20;
qsizetype announcedOctets(const QByteArray& firstArrival);

}  // namespace kvmail
