#pragma once
// One attached file; only setFileName and Save touch the disk.
#include "model/IAttachment.h"

namespace kvmail {

class clsAttachment : public IAttachment {
 public:
  QString ContentID() const override { return contentId_; }
  void setContentID(const QString& ContentID) override { contentId_ = ContentID; }
  QString ContentType() const override { return contentType_; }
  void setContentType(const QString& ContentType) override { contentType_ = ContentType; }
  QString ContentSubType() const override { return contentSubType_; }
  void setContentSubType(const QString& ContentSubType) override {
    contentSubType_ = ContentSubType;
  }
  QString Description() const override { return description_; }
  void setDescription(const QString& Description) override { description_ = Description; }
  QString Encoding() const override { return encoding_; }
  void setEncoding(const QString& Encoding) override { encoding_ = Encoding; }
  QString FileName() const override { return fileName_; }
  void setFileName(const QString& FileName) override;
  QString Name() const override { return name_; }
  bool Save(const QString& psDestination, bool bOverwrite = false) override;
  QString TempFileName() const override { return tempFileName_; }
  void setTempFileName(const QString& TempFileName) override { tempFileName_ = TempFileName; }
  long Size() const override { return 0; }

 private:
  QString contentId_;
  QString contentType_;
  QString contentSubType_;
  QString description_;
  QString encoding_;
  QString fileName_;
  QString name_;
  QString tempFileName_;
};

}  // namespace kvmail
