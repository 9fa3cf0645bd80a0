// The host system object: tables on open, one statement per call, errors as texts,
// transactions, and recordsets with chunked and updatable columns.
#include "HostStoreTest.h"
#include "model/MailError.h"

using kvmail::MailError;
using kvtest::composedRow;
namespace sql = kvmail::sql;

using HostSystem = kvtest::HostStoreTest;

TEST_F(HostSystem, OneStatementPerCallAndASemicolonInQuotesIsData) {
  EXPECT_FALSE(rig.host->execute(insertOne(1) + u';' + insertOne(2)).isEmpty());
  EXPECT_EQ(rig.count(), 0);
  QString queryError;
  EXPECT_EQ(rig.host->openQuery(u"select 1; delete from msgmail"_s, &queryError), nullptr);
  EXPECT_NE(queryError, QString());
  ASSERT_EQ(rig.host->execute(sql::insertTemplate(4, u"a@b;c@d"_s, QString(), u"s;t"_s)),
            QString());
  EXPECT_EQ(rig.value(u"select [to] from MailTemplet where progID=4"_s), u"a@b;c@d"_s);
}

TEST_F(HostSystem, FailuresAreErrorTextsAndWriteNothing) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  sql::ComposedRow duplicate = composedRow(1);  // refused whole, not half-written
  duplicate.subject = u"other"_s;
  for (const QString& bad : {u"insert into msgmail(邮件ID values(2)"_s,
                             u"update msgmail set nosuch=1"_s, sql::insertComposed(duplicate)})
    EXPECT_FALSE(rig.host->execute(bad).isEmpty()) << bad.toStdString();
  QString error;
  EXPECT_EQ(rig.host->openQuery(u"select * from nosuchtable"_s, &error), nullptr);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(rig.count(), 1);
  EXPECT_EQ(rig.value(u"select 主题 from msgmail"_s), composedRow(1).subject);
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
  EXPECT_EQ(kvtest::StoreRig::countOf(*rig.connect(), u"msgmail"_s), 1);
  EXPECT_FALSE(rig.host->commitTransaction().isEmpty() ||
               rig.host->rollbackTransaction().isEmpty());

  // Closing with a transaction open keeps nothing of it.
  ASSERT_EQ(rig.host->beginTransaction(), QString());
  ASSERT_EQ(rig.host->execute(insertOne(4)), QString());
  rig.host.reset();
  EXPECT_EQ(kvtest::StoreRig::countOf(*rig.connect(), u"msgmail"_s), 1);
}

TEST_F(HostSystem, RecordsetReadsRowsByNameWithNullsAsEmpty) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
  auto empty = rig.host->openQuery(u"select 邮件ID from msgmail where 邮件ID=99"_s);
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->atStart() && empty->atEnd() && empty->isEmpty());
  EXPECT_THROW(empty->text(0), MailError);

  auto rs = rig.host->openQuery(u"select 邮件ID,UIDL,主题 from msgmail order by 邮件ID"_s);
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->fieldCount(), 3);
  EXPECT_TRUE(rs->hasField(u"uidl"_s) && rs->isNull(u"UIDL"_s));
  EXPECT_EQ(rs->text(u"邮件id"_s) + '|' + rs->text(u"Uidl"_s), u"1|"_s);
  try {
    rs->text(u"nosuch"_s);
    ADD_FAILURE() << "unknown column read";
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), 3265);
  }
  rs->moveNext();
  EXPECT_EQ(rs->text(0), u"2"_s);
  rs->moveNext();
  EXPECT_TRUE(rs->atEnd() && !rs->atStart());
  rs->moveNext();  // past the end stays at the end
  EXPECT_TRUE(rs->atEnd());
}

// A stored-file column is selected with its row's key, so the row can be saved. Unannounced files
// are gathered chunk by chunk; an announced size takes small files through the row's update and
// large ones straight into the row (on SQLite). All read back exactly, by any case of the name.
TEST_F(HostSystem, StoredFileColumnsRoundTripInChunks) {
  struct Case {
    QString table, key, column;
    qsizetype size;
    bool announced;
    qsizetype chunk;
  };
  const QString mail = sql::mailTable(), mailKey = sql::mailKey(), message = sql::messageColumn();
  const Case cases[] = {
      {sql::templateTable(), sql::templateKey(), sql::templateFileRead(), 21, false, 16384},
      {mail, mailKey, message, 40001, false, 7000},
      {mail, mailKey, message, 20000, true, 16384},
      {mail, mailKey, message, 1536 * 1024 + 5, true, 16384}};
  ASSERT_EQ(rig.host->execute(sql::insertTemplate(1, "a@x", "", "")), QString());
  long id = 0;
  for (const Case& c : cases) {
    ASSERT_EQ(rig.host->execute(insertOne(++id)), QString());
    QByteArray bytes(c.size, Qt::Uninitialized);
    for (qsizetype i = 0; i < c.size; ++i) bytes[i] = char((i * 13) % 251);
    {
      auto rs = rig.host->openQuery(sql::fileToColumnQuery(c.column, c.table, c.key, id));
      ASSERT_TRUE(rs && !rs->isEmpty());
      EXPECT_EQ(rs->fieldCount(), 2);
      EXPECT_TRUE(rs->isNull(c.column));
      rs->setValue(c.column, QString(""));
      if (c.announced) rs->expectChunks(c.column, c.size);
      for (qsizetype at = 0; at < c.size; at += c.chunk)
        rs->appendChunk(c.column, bytes.mid(at, c.chunk));
      ASSERT_EQ(rs->update(), QString()) << c.size;
    }
    auto rs = rig.connect()->openQuery(sql::columnToFileQuery(c.column, c.table, c.key, id));
    ASSERT_TRUE(rs);
    ASSERT_EQ(rs->actualSize(c.column.toLower()), c.size);
    QByteArray back;
    for (QByteArray chunk; !(chunk = rs->getChunk(c.column, 16384)).isEmpty();) back += chunk;
    EXPECT_EQ(back, bytes) << c.size;
  }
  EXPECT_TRUE(rig.host->openQuery(sql::columnToFileQuery(message, mail, mailKey, 99))->isEmpty());
}

TEST_F(HostSystem, UpdateWritesOnlyChangedColumnsOfOneFilteredRow) {
  ASSERT_EQ(rig.host->execute(insertOne(1)), QString());
  ASSERT_EQ(rig.host->execute(insertOne(2)), QString());
  auto rs = rig.host->openQuery(u"select 主题,邮件ID from msgmail where 邮件ID=2"_s);
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->update(), QString());  // nothing changed, nothing to write
  rs->setValue(u"主题"_s, u"it's new"_s);
  ASSERT_EQ(rs->update(), QString());
  EXPECT_EQ(rs->text(u"主题"_s), u"it's new"_s);
  EXPECT_EQ(rig.value(u"select 主题 from msgmail where 邮件ID=2"_s), u"it's new"_s);
  EXPECT_EQ(rig.value(u"select 主题 from msgmail where 邮件ID=1"_s), composedRow(1).subject);
  // A joined or unfiltered query cannot be updated.
  for (const char* query : {"select 主题 from msgmail",
                            "select a.主题 from msgmail a join msgmail b on a.邮件ID=b.邮件ID "
                            "where a.邮件ID=1"}) {
    auto rs = rig.host->openQuery(QString::fromUtf8(query));
    ASSERT_TRUE(rs) << query;
    rs->setValue(u"主题"_s, u"x"_s);
    EXPECT_FALSE(rs->update().isEmpty()) << query;
  }
  EXPECT_EQ(rig.count(u"msgmail"_s, u"主题='x'"_s), 0);
}
