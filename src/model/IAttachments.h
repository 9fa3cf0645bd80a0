#pragma once
// The attachments of a message, in insertion order.
#include <QList>
#include <QString>

#include "model/IndexKey.h"
#include "model/ModelTypes.h"

namespace kvmail {

class IAttachments {
 public:
  virtual ~IAttachments() = default;

  // A new attachment with FileName (Name looked up) and Description set, appended without a key.
  virtual AttachmentPtr Add(const QString& psFileName, const QString& psDescription = {}) = 0;
  // By 1-based position (bad one: MailError 9) or key (unknown: MailError 5).
  virtual AttachmentPtr Item(const IndexKey& vntIndexKey) const = 0;
  virtual long Count() const = 0;
  virtual void Remove(const IndexKey& vntIndexKey) = 0;
  // A snapshot in list order, for range-for.
  virtual QList<AttachmentPtr> NewEnum() const = 0;
  virtual void Clear() = 0;
};

}  // namespace kvmail
