#pragma once
// One mail in transit. Created complete: the seven sub-objects exist from the start and are held
// only by counted reference, so a caller that took one keeps a working object after the message is
// gone.
#include "model/IMessage.h"

namespace kvmail {

class clsMessage : public IMessage {
 public:
  clsMessage();

  MailAddressesPtr Bcc() const override { return bcc_; }
  void setBcc(const MailAddressesPtr& Bcc) override { bcc_ = Bcc; }
  MailAddressesPtr Cc() const override { return cc_; }
  void setCc(const MailAddressesPtr& Cc) override { cc_ = Cc; }
  MailAddressesPtr TOs() const override { return tos_; }
  void setTOs(const MailAddressesPtr& TOs) override { tos_ = TOs; }
  QString MessageID() const override { return messageId_; }
  void setMessageID(const QString& MessageID) override { messageId_ = MessageID; }
  MailAddressPtr From() const override { return from_; }
  void setFrom(const MailAddressPtr& From) override { from_ = From; }
  QString Charset() const override { return charset_; }
  void setCharset(const QString& Charset) override { charset_ = Charset; }
  QString ContentSubType() const override { return contentSubType_; }
  void setContentSubType(const QString& ContentSubType) override {
    contentSubType_ = ContentSubType;
  }
  QString ContentType() const override { return contentType_; }
  void setContentType(const QString& ContentType) override { contentType_ = ContentType; }
  QString Priority() const override { return priority_; }
  void setPriority(const QString& Priority) override { priority_ = Priority; }
  MailDatePtr DateTime() const override { return dateTime_; }
  void setDateTime(const MailDatePtr& DateTime) override { dateTime_ = DateTime; }
  QString Subject() const override { return subject_; }
  void setSubject(const QString& Subject) override { subject_ = Subject; }
  QString BodyText() const override { return bodyText_; }
  void setBodyText(const QString& BodyText) override { bodyText_ = BodyText; }
  AttachmentsPtr Attachments() const override { return attachments_; }
  void setAttachments(const AttachmentsPtr& Attachments) override { attachments_ = Attachments; }
  MailAddressPtr ReplyTo() const override { return replyTo_; }
  void setReplyTo(const MailAddressPtr& ReplyTo) override { replyTo_ = ReplyTo; }
  long ID() const override { return id_; }
  void setID(long ID) override { id_ = ID; }

 private:
  long id_ = 0;
  QString messageId_;
  MailAddressPtr from_;
  MailAddressPtr replyTo_;
  QString bodyText_;
  QString charset_;
  QString contentType_;
  QString contentSubType_;
  QString priority_;
  QString subject_;
  MailAddressesPtr tos_;
  MailAddressesPtr cc_;
  MailAddressesPtr bcc_;
  MailDatePtr dateTime_;
  AttachmentsPtr attachments_;
};

}  // namespace kvmail
