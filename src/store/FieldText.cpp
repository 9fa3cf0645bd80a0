#include "store/FieldText.h"

#include "store/HostSystem.h"

#include <QDateTime>

#include <cmath>
#include <limits>

namespace kvmail {
namespace {

bool isSkipped(QChar c) {
  return c == u' ' || c == u'\t' || c == u'\n';
}

// The text with the characters the number reader ignores taken out.
QString squeezed(const QString& text) {
  QString out;
  out.reserve(text.size());
  for (QChar c : text)
    if (!isSkipped(c)) out.append(c);
  return out;
}

int digitValue(QChar c) {
  if (c >= u'0' && c <= u'9') return c.unicode() - u'0';
  if (c >= u'a' && c <= u'f') return c.unicode() - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c.unicode() - u'A' + 10;
  return -1;
}

// "&H1F" and "&O17" forms.
double radixValue(const QString& s, int start, int radix) {
  double value = 0;
  for (int i = start; i < s.size(); ++i) {
    const int digit = digitValue(s.at(i));
    if (digit < 0 || digit >= radix) break;
    value = value * radix + digit;
  }
  return value;
}

bool isAsciiDigit(QChar c) {
  return c >= u'0' && c <= u'9';
}

}  // namespace

double vbVal(const QString& text) {
  const QString s = squeezed(text);
  if (s.size() >= 2 && s.at(0) == u'&') {
    const QChar kind = s.at(1).toUpper();
    if (kind == u'H') return radixValue(s, 2, 16);
    if (kind == u'O') return radixValue(s, 2, 8);
  }
  // Longest prefix shaped like [sign]digits[.digits][(E|D)[sign]digits].
  int i = 0;
  QString number;
  if (i < s.size() && (s.at(i) == u'+' || s.at(i) == u'-')) number.append(s.at(i++));
  bool digits = false;
  while (i < s.size() && isAsciiDigit(s.at(i))) {
    number.append(s.at(i++));
    digits = true;
  }
  if (i < s.size() && s.at(i) == u'.') {
    number.append(s.at(i++));
    while (i < s.size() && isAsciiDigit(s.at(i))) {
      number.append(s.at(i++));
      digits = true;
    }
  }
  if (!digits) return 0;
  if (i < s.size() && (s.at(i).toUpper() == u'E' || s.at(i).toUpper() == u'D')) {
    int j = i + 1;
    QString exponent = QStringLiteral("e");
    if (j < s.size() && (s.at(j) == u'+' || s.at(j) == u'-')) exponent.append(s.at(j++));
    bool expDigits = false;
    while (j < s.size() && isAsciiDigit(s.at(j))) {
      exponent.append(s.at(j++));
      expDigits = true;
    }
    if (expDigits) number += exponent;
  }
  bool ok = false;
  const double value = number.toDouble(&ok);
  return ok ? value : 0;
}

long vbLong(const QString& text) {
  const double rounded = std::nearbyint(vbVal(text));
  if (rounded >= static_cast<double>(std::numeric_limits<long>::max()))
    return std::numeric_limits<long>::max();
  if (rounded <= static_cast<double>(std::numeric_limits<long>::min()))
    return std::numeric_limits<long>::min();
  return static_cast<long>(rounded);
}

QString firstValue(IHostSystem& host, const QString& sql) {
  const auto rs = host.openQuery(sql);
  if (!rs || rs->isEmpty() || rs->fieldCount() < 1) return {};
  return rs->text(0);
}

QDateTime dateFromText(const QString& text) {
  const QString t = text.trimmed();
  if (t.isEmpty()) return {};
  static const char* const kForms[] = {"yyyy-M-d H:m:s", "yyyy-M-d H:m",    "yyyy-M-d",
                                       "yyyy/M/d H:m:s", "yyyy/M/d H:m",    "yyyy/M/d",
                                       "yyyy-M-dTH:m:s", "yyyy-M-dTH:m:s.z"};
  for (const char* form : kForms) {
    const QString f = QString::fromLatin1(form);
    if (f.contains(u'H')) {
      const QDateTime when = QDateTime::fromString(t, f);
      if (when.isValid()) return when;
    } else if (const QDate day = QDate::fromString(t, f); day.isValid()) {
      return day.startOfDay();
    }
  }
  const QDateTime iso = QDateTime::fromString(t, Qt::ISODate);
  return iso.isValid() ? iso : QDateTime::fromString(t, Qt::RFC2822Date);
}

bool isValidDateText(const QString& text) {
  return dateFromText(text).isValid();
}

}  // namespace kvmail
