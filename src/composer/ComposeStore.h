#pragma once
// Checking and storing the mails of a compose window, without the window: each mail is checked,
// written as a message file and stored as a queued outgoing row, all in one transaction.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IHostSystem;
class IMessage;
class IBundle;

namespace compose {

// The check message for the mail at 1-based index, or "" when it may be stored.
QString checkMail(const IMessage& message, long index);
// The first failing mail's message, or "" when every mail passes.
QString checkMails(const IBundle& bundle);

// The priority as the store keeps it: "1" high, "2" low, "3" for anything else.
QString storedPriority(const QString& priority);
// X-Priority of the message file for a stored priority: 1, 5 or 3.
int headerPriority(const QString& storedPriority);

struct StoreOutcome {
  bool ok = false;
  QString keys;   // the new keys joined by ";" in list order
  QString error;  // the text for ErrMessage
  QString title;  // "提示：" when the key service failed, "错误：" otherwise
  long kind = 0;  // 2 information, 8 critical
};

// Stores every mail of the bundle (message files "temp" + position + ".eml" in the temporary
// folder). On success each message carries its new ID; on failure nothing is stored.
StoreOutcome storeBundle(IHostSystem& host, IBundle& bundle, long replyKey);

}  // namespace compose
}  // namespace kvmail
