#pragma once
// The number of the MailError a call raises; 0 when it raises none.
#include <functional>

#include "model/MailError.h"

namespace kvtest {

inline long errorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const kvmail::MailError& e) {
    return e.number();
  }
  return 0;
}

}  // namespace kvtest
