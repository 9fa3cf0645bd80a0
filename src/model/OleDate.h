#pragma once
// The platform date: days since 1899-12-30 00:00 local time, the fraction's magnitude being the
// time of day (-1.25 is 1899-12-29 06:00). 0 is the zero date.
#include <QDateTime>

namespace kvmail {

// An invalid QDateTime gives 0; other time specs are first converted to local time.
double toOleDate(const QDateTime& dateTime);
// Local time, rounded to the millisecond.
QDateTime fromOleDate(double oleDate);

}  // namespace kvmail
