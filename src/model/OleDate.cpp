#include "model/OleDate.h"

#include <cmath>

namespace kvmail {

namespace {

constexpr double kMsecsPerDay = 86400000.0;

QDate epoch() {
  return QDate(1899, 12, 30);
}

}  // namespace

double toOleDate(const QDateTime& dateTime) {
  if (!dateTime.isValid()) return 0.0;
  const QDateTime local = dateTime.toLocalTime();
  const double days = static_cast<double>(epoch().daysTo(local.date()));
  const double fraction = local.time().msecsSinceStartOfDay() / kMsecsPerDay;
  return days >= 0 ? days + fraction : days - fraction;
}

QDateTime fromOleDate(double oleDate) {
  double whole = 0.0;
  const double fraction = std::fabs(std::modf(oleDate, &whole));
  auto msecs = static_cast<qint64>(std::llround(fraction * kMsecsPerDay));
  auto days = static_cast<qint64>(whole);
  if (msecs >= static_cast<qint64>(kMsecsPerDay)) {  // rounding reached the next midnight
    msecs = 0;
    days += 1;
  }
  return QDateTime(epoch().addDays(days), QTime::fromMSecsSinceStartOfDay(static_cast<int>(msecs)));
}

}  // namespace kvmail
