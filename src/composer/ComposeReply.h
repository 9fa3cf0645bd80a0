#pragma once
// Replies and forwards: the new mail a user expects when answering or passing on a stored one.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class MailStore;

namespace compose {

enum class AnswerKind { Reply, Forward };

// A new message from the stored mail: a reply goes to the original sender with "回复：" before the
// subject; a forward has "转发：" and carries the original attachments, saved under the temporary
// folder. Both hold the original body below a separator line. nullptr when the mail is not stored.
MessagePtr answerFromStore(const MailStore& store, long mailId, AnswerKind kind);

// The body of a stored mail below a separator line and its header lines, as a reply quotes it.
QString quotedBody(const QString& fromText, const QString& sentTime, const QString& toText,
                   const QString& subject, const QString& originalHtml);

// The contents of an HTML document's body element (the whole text when it has none).
QString bodyContents(const QString& html);

}  // namespace compose
}  // namespace kvmail
