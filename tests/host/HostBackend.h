#pragma once
// A fresh host store per test on the engine the test binary was built for: an SQLite file in a
// scratch folder, or the private PostgreSQL server of the "postgres" fixture.
#include "SqlHostSystem.h"
#include "store/Statements.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <memory>

namespace kvtest {

// PostgreSQL connection of the fixture server; port 0 when the fixture did not start one.
int postgresPort();
kvmail::host::HostOptions postgresOptions();

class HostStoreTest : public ::testing::Test {
 protected:
  void SetUp() override;

  kvmail::host::SqlEngine engine() const;
  bool isSqlite() const { return engine() == kvmail::host::SqlEngine::Sqlite; }
  // Options reaching this test's store.
  kvmail::host::HostOptions options() const;
  // A new open connection to this test's store (user 7, operator "张三").
  std::unique_ptr<kvmail::host::SqlHostSystem> connect() const;
  // Row count of a table through the given host.
  static long countRows(kvmail::IHostSystem& host, const QString& table);

  QTemporaryDir dir_;
  std::unique_ptr<kvmail::host::SqlHostSystem> host_;
};

// The catalogue's insert of a composed mail with the given key and nothing else.
inline QString insertOne(long id) {
  kvmail::sql::ComposedRow r;
  r.mailId = id;
  r.replyId = id;
  return kvmail::sql::insertComposed(r);
}

}  // namespace kvtest
