#pragma once
// The rule that decides whether an e-mail address is acceptable.
#include <QString>

namespace kvmail::bMail {

// True when the text holds an "@", does not end in "." and has only A-Z, a-z, 0-9, "-", "_", "."
// besides "@". Nothing else is checked ("@" alone and "a@@b" pass). Never raises.
bool IsMail(const QString& psMail) noexcept;

}  // namespace kvmail::bMail
