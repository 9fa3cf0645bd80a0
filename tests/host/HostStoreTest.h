#pragma once
// The host tests run on the engine their program is built for: SQLite (test_host) or the
// private PostgreSQL server (test_host_postgres).
#include "StoreRig.h"

namespace kvtest {

class HostStoreTest : public StoreTest {
 protected:
#ifdef KV_TEST_POSTGRES
  HostStoreTest() : StoreTest(StoreRig::Engine::Postgres) {}
#endif
  // The catalogue's insert of an ordinary composed mail with this key.
  static QString insertOne(long id) {
    return kvmail::sql::insertComposed(composedRow(id));
  }
};

}  // namespace kvtest
