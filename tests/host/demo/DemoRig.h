#pragma once
// A demo store in a private folder, opened the way kvhost opens it on its first run: user 1.
#include "DemoStore.h"
#include "StoreRig.h"

namespace kvtest {

struct DemoRig : StoreRig {
  DemoRig() : StoreRig(Engine::Sqlite, u"1"_s, u"演示用户"_s) {
    openError = error.isEmpty() ? kvmail::demo::seedDemoData(*host) : error;
  }
  QString openError;
};

}  // namespace kvtest
