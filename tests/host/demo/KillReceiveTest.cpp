// kvhost receive, deleting each mail once stored, killed with SIGKILL at seeded random moments
// while it empties a Dovecot mailbox of 200 mails, restarted each time, then run to the end:
// every mail is stored exactly once with its whole file, and nothing stored is ever lost.
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

#include <random>

#include "HostStore.h"
#include "KvhostProcess.h"
#include "LoopbackServers.h"
#include "StoreRig.h"
#include "store/MailStore.h"

namespace {

const QString kUser = u"t33"_s;
constexpr int kMails = 200;
constexpr int kKills = 20;

QByteArray numberedMail(int n) {
  const QByteArray number = QByteArray::number(n).rightJustified(3, '0');
  return "From: Sender <sender@kvmail.test>\r\nTo: t33@kvmail.localhost\r\n"
         "Subject: kill " +
         number + "\r\nMessage-ID: <kill-" + number +
         "@kvmail.test>\r\nMIME-Version: 1.0\r\n"
         "Content-Type: text/plain; charset=us-ascii\r\n\r\nMail " +
         number + " of the killed receive.\r\n" + QByteArray(300, 'k') + "\r\n";
}

QString subjectOf(const QByteArray& mail) {
  static const QRegularExpression subject(u"\r?\nSubject: ([^\r\n]*)"_s);
  return subject.match(QString::fromLatin1(mail)).captured(1);
}

class KillReceive : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    for (int n = 1; n <= kMails; ++n)
      ASSERT_FALSE(kvtest::dropMail(kUser, numberedMail(n)).isEmpty());
    db = dir.filePath(u"host.db"_s);
    ASSERT_EQ(kvmail::host::createStore(db), QString());
    kvmail::host::SqlHostSystem host(kvmail::host::HostOptions::sqlite(db));
    ASSERT_EQ(host.open(), QString());
    // The seed's notDelete is 0: each mail is deleted from the server once stored.
    ASSERT_EQ(kvmail::host::seedAccount(host, kvtest::loopbackAccount(kUser, u"断电帐户"_s)),
              QString());
  }

  QStringList args() const {
    return {u"--db"_s, db, u"receive"_s, u"--pop3-port"_s,
            QString::number(kvtest::loopbackServers().pop3Port)};
  }

  // Starts a receive and kills it jitterMs after it reported its afterStored-th stored mail
  // (after its start when 0); false when the run ended by itself before the kill.
  bool runAndKill(int afterStored, int jitterMs) {
    QProcess process;
    process.setProcessEnvironment(kvtest::headlessEnvironment());
    process.setWorkingDirectory(dir.path());
    process.start(QStringLiteral(KVHOST_PROGRAM), args());
    if (!process.waitForStarted(10000)) return false;
    QByteArray out;
    const QDeadlineTimer limit(20000);
    while (out.count("EvMailRead ") < afterStored && process.state() == QProcess::Running &&
           !limit.hasExpired()) {
      process.waitForReadyRead(100);
      out += process.readAllStandardOutput();
    }
    const bool stillRunning = !process.waitForFinished(jitterMs);
    process.kill();
    process.waitForFinished(5000);
    return stillRunning;
  }

  // Every received row by its subject; fails the test on a row whose file is not whole.
  QMap<QString, int> storedRows() {
    kvmail::host::SqlHostSystem host(kvmail::host::HostOptions::sqlite(db));
    EXPECT_EQ(host.open(), QString());
    const kvmail::MailStore store(host);
    QMap<QString, int> rows;
    auto rs =
        host.openQuery(u"select 邮件ID,主题,大小 from msgmail where CshgnsID=1 order by 邮件ID"_s);
    for (; rs && !rs->atEnd(); rs->moveNext()) {
      const long id = rs->text(0).toLong();
      const QString subject = rs->text(1);
      const QString file = dir.filePath(u"row.eml"_s);
      QFile::remove(file);
      EXPECT_TRUE(store.messageToFile(id, file)) << "row " << id;
      const QByteArray bytes = kvtest::readMail(file);
      const QByteArray expected = numberedMail(subject.mid(5).toInt()) + "\r\n";
      EXPECT_EQ(bytes, expected) << "row " << id << " " << subject.toStdString();
      EXPECT_EQ(rs->text(2).toLongLong(), expected.size()) << "row " << id;
      ++rows[subject];
    }
    return rows;
  }

  QSet<QString> subjectsOnServer() {
    QSet<QString> subjects;
    for (const QString& path : kvtest::listMails(kUser))
      subjects << subjectOf(kvtest::readMail(path));
    return subjects;
  }

  QTemporaryDir dir;
  QString db;
};

}  // namespace

TEST_F(KillReceive, KilledTwentyTimesThenRunToTheEndStoresEachMailOnceAndKeepsTheStoredOnes) {
  std::mt19937 random(16);
  std::uniform_int_distribution<int> stored(0, 4), jitter(0, 8), early(0, 400);
  int killed = 0;
  for (int k = 0; k < kKills; ++k) {
    // Some kills come while it logs in and walks the stored mails, most while it stores.
    const int after = stored(random);
    killed += runAndKill(after, after == 0 ? early(random) : jitter(random));
    for (const auto& [subject, times] : storedRows().asKeyValueRange())
      ASSERT_EQ(times, 1) << "kill " << k << ": " << subject.toStdString() << " stored twice";
  }
  EXPECT_GE(killed, 1);  // on a fast machine a late moment may come after the run ended

  const QMap<QString, int> beforeLastRun = storedRows();
  const QSet<QString> storedByKilledRuns(beforeLastRun.keyBegin(), beforeLastRun.keyEnd());
  ASSERT_GT(storedByKilledRuns.size(), kKills);
  // No mail left the server unstored; a run killed before its QUIT deleted nothing at all.
  const QSet<QString> onServer = subjectsOnServer();
  for (int n = 1; n <= kMails; ++n) {
    const QString subject = subjectOf(numberedMail(n));
    EXPECT_TRUE(storedByKilledRuns.contains(subject) || onServer.contains(subject)) << n;
  }
  const QSet<QString> keptStored = QSet<QString>(onServer).intersect(storedByKilledRuns);
  EXPECT_FALSE(keptStored.isEmpty());

  const kvtest::ProcessResult last = kvtest::runProgram(
      QStringLiteral(KVHOST_PROGRAM), args(), kvtest::headlessEnvironment(), 120000, dir.path());
  ASSERT_TRUE(last.finished) << last.all().toStdString();
  EXPECT_EQ(last.exitCode, 0) << last.all().toStdString();

  const QMap<QString, int> rows = storedRows();
  EXPECT_EQ(rows.size(), kMails);
  for (const auto& [subject, times] : rows.asKeyValueRange())
    EXPECT_EQ(times, 1) << subject.toStdString();
  // Mail stored by a killed run is already stored when seen again: the delete-after-store branch
  // does not delete it, so it stays. Everything the last run stored is gone from the server.
  EXPECT_EQ(subjectsOnServer(), keptStored);
}
