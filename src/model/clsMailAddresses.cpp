#include "model/clsMailAddresses.h"

#include <QStringList>

#include "model/clsMailAddress.h"

namespace kvmail {

namespace {
const QLatin1Char kSeparator(';');
}

bool clsMailAddresses::Parser(const QString& psEmailAddress) {
  // Every piece is parsed before any is added, so a bad piece leaves the list as it was.
  QList<MailAddressPtr> parsed;
  for (const QString& piece : psEmailAddress.split(kSeparator)) {
    auto address = std::make_shared<clsMailAddress>();
    address->Parser(piece);
    parsed.append(address);
  }
  for (const MailAddressPtr& address : parsed) items_.add(address);
  return true;
}

QString clsMailAddresses::ToString(const QString& /*psFormat*/) const {
  QString text;
  for (const MailAddressPtr& address : items_.items()) text += address->ToString() + kSeparator;
  if (!text.isEmpty()) text.chop(1);
  return text;
}

MailAddressPtr clsMailAddresses::Add(const QString& Address, const QString& Name,
                                     const QString& sKey) {
  auto address = std::make_shared<clsMailAddress>();
  address->setAddress(Address);
  address->setName(Name);
  items_.add(address, sKey);
  return address;
}

MailAddressPtr clsMailAddresses::Item(const IndexKey& vntIndexKey) const {
  return items_.item(vntIndexKey);
}

bool clsMailAddresses::IsValid() const {
  for (const MailAddressPtr& address : items_.items())
    if (!address || !address->IsValid()) return false;
  return true;
}

QVariant clsMailAddresses::Find(const QString& /*psSubString*/,
                                const QVariant& /*pvStartAfter*/) const {
  // Part of the interface only: it searches nothing, and callers must not rely on it.
  return {};
}

void clsMailAddresses::setDelimiter(const QString& /*Delimiter*/) {
  // The separator stays ";" for Parser and ToString whatever is set here.
}

}  // namespace kvmail
