// The host system object: tables on open, one statement per call, errors as texts,
// transactions, and recordsets with chunked and updatable columns.
#include "HostBackend.h"
#include "model/MailError.h"
#include "store/FieldText.h"
#include "store/Statements.h"

#include <QFile>

using kvmail::firstValue;
using kvmail::MailError;
using kvtest::HostStoreTest;
namespace sql = kvmail::sql;

namespace {

sql::ComposedRow composed(long id, const QString& subject = QStringLiteral("hello")) {
  sql::ComposedRow r;
  r.mailId = id;
  r.fromName = QStringLiteral("发件人");
  r.subject = subject;
  r.sentTime = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 0));
  r.toAddresses = QStringLiteral("a@example.com");
  r.fromAddress = QStringLiteral("me@example.com");
  r.toNames = QStringLiteral("A <a@example.com>");
  r.email = QStringLiteral("-1");
  r.operatorName = QStringLiteral("张三");
  r.replyId = id;
  r.size = 10;
  return r;
}

}  // namespace

using HostSystem = HostStoreTest;

TEST_F(HostSystem, OpenCreatesTablesAndComposedRowsGetQueueDefaults) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  auto rs = host_->openQuery(QStringLiteral("select del,active,消息 from msgmail where 邮件ID=1"));
  ASSERT_TRUE(rs);
  ASSERT_FALSE(rs->isEmpty());
  EXPECT_EQ(rs->text(QStringLiteral("DEL")), QStringLiteral("0"));
  EXPECT_EQ(rs->text(QStringLiteral("Active")), QStringLiteral("1"));
  EXPECT_TRUE(rs->isNull(QStringLiteral("消息")));
  for (const char* table : {"mailaccount", "mailaccountuser", "MailTemplet", "xt_objects"})
    EXPECT_EQ(countRows(*host_, QLatin1String(table)), 0) << table;
  // Opening again over existing tables changes nothing.
  auto again = connect();
  EXPECT_EQ(countRows(*again, QStringLiteral("msgMail")), 1);
}

TEST_F(HostSystem, SecondStatementIsRefusedAndNothingRuns) {
  const QString twice =
      sql::insertComposed(composed(1)) + QStringLiteral(";") + sql::insertComposed(composed(2));
  const QString error = host_->execute(twice);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 0);
  QString queryError;
  EXPECT_EQ(host_->openQuery(QStringLiteral("select 1; delete from msgmail"), &queryError),
            nullptr);
  EXPECT_FALSE(queryError.isEmpty());
}

TEST_F(HostSystem, SemicolonInsideQuotesIsPartOfTheValue) {
  ASSERT_EQ(host_->execute(sql::insertTemplate(4, QStringLiteral("a@b;c@d"), QString(),
                                               QStringLiteral("s;t"))),
            QString());
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select [to] from MailTemplet where progID=4")),
            QStringLiteral("a@b;c@d"));
}

TEST_F(HostSystem, FailuresAreErrorTextsAndWriteNothing) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  EXPECT_FALSE(host_->execute(QStringLiteral("insert into msgmail(邮件ID values(2)")).isEmpty());
  EXPECT_FALSE(host_->execute(QStringLiteral("insert into nosuchtable(a) values(1)")).isEmpty());
  EXPECT_FALSE(host_->execute(QStringLiteral("update msgmail set nosuchcolumn=1")).isEmpty());
  // A duplicate key is refused whole, not half-written.
  EXPECT_FALSE(host_->execute(sql::insertComposed(composed(1, QStringLiteral("other")))).isEmpty());
  QString error;
  EXPECT_EQ(host_->openQuery(QStringLiteral("select * from nosuchtable"), &error), nullptr);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 1);
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 主题 from msgmail")),
            QStringLiteral("hello"));
  // A failed query reads as the empty text.
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select x from nosuchtable")), QString());
}

TEST_F(HostSystem, TransactionsCommitAndRollBack) {
  ASSERT_EQ(host_->beginTransaction(), QString());
  EXPECT_FALSE(host_->beginTransaction().isEmpty());  // no nesting
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(2))), QString());
  ASSERT_EQ(host_->rollbackTransaction(), QString());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 0);

  ASSERT_EQ(host_->beginTransaction(), QString());
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(3))), QString());
  ASSERT_EQ(host_->commitTransaction(), QString());
  EXPECT_EQ(countRows(*connect(), QStringLiteral("msgmail")), 1);
  EXPECT_FALSE(host_->commitTransaction().isEmpty());
  EXPECT_FALSE(host_->rollbackTransaction().isEmpty());
}

TEST_F(HostSystem, ClosingWithAnOpenTransactionKeepsNothingOfIt) {
  ASSERT_EQ(host_->beginTransaction(), QString());
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  host_.reset();
  EXPECT_EQ(countRows(*connect(), QStringLiteral("msgmail")), 0);
}

TEST_F(HostSystem, RecordsetReadsRowsByNameWithNullsAsEmpty) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(2))), QString());
  auto empty = host_->openQuery(QStringLiteral("select 邮件ID from msgmail where 邮件ID=99"));
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->atStart());
  EXPECT_TRUE(empty->atEnd());
  EXPECT_TRUE(empty->isEmpty());
  EXPECT_THROW(empty->text(0), MailError);

  auto rs =
      host_->openQuery(QStringLiteral("select 邮件ID,UIDL,主题 from msgmail order by 邮件ID"));
  ASSERT_TRUE(rs);
  EXPECT_FALSE(rs->isEmpty());
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

TEST_F(HostSystem, StoredFileColumnRoundTripsInChunks) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(5))), QString());
  QByteArray bytes;
  for (int i = 0; i < 40000; ++i) bytes.append(char(i % 251));
  bytes.append('\0');
  {
    auto rs = host_->openQuery(sql::fileToColumnQuery(
        QStringLiteral("消息"), QStringLiteral("msgmail"), QStringLiteral("邮件ID"), 5));
    ASSERT_TRUE(rs);
    rs->setValue(QStringLiteral("消息"), QString(""));
    rs->appendChunk(QStringLiteral("消息"), bytes.left(7000));
    rs->appendChunk(QStringLiteral("消息"), bytes.mid(7000));
    ASSERT_EQ(rs->update(), QString());
  }
  auto rs = connect()->openQuery(sql::columnToFileQuery(
      QStringLiteral("消息"), QStringLiteral("msgmail"), QStringLiteral("邮件ID"), 5));
  ASSERT_TRUE(rs);
  ASSERT_EQ(rs->actualSize(QStringLiteral("消息")), bytes.size());
  QByteArray back = rs->getChunk(QStringLiteral("消息"), 16384);
  EXPECT_EQ(back.size(), 16384);
  while (back.size() < bytes.size()) {
    const QByteArray chunk = rs->getChunk(QStringLiteral("消息"), 16384);
    ASSERT_FALSE(chunk.isEmpty());
    back += chunk;
  }
  EXPECT_EQ(back, bytes);
  EXPECT_TRUE(rs->getChunk(QStringLiteral("消息"), 16384).isEmpty());
}

// An announced size takes small files through the row's update and large ones straight into
// the row (on SQLite); both must read back byte for byte.
TEST_F(HostSystem, AnnouncedStoredFilesOfEverySizeRoundTrip) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(6))), QString());
  for (const qsizetype size : {qsizetype(20000), qsizetype(1536 * 1024 + 5)}) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i) bytes[i] = char((i * 13) % 256);
    {
      auto rs = host_->openQuery(sql::fileToColumnQuery(
          QStringLiteral("消息"), QStringLiteral("msgmail"), QStringLiteral("邮件ID"), 6));
      ASSERT_TRUE(rs);
      rs->setValue(QStringLiteral("消息"), QString(""));
      rs->expectChunks(QStringLiteral("消息"), size);
      for (qsizetype at = 0; at < size; at += 16384)
        rs->appendChunk(QStringLiteral("消息"), bytes.mid(at, 16384));
      ASSERT_EQ(rs->update(), QString());
    }
    auto rs = connect()->openQuery(sql::columnToFileQuery(
        QStringLiteral("消息"), QStringLiteral("msgmail"), QStringLiteral("邮件ID"), 6));
    ASSERT_TRUE(rs);
    ASSERT_EQ(rs->actualSize(QStringLiteral("消息")), size);
    EXPECT_EQ(rs->getChunk(QStringLiteral("消息"), int(size)), bytes) << size;
  }
}

TEST_F(HostSystem, UpdateWritesOnlyChangedColumnsOfThatRow) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(2))), QString());
  auto rs = host_->openQuery(QStringLiteral("select 主题,邮件ID from msgmail where 邮件ID=2"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->update(), QString());  // nothing changed, nothing to write
  rs->setValue(QStringLiteral("主题"), QStringLiteral("it's new"));
  ASSERT_EQ(rs->update(), QString());
  EXPECT_EQ(rs->text(QStringLiteral("主题")), QStringLiteral("it's new"));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 主题 from msgmail where 邮件ID=2")),
            QStringLiteral("it's new"));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 主题 from msgmail where 邮件ID=1")),
            QStringLiteral("hello"));
}

TEST_F(HostSystem, JoinedOrUnfilteredQueriesCannotBeUpdated) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());
  for (const char* query : {"select 主题 from msgmail",
                            "select a.主题 from msgmail a join msgmail b on a.邮件ID=b.邮件ID "
                            "where a.邮件ID=1"}) {
    auto rs = host_->openQuery(QString::fromUtf8(query));
    ASSERT_TRUE(rs) << query;
    rs->setValue(QStringLiteral("主题"), QStringLiteral("x"));
    EXPECT_FALSE(rs->update().isEmpty()) << query;
  }
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select 主题 from msgmail")),
            QStringLiteral("hello"));
}

TEST_F(HostSystem, CurrentUserIsSettable) {
  EXPECT_EQ(host_->currentUserId(), QStringLiteral("7"));
  EXPECT_EQ(host_->currentOperator(), QStringLiteral("张三"));
  host_->setCurrentUser(QStringLiteral("9"), QStringLiteral("李四"));
  EXPECT_EQ(host_->currentUserId(), QStringLiteral("9"));
  EXPECT_EQ(host_->currentOperator(), QStringLiteral("李四"));
}
