// A transfer run on a view of plain fields: how each task ends, what the user is told, and that a
// request made during a run is neither dropped nor sends a mail twice.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "FakePop3Server.h"
#include "LoopbackServers.h"
#include "TestEnv.h"
#include "TransferRig.h"
#include "model/IBundle.h"
#include "store/MailStore.h"
#include "transfer/TransferRun.h"

using kvtest::FakePop3Server;
using kvtest::TransferRig;

namespace {

const auto uidls = FakePop3Server::uidls;
const auto mails = kvtest::sampleMails;

}  // namespace

TEST(TransferRun, ASocketErrorEndsTheRunAndTheWindowSaysSo) {
  TransferRig rig;
  rig.view().closeChecked = true;  // not closed after a run that failed: the user must see why
  rig.usePop3(kvtest::closedPort(), u"u"_s, u"p"_s);
  ASSERT_TRUE(rig.receive(10000));  // the run ends: nothing waits for ever
  EXPECT_FALSE(rig.lastOk());
  // The row keeps the text it always kept; the animation stops and the error is listed.
  EXPECT_EQ(rig.taskState(1), u"正在执行"_s);
  EXPECT_EQ(rig.view().animations.last(), u"-"_s);
  ASSERT_EQ(rig.view().errors.size(), 1);
  EXPECT_TRUE(rig.view().errors.first().startsWith(u"10061 : "_s));
  EXPECT_EQ(rig.view().captionText, u"处理请求的任务时出错。请复查下列错误列表以获取详细信息"_s);
  EXPECT_TRUE(rig.view().errorPage);
  EXPECT_FALSE(rig.view().stopEnabled);
  EXPECT_FALSE(rig.view().hidden);
}

TEST(TransferRun, TheSilenceGuardSaysWhatHappened) {
  struct Case {
    const char* what;
    QList<QByteArray> retr;  // the server's answer to RETR, then silence
    QString reason;          // how the error row begins
  };
  const QByteArray mail = kvtest::sampleMail(u"半"_s, QByteArray(4000, 'h') + "\r\n");
  const QList<Case> cases = {
      {"refused",
       {"-ERR message is locked\r\n"},
       u"服务器拒绝发送第1封邮件：-ERR message is locked"_s},
      {"half a message",
       {"+OK 4200 octets\r\n" + mail.left(1500)},
       u"接收第1封邮件时，服务器0.4秒内没有继续发送"_s},
      {"no answer", {}, u"服务器0.4秒内没有响应"_s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    FakePop3Server server;
    const auto mailbox = FakePop3Server::mailbox({mail}, uidls(1));
    server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
      return command.startsWith("RETR") ? c.retr : mailbox(command);
    });
    TransferRig rig;
    rig.account().bIsDelete = true;
    rig.run().setPop3StallTimeout(400);
    ASSERT_TRUE(rig.receiveFrom(server));
    EXPECT_FALSE(rig.lastOk());
    EXPECT_FALSE(server.commands().contains("DELE 1"));  // nothing stored, nothing deleted
    EXPECT_EQ(rig.taskState(1), u"失败"_s);
    ASSERT_EQ(rig.view().errors.size(), 1);
    EXPECT_TRUE(rig.view().errors.first().startsWith(c.reason))
        << rig.view().errors.first().toStdString();
    EXPECT_EQ(rig.count(), 0);
  }
}

TEST(TransferRun, ADeadStoreShowsOneBoxAndLogsTheRest) {
  TransferRig rig;
  ASSERT_TRUE(rig.addTrigger(
      u"create trigger refuse_all before insert on msgmail begin select raise(abort, 'disk "
      "full'); end"_s));
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox(mails({"a", "b", "c"}), uidls(3)));
  ASSERT_TRUE(rig.receiveFrom(server));
  EXPECT_EQ(rig.prompt().messages().size(), 1);
  EXPECT_EQ(rig.log().count(u"disk full"_s), 2);  // the second and third mail
  EXPECT_EQ(rig.view().errors.size(), 3);
  EXPECT_EQ(rig.count(), 0);
}

TEST(TransferRun, ARequestDuringARunWaitsAndDoesNotSendAMailTwice) {
  TransferRig rig;
  rig.account().sSmtp = u"127.0.0.1"_s;
  rig.account().lSmtpPort = kvtest::closedPort();  // the send fails, which is enough to see it ran
  ASSERT_TRUE(rig.queue({u"待发"_s}));
  const kvmail::MailStore store(*rig.host);

  const QByteArray slow = kvtest::sampleMail(u"慢"_s, QByteArray(6000, 'y') + "\r\n");
  FakePop3Server server;
  const auto mailbox = FakePop3Server::mailbox({slow}, uidls(1));
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    if (!command.startsWith("RETR")) return mailbox(command);
    const QByteArray all = mailbox(command).first();
    return {all.left(3000), all.mid(3000)};
  });
  rig.usePop3(server.port(), u"u"_s, u"p"_s);

  struct Case {
    const char* what;
    bool sentMeanwhile;  // the mail went out (and was marked) before the request's turn came
    int runs;
  };
  for (const Case& c : {Case{"waits and runs", false, 2}, Case{"already sent", true, 1}}) {
    SCOPED_TRACE(c.what);
    QSignalSpy ended(&rig.run(), &kvmail::TransferRun::TasksEnded);
    const auto during = QObject::connect(&rig.run(), &kvmail::TransferRun::EvMailRead, [&] {
      rig.run().start(store.readSendQueue(), rig.host.get(), rig.accountPtr(), true);
      if (c.sentMeanwhile) store.markSent(u"smtp"_s, 1);
    });
    rig.run().start(nullptr, rig.host.get(), rig.accountPtr(), false);
    while (ended.size() < c.runs) ASSERT_TRUE(ended.wait(10000));
    QObject::disconnect(during);
    kvtest::pumpEvents(200);
    EXPECT_EQ(ended.size(), c.runs);
    if (c.runs == 2) {
      EXPECT_TRUE(rig.view().tasks.first().text.startsWith(u"发送1封邮件"_s));
    }
    rig.host->execute(u"delete from msgmail where CshgnsID=1"_s);
  }
}
