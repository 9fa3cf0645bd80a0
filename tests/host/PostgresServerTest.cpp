// What only a PostgreSQL server does: a log-in that can fail. (Its folding of mixed-case names
// is met by every catalogue test run on it.)
#include "HostStoreTest.h"

using kvmail::host::SqlHostSystem;

using PostgresServer = kvtest::HostStoreTest;

TEST_F(PostgresServer, WrongPasswordFailsWithoutShowingIt) {
  auto o = rig.options();
  o.password = u"Secret-Wrong-9731"_s;
  SqlHostSystem host(o);
  const QString error = host.open();
  EXPECT_FALSE(error.isEmpty());
  EXPECT_FALSE(error.contains(o.password));
  EXPECT_FALSE(host.isOpen());
}
