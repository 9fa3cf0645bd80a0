#pragma once
// A mail's date as the platform date: a day count from 1899-12-30 (see OleDate.h); 0 is the zero
// date.
#include <QString>
#include <QVariant>

#include "model/ModelTypes.h"

namespace kvmail {

class IMailDate {
 public:
  virtual ~IMailDate() = default;

  virtual double DateTime() const = 0;
  virtual void setDateTime(double DateTime) = 0;
  // The rest is inert on purpose: the get answers 0 / "" / an invalid QVariant / the zero date.
  virtual long TimeZoneBias() const = 0;
  virtual void setTimeZoneBias(long TimeZoneBias) = 0;
  virtual QString Via() const = 0;
  virtual void setVia(const QString& Via) = 0;
  virtual QVariant ToString() const = 0;
  virtual double LocalDate() const = 0;
};

}  // namespace kvmail
