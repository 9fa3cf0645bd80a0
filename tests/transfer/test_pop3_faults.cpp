// The POP3 session against a scripted server: the faults a real server will not produce, and
// the deliberate quirks that need exact replies to show.
#include <gtest/gtest.h>

#include <QDateTime>
#include <QPushButton>

#include "FakePop3Server.h"
#include "TransferRig.h"
#include "transfer/Pop3Session.h"

using kvmail::GetField;
using kvtest::FakePop3Server;
using kvtest::TransferRig;

TEST(GetField, FieldsOfAStatReply) {
  const QString stat = QStringLiteral("+OK 2 320\r\n");
  EXPECT_EQ(GetField(stat, 0, QStringLiteral(" ")), QStringLiteral("+OK"));
  EXPECT_EQ(GetField(stat, 1, QStringLiteral(" ")), QStringLiteral("2"));
  // A last field keeps its line break; the number conversion ignores it.
  EXPECT_EQ(GetField(stat, 2, QStringLiteral(" ")), QStringLiteral("320\r\n"));
  EXPECT_EQ(GetField(stat, 3, QStringLiteral(" ")), QStringLiteral("NOT FOUND"));
  EXPECT_EQ(GetField(QStringLiteral("abc"), 0, QStringLiteral(" ")), QStringLiteral("abc"));
  EXPECT_EQ(GetField(QStringLiteral("+OK"), 1, QStringLiteral(" ")), QStringLiteral("NOT FOUND"));
  // A delimiter at the very end has nothing after it.
  EXPECT_EQ(GetField(QStringLiteral("+OK 2 "), 2, QStringLiteral(" ")),
            QStringLiteral("NOT FOUND"));
  EXPECT_EQ(GetField(QStringLiteral("a  b"), 2, QStringLiteral(" ")), QStringLiteral("b"));
}

namespace {

QList<QByteArray> uidls(int n) {
  QList<QByteArray> ids;
  for (int i = 1; i <= n; ++i) ids << "fake-uid-" + QByteArray::number(i);
  return ids;
}

}  // namespace

TEST(Pop3Faults, NegativeGreetingShowsTheErrorAndEndsWithoutFinishing) {
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
  EXPECT_TRUE(rig.log().contains(QStringLiteral("POP3 Error: -ERR too busy")));
  EXPECT_FALSE(server.sawCommand("USER"));
  // The finish routine is not called: the row still reads as running.
  EXPECT_EQ(rig.taskState(1), QStringLiteral("正在执行"));
}

TEST(Pop3Faults, RepliesSplitAcrossArrivalsAreJoined) {
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
  EXPECT_EQ(rig.count(), 1);
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QStringLiteral("split-uid-1"));
  EXPECT_EQ(rig.value(QStringLiteral("select 主题 from msgmail")), QStringLiteral("分段"));
  // The password is sent, never logged.
  EXPECT_TRUE(server.sawCommand("PASS secret"));
  EXPECT_TRUE(rig.log().contains(QStringLiteral("PASS ***** ")));
  EXPECT_FALSE(rig.log().contains(QStringLiteral("secret")));
}

TEST(Pop3Faults, NegativeRetrEndsAfterTheStallTimeWithNothingStoredOrDeleted) {
  FakePop3Server server;
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("x"))}, uidls(1));
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("RETR")) return {"-ERR message is locked\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  rig.account().bIsDelete = true;
  rig.window().setPop3StallTimeout(400);
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_FALSE(rig.lastOk());
  EXPECT_EQ(rig.count(), 0);
  EXPECT_FALSE(server.sawCommand("DELE"));
  EXPECT_EQ(rig.taskState(1), QStringLiteral("失败"));
}

TEST(Pop3Faults, DropInTheMiddleOfAMessageStoresNothingAndTheNextSessionFetchesIt) {
  const QByteArray mail =
      kvtest::sampleMail(QStringLiteral("断线"), QByteArray(8000, 'x') + "\r\n");
  TransferRig rig;
  rig.account().bIsDelete = true;
  {
    FakePop3Server server;
    const auto mailbox = FakePop3Server::mailbox({mail}, uidls(1));
    server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
      if (command.startsWith("RETR"))
        return {"+OK 8200 octets\r\n" + mail.left(3000), FakePop3Server::Drop};
      return mailbox(command);
    });
    rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
    ASSERT_TRUE(rig.receive(10000));
    EXPECT_FALSE(rig.lastOk());
    EXPECT_EQ(rig.count(), 0);
    EXPECT_FALSE(server.sawCommand("DELE"));
    EXPECT_TRUE(rig.log().contains(QStringLiteral("10053 : ")));
  }
  FakePop3Server again;
  again.setHandler(FakePop3Server::mailbox({mail}, uidls(1)));
  rig.usePop3(again.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_EQ(rig.count(), 1);
  EXPECT_TRUE(again.sawCommand("DELE 1"));
  EXPECT_TRUE(rig.storedMessage(1).startsWith(mail.left(200)));
}

TEST(Pop3Faults, CountBeyondSixteenBitsReadsAsAnEmptyMailbox) {
  // The counters are 16-bit; a failed conversion keeps 0, so the session quits at once.
  FakePop3Server server;
  server.setHandler([](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("STAT")) return {"+OK 40000 99999999\r\n"};
    if (command.startsWith("QUIT")) return {"+OK bye\r\n"};
    return {"+OK\r\n"};
  });
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(rig.log().contains(QStringLiteral("您的邮箱为空,请确认后再试")));
  EXPECT_FALSE(server.sawCommand("UIDL"));
  EXPECT_TRUE(server.sawCommand("QUIT"));
}

TEST(Pop3Faults, DotLinesAreKeptAsTheyArriveAndOnlyTheRealMarkerEnds) {
  const QByteArray body = "first line\r\n..stuffed line\r\n.5 percent\r\nend.\r\n";
  const QByteArray mail = kvtest::sampleMail(QStringLiteral("点"), body);
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({mail}, uidls(1)));
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  const QByteArray stored = rig.storedMessage(1);
  // No un-stuffing, and the file ends with the message's last line plus the added line break.
  EXPECT_TRUE(stored.contains("\r\n..stuffed line\r\n.5 percent\r\nend.\r\n"));
  EXPECT_TRUE(stored.endsWith("end.\r\n\r\n"));
  EXPECT_EQ(rig.value(QStringLiteral("select 大小 from msgmail")).toLongLong(), stored.size());
}

TEST(Pop3Faults, UidlLongerThan36IsCutAndFetchedAgainEverySession) {
  const QByteArray longId(40, 'u');
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("长"))}, {longId}));
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QString(36, QLatin1Char('u')));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_EQ(rig.count(), 2);  // the cut id is never found, so the mail comes again
}

TEST(Pop3Faults, UidlReplyInAnotherLayoutKeepsAllButTheExactPrefix) {
  FakePop3Server server;
  const auto mailbox = FakePop3Server::mailbox({kvtest::sampleMail(QStringLiteral("格式"))}, {});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (command.startsWith("UIDL")) return {"+OK  1 odd id\r\n"};
    return mailbox(command);
  });
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_EQ(rig.value(QStringLiteral("select UIDL from msgmail")), QStringLiteral("+OK  1 odd id"));
}

TEST(Pop3Faults, AfterDaysPolicyDeletesStoredMailByTheKeptDirection) {
  // Already stored: received yesterday (fake-uid-1) and today (fake-uid-2).
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox(
      {kvtest::sampleMail(QStringLiteral("a")), kvtest::sampleMail(QStringLiteral("b"))},
      uidls(2)));
  TransferRig rig;
  const QString yesterday =
      QDateTime::currentDateTime().addDays(-1).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
  const QString today =
      QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
  rig.host().executeBound(
      QStringLiteral("insert into msgmail(邮件ID,UIDL,接收时间,大小,CshgnsID,messageID) "
                     "values(?,?,?,?,1,'x')"),
      {1, QStringLiteral("fake-uid-1"), yesterday, 10});
  rig.host().executeBound(
      QStringLiteral("insert into msgmail(邮件ID,UIDL,接收时间,大小,CshgnsID,messageID) "
                     "values(?,?,?,?,1,'x')"),
      {2, QStringLiteral("fake-uid-2"), today, 10});
  rig.account().bIsDelete = false;
  rig.account().bIsAfterdayDelete = true;
  rig.account().lDeleteDay = 0;  // 0 deletes what came on an earlier day only
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(server.sawCommand("DELE 1"));
  EXPECT_FALSE(server.sawCommand("DELE 2"));
  EXPECT_FALSE(server.sawCommand("RETR"));

  FakePop3Server second;
  second.setHandler(FakePop3Server::mailbox(
      {kvtest::sampleMail(QStringLiteral("a")), kvtest::sampleMail(QStringLiteral("b"))},
      uidls(2)));
  rig.account().lDeleteDay = 3;  // any positive count deletes every stored mail at once
  rig.usePop3(second.port(), QStringLiteral("u"), QStringLiteral("p"));
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(second.sawCommand("DELE 1"));
  EXPECT_TRUE(second.sawCommand("DELE 2"));
}

TEST(Pop3Faults, OpeningTheWindowAgainDuringARunLeavesTheRunAlone) {
  FakePop3Server server;
  const QByteArray mail = kvtest::sampleMail(QStringLiteral("慢"), QByteArray(6000, 'y') + "\r\n");
  const auto mailbox = FakePop3Server::mailbox({mail, mail}, uidls(2));
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    // The message arrives in pieces, so the session yields while it is being handled.
    if (command.startsWith("RETR")) {
      const QByteArray all = mailbox(command).first();
      return {all.left(2000), all.mid(2000, 2000), all.mid(4000)};
    }
    return mailbox(command);
  });
  TransferRig rig;
  rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
  int reopened = 0;
  QObject::connect(&rig.window(), &kvmail::FrmSend::EvMailRead, &rig.window(), [&] {
    ++reopened;
    rig.window().py_Init(nullptr, &rig.host(), rig.accountPtr(), false, QStringLiteral("again"));
  });
  ASSERT_TRUE(rig.receive(10000));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_EQ(reopened, 2);
  EXPECT_EQ(rig.count(), 2);
  EXPECT_EQ(rig.window().windowTitle(), QStringLiteral("邮件接收"));
}
