#pragma once
// The service's own last-error record; the host holds this very object, so later failures
// overwrite what it reads.
#include "service/IclsError.h"

namespace kvmail {

class clsError : public IclsError {
 public:
  void Clear() override;
  QString Description() const override { return description_; }
  void setDescription(const QString& value) override { description_ = value; }
  long Number() const override { return number_; }
  void setNumber(long value) override { number_ = value; }
  QString Source() const override { return source_; }
  void setSource(const QString& value) override { source_ = value; }

 private:
  QString description_;
  long number_ = 0;
  QString source_;
};

}  // namespace kvmail
