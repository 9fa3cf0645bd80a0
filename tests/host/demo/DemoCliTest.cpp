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

const QString kUser = QStringLiteral("t30");
const QString kRecipient = QStringLiteral("t31");
constexpr int kRunMs = 120000;

class KvhostCommandLine : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    ASSERT_TRUE(kvtest::clearMailbox(kRecipient));
    db = dir.filePath(QStringLiteral("host.db"));
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
    ASSERT_EQ(kvmail::host::seedAccount(*open(),
                                        kvtest::loopbackAccount(kUser, QStringLiteral("测试帐户"))),
              QString());
  }

  long queueTo(const QString& user, const QString& subject) {
    kvmail::OutgoingMail mail;
    mail.from = {QStringLiteral("测试"), kvtest::addressOf(kUser)};
    mail.to = {{QStringLiteral("收件人"), kvtest::addressOf(user)}};
    mail.subject = subject;
    mail.htmlBody = QStringLiteral("<p>您好，这是一封测试邮件。</p>");
    QString error;
    const long id = kvmail::demo::queueMail(*open(), mail, &error);
    EXPECT_GT(id, 0) << error.toStdString();
    return id;
  }

  ProcessResult kvhost(QStringList args) {
    args.prepend(db);
    args.prepend(QStringLiteral("--db"));
    return kvtest::runProgram(QStringLiteral(KVHOST_PROGRAM), args, kvtest::headlessEnvironment(),
                              kRunMs, dir.path());
  }

  QStringList pop3Port() {
    return {QStringLiteral("--pop3-port"), QString::number(kvtest::loopbackServers().pop3Port)};
  }

  QTemporaryDir dir;
  QString db;
};

}  // namespace

TEST_F(KvhostCommandLine, ListOnAFreshStoreMakesTheDemoStoreAndShowsNoMail) {
  const ProcessResult r = kvhost({QStringLiteral("list")});
  ASSERT_TRUE(r.finished) << r.err.toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.out.startsWith(QStringLiteral("编号\t类别\t发件人"))) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("共 0 封邮件")));
  // What the first run puts in is DemoFirstRun's test; here only that it ran.
  EXPECT_EQ(value(QStringLiteral("select count(*) from mailaccount")), QStringLiteral("1"));
}

TEST_F(KvhostCommandLine, SendReceiveReportsBothDirectionsAndHidesThePassword) {
  seedFixtureAccount();
  const long queued = queueTo(kRecipient, QStringLiteral("发往 t31 的测试邮件"));
  ASSERT_FALSE(kvtest::dropMail(kUser,
                                "From: a@kvmail.test\r\nTo: t30@kvmail.localhost\r\n"
                                "Subject: incoming one\r\n\r\nHello.\r\n")
                   .isEmpty());

  const ProcessResult r = kvhost(QStringList{QStringLiteral("send-receive")} + pop3Port());
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("EvReturn %1 2").arg(queued))) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("EvMailRead "))) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("---- 传输日志 ----")));
  EXPECT_TRUE(r.out.contains(QStringLiteral("PASS *****")));
  EXPECT_TRUE(r.out.contains(QStringLiteral("结果：成功")));
  EXPECT_FALSE(r.all().contains(kvtest::loopbackServers().password));

  // What the send and the receive stored is the service's round trip; the list shows both.
  EXPECT_TRUE(kvhost({QStringLiteral("list")}).out.contains(QStringLiteral("共 2 封邮件")));
}

// A closed port given on the command line fails the run; a mail that did not go stays queued.
TEST_F(KvhostCommandLine, PortOptionsPointTheRunAtAClosedPortAndItFails) {
  seedFixtureAccount();
  const long queued = queueTo(kRecipient, QStringLiteral("不会发出的邮件"));
  for (const char* command : {"receive", "send"}) {
    const QString option =
        command[0] == 'r' ? QStringLiteral("--pop3-port") : QStringLiteral("--smtp-port");
    const ProcessResult r =
        kvhost({QLatin1String(command), option, QString::number(kvtest::closedPort())});
    ASSERT_TRUE(r.finished) << r.all().toStdString();
    EXPECT_EQ(r.exitCode, 1) << r.all().toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("结果：失败"))) << r.out.toStdString();
    EXPECT_TRUE(r.out.contains(QStringLiteral("---- 传输日志 ----")));
  }
  EXPECT_EQ(value(QStringLiteral("select messageID from msgmail where 邮件ID=%1").arg(queued)),
            QString());
  EXPECT_NE(value(QStringLiteral("select masmtpport from mailaccount")).toInt(),
            kvtest::loopbackServers().smtpPort);
}

// On an empty queue the module's box goes to stderr, answered; that send-receive still receives
// is the service's test.
TEST_F(KvhostCommandLine, AnEmptyQueueIsSaidOnStderrAndAnswered) {
  seedFixtureAccount();
  const ProcessResult r = kvhost({QStringLiteral("send")});
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("[消息框] 提示： 没有要发送的邮件！ [确定]")))
      << r.err.toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("没有要执行的任务。")));
}

TEST_F(KvhostCommandLine, QueueCommandPutsTheDemoMailInTheQueue) {
  seedFixtureAccount();
  const ProcessResult r = kvhost({QStringLiteral("queue")});
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_EQ(value(QStringLiteral("select count(*) from msgmail where CshgnsID=2 and messageID=''")),
            QStringLiteral("1"));
  EXPECT_EQ(value(QStringLiteral("select 发件人邮箱 from msgmail")), kvtest::addressOf(kUser));
}

TEST_F(KvhostCommandLine, UsageErrorsAndAMissingDisplayAreExplained) {
  const std::pair<QStringList, const char*> cases[] = {
      {{QStringLiteral("fetch")}, "未知的命令：fetch"},
      {{QStringLiteral("fetch")}, "用法：kvhost"},
      {{}, "没有图形显示"},  // the window needs a screen; none is there
      {{QStringLiteral("show")}, "show 需要一个邮件ID"},
      {{QStringLiteral("show"), QStringLiteral("abc")}, ""},
      {{QStringLiteral("list"), QStringLiteral("--save-attachments"), dir.path()},
       "--save-attachments 只用于 show 命令。"},
      {{QStringLiteral("send"), QStringLiteral("--to"), QStringLiteral("a@b")},
       "只用于 compose 命令"},
  };
  for (const auto& [args, text] : cases) {
    const ProcessResult r = kvhost(args);
    EXPECT_EQ(r.exitCode, 2) << args.join(u' ').toStdString();
    EXPECT_TRUE(r.err.contains(QString::fromUtf8(text))) << r.err.toStdString();
  }
  const ProcessResult help =
      kvtest::runProgram(QStringLiteral(KVHOST_PROGRAM), {QStringLiteral("--help")},
                         kvtest::headlessEnvironment(), kRunMs);
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_TRUE(help.out.contains(QStringLiteral("send-receive")));
}

TEST_F(KvhostCommandLine, AStoreThatCannotBeOpenedIsReported) {
  db = dir.filePath(QStringLiteral("not-a-db"));
  ASSERT_TRUE(kvtest::writeAll(db, QByteArray(4096, 'x')));
  const ProcessResult r = kvhost({QStringLiteral("list")});
  EXPECT_EQ(r.exitCode, 3) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("无法打开数据库："))) << r.err.toStdString();
}

TEST_F(KvhostCommandLine, ShowPrintsWhatTheViewerShowsAndSavesTheAttachments) {
  seedFixtureAccount();
  ASSERT_FALSE(kvtest::dropMail(kUser, kvtest::readAll(kvtest::dataFile("viewer/gb2312_html.eml")))
                   .isEmpty());
  ASSERT_EQ(kvhost(QStringList{QStringLiteral("receive")} + pop3Port()).exitCode, 0);
  const QString id = value(QStringLiteral("select 邮件ID from msgmail where CshgnsID=1"));
  ASSERT_FALSE(id.isEmpty());
  EXPECT_EQ(value(QStringLiteral("select 是否已读 from msgmail where 邮件ID=") + id), "0");

  const QString folder = dir.filePath(QStringLiteral("附件"));
  const ProcessResult r =
      kvhost({QStringLiteral("show"), id, QStringLiteral("--save-attachments"), folder});
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  for (const QString& line :
       {QStringLiteral("主题：第二季度报价单及合同"),
        QStringLiteral("发件人：陈丽<chenli@example.cn>"),
        QStringLiteral("优先级：邮件状态：高优先级。"),
        QStringLiteral("您好！附件是第二季度报价单和合同草案，请查收。"),
        QStringLiteral("附件：3 个"), QStringLiteral("  1k\t报价单.csv\t"),
        QStringLiteral("下载文件") + folder + QStringLiteral("/合同草案.pdf成功")})
    EXPECT_TRUE(r.out.contains(line)) << line.toStdString() << "\n" << r.out.toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("[对话框] 附件另存为 [") + folder));
  // Saved (byte for byte is the viewer's save-as, tested there); the host marked the mail read.
  EXPECT_EQ(QDir(folder).entryList(QDir::Files).size(), 3);
  EXPECT_EQ(value(QStringLiteral("select 是否已读 from msgmail where 邮件ID=") + id), "1");

  // An unknown mail is said to be missing.
  const ProcessResult missing = kvhost({QStringLiteral("show"), QStringLiteral("999")});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_TRUE(missing.out.contains(QStringLiteral("没有找到邮件（邮件ID=999）。")))
      << missing.out.toStdString();
}

TEST_F(KvhostCommandLine, ComposeFillsTheWindowAndSendsWithAttachments) {
  seedFixtureAccount();
  const QString body =
      kvtest::writtenFile(dir.filePath(QStringLiteral("body.html")), "<p>您好，请查收报价。</p>");
  const QString quote =
      kvtest::writtenFile(dir.filePath(QStringLiteral("报价单.xlsx")), QByteArray(4000, '\x05'));
  const QString notes = kvtest::writtenFile(dir.filePath(QStringLiteral("notes.txt")), "notes");
  const ProcessResult r =
      kvhost({QStringLiteral("compose"), QStringLiteral("--to"), kvtest::addressOf(kRecipient),
              QStringLiteral("--subject"), QStringLiteral("命令行写的信"),
              QStringLiteral("--body-file"), body, QStringLiteral("--attach"), quote,
              QStringLiteral("--attach"), notes, QStringLiteral("--send")});
  ASSERT_TRUE(r.finished) << r.all().toStdString();
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  const QString id = value(QStringLiteral("select 邮件ID from msgmail"));
  EXPECT_TRUE(r.out.contains(QStringLiteral("EvReturn %1 1").arg(id))) << r.out.toStdString();
  EXPECT_TRUE(r.out.contains(QStringLiteral("EvReturn %1 2").arg(id)));
  EXPECT_TRUE(r.out.contains(QStringLiteral("结果：成功")));
  for (const QString& file : {quote, notes})  // each --attach goes through the window's dialog
    EXPECT_TRUE(r.err.contains(QStringLiteral("[对话框] 插入附件 [") + file));
  EXPECT_EQ(value(QStringLiteral("select 主题||'/'||附件||'/'||messageID from msgmail")),
            QStringLiteral("命令行写的信/1/127.0.0.1"));
}

TEST_F(KvhostCommandLine, ComposeWithoutSendQueuesAndABadAddressStoresNothing) {
  seedFixtureAccount();
  ProcessResult r =
      kvhost({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("kehu@kvmail.test"),
              QStringLiteral("--subject"), QStringLiteral("待发")});
  EXPECT_EQ(r.exitCode, 0) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("[消息框] 提示： 是否保存邮件？ [是]")));
  EXPECT_EQ(value(QStringLiteral("select 主题||'/'||CshgnsID||'/'||messageID from msgmail")),
            QStringLiteral("待发/2/"));

  r = kvhost({QStringLiteral("compose"), QStringLiteral("--to"), QStringLiteral("客户 kehu"),
              QStringLiteral("--subject"), QStringLiteral("不会保存"), QStringLiteral("--send")});
  EXPECT_EQ(r.exitCode, 1) << r.all().toStdString();
  EXPECT_TRUE(r.err.contains(QStringLiteral("第1封邮件,收件人地址有错误，请检查")));
  EXPECT_EQ(value(QStringLiteral("select count(*) from msgmail")), QStringLiteral("1"));
}
