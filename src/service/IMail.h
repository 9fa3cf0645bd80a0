#pragma once
// The module's one door for the host application.
#include <QString>

#include <memory>

namespace kvmail {

class IHostSystem;
class IclsError;

class IMail {
 public:
  virtual ~IMail() = default;

  virtual bool Init(const std::shared_ptr<IHostSystem>& pcSystem, long plProgID) = 0;
  virtual bool Clear() = 0;
  virtual bool CreateNew(const QString& psMails, const QString& psSeparator) = 0;
  virtual bool SendMail(long plmails) = 0;
  virtual bool ReceiveMail() = 0;
  virtual bool SendReceiveMail() = 0;
  virtual std::shared_ptr<IclsError> Error() const = 0;
  virtual long ProgID() const = 0;
  virtual bool DisPlayMail(long plMailID, const QString& psCaption) = 0;
  virtual bool NewMail() = 0;
  virtual bool ReplyMail(long plMailID) = 0;
  virtual bool TransmitMail(long plMailID) = 0;
};

}  // namespace kvmail
