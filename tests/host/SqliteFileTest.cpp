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

// Statements that differ only in their values share one prepared statement on SQLite; every
// answer must still be the one the literal text would give.
TEST_F(SqliteFile, ReusedStatementsAnswerForTheirOwnValues) {
  for (long id = 1; id <= 3; ++id) {
    sql::ReceivedRow r;
    r.mailId = id;
    r.replyId = id;
    r.uidl = id == 2 ? QString("") : QStringLiteral("u%1").arg(id);
    r.messageId = QStringLiteral("pop.example.com");
    ASSERT_EQ(host_->execute(sql::insertReceived(r)), QString());
  }
  for (long id = 1; id <= 3; ++id)
    EXPECT_EQ(
        firstValue(*host_, QStringLiteral("select 邮件ID from msgmail where 邮件ID=%1").arg(id)),
        QString::number(id));
  // '' finds the empty UIDL, and never matches a null.
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 邮件ID from msgmail where UIDL=''")),
            QStringLiteral("2"));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 邮件ID from msgmail where UIDL='u3'")),
            QStringLiteral("3"));
  // A number compared with a text column still matches as the literal did.
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select count(*) from msgmail where cshgnsID=1")),
            QStringLiteral("3"));
  // A column position still orders.
  const auto rs =
      host_->openQuery(QStringLiteral("select 邮件ID from msgmail where 邮件ID>0 order by 1 desc"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(0), QStringLiteral("3"));
  // A shape the engine refuses runs as written (1e+5 would become 1e+?).
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select count(*) from msgmail where 邮件ID<1e+5")),
            QStringLiteral("3"));
  // More shapes than are kept: the oldest are dropped and made again when needed.
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(
        firstValue(*host_, QStringLiteral("select %1+邮件ID from msgmail where 邮件ID=1").arg(i)),
        QString::number(i + 1));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 邮件ID from msgmail where UIDL='u1'")),
            QStringLiteral("1"));
  // An error still names the engine's complaint about the real text.
  EXPECT_TRUE(host_->execute(QStringLiteral("update msgmail set nosuch='x' where 邮件ID=1"))
                  .contains(QStringLiteral("nosuch")));
}
