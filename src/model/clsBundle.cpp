#include "model/clsBundle.h"

#include "model/KeyedList.h"

namespace kvmail {

MessagePtr clsBundle::AddMessage(const MessagePtr& pcMessage) {
  messages_.Add(pcMessage);
  return pcMessage;
}

void clsBundle::Clear() {
  // Emptying means handing the bundle the platform's plain collection where a CollectionX is
  // required: a type mismatch every time, and the messages stay. Kept so on purpose; callers make a
  // new bundle or remove the messages from the last to the first.
  throw MailError::typeMismatch(kPlatformErrorSource);
}

}  // namespace kvmail
