#pragma once
// One mail in transit: scalar fields as set, and seven sub-objects held by counted reference.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IMessage {
 public:
  virtual ~IMessage() = default;

  virtual MailAddressesPtr Bcc() const = 0;
  virtual void setBcc(const MailAddressesPtr& Bcc) = 0;
  virtual MailAddressesPtr Cc() const = 0;
  virtual void setCc(const MailAddressesPtr& Cc) = 0;
  virtual MailAddressesPtr TOs() const = 0;
  virtual void setTOs(const MailAddressesPtr& TOs) = 0;
  virtual QString MessageID() const = 0;
  virtual void setMessageID(const QString& MessageID) = 0;
  virtual MailAddressPtr From() const = 0;
  virtual void setFrom(const MailAddressPtr& From) = 0;
  virtual QString Charset() const = 0;
  virtual void setCharset(const QString& Charset) = 0;
  virtual QString ContentSubType() const = 0;
  virtual void setContentSubType(const QString& ContentSubType) = 0;
  virtual QString ContentType() const = 0;
  virtual void setContentType(const QString& ContentType) = 0;
  // Text on the module's own scale: "1" high, "2" low, "3" normal.
  virtual QString Priority() const = 0;
  virtual void setPriority(const QString& Priority) = 0;
  virtual MailDatePtr DateTime() const = 0;
  virtual void setDateTime(const MailDatePtr& DateTime) = 0;
  virtual QString Subject() const = 0;
  virtual void setSubject(const QString& Subject) = 0;
  virtual QString BodyText() const = 0;
  virtual void setBodyText(const QString& BodyText) = 0;
  virtual AttachmentsPtr Attachments() const = 0;
  virtual void setAttachments(const AttachmentsPtr& Attachments) = 0;
  virtual MailAddressPtr ReplyTo() const = 0;
  virtual void setReplyTo(const MailAddressPtr& ReplyTo) = 0;
  // The mail's row number in msgmail (32-bit values).
  virtual long ID() const = 0;
  virtual void setID(long ID) = 0;
};

}  // namespace kvmail
