#pragma once
// Saving the mail being composed as a host program's template, and what the template editor
// says about a program's template. Runs without a window; FrmTemplet drives it.
#include <QString>

namespace kvmail {

class IMessage;
class MailStore;

// X-Priority of a template file from a message's priority: "1" (high) gives 1, "2" (low) 5,
// anything else 3.
int templateHeaderPriority(const QString& priority);

// The program's display name and whether it has a template.
struct TemplateStatus {
  QString programName;
  bool exists = false;
};
TemplateStatus templateStatus(const MailStore& store, long progId);

// The label text for a status: which program, and whether saving replaces a template.
QString templateStatusText(long progId, const TemplateStatus& status);

// Saves in this order, stopping at the first failure: the old row is deleted, the new row
// (to, cc, subject as typed, never bcc) inserted, the message written to "temp<progId>.eml"
// in the temp folder (gb2312, HTML in base64, X-Priority, attachments) and stored into the row,
// and the file deleted. The old template is gone even when the insert then fails: kept in that
// order on purpose. Answers the failure text, empty on success.
QString saveTemplate(const MailStore& store, long progId, const QString& to, const QString& cc,
                     const QString& subject, const IMessage& message);

}  // namespace kvmail
