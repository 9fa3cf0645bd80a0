#pragma once
// The one raised-error type: number, source and description, as the host sees them.
#include <QString>

#include <exception>
#include <string>

namespace kvmail {

class MailError : public std::exception {
 public:
  // Classic platform error numbers kept by the module.
  enum : long {
    InvalidArgument = 5,
    SubscriptOutOfRange = 9,
    TypeMismatch = 13,
    FileNotFound = 53,
    PathFileAccess = 75,
    DuplicateKey = 457,
  };

  MailError(long number, QString source, QString description);

  long number() const { return number_; }
  const QString& source() const { return source_; }
  const QString& description() const { return description_; }
  const char* what() const noexcept override { return what_.c_str(); }

  // The platform errors with their classic texts.
  static MailError invalidArgument(const QString& source = {});
  static MailError subscriptOutOfRange(const QString& source = {});
  static MailError typeMismatch(const QString& source = {});
  static MailError fileNotFound(const QString& source = {});
  static MailError pathFileAccess(const QString& source = {});
  static MailError duplicateKey(const QString& source = {});

 private:
  long number_;
  QString source_;
  QString description_;
  std::string what_;
};

}  // namespace kvmail
