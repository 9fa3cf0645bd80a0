// What only an SQLite file does: WAL journal, a read-only file, a file locked by another writer,
// statements kept prepared.
#include "HostStoreTest.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;
using kvtest::StoreRig;
namespace sql = kvmail::sql;

using SqliteFile = kvtest::HostStoreTest;

TEST_F(SqliteFile, WriteAheadJournalAndStoresMadeInNewFolders) {
  EXPECT_EQ(rig.value(u"pragma journal_mode"_s), u"wal"_s);
  EXPECT_EQ(rig.value(u"pragma synchronous"_s), u"1"_s);
  const QString path = rig.path(u"a/b/new.db"_s);
  ASSERT_EQ(kvmail::host::createStore(path), QString());
  SqlHostSystem host(HostOptions::sqlite(path));
  ASSERT_EQ(host.open(), QString());
  EXPECT_EQ(StoreRig::countOf(host, u"MailTemplet"_s), 0);
  // A folder that does not exist is not made by opening.
  SqlHostSystem missing(HostOptions::sqlite(rig.path(u"no/such/dir/x.db"_s)));
  EXPECT_FALSE(missing.open().isEmpty());
  EXPECT_FALSE(missing.isOpen());
  EXPECT_FALSE(missing.execute(u"select 1"_s).isEmpty());
}

// The log is copied back into the file by a thread of the store's own, well before the writer's
// far-off backstop would: about 8 MB of message files reach the database file while the writer
// only commits.
TEST_F(SqliteFile, TheLogIsCopiedBackWhileTheWriterGoesOn) {
  const QString path = rig.path(u"log.db"_s);
  SqlHostSystem host(HostOptions::sqlite(path));
  ASSERT_EQ(host.open(), QString());
  EXPECT_EQ(StoreRig::valueOf(host, u"pragma wal_autocheckpoint"_s), u"10000"_s);
  const QByteArray message(16 * 1024, 'm');
  for (int id = 1; id <= 500; ++id)
    ASSERT_EQ(host.executeBound(u"insert into msgmail(邮件ID,消息) values(?,?)"_s, {id, message}),
              QString());
  QElapsedTimer waited;
  waited.start();
  while (QFileInfo(path).size() < 8'000'000 && waited.elapsed() < 5000) QThread::msleep(20);
  EXPECT_GE(QFileInfo(path).size(), 8'000'000);
  EXPECT_EQ(StoreRig::countOf(host, u"msgmail"_s), 500);
}

// A read-only file, and a file another connection holds locked past the busy time-out: writes
// and keys fail with an error text (and a transaction, while locked); reads see the last
// committed state.
TEST_F(SqliteFile, ReadOnlyOrLockedFileRefusesWritesWithAnErrorText) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  struct Case {
    const char* what;
    HostOptions options;
    bool locked;  // this test's connection holds a write transaction meanwhile
  };
  Case cases[] = {{"read-only", rig.options(), false}, {"locked", rig.options(), true}};
  cases[0].options.readOnly = true;
  cases[1].options.busyTimeoutMs = 100;
  for (const Case& c : cases) {
    SqlHostSystem other(c.options);
    ASSERT_EQ(other.open(), QString()) << c.what;
    if (c.locked) {
      ASSERT_EQ(rig.host->beginTransaction(), QString());
      ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
      EXPECT_FALSE(other.beginTransaction().isEmpty());
    }
    EXPECT_FALSE(other.execute(insertOne(3)).isEmpty()) << c.what;
    QString error;
    EXPECT_EQ(other.nextKey(sql::mailTable(), sql::mailKey(), &error), 0) << c.what;
    EXPECT_FALSE(error.isEmpty()) << c.what;
    EXPECT_EQ(StoreRig::countOf(other, sql::mailTable()), 1) << c.what;  // the committed state
    if (c.locked) {
      ASSERT_EQ(rig.host->rollbackTransaction(), QString());
    }
  }
  EXPECT_EQ(rig.count(), 1);
}

// Statements that differ only in their values share one prepared statement on SQLite; every
// answer must still be the one the literal text would give.
TEST_F(SqliteFile, ReusedStatementsAnswerForTheirOwnValues) {
  for (long id = 1; id <= 3; ++id)
    ASSERT_EQ(rig.host->execute(sql::insertReceived(
                  kvtest::receivedRow(id, id == 2 ? QString("") : u"u%1"_s.arg(id)))),
              QString());
  for (long id = 1; id <= 3; ++id)
    EXPECT_EQ(rig.value(u"select 邮件ID from msgmail where 邮件ID=%1"_s.arg(id)),
              QString::number(id));
  struct Case {
    const char* why;
    const char* query;
    const char* answer;
  };
  const Case cases[] = {
      {"'' finds the empty UIDL and never a null", "select 邮件ID from msgmail where UIDL=''", "2"},
      {"a number against a text column", "select count(*) from msgmail where cshgnsID=1", "3"},
      {"a column position still orders",
       "select 邮件ID from msgmail where 邮件ID>0 order by 1 desc", "3"},
      {"a shape the engine refuses runs as written",
       "select count(*) from msgmail where 邮件ID<1e+5", "3"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(rig.value(QString::fromUtf8(c.query)), QString::fromUtf8(c.answer)) << c.why;
  // More shapes than are kept: the oldest are dropped and made again when needed.
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(rig.value(u"select %1+邮件ID from msgmail where 邮件ID=1"_s.arg(i)),
              QString::number(i + 1));
  EXPECT_EQ(rig.value(u"select 邮件ID from msgmail where UIDL='u1'"_s), u"1"_s);
  // An error still names the engine's complaint about the real text.
  EXPECT_TRUE(
      rig.host->execute(u"update msgmail set nosuch='x' where 邮件ID=1"_s).contains(u"nosuch"_s));
}
