// The host system object: tables on open, one statement per call, errors as texts,
// transactions, and recordsets with chunked and updatable columns.
#include "HostStoreTest.h"
#include "model/MailError.h"

using kvmail::MailError;
using kvtest::composedRow;
namespace sql = kvmail::sql;

using HostSystem = kvtest::HostStoreTest;

TEST_F(HostSystem, OpenCreatesTablesAndComposedRowsGetQueueDefaults) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  auto rs = rig.host->openQuery(QStringLiteral("select del,active,消息 from msgmail"));
  ASSERT_TRUE(rs && !rs->isEmpty());
  EXPECT_EQ(rs->text(QStringLiteral("DEL")), QStringLiteral("0"));
  EXPECT_EQ(rs->text(QStringLiteral("Active")), QStringLiteral("1"));
  EXPECT_TRUE(rs->isNull(QStringLiteral("消息")));
  for (const char* table : {"mailaccount", "mailaccountuser", "MailTemplet", "xt_objects"})
    EXPECT_EQ(rig.count(QLatin1String(table)), 0) << table;
  // Opening again over existing tables changes nothing.
  EXPECT_EQ(kvtest::StoreRig::countOf(*rig.connect(), QStringLiteral("msgMail")), 1);
}

TEST_F(HostSystem, OneStatementPerCallAndASemicolonInQuotesIsData) {
  EXPECT_FALSE(rig.host->execute(insertOne(1) + u';' + insertOne(2)).isEmpty());
  EXPECT_EQ(rig.count(), 0);
  QString queryError;
  EXPECT_EQ(rig.host->openQuery(QStringLiteral("select 1; delete from msgmail"), &queryError),
            nullptr);
  EXPECT_FALSE(queryError.isEmpty());
  ASSERT_EQ(rig.host->execute(sql::insertTemplate(4, QStringLiteral("a@b;c@d"), QString(),
                                                  QStringLiteral("s;t"))),
            QString());
  EXPECT_EQ(rig.value(QStringLiteral("select [to] from MailTemplet where progID=4")),
            QStringLiteral("a@b;c@d"));
}

TEST_F(HostSystem, FailuresAreErrorTextsAndWriteNothing) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  sql::ComposedRow duplicate = composedRow(1);  // refused whole, not half-written
  duplicate.subject = QStringLiteral("other");
  for (const QString& bad :
       {QStringLiteral("insert into msgmail(邮件ID values(2)"),
        QStringLiteral("insert into nosuchtable(a) values(1)"),
        QStringLiteral("update msgmail set nosuchcolumn=1"), sql::insertComposed(duplicate)})
    EXPECT_FALSE(rig.host->execute(bad).isEmpty()) << bad.toStdString();
  QString error;
  EXPECT_EQ(rig.host->openQuery(QStringLiteral("select * from nosuchtable"), &error), nullptr);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(rig.count(), 1);
  EXPECT_EQ(rig.value(QStringLiteral("select 主题 from msgmail")), composedRow(1).subject);
}

TEST_F(HostSystem, TransactionsCommitRollBackAndDieWithTheConnection) {
  ASSERT_EQ(rig.host->beginTransaction(), QString());
  EXPECT_FALSE(rig.host->beginTransaction().isEmpty());  // no nesting
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
  ASSERT_EQ(rig.host->rollbackTransaction(), QString());
  EXPECT_EQ(rig.count(), 0);

  ASSERT_EQ(rig.host->beginTransaction(), QString());
  ASSERT_EQ(rig.host->execute(insertOne(3)), QString());
  ASSERT_EQ(rig.host->commitTransaction(), QString());
  EXPECT_EQ(kvtest::StoreRig::countOf(*rig.connect(), QStringLiteral("msgmail")), 1);
  EXPECT_FALSE(rig.host->commitTransaction().isEmpty());
  EXPECT_FALSE(rig.host->rollbackTransaction().isEmpty());

  // Closing with a transaction open keeps nothing of it.
  ASSERT_EQ(rig.host->beginTransaction(), QString());
  ASSERT_EQ(rig.host->execute(insertOne(4)), QString());
  rig.host.reset();
  EXPECT_EQ(kvtest::StoreRig::countOf(*rig.connect(), QStringLiteral("msgmail")), 1);
}

TEST_F(HostSystem, RecordsetReadsRowsByNameWithNullsAsEmpty) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
  auto empty = rig.host->openQuery(QStringLiteral("select 邮件ID from msgmail where 邮件ID=99"));
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->atStart() && empty->atEnd() && empty->isEmpty());
  EXPECT_THROW(empty->text(0), MailError);

  auto rs =
      rig.host->openQuery(QStringLiteral("select 邮件ID,UIDL,主题 from msgmail order by 邮件ID"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->fieldCount(), 3);
  EXPECT_TRUE(rs->hasField(QStringLiteral("uidl")));
  EXPECT_EQ(rs->text(QStringLiteral("邮件id")), QStringLiteral("1"));
  EXPECT_TRUE(rs->isNull(QStringLiteral("UIDL")));
  EXPECT_EQ(rs->text(QStringLiteral("Uidl")), QString());
  try {
    rs->text(QStringLiteral("nosuch"));
    ADD_FAILURE() << "unknown column read";
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), 3265);
  }
  rs->moveNext();
  EXPECT_EQ(rs->text(0), QStringLiteral("2"));
  rs->moveNext();
  EXPECT_TRUE(rs->atEnd());
  EXPECT_FALSE(rs->atStart());
  rs->moveNext();  // past the end stays at the end
  EXPECT_TRUE(rs->atEnd());
}

// Unannounced files are gathered chunk by chunk; an announced size takes small files through
// the row's update and large ones straight into the row (on SQLite). All read back exactly.
TEST_F(HostSystem, StoredFileColumnRoundTripsInChunks) {
  struct Case {
    qsizetype size;
    bool announced;
    qsizetype chunk;
  };
  const Case cases[] = {{40001, false, 7000}, {20000, true, 16384}, {1536 * 1024 + 5, true, 16384}};
  const QString column = sql::messageColumn();
  long id = 0;
  for (const Case& c : cases) {
    ASSERT_EQ(rig.host->execute(insertOne(++id)), QString());
    QByteArray bytes(c.size, Qt::Uninitialized);
    for (qsizetype i = 0; i < c.size; ++i) bytes[i] = char((i * 13) % 251);
    {
      auto rs =
          rig.host->openQuery(sql::fileToColumnQuery(column, sql::mailTable(), sql::mailKey(), id));
      ASSERT_TRUE(rs);
      rs->setValue(column, QString(""));
      if (c.announced) rs->expectChunks(column, c.size);
      for (qsizetype at = 0; at < c.size; at += c.chunk)
        rs->appendChunk(column, bytes.mid(at, c.chunk));
      ASSERT_EQ(rs->update(), QString()) << c.size;
    }
    auto rs = rig.connect()->openQuery(
        sql::columnToFileQuery(column, sql::mailTable(), sql::mailKey(), id));
    ASSERT_TRUE(rs);
    ASSERT_EQ(rs->actualSize(column), c.size);
    QByteArray back;
    for (QByteArray chunk; !(chunk = rs->getChunk(column, 16384)).isEmpty();) back += chunk;
    EXPECT_EQ(back, bytes) << c.size;
  }
}

TEST_F(HostSystem, UpdateWritesOnlyChangedColumnsOfOneFilteredRow) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
  auto rs = rig.host->openQuery(QStringLiteral("select 主题,邮件ID from msgmail where 邮件ID=2"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->update(), QString());  // nothing changed, nothing to write
  rs->setValue(QStringLiteral("主题"), QStringLiteral("it's new"));
  ASSERT_EQ(rs->update(), QString());
  EXPECT_EQ(rs->text(QStringLiteral("主题")), QStringLiteral("it's new"));
  EXPECT_EQ(rig.value(QStringLiteral("select 主题 from msgmail where 邮件ID=2")),
            QStringLiteral("it's new"));
  EXPECT_EQ(rig.value(QStringLiteral("select 主题 from msgmail where 邮件ID=1")),
            composedRow(1).subject);
  // A joined or unfiltered query cannot be updated.
  for (const char* query : {"select 主题 from msgmail",
                            "select a.主题 from msgmail a join msgmail b on a.邮件ID=b.邮件ID "
                            "where a.邮件ID=1"}) {
    auto rs = rig.host->openQuery(QString::fromUtf8(query));
    ASSERT_TRUE(rs) << query;
    rs->setValue(QStringLiteral("主题"), QStringLiteral("x"));
    EXPECT_FALSE(rs->update().isEmpty()) << query;
  }
  EXPECT_EQ(rig.count(QStringLiteral("msgmail"), QStringLiteral("主题='x'")), 0);
}
