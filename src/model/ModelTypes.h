#pragma once
// Forward declarations of the mail object model and the counted references everyone passes around.
#include <memory>

namespace kvmail {

class IMailAddress;
class IMailAddresses;
class IMessage;
class IMailDate;
class IAttachment;
class IAttachments;
class IBundle;

using MailAddressPtr = std::shared_ptr<IMailAddress>;
using MailAddressesPtr = std::shared_ptr<IMailAddresses>;
using MessagePtr = std::shared_ptr<IMessage>;
using MailDatePtr = std::shared_ptr<IMailDate>;
using AttachmentPtr = std::shared_ptr<IAttachment>;
using AttachmentsPtr = std::shared_ptr<IAttachments>;
using BundlePtr = std::shared_ptr<IBundle>;

}  // namespace kvmail
