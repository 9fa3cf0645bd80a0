// What only an SQLite file does: WAL journal, a read-only file, a file locked by another writer.
#include "HostBackend.h"
#include "HostStore.h"
#include "store/FieldText.h"
#include "store/Statements.h"

using kvmail::firstValue;
using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;
using kvtest::HostStoreTest;
using kvtest::insertOne;
namespace sql = kvmail::sql;

using SqliteFile = HostStoreTest;

TEST_F(SqliteFile, JournalIsWriteAhead) {
  EXPECT_EQ(firstValue(*host_, QStringLiteral("pragma journal_mode")), QStringLiteral("wal"));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("pragma synchronous")), QStringLiteral("1"));
}

TEST_F(SqliteFile, CreateStoreMakesFoldersAndTables) {
  const QString path = dir_.filePath(QStringLiteral("a/b/new.db"));
  ASSERT_EQ(kvmail::host::createStore(path), QString());
  SqlHostSystem host(HostOptions::sqlite(path));
  ASSERT_EQ(host.open(), QString());
  EXPECT_EQ(countRows(host, QStringLiteral("MailTemplet")), 0);
}

TEST_F(SqliteFile, ReadOnlyFileRefusesWritesWithAnErrorText) {
  ASSERT_EQ(host_->execute(insertOne(1)), QString());
  HostOptions o = options();
  o.readOnly = true;
  SqlHostSystem reader(o);
  ASSERT_EQ(reader.open(), QString());
  EXPECT_EQ(countRows(reader, QStringLiteral("msgmail")), 1);
  EXPECT_FALSE(reader.execute(insertOne(2)).isEmpty());
  QString error;
  EXPECT_EQ(reader.nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error), 0);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 1);
}

TEST_F(SqliteFile, LockedFileGivesAnErrorTextAfterTheBusyTimeout) {
  HostOptions o = options();
  o.busyTimeoutMs = 100;
  SqlHostSystem other(o);
  ASSERT_EQ(other.open(), QString());
  ASSERT_EQ(host_->beginTransaction(), QString());
  ASSERT_EQ(host_->execute(insertOne(1)), QString());

  EXPECT_FALSE(other.execute(insertOne(2)).isEmpty());
  EXPECT_FALSE(other.beginTransaction().isEmpty());
  QString error;
  EXPECT_EQ(other.nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error), 0);
  EXPECT_FALSE(error.isEmpty());
  // Readers still see the last committed state.
  EXPECT_EQ(countRows(other, QStringLiteral("msgmail")), 0);

  ASSERT_EQ(host_->rollbackTransaction(), QString());
  EXPECT_EQ(other.execute(insertOne(2)), QString());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 1);
}

TEST_F(SqliteFile, MissingFolderFailsToOpenWithAnErrorText) {
  SqlHostSystem host(HostOptions::sqlite(dir_.filePath(QStringLiteral("no/such/dir/x.db"))));
  const QString error = host.open();
  EXPECT_FALSE(error.isEmpty());
  EXPECT_FALSE(host.isOpen());
  EXPECT_FALSE(host.execute(QStringLiteral("select 1")).isEmpty());
}
