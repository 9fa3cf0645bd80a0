#include "model/clsMailAddress.h"

#include "model/KeyedList.h"
#include "model/bMail.h"

namespace kvmail {

bool clsMailAddress::Parser(const QString& psMailAddress) {
  const qsizetype open = psMailAddress.indexOf(QLatin1Char('<'));
  if (open < 0) {
    name_.clear();
    address_ = psMailAddress;
    return true;
  }
  // The ">" is searched from the start, so one standing before "<" counts as missing.
  const qsizetype close = psMailAddress.indexOf(QLatin1Char('>'));
  const qsizetype length = close - open - 1;
  if (close < 0 || length < 0) throw MailError::invalidArgument(kPlatformErrorSource);
  name_ = psMailAddress.left(open);  // untrimmed: "Desk <a@b>" keeps "Desk "
  address_ = psMailAddress.mid(open + 1, length);
  return true;
}

QString clsMailAddress::ToString() const {
  if (name_.trimmed().isEmpty()) return address_;
  return name_ + QLatin1Char('<') + address_ + QLatin1Char('>');
}

bool clsMailAddress::IsValid() const {
  return bMail::IsMail(address_);
}

}  // namespace kvmail
