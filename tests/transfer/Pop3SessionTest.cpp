// The POP3 session against a scripted server, with no window: the faults a real server will not
// produce, and the deliberate quirks that need exact replies to show. Each test checks the whole
// command transcript in order, since the order is what keeps mail from being lost.
#include <gtest/gtest.h>

#include <QDateTime>

#include "FakePop3Server.h"
#include "TransferRig.h"
#include "transfer/Pop3Link.h"
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
  const QList<Case> cases = {
      {QStringLiteral("+OK 2 320\r\n"), 0, QStringLiteral("+OK")},
      {QStringLiteral("+OK 2 320\r\n"), 1, QStringLiteral("2")},
      // A last field keeps its line break; the number conversion ignores it.
      {QStringLiteral("+OK 2 320\r\n"), 2, QStringLiteral("320\r\n")},
      {QStringLiteral("+OK 2 320\r\n"), 3, QStringLiteral("NOT FOUND")},
      {QStringLiteral("abc"), 0, QStringLiteral("abc")},
      {QStringLiteral("+OK"), 1, QStringLiteral("NOT FOUND")},
      // A delimiter at the very end has nothing after it.
      {QStringLiteral("+OK 2 "), 2, QStringLiteral("NOT FOUND")},
      {QStringLiteral("a  b"), 2, QStringLiteral("b")},
  };
  for (const Case& c : cases)
    EXPECT_EQ(kvmail::GetField(c.text, c.index, QStringLiteral(" ")), c.field)
        << c.text.toStdString();

  // A failed conversion (not a number, or too big for 16 bits) keeps the old value.
  qint16 n = 7;
  EXPECT_TRUE(kvmail::vbInteger(QStringLiteral("2.5"), &n));
  EXPECT_EQ(n, 2);  // half to even
  EXPECT_FALSE(kvmail::vbInteger(QStringLiteral("40000"), &n));
  EXPECT_FALSE(kvmail::vbInteger(QStringLiteral("NOT FOUND"), &n));
  EXPECT_EQ(n, 2);
  qint32 size = 0;
  EXPECT_TRUE(kvmail::vbLongInt(QStringLiteral("320\r\n"), &size));
  EXPECT_EQ(size, 320);
  EXPECT_EQ(kvmail::vbFormatWhole(2.5), QStringLiteral("3"));  // Format rounds halves up
  EXPECT_EQ(kvmail::announcedOctets("+OK 20480 octets\r\nFrom:"), 20480);
  EXPECT_EQ(kvmail::announcedOctets("+OK message follows\r\n"), 0);
  // A hostile size does not make the client take 2 GB before a byte of the mail arrived.
  EXPECT_EQ(kvmail::announcedOctets("+OK 1999999999 octets\r\n"), kvmail::kMaxReservedOctets);
}

TEST(Pop3Text, ReplyLinesSplitAcrossArrivalsAreJoinedButMessageTextIsNot) {
  kvmail::Pop3ReplyJoiner joiner;
  QByteArray out;
  EXPECT_FALSE(joiner.take("+OK fa", false, &out));
  ASSERT_TRUE(joiner.take("ke\r\n", false, &out));
  EXPECT_EQ(out, "+OK fake\r\n");
  ASSERT_TRUE(joiner.take("+OK 1 a\r\n+OK 2 b\r\n", false, &out));  // two replies stay together
  EXPECT_EQ(out, "+OK 1 a\r\n+OK 2 b\r\n");
  ASSERT_TRUE(joiner.take("Subject: half a li", true, &out));
  EXPECT_EQ(out, "Subject: half a li");
}

TEST(Pop3Session, NegativeGreetingShowsTheErrorAndEndsWithoutFinishing) {
  FakePop3Server server;
  server.setGreeting({"-ERR too busy\r\n"});
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("secret"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_FALSE(rig.lastOk());
  ASSERT_EQ(rig.prompt().records().size(), 1);
  const auto& box = rig.prompt().records().first();
  EXPECT_EQ(box.text, QStringLiteral("POP3 Error: -ERR too busy\r\n"));
  EXPECT_EQ(box.title, QStringLiteral("POP3 Error"));
  EXPECT_EQ(box.icon, kvmail::PromptIcon::Exclamation);
  EXPECT_TRUE(rig.logLines().contains(QStringLiteral("POP3 Error: -ERR too busy\r\n")));
  EXPECT_EQ(server.commands(), Commands{});
  // The finish routine is not called: the row still reads as running.
  EXPECT_EQ(rig.taskState(1), QStringLiteral("正在执行"));
}

TEST(Pop3Session, RepliesSplitAcrossArrivalsAreJoined) {
  FakePop3Server server;
  server.setGreeting({"+OK fa", "ke ready\r\n"});
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("分段"))}, {});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("UIDL")) return {"+OK 1 split", "-uid-1\r\n"};
    if (command.startsWith("STAT")) return {"+OK 1 ", "300\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("secret"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_EQ(server.commands(),
            (Commands{"USER u", "PASS secret", "STAT", "UIDL 1", "RETR 1", "QUIT"}));
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QStringLiteral("split-uid-1"));
  EXPECT_EQ(rig.value(QStringLiteral("select 主题 from msgmail")), QStringLiteral("分段"));
  // The password is sent, never logged.
  EXPECT_TRUE(rig.logLines().contains(QStringLiteral("PASS ***** ")));
  EXPECT_FALSE(rig.log().contains(QStringLiteral("secret")));
}

TEST(Pop3Session, CountBeyondSixteenBitsReadsAsAnEmptyMailbox) {
  // The counters are 16-bit; a failed conversion keeps 0, so the session quits at once.
  FakePop3Server server;
  server.setHandler([](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("STAT")) return {"+OK 40000 99999999\r\n"};
    if (command.startsWith("QUIT")) return {"+OK bye\r\n"};
    return {"+OK\r\n"};
  });
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_TRUE(rig.logLines().contains(QStringLiteral("您的邮箱为空,请确认后再试")));
  EXPECT_EQ(server.commands(), login({"QUIT"}));
}

TEST(Pop3Session, DotLinesAreKeptAsTheyArriveAndOnlyTheRealMarkerEnds) {
  const QByteArray body = "first line\r\n..stuffed line\r\n.5 percent\r\nend.\r\n";
  const QByteArray mail = kvtest::sampleMail(QStringLiteral("点"), body);
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({mail}, uidls(1)));
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  const QByteArray stored = rig.storedMessage(1);
  // No un-stuffing, and the file ends with the message's last line plus the added line break.
  EXPECT_TRUE(stored.contains("\r\n..stuffed line\r\n.5 percent\r\nend.\r\n"));
  EXPECT_TRUE(stored.endsWith("end.\r\n\r\n"));
  EXPECT_EQ(rig.value(QStringLiteral("select 大小 from msgmail")).toLongLong(), stored.size());
}

TEST(Pop3Session, UidlLongerThan36IsCutAndFetchedAgainEverySession) {
  const QByteArray longId(40, 'u');
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("长"))}, {longId}));
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QString(36, QLatin1Char('u')));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_EQ(rig.count(), 2);  // the cut id is never found, so the mail comes again
  EXPECT_EQ(server.commands(),
            login({"UIDL 1", "RETR 1", "QUIT"}) + login({"UIDL 1", "RETR 1", "QUIT"}));
}

TEST(Pop3Session, UidlReplyInAnotherLayoutKeepsAllButTheExactPrefix) {
  FakePop3Server server;
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("格式"))}, {});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("UIDL")) return {"+OK  1 odd id\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QStringLiteral("+OK  1 odd id"));
}

TEST(Pop3Session, AfterDaysPolicyDeletesStoredMailByTheKeptDirection) {
  // Already stored: received yesterday (uid-1) and today (uid-2).
  const QList<QByteArray> mails = kvtest::sampleMails({"a", "b"});
  TransferRig rig;
  const auto stored = [&](int id, int daysAgo) {
    rig.host->executeBound(
        QStringLiteral("insert into msgmail(邮件ID,UIDL,接收时间,大小,CshgnsID,messageID) "
                       "values(?,?,?,?,1,'x')"),
        {id, QStringLiteral("uid-%1").arg(id),
         QDateTime::currentDateTime().addDays(-daysAgo).toString(
             QStringLiteral("yyyy-MM-dd HH:mm:ss")),
         10});
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
