#include "model/MailError.h"

namespace kvmail {

MailError::MailError(long number, QString source, QString description)
    : number_(number), source_(std::move(source)), description_(std::move(description)) {
  what_ = QStringLiteral("%1 (%2): %3").arg(number_).arg(source_, description_).toStdString();
}

MailError MailError::invalidArgument(const QString& source) {
  return {InvalidArgument, source, QStringLiteral("Invalid procedure call or argument")};
}
MailError MailError::subscriptOutOfRange(const QString& source) {
  return {SubscriptOutOfRange, source, QStringLiteral("Subscript out of range")};
}
MailError MailError::typeMismatch(const QString& source) {
  return {TypeMismatch, source, QStringLiteral("Type mismatch")};
}
MailError MailError::fileNotFound(const QString& source) {
  return {FileNotFound, source, QStringLiteral("File not found")};
}
MailError MailError::pathFileAccess(const QString& source) {
  return {PathFileAccess, source, QStringLiteral("Path/File access error")};
}
MailError MailError::duplicateKey(const QString& source) {
  return {DuplicateKey, source,
          QStringLiteral("This key is already associated with an element of this collection")};
}

}  // namespace kvmail
