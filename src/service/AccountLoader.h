#pragma once
// Fills the account record from the host tables: the current user's account, else the default.
#include "service/clsAccount.h"

namespace kvmail {

class IHostSystem;

// False, with the fields left as they were, when the user has no account and there is no
// default one. The first row found wins.
bool loadAccount(IHostSystem& host, clsAccount& account);

}  // namespace kvmail
