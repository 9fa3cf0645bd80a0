#include "model/clsMessage.h"

#include "model/clsAttachments.h"
#include "model/clsMailAddress.h"
#include "model/clsMailAddresses.h"
#include "model/clsMailDate.h"

namespace kvmail {

clsMessage::clsMessage()
    : from_(std::make_shared<clsMailAddress>()),
      replyTo_(std::make_shared<clsMailAddress>()),
      tos_(std::make_shared<clsMailAddresses>()),
      cc_(std::make_shared<clsMailAddresses>()),
      bcc_(std::make_shared<clsMailAddresses>()),
      dateTime_(std::make_shared<clsMailDate>()),
      attachments_(std::make_shared<clsAttachments>()) {}

}  // namespace kvmail
