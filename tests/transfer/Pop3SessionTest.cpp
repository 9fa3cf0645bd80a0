// The POP3 session against a scripted server, with no window: the faults a real server will not
// produce, and the deliberate quirks that need exact replies to show. Each test checks the whole
// command transcript in order, since the order is what keeps mail from being lost.
#include <gtest/gtest.h>

#include <QDateTime>

#include "FakePop3Server.h"
#include "TransferRig.h"
#include "transfer/Pop3Text.h"

using kvtest::FakePop3Server;
using kvtest::TransferRig;
using Commands = QList<QByteArray>;

namespace {

const auto uidls = FakePop3Server::uidls;
const auto login = FakePop3Server::loggedIn;

}  // namespace

TEST(Pop3Text, FieldsAndNumbersOfReplies) {
  struct Case {
    QString text;
    int index;
    QString field;
  };
  // The fields of every STAT and UIDL reply are the sessions' tests; the edges here.
  const QList<Case> cases = {
      // A last field keeps its line break; the number conversion ignores it.
      {u"+OK 2 320\r\n"_s, 2, u"320\r\n"_s},
      {u"+OK 2 320\r\n"_s, 3, u"NOT FOUND"_s},
      {u"abc"_s, 0, u"abc"_s},
      // A delimiter at the very end has nothing after it.
      {u"+OK 2 "_s, 2, u"NOT FOUND"_s},
      {u"a  b"_s, 2, u"b"_s},
  };
  for (const Case& c : cases)
    EXPECT_EQ(kvmail::GetField(c.text, c.index, u" "_s), c.field) << c.text.toStdString();

  // A failed conversion (not a number, or too big for 16 bits) keeps the old value.
  qint16 n = 7;
  EXPECT_FALSE(kvmail::vbInteger(u"40000"_s, &n));
  EXPECT_FALSE(kvmail::vbInteger(u"NOT FOUND"_s, &n));
  EXPECT_EQ(n, 7);
  EXPECT_EQ(kvmail::announcedOctets("+OK 20480 octets\r\nFrom:"), 20480);
  EXPECT_EQ(kvmail::announcedOctets("+OK message follows\r\n"), 0);
  // A hostile size does not make the client take 2 GB before a byte of the mail arrived.
  EXPECT_EQ(kvmail::announcedOctets("+OK 1999999999 octets\r\n"), kvmail::kMaxReservedOctets);
}

TEST(Pop3Session, NegativeGreetingShowsTheErrorAndEndsWithoutFinishing) {
  FakePop3Server server;
  server.setGreeting({"-ERR too busy\r\n"});
  TransferRig rig;
  rig.usePop3(server.port(), u"u"_s, u"secret"_s);
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_FALSE(rig.lastOk());
  ASSERT_EQ(rig.prompt().records().size(), 1);
  const auto& box = rig.prompt().records().first();
  EXPECT_EQ(box.text, u"POP3 Error: -ERR too busy\r\n"_s);
  EXPECT_EQ(box.title, u"POP3 Error"_s);
  EXPECT_EQ(box.icon, kvmail::PromptIcon::Exclamation);
  EXPECT_TRUE(rig.logLines().contains(u"POP3 Error: -ERR too busy\r\n"_s));
  EXPECT_EQ(server.commands(), Commands{});
  // The finish routine is not called: the row still reads as running.
  EXPECT_EQ(rig.taskState(1), u"正在执行"_s);
}

TEST(Pop3Session, RepliesSplitAcrossArrivalsAreJoined) {
  FakePop3Server server;
  server.setGreeting({"+OK fa", "ke ready\r\n"});
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(u"分段"_s)}, {});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("UIDL")) return {"+OK 1 split", "-uid-1\r\n"};
    if (command.startsWith("STAT")) return {"+OK 1 ", "300\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  rig.usePop3(server.port(), u"u"_s, u"secret"_s);
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_EQ(server.commands(),
            (Commands{"USER u", "PASS secret", "STAT", "UIDL 1", "RETR 1", "QUIT"}));
  EXPECT_EQ(rig.value(u"select UIDL from msgmail"_s), u"split-uid-1"_s);
  EXPECT_EQ(rig.value(u"select 主题 from msgmail"_s), u"分段"_s);
  // The password is sent, never logged.
  EXPECT_TRUE(rig.logLines().contains(u"PASS ***** "_s));
  EXPECT_FALSE(rig.log().contains(u"secret"_s));
}

TEST(Pop3Session, CountBeyondSixteenBitsReadsAsAnEmptyMailbox) {
  // The counters are 16-bit; a failed conversion keeps 0, so the session quits at once (the size
  // still converts, and the row shows it).
  FakePop3Server server;
  server.setHandler([](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("STAT")) return {"+OK 40000 99999999\r\n"};
    if (command.startsWith("QUIT")) return {"+OK bye\r\n"};
    return {"+OK\r\n"};
  });
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_TRUE(rig.logLines().contains(u"您的邮箱为空,请确认后再试"_s));
  EXPECT_EQ((QStringList{rig.taskText(1), rig.taskState(1), rig.summary(), rig.view().captionText}),
            (QStringList{"检查测试帐户上的新邮件:共 0 (97656 KB) 封。", "已完成",
                         "已完成 1 项任务(共 1 项)", "请求的任务已成功完成。"}));
  EXPECT_EQ(server.commands(), login({"QUIT"}));
}

TEST(Pop3Session, UidlLongerThan36IsCutAndFetchedAgainEverySession) {
  const QByteArray longId(40, 'u');
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({kvtest::sampleMail(u"长"_s)}, {longId}));
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_EQ(rig.value(u"select UIDL from msgmail"_s), QString(36, QLatin1Char('u')));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_EQ(rig.count(), 2);  // the cut id is never found, so the mail comes again
  EXPECT_EQ(server.commands(),
            login({"UIDL 1", "RETR 1", "QUIT"}) + login({"UIDL 1", "RETR 1", "QUIT"}));
}

TEST(Pop3Session, UidlReplyInAnotherLayoutKeepsAllButTheExactPrefix) {
  FakePop3Server server;
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(u"格式"_s)}, {});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("UIDL")) return {"+OK  1 odd id\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_EQ(rig.value(u"select UIDL from msgmail"_s), u"+OK  1 odd id"_s);
}

TEST(Pop3Session, AfterDaysPolicyDeletesStoredMailByTheKeptDirection) {
  // Already stored: received yesterday (uid-1) and today (uid-2).
  const QList<QByteArray> mails = kvtest::sampleMails({"a", "b"});
  TransferRig rig;
  const auto stored = [&](int id, int daysAgo) {
    rig.host->executeBound(
        u"insert into msgmail(邮件ID,UIDL,接收时间,大小,CshgnsID,messageID) "
        "values(?,?,?,?,1,'x')"_s,
        {id, u"uid-%1"_s.arg(id),
         QDateTime::currentDateTime().addDays(-daysAgo).toString(u"yyyy-MM-dd HH:mm:ss"_s), 10});
  };
  stored(1, 1);
  stored(2, 0);
  rig.account().bIsDelete = false;
  rig.account().bIsAfterdayDelete = true;

  struct Case {
    long deleteDay;
    Commands after;
  };
  // 0 deletes what came on an earlier day only; any positive count deletes every stored mail.
  const QList<Case> cases = {{0, {"UIDL 1", "DELE 1", "UIDL 2", "QUIT"}},
                             {3, {"UIDL 1", "DELE 1", "UIDL 2", "DELE 2", "QUIT"}}};
  for (const Case& c : cases) {
    FakePop3Server server;
    server.setHandler(FakePop3Server::mailbox(mails, uidls(2)));
    rig.account().lDeleteDay = c.deleteDay;
    ASSERT_TRUE(rig.receiveFrom(server));
    EXPECT_EQ(server.commands(), login(c.after)) << c.deleteDay;
  }
}
