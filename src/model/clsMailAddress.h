#pragma once
// One mailbox as plain text: display name and address.
#include "model/IMailAddress.h"

namespace kvmail {

class clsMailAddress : public IMailAddress {
 public:
  QString Name() const override { return name_; }
  void setName(const QString& Name) override { name_ = Name; }
  QString Address() const override { return address_; }
  void setAddress(const QString& Address) override { address_ = Address; }
  bool Parser(const QString& psMailAddress) override;
  QString ToString() const override;
  bool IsValid() const override;

 private:
  QString name_;
  QString address_;
};

}  // namespace kvmail
