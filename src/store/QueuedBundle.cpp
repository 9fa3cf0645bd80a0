#include "store/QueuedBundle.h"

#include <utility>

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
  if (slot.message) return slot.message;
  Ahead ahead = std::exchange(ahead_, Ahead{});
  // Deleted or saved again since it was read ahead: read it afresh (or find it gone).
  if (ahead.message && ahead.mailId == slot.mailId &&
      store_.messageLength(slot.mailId) == ahead.length)
    return ahead.message;
  return store_.readQueuedMessage(slot.mailId);
}

MessagePtr QueuedBundle::readAhead(const IndexKey& key) const {
  ahead_ = Ahead{};
  if (!key.isPosition() || key.position() < 1 || key.position() > slots_.size()) return nullptr;
  const Slot& slot = slots_.at(key.position() - 1);
  if (slot.message) return nullptr;
  try {
    const qint64 length = store_.messageLength(slot.mailId);
    if (length < 0) return nullptr;
    if (MessagePtr message = store_.readQueuedMessage(slot.mailId))
      ahead_ = Ahead{slot.mailId, length, std::move(message)};
  } catch (...) {
    ahead_ = Ahead{};  // its turn reads it again and reports what fails then
  }
  return ahead_.message;
}

void QueuedBundle::setItem(const IndexKey& vntIndexKey, const MessagePtr& pcMessage) {
  slots_[position(vntIndexKey)] = Slot{pcMessage ? pcMessage->ID() : 0, pcMessage};
}

void QueuedBundle::Clear() {
  throw MailError::typeMismatch(kPlatformErrorSource);
}

}  // namespace kvmail
