#include "store/QueuedBundle.h"

#include "model/IMessage.h"
#include "model/KeyedList.h"
#include "model/MailError.h"
#include "store/MailStore.h"

namespace kvmail {

QueuedBundle::QueuedBundle(const MailStore& store, const QList<long>& mailIds) : store_(store) {
  slots_.reserve(mailIds.size());
  for (long id : mailIds) slots_.append(Slot{id, nullptr});
}

MessagePtr QueuedBundle::AddMessage(const MessagePtr& pcMessage) {
  slots_.append(Slot{pcMessage ? pcMessage->ID() : 0, pcMessage});
  return pcMessage;
}

qsizetype QueuedBundle::position(const IndexKey& key) const {
  if (!key.isPosition() || key.position() < 1 || key.position() > slots_.size())
    throw MailError::subscriptOutOfRange(kPlatformErrorSource);
  return key.position() - 1;
}

void QueuedBundle::Remove(const IndexKey& vntIndexKey) {
  slots_.removeAt(position(vntIndexKey));
}

MessagePtr QueuedBundle::Item(const IndexKey& vntIndexKey) const {
  const Slot& slot = slots_.at(position(vntIndexKey));
  return slot.message ? slot.message : store_.readQueuedMessage(slot.mailId);
}

void QueuedBundle::setItem(const IndexKey& vntIndexKey, const MessagePtr& pcMessage) {
  slots_[position(vntIndexKey)] = Slot{pcMessage ? pcMessage->ID() : 0, pcMessage};
}

void QueuedBundle::Clear() {
  throw MailError::typeMismatch(kPlatformErrorSource);
}

}  // namespace kvmail
