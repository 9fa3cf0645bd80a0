#pragma once
// One mailbox: a display name and an address, held as text exactly as supplied.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IMailAddress {
 public:
  virtual ~IMailAddress() = default;

  virtual QString Name() const = 0;
  virtual void setName(const QString& Name) = 0;
  virtual QString Address() const = 0;
  virtual void setAddress(const QString& Address) = 0;
  // Splits "Name <address>" into Name and Address; raises MailError 5 on "<" without a later ">",
  // leaving both fields as they were. Otherwise always true.
  virtual bool Parser(const QString& psMailAddress) = 0;
  // Address alone when Name is blank, else Name + "<" + Address + ">" (no blank added).
  virtual QString ToString() const = 0;
  // The address rule of bMail applied to Address.
  virtual bool IsValid() const = 0;
};

}  // namespace kvmail
