#pragma once
// Building bundles of messages: a mail-merge batch from the program's template, and the queue of
// outgoing mail read back from the store. Both raise MailError; the service reports it.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IHostSystem;
class clsAccount;
struct ParsedMail;

// One message per record of psMails (records split at psSeparator, items at the character 0,
// "[key]value" items replacing every "[key]" in the template's to, cc, bcc and subject).
BundlePtr buildTemplateBatch(IHostSystem& host, const clsAccount& account, const QString& psMails,
                             const QString& psSeparator);

// The queued outgoing mail, newest first, each parsed from its stored file and carrying its ID.
BundlePtr readSendQueue(IHostSystem& host);

// A message carrying what a parsed mail file holds; attachments are saved under folder.
MessagePtr messageFromMime(const ParsedMail& mail, long id, const QString& folder);

}  // namespace kvmail
