#pragma once
// A recipient list (To, Cc, Bcc): addresses in insertion order, split and joined on ";".
#include <QList>
#include <QString>
#include <QVariant>

#include "model/IndexKey.h"
#include "model/ModelTypes.h"

namespace kvmail {

class IMailAddresses {
 public:
  virtual ~IMailAddresses() = default;

  // Appends one new address per ";"-piece (untrimmed); never empties the list first. Always true.
  // Raises MailError 5 like IMailAddress::Parser when a piece holds "<" without a later ">".
  virtual bool Parser(const QString& psEmailAddress) = 0;
  // Each address's text joined by ";"; psFormat is ignored.
  virtual QString ToString(const QString& psFormat = {}) const = 0;
  // Appends a new address under sKey (no key when empty); a used key raises MailError 457.
  virtual MailAddressPtr Add(const QString& Address, const QString& Name = {},
                             const QString& sKey = {}) = 0;
  // By 1-based position (bad one: MailError 9) or key (unknown: MailError 5).
  virtual MailAddressPtr Item(const IndexKey& vntIndexKey) const = 0;
  virtual long Count() const = 0;
  virtual void Remove(const IndexKey& vntIndexKey) = 0;
  // A snapshot in list order, for range-for.
  virtual QList<MailAddressPtr> NewEnum() const = 0;
  virtual void Clear() = 0;
  // True when every address is valid; an empty list is valid.
  virtual bool IsValid() const = 0;
  // Searches nothing: always an empty (invalid) QVariant.
  virtual QVariant Find(const QString& psSubString, const QVariant& pvStartAfter = {}) const = 0;
  // Inert: the separator is always ";"; the get answers "" and the set discards its value.
  virtual QString Delimiter() const = 0;
  virtual void setDelimiter(const QString& Delimiter) = 0;
};

}  // namespace kvmail
