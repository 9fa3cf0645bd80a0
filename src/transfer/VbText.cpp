#include "transfer/VbText.h"

#include <cmath>
#include <limits>

namespace kvmail {

namespace {

bool toNumber(const QString& text, double* out) {
  bool ok = false;
  const double value = text.trimmed().toDouble(&ok);
  if (!ok || !std::isfinite(value)) return false;
  *out = value;
  return true;
}

template <typename Int>
bool roundedInto(const QString& text, Int* out) {
  double value = 0;
  if (!toNumber(text, &value)) return false;
  const double rounded = std::nearbyint(value);  // the default rounding mode is half to even
  if (rounded < double(std::numeric_limits<Int>::min()) ||
      rounded > double(std::numeric_limits<Int>::max()))
    return false;
  *out = Int(rounded);
  return true;
}

}  // namespace

bool vbInteger(const QString& text, qint16* out) {
  return roundedInto(text, out);
}
bool vbLongInt(const QString& text, qint32* out) {
  return roundedInto(text, out);
}

QString vbFormatWhole(double value) {
  return QString::number(std::round(value), 'f', 0);
}

QDateTime parseDateText(const QString& text) {
  const QString t = text.trimmed();
  if (t.isEmpty()) return {};
  for (const char* format :
       {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm", "yyyy-MM-dd", "yyyy/M/d H:mm:ss", "yyyy/M/d"}) {
    const QDateTime dt = QDateTime::fromString(t, QString::fromLatin1(format));
    if (dt.isValid()) return dt;
  }
  return QDateTime::fromString(t, Qt::ISODate);
}

}  // namespace kvmail
