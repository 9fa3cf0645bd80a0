// kvhost's command line as a script runs it, against the loopback Dovecot and SMTP sink: the
// account is the one the fixture serves (t30), the queued mail goes to t31.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "DemoStore.h"
#include "HostStore.h"
#include "KvhostProcess.h"
#include "LoopbackServers.h"
#include "StoreRig.h"
#include "TestEnv.h"

using kvtest::ProcessResult;

namespace {

const QString kUser = u"t30"_s;
const QString kRecipient = u"t31"_s;
constexpr int kRunMs = 120000;

class KvhostCommandLine : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    ASSERT_TRUE(kvtest::clearMailbox(kRecipient));
    db = dir.filePath(u"host.db"_s);
  }

  std::unique_ptr<kvmail::host::SqlHostSystem> open() {
    auto host =
        std::make_unique<kvmail::host::SqlHostSystem>(kvmail::host::HostOptions::sqlite(db));
    EXPECT_EQ(host->open(), QString());
    return host;
  }
  QString value(const QString& sql) { return kvtest::StoreRig::valueOf(*open(), sql); }

  // A store whose account logs in as t30 at the fixture's SMTP port, as a host would set it up.
  void seedFixtureAccount() {
    ASSERT_EQ(kvmail::host::createStore(db), QString());
    ASSERT_EQ(kvmail::host::seedAccount(*open(), kvtest::loopbackAccount(kUser, u"测试帐户"_s)),
              QString());
  }

  long queueTo(const QString& user, const QString& subject) {
    kvmail::OutgoingMail mail;
    mail.from = {u"测试"_s, kvtest::addressOf(kUser)};
    mail.to = {{u"收件人"_s, kvtest::addressOf(user)}};
    mail.subject = subject;
    mail.htmlBody = u"<p>您好，这是一封测试邮件。</p>"_s;
    QString error;
    const long id = kvmail::demo::queueMail(*open(), mail, &error);
    EXPECT_GT(id, 0) << error.toStdString();
    return id;
  }

  ProcessResult kvhost(QStringList args) {
    args.prepend(db);
    args.prepend(u"--db"_s);
    return kvtest::runProgram(QStringLiteral(KVHOST_PROGRAM), args, kvtest::headlessEnvironment(),
                              kRunMs, dir.path());
  }

  QStringList pop3Port() {
    return {u"--pop3-port"_s, QString::number(kvtest::loopbackServers().pop3Port)};
  }

  QTemporaryDir dir;
  QString db;
};

}  // namespace

TEST_F(KvhostCommandLine, ListOnAFreshStoreMakesTheDemoStoreAndShowsNoMail) {
  const ProcessResult r = kvhost({u"list"_s});
  ASSERT_TRUE(r.finished) << r.err.toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.out.startsWith(u"编号\t类别\t发件人"_s)) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains(u"共 0 封邮件"_s));
  // What the first run puts in is DemoFirstRun's test; here only that it ran.
  EXPECT_EQ(value(u"select count(*) from mailaccount"_s), u"1"_s);
}

TEST_F(KvhostCommandLine, SendReceiveReportsBothDirectionsAndHidesThePassword) {
  seedFixtureAccount();
  const long queued = queueTo(kRecipient, u"发往 t31 的测试邮件"_s);
  ASSERT_FALSE(kvtest::dropMail(kUser,
                                "From: a@kvmail.test\r\nTo: t30@kvmail.localhost\r\n"
                                "Subject: incoming one\r\n\r\nHello.\r\n")
                   .isEmpty());

  const ProcessResult r = kvhost(QStringList{u"send-receive"_s} + pop3Port());
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  for (const QString& line : {u"EvReturn %1 2"_s.arg(queued), u"EvMailRead "_s,
                              u"---- 传输日志 ----"_s, u"PASS *****"_s, u"结果：成功"_s})
    EXPECT_TRUE(r.out.contains(line)) << line.toStdString() << "\n" << r.out.toStdString();
  EXPECT_FALSE(r.all().contains(kvtest::loopbackServers().password));
}

// On an empty queue the module's box goes to stderr, answered; the queue command fills the queue;
// a failed run exits with 1 and keeps the mail queued. The seeded account sends to the sink, so
// that failure also shows that --smtp-port reached the account (--pop3-port is shown by every
// receive here).
TEST_F(KvhostCommandLine, AnEmptyQueueTheQueueCommandAndAFailedSend) {
  seedFixtureAccount();
  ProcessResult r = kvhost({u"send"_s});
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(u"[消息框] 提示： 没有要发送的邮件！ [确定]"_s))
      << r.err.toStdString();
  EXPECT_TRUE(r.out.contains(u"没有要执行的任务。"_s));

  EXPECT_EQ(kvhost({u"queue"_s}).exitCode, 0);
  EXPECT_EQ(value(u"select count(*) from msgmail where CshgnsID=2 and messageID=''"_s), u"1"_s);

  r = kvhost({u"send"_s, u"--smtp-port"_s, QString::number(kvtest::closedPort())});
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 1) << r.all().toStdString();
  EXPECT_TRUE(r.out.contains(u"结果：失败"_s) && r.out.contains(u"无法连接到SMTP服务器"_s))
      << r.out.toStdString();
  // The server was never reached: the mail stays queued for the next run.
  EXPECT_EQ(value(u"select count(*) from msgmail where CshgnsID=2 and messageID=''"_s), u"1"_s);
}

// Which arguments are refused is DemoOptions' test; here that a refusal and a missing display
// reach stderr with exit code 2, and help stdout with 0.
TEST_F(KvhostCommandLine, UsageErrorsAndAMissingDisplayAreExplained) {
  const std::pair<QStringList, QString> cases[] = {
      {{u"fetch"_s}, u"未知的命令：fetch"_s},
      {{}, u"没有图形显示"_s},  // the window needs a screen; none is there
  };
  for (const auto& [args, text] : cases) {
    const ProcessResult r = kvhost(args);
    EXPECT_EQ(r.exitCode, 2) << args.join(u' ').toStdString();
    EXPECT_TRUE(r.err.contains(text) && (args.isEmpty() || r.err.contains(u"用法：kvhost"_s)))
        << r.err.toStdString();
  }
  const ProcessResult help = kvhost({u"--help"_s});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_TRUE(help.out.contains(u"send-receive"_s));
}

TEST_F(KvhostCommandLine, AStoreThatCannotBeOpenedIsReported) {
  db = dir.filePath(u"not-a-db"_s);
  ASSERT_TRUE(kvtest::writeAll(db, QByteArray(4096, 'x')));
  const ProcessResult r = kvhost({u"list"_s});
  EXPECT_EQ(r.exitCode, 3) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(u"无法打开数据库："_s)) << r.err.toStdString();
}

// What the viewer shows and how it marks the mail read are the windows' tests; here the command
// prints it and saves the attachments where the option says.
TEST_F(KvhostCommandLine, ShowPrintsWhatTheViewerShowsAndSavesTheAttachments) {
  seedFixtureAccount();
  ASSERT_FALSE(kvtest::dropMail(kUser, kvtest::readAll(kvtest::dataFile("viewer/gb2312_html.eml")))
                   .isEmpty());
  ASSERT_EQ(kvhost(QStringList{u"receive"_s} + pop3Port()).exitCode, 0);
  const QString id = value(u"select 邮件ID from msgmail where CshgnsID=1"_s);
  ASSERT_FALSE(id.isEmpty());

  const QString folder = dir.filePath(u"附件"_s);
  const ProcessResult r = kvhost({u"show"_s, id, u"--save-attachments"_s, folder});
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.out.contains(u"主题：第二季度报价单及合同"_s) && r.out.contains(u"附件：3 个"_s))
      << r.out.toStdString();
  // Saved into the folder given (byte for byte is the viewer's save-as, tested there).
  EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 3);

  // An unknown mail is said to be missing.
  const ProcessResult missing = kvhost({u"show"_s, u"999"_s});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_TRUE(missing.out.contains(u"没有找到邮件（邮件ID=999）。"_s)) << missing.out.toStdString();
}

TEST_F(KvhostCommandLine, ComposeFillsTheWindowAndSendsWithAttachments) {
  seedFixtureAccount();
  const QString body =
      kvtest::writtenFile(dir.filePath(u"body.html"_s), "<p>您好，请查收报价。</p>");
  const QString quote =
      kvtest::writtenFile(dir.filePath(u"报价单.xlsx"_s), QByteArray(4000, '\x05'));
  const QString notes = kvtest::writtenFile(dir.filePath(u"notes.txt"_s), "notes");
  const ProcessResult r = kvhost({u"compose"_s, u"--to"_s, kvtest::addressOf(kRecipient),
                                  u"--subject"_s, u"命令行写的信"_s, u"--body-file"_s, body,
                                  u"--attach"_s, quote, u"--attach"_s, notes, u"--send"_s});
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.out.contains(u"结果：成功"_s)) << r.out.toStdString();
  EXPECT_TRUE(r.err.contains(u"[对话框] 插入附件 ["_s + notes));  // the second --attach too
  EXPECT_EQ(value(u"select 主题||'/'||附件||'/'||messageID from msgmail"_s),
            u"命令行写的信/1/127.0.0.1"_s);
}

TEST_F(KvhostCommandLine, ComposeWithoutSendQueuesAndABadAddressStoresNothing) {
  seedFixtureAccount();
  ProcessResult r =
      kvhost({u"compose"_s, u"--to"_s, u"kehu@kvmail.test"_s, u"--subject"_s, u"待发"_s});
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_EQ(value(u"select 主题||'/'||CshgnsID||'/'||messageID from msgmail"_s), u"待发/2/"_s);

  // The composer's refusal (its words are its test) fails the command.
  r = kvhost({u"compose"_s, u"--to"_s, u"客户 kehu"_s, u"--subject"_s, u"不会保存"_s, u"--send"_s});
  EXPECT_EQ(r.exitCode, 1) << r.all().toStdString();
  EXPECT_EQ(value(u"select count(*) from msgmail"_s), u"1"_s);
}
