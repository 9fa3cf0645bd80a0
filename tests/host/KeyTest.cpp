// Keys from the host: rising, above every stored key, never handed out twice, also when two
// processes take them from one store at once (every other one inside the taker's transaction).
#include "HostStoreTest.h"

#include <QProcess>
#include <QSet>

namespace {

long takeKey(kvmail::IHostSystem& host, const QString& table = u"msgmail"_s,
             const QString& column = u"邮件ID"_s) {
  QString error;
  const long key = host.nextKey(table, column, &error);
  EXPECT_TRUE(error.isEmpty()) << error.toStdString();
  return key;
}

}  // namespace

using Keys = kvtest::HostStoreTest;

TEST_F(Keys, RiseAboveStoredKeysAndAreNotReusedAfterDeletes) {
  EXPECT_EQ((QList<long>{takeKey(*rig.host), takeKey(*rig.host)}), (QList<long>{1, 2}));
  ASSERT_EQ(rig.host->execute(insertOne(40)), QString());
  EXPECT_EQ(takeKey(*rig.host), 41);
  ASSERT_EQ(rig.host->execute(u"delete msgmail where 邮件ID=40"_s), QString());
  EXPECT_EQ(takeKey(*rig.host), 42);
  // Each table and key column counts on its own; names are case-blind.
  EXPECT_EQ((QList<long>{takeKey(*rig.host, u"MailTemplet"_s, u"progID"_s),
                         takeKey(*rig.host, u"msgMail"_s, u"邮件id"_s)}),
            (QList<long>{1, 43}));
  // Another connection continues where this one stopped.
  EXPECT_EQ(takeKey(*rig.connect()), 44);
}

TEST_F(Keys, BadNamesGiveAnErrorText) {
  for (const auto& [table, key] : {std::pair{"msgmail;drop", "邮件ID"}, {"nosuchtable", "id"}}) {
    QString error;
    EXPECT_EQ(rig.host->nextKey(QString::fromUtf8(table), QString::fromUtf8(key), &error), 0);
    EXPECT_FALSE(error.isEmpty()) << table;
  }
  EXPECT_EQ(takeKey(*rig.host), 1);
}

TEST_F(Keys, TwoProcessesAtOnceNeverGetTheSameKey) {
  constexpr int kEach = 200;
  const QStringList args = rig.isSqlite()
                               ? QStringList{u"sqlite"_s, rig.options().sqlitePath}
                               : QStringList{u"postgres"_s, QString::number(rig.options().port)};
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
    perProcess.append(QList<long>());
    for (const QByteArray& line : p->readAllStandardOutput().split('\n'))
      if (!line.trimmed().isEmpty()) perProcess.last() << line.toLong();
    EXPECT_EQ(perProcess.last().size(), kEach);
    keys.unite(QSet<long>(perProcess.last().begin(), perProcess.last().end()));
  }
  EXPECT_EQ(keys.size(), 2 * kEach);  // no key handed out twice
  // The runs must really overlap: keys of one fall inside the other's range.
  int overlap = 0;
  for (long key : perProcess.value(0))
    if (!perProcess.value(1).isEmpty() && key > perProcess[1].first() && key < perProcess[1].last())
      ++overlap;
  EXPECT_GT(overlap, 0) << "the two takers did not run at the same time";
  EXPECT_EQ(rig.count(), 2 * kEach);
}
