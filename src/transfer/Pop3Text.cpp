#include "transfer/Pop3Text.h"

#include <QList>

#include <cmath>
#include <limits>

namespace kvmail {
namespace {

template <typename Int>
bool roundedInto(const QString& text, Int* out) {
  bool ok = false;
  const double value = text.trimmed().toDouble(&ok);
  if (!ok || !std::isfinite(value)) return false;
  const double rounded = std::nearbyint(value);  // the default rounding mode is half to even
  if (rounded < double(std::numeric_limits<Int>::min()) ||
      rounded > double(std::numeric_limits<Int>::max()))
    return false;
  *out = Int(rounded);
  return true;
}

}  // namespace

QString GetField(const QString& text, int index, const QString& delimiter) {
  qsizetype p = text.indexOf(delimiter);
  if (index == 0) return p < 0 ? text : text.left(p);
  for (int n = 2; n <= index && p >= 0; ++n) p = text.indexOf(delimiter, p + 1);
  if (p < 0 || p + 1 >= text.size()) return QStringLiteral("NOT FOUND");
  const qsizetype next = text.indexOf(delimiter, p + 1);
  return next < 0 ? text.mid(p + 1) : text.mid(p + 1, next - p - 1);
}

bool vbInteger(const QString& text, qint16* out) {
  return roundedInto(text, out);
}
bool vbLongInt(const QString& text, qint32* out) {
  return roundedInto(text, out);
}

QString vbFormatWhole(double value) {
  return QString::number(std::round(value), 'f', 0);
}

qsizetype announcedOctets(const QByteArray& firstArrival) {
  const qsizetype eol = firstArrival.indexOf('\n');
  const QList<QByteArray> words = firstArrival.left(eol < 0 ? 64 : eol).simplified().split(' ');
  if (words.size() < 2) return 0;
  bool ok = false;
  const qlonglong n = words.at(1).toLongLong(&ok);
  return ok && n > 0 ? qsizetype(qMin<qlonglong>(n, kMaxReservedOctets)) : 0;
}

}  // namespace kvmail
