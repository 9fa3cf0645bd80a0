#include "model/clsAttachments.h"

#include "model/clsAttachment.h"

namespace kvmail {

AttachmentPtr clsAttachments::Add(const QString& psFileName, const QString& psDescription) {
  auto attachment = std::make_shared<clsAttachment>();
  attachment->setFileName(psFileName);
  attachment->setDescription(psDescription);
  items_.add(attachment);
  return attachment;
}

}  // namespace kvmail
