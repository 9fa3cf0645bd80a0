#pragma once
// A mail's date: only the day count is stored; time zone, routing and formatting are inert.
#include "model/IMailDate.h"

namespace kvmail {

class clsMailDate : public IMailDate {
 public:
  double DateTime() const override { return dateTime_; }
  void setDateTime(double DateTime) override { dateTime_ = DateTime; }
  // Inert on purpose: callers format and convert dates themselves.
  long TimeZoneBias() const override { return 0; }
  void setTimeZoneBias(long /*TimeZoneBias*/) override {}
  QString Via() const override { return {}; }
  void setVia(const QString& /*Via*/) override {}
  QVariant ToString() const override { return {}; }
  double LocalDate() const override { return 0.0; }

 private:
  double dateTime_ = 0.0;
};

}  // namespace kvmail
