#pragma once
// The last-error record as the host reads it: number, description, source, and Clear.
#include <QString>

namespace kvmail {

class IclsError {
 public:
  virtual ~IclsError() = default;

  virtual void Clear() = 0;
  virtual QString Description() const = 0;
  virtual void setDescription(const QString& value) = 0;
  virtual long Number() const = 0;
  virtual void setNumber(long value) = 0;
  virtual QString Source() const = 0;
  virtual void setSource(const QString& value) = 0;
};

}  // namespace kvmail
