#include "service/clsError.h"

namespace kvmail {

void clsError::Clear() {
  description_.clear();
  source_.clear();
  number_ = 0;
}

}  // namespace kvmail
