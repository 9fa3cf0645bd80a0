#pragma once
// A mail-merge batch of messages from the program's template. Raises MailError; the service
// reports it.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IHostSystem;
class clsAccount;

// One message per record of psMails (records split at psSeparator, items at the character 0,
// "[key]value" items replacing every "[key]" in the template's to, cc, bcc and subject).
BundlePtr buildTemplateBatch(IHostSystem& host, const clsAccount& account, const QString& psMails,
                             const QString& psSeparator);

}  // namespace kvmail
