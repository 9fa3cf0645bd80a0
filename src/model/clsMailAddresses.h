#pragma once
// A recipient list on the plain keyed collection; the separator is always ";".
#include "model/IMailAddresses.h"
#include "model/KeyedList.h"

namespace kvmail {

class clsMailAddresses : public IMailAddresses {
 public:
  bool Parser(const QString& psEmailAddress) override;
  QString ToString(const QString& psFormat = {}) const override;
  MailAddressPtr Add(const QString& Address, const QString& Name = {},
                     const QString& sKey = {}) override;
  MailAddressPtr Item(const IndexKey& vntIndexKey) const override;
  long Count() const override { return items_.count(); }
  void Remove(const IndexKey& vntIndexKey) override { items_.remove(vntIndexKey); }
  QList<MailAddressPtr> NewEnum() const override { return items_.items(); }
  void Clear() override { items_ = KeyedList<MailAddressPtr>(); }
  bool IsValid() const override;
  QVariant Find(const QString& psSubString, const QVariant& pvStartAfter = {}) const override;
  QString Delimiter() const override { return {}; }
  void setDelimiter(const QString& Delimiter) override;

 private:
  KeyedList<MailAddressPtr> items_;
};

}  // namespace kvmail
