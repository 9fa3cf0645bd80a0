#include "HostBackend.h"

#include "store/FieldText.h"

namespace kvtest {

using kvmail::host::HostOptions;
using kvmail::host::SqlEngine;
using kvmail::host::SqlHostSystem;

int postgresPort() {
  return qEnvironmentVariableIntValue("KV_PG_PORT");
}

HostOptions postgresOptions() {
  return HostOptions::postgres(QStringLiteral("127.0.0.1"), postgresPort(),
                               QStringLiteral("kvmail"), QStringLiteral("kvmail"),
                               QStringLiteral("kvtest"));
}

SqlEngine HostStoreTest::engine() const {
#ifdef KV_TEST_POSTGRES
  return SqlEngine::Postgres;
#else
  return SqlEngine::Sqlite;
#endif
}

HostOptions HostStoreTest::options() const {
  HostOptions o = isSqlite() ? HostOptions::sqlite(dir_.filePath(QStringLiteral("store.db")))
                             : postgresOptions();
  o.userId = QStringLiteral("7");
  o.operatorName = QStringLiteral("张三");
  return o;
}

std::unique_ptr<SqlHostSystem> HostStoreTest::connect() const {
  auto host = std::make_unique<SqlHostSystem>(options());
  const QString error = host->open();
  EXPECT_TRUE(error.isEmpty()) << error.toStdString();
  return host;
}

void HostStoreTest::SetUp() {
  ASSERT_TRUE(dir_.isValid());
  if (!isSqlite()) {
    if (postgresPort() == 0) GTEST_SKIP() << "no PostgreSQL fixture server (KV_PG_PORT)";
    // Each test starts from empty tables: drop what an earlier test left.
    auto admin = connect();
    for (const char* table :
         {"msgmail", "mailaccount", "mailaccountuser", "mailtemplet", "xt_objects", "kv_keys"})
      ASSERT_EQ(admin->execute(QStringLiteral("drop table if exists ") + QLatin1String(table)),
                QString());
  }
  host_ = connect();
  ASSERT_TRUE(host_->isOpen());
}

long HostStoreTest::countRows(kvmail::IHostSystem& host, const QString& table) {
  return kvmail::vbLong(kvmail::firstValue(host, QStringLiteral("select count(*) from ") + table));
}

}  // namespace kvtest
