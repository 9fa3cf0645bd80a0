#pragma once
// Messages travelling together between the service and the windows, in insertion order.
#include "model/IndexKey.h"
#include "model/ModelTypes.h"

namespace kvmail {

class IBundle {
 public:
  virtual ~IBundle() = default;

  // Appends without a key and hands back the same message.
  virtual MessagePtr AddMessage(const MessagePtr& pcMessage) = 0;
  // Failures raise MailError -2147220991 with the collection's source and text (see CollectionX.h).
  virtual void Remove(const IndexKey& vntIndexKey) = 0;
  virtual MessagePtr Item(const IndexKey& vntIndexKey) const = 0;
  virtual void setItem(const IndexKey& vntIndexKey, const MessagePtr& pcMessage) = 0;
  virtual long Count() const = 0;
  // Always raises MailError 13 and keeps every message: make a new bundle to start empty.
  virtual void Clear() = 0;
};

}  // namespace kvmail
