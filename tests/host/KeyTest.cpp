// Keys from the host: rising, above every stored key, never handed out twice, also when two
// processes take them from one store at once.
#include "HostBackend.h"
#include "store/Statements.h"

#include <QProcess>
#include <QSet>

using kvtest::HostStoreTest;
using kvtest::insertOne;
namespace sql = kvmail::sql;

namespace {

long takeKey(kvmail::IHostSystem& host, const QString& table = QStringLiteral("msgmail"),
             const QString& column = QStringLiteral("邮件ID")) {
  QString error;
  const long key = host.nextKey(table, column, &error);
  EXPECT_TRUE(error.isEmpty()) << error.toStdString();
  return key;
}

}  // namespace

using Keys = HostStoreTest;

TEST_F(Keys, RiseAboveStoredKeysAndAreNotReusedAfterDeletes) {
  EXPECT_EQ(takeKey(*host_), 1);
  EXPECT_EQ(takeKey(*host_), 2);
  ASSERT_EQ(host_->execute(insertOne(40)), QString());
  EXPECT_EQ(takeKey(*host_), 41);
  ASSERT_EQ(host_->execute(QStringLiteral("delete msgmail where 邮件ID=40")), QString());
  EXPECT_EQ(takeKey(*host_), 42);
  // Each table and key column counts on its own; names are case-blind.
  EXPECT_EQ(takeKey(*host_, QStringLiteral("MailTemplet"), QStringLiteral("progID")), 1);
  EXPECT_EQ(takeKey(*host_, QStringLiteral("msgMail"), QStringLiteral("邮件id")), 43);
  // Another connection continues where this one stopped.
  EXPECT_EQ(takeKey(*connect()), 44);
}

TEST_F(Keys, InsideTheCallersTransaction) {
  ASSERT_EQ(host_->beginTransaction(), QString());
  const long first = takeKey(*host_);
  ASSERT_EQ(host_->execute(insertOne(first)), QString());
  const long second = takeKey(*host_);
  EXPECT_EQ(second, first + 1);
  ASSERT_EQ(host_->commitTransaction(), QString());
  EXPECT_EQ(takeKey(*host_), second + 1);
}

TEST_F(Keys, BadNamesGiveAnErrorText) {
  QString error;
  EXPECT_EQ(host_->nextKey(QStringLiteral("msgmail;drop"), QStringLiteral("邮件ID"), &error), 0);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(host_->nextKey(QStringLiteral("nosuchtable"), QStringLiteral("id"), &error), 0);
  EXPECT_FALSE(error.isEmpty());
  EXPECT_EQ(takeKey(*host_), 1);
}

TEST_F(Keys, TwoProcessesAtOnceNeverGetTheSameKey) {
  constexpr int kEach = 200;
  const QStringList args =
      isSqlite() ? QStringList{QStringLiteral("sqlite"), options().sqlitePath}
                 : QStringList{QStringLiteral("postgres"), QString::number(kvtest::postgresPort())};
  QProcess a, b;
  for (QProcess* p : {&a, &b}) {
    p->start(QStringLiteral(KV_KEYTAKER), args + QStringList{QString::number(kEach)});
    ASSERT_TRUE(p->waitForStarted(30000));
  }
  for (QProcess* p : {&a, &b}) p->write("go\n");
  for (QProcess* p : {&a, &b}) {
    p->waitForBytesWritten(30000);
    p->closeWriteChannel();
  }
  QSet<long> keys;
  QList<QList<long>> perProcess;
  for (QProcess* p : {&a, &b}) {
    ASSERT_TRUE(p->waitForFinished(180000)) << "key taker did not finish";
    ASSERT_EQ(p->exitCode(), 0) << p->readAllStandardError().toStdString();
    const QList<QByteArray> lines = p->readAllStandardOutput().split('\n');
    int taken = 0;
    perProcess.append(QList<long>());
    for (const QByteArray& line : lines) {
      if (line.trimmed().isEmpty()) continue;
      ++taken;
      EXPECT_FALSE(keys.contains(line.toLong())) << "key handed out twice: " << line.constData();
      keys.insert(line.toLong());
      perProcess.last().append(line.toLong());
    }
    EXPECT_EQ(taken, kEach);
  }
  EXPECT_EQ(keys.size(), 2 * kEach);
  // The runs must really overlap: keys of one fall inside the other's range.
  int overlap = 0;
  for (long key : perProcess.value(0))
    if (!perProcess.value(1).isEmpty() && key > perProcess[1].first() && key < perProcess[1].last())
      ++overlap;
  EXPECT_GT(overlap, 0) << "the two takers did not run at the same time";
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 2 * kEach);
}
