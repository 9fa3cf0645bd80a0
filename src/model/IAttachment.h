#pragma once
// One attached file: labels as set, the file's path and its bare name looked up when the path is
// set.
#include <QString>

#include "model/ModelTypes.h"

namespace kvmail {

class IAttachment {
 public:
  virtual ~IAttachment() = default;

  virtual QString ContentID() const = 0;
  virtual void setContentID(const QString& ContentID) = 0;
  virtual QString ContentType() const = 0;
  virtual void setContentType(const QString& ContentType) = 0;
  virtual QString ContentSubType() const = 0;
  virtual void setContentSubType(const QString& ContentSubType) = 0;
  virtual QString Description() const = 0;
  virtual void setDescription(const QString& Description) = 0;
  virtual QString Encoding() const = 0;
  virtual void setEncoding(const QString& Encoding) = 0;
  virtual QString FileName() const = 0;
  // Stores the path and looks up Name once: the bare file or folder name, "" when it does not
  // exist.
  virtual void setFileName(const QString& FileName) = 0;
  virtual QString Name() const = 0;
  // Copies FileName to psDestination, always replacing it (bOverwrite is not consulted), and
  // answers false even on success. Raises MailError 53 (no source) or 75 (cannot copy); nothing
  // changes then.
  virtual bool Save(const QString& psDestination, bool bOverwrite = false) = 0;
  virtual QString TempFileName() const = 0;
  virtual void setTempFileName(const QString& TempFileName) = 0;
  // Never set by anything: always 0.
  virtual long Size() const = 0;
};

}  // namespace kvmail
