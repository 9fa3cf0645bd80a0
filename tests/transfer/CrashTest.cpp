// Nothing is lost when things break mid-run: a store that refuses one mail of a real mailbox, a
// server that hangs up in the middle of a message (RETR) or of a message's text (DATA).
#include <gtest/gtest.h>

#include <QRegularExpression>

#include "FakePop3Server.h"
#include "FakeSmtpServer.h"
#include "LoopbackServers.h"
#include "TestEnv.h"
#include "TransferRig.h"
#include "model/IBundle.h"
#include "store/MailStore.h"

using kvtest::FakePop3Server;
using kvtest::TransferRig;

namespace {

const QString kUser = u"t36"_s;

QStringList subjectsOnServer(const QString& user) {
  static const QRegularExpression subject(u"\nSubject: =\\?UTF-8\\?B\\?([^?]*)"_s);
  QStringList subjects;
  for (const QString& path : kvtest::listMails(user)) {
    const QString b64 = subject.match(QString::fromLatin1(kvtest::readMail(path))).captured(1);
    subjects << QString::fromUtf8(QByteArray::fromBase64(b64.toLatin1()));
  }
  subjects.sort();
  return subjects;
}

}  // namespace

TEST(CrashDovecot, AStoreRefusingTheThirdOfFiveKeepsItOnTheServerAndTheRowsBeforeWhole) {
  const QStringList subjects{"m1", "m2", "third", "m4", "m5"};
  struct Case {
    const char* policy;
    bool deleteAfterStore;
    QStringList leftOnServer;
  };
  const QList<Case> cases = {
      {"keep on the server", false, {"m1", "m2", "m4", "m5", "third"}},
      {"delete once stored", true, {"third"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.policy);
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    for (const QString& s : subjects) kvtest::dropMail(kUser, kvtest::sampleMail(s));
    TransferRig rig;
    rig.useLoopback(kUser);
    rig.account().bIsDelete = c.deleteAfterStore;
    ASSERT_TRUE(rig.addTrigger(
        u"create trigger refuse_third before insert on msgmail when new.主题='third' "
        "begin select raise(abort, 'third refused'); end"_s));
    // The user leaves the error box open well past the silence guard: the session lives on.
    rig.run().setPop3StallTimeout(300);
    rig.view().whileAsked = [] { kvtest::pumpEvents(900); };

    ASSERT_TRUE(rig.receive(30000));
    EXPECT_FALSE(rig.lastOk());
    // The session still ends with QUIT, so the row reads as finished; the failure and its
    // reason are in the error list and the caption.
    EXPECT_EQ(rig.taskState(1), u"已完成"_s);
    EXPECT_EQ(rig.view().captionText, u"处理请求的任务时出错。请复查下列错误列表以获取详细信息"_s);
    ASSERT_EQ(rig.view().errors.size(), 1);
    EXPECT_TRUE(rig.view().errors.first().contains(u"third refused"_s));
    EXPECT_EQ(rig.prompt().messages().size(), 1);
    EXPECT_EQ(subjectsOnServer(kUser), c.leftOnServer);
    EXPECT_EQ(rig.count(), 4);
    for (const QString s : {"m1", "m2", "m4", "m5"}) {
      const long id = rig.value(u"select 邮件ID from msgmail where 主题='%1'"_s.arg(s)).toLong();
      EXPECT_EQ(rig.storedMessage(id), kvtest::sampleMail(s) + "\r\n") << s.toStdString();
    }
    // Next session, the store takes it: only the third comes again, and only then goes.
    rig.host->execute(u"drop trigger refuse_third"_s);
    rig.view().whileAsked = nullptr;
    ASSERT_TRUE(rig.receive(30000));
    EXPECT_TRUE(rig.lastOk());
    EXPECT_EQ(rig.count(), 5);
    EXPECT_EQ(subjectsOnServer(kUser).size(), c.deleteAfterStore ? 0 : 5);
  }
}

TEST(CrashPop3, ADropInTheMiddleOfARetrEndsTheRunWithNoPartialRow) {
  const QByteArray first = kvtest::sampleMail(u"整封"_s);
  const QByteArray second = kvtest::sampleMail(u"断开"_s, QByteArray(5000, 'z') + "\r\n");
  struct Case {
    const char* where;
    QList<QByteArray> retr2;  // the answer to RETR 2, then the hang-up
  };
  const QList<Case> cases = {
      {"before the status line", {FakePop3Server::Drop}},
      {"in the message text", {"+OK 5600 octets\r\n" + second.left(2500), FakePop3Server::Drop}},
      {"before the end marker", {"+OK 5600 octets\r\n" + second, FakePop3Server::Drop}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.where);
    FakePop3Server server;
    const auto mailbox = FakePop3Server::mailbox({first, second}, FakePop3Server::uidls(2));
    server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
      return command == "RETR 2" ? c.retr2 : mailbox(command);
    });
    TransferRig rig;
    rig.account().bIsDelete = true;
    ASSERT_TRUE(rig.receiveFrom(server));  // ends: the window does not wait for ever
    EXPECT_FALSE(rig.lastOk());
    // The row keeps the text it had when the socket failed, as it always has.
    EXPECT_EQ(rig.taskState(1), u"正在执行"_s);
    ASSERT_EQ(rig.view().errors.size(), 1);
    EXPECT_TRUE(rig.view().errors.first().startsWith(u"10053 : "_s));
    ASSERT_EQ(rig.count(), 1);
    EXPECT_EQ(rig.storedMessage(rig.value(u"select 邮件ID from msgmail"_s).toLong()),
              first + "\r\n");
    EXPECT_FALSE(server.commands().contains("DELE 2"));
    // The next session fetches it whole, and only then deletes it.
    FakePop3Server again;
    again.setHandler(mailbox);
    ASSERT_TRUE(rig.receiveFrom(again));
    EXPECT_TRUE(rig.lastOk());
    ASSERT_EQ(rig.count(), 2);
    EXPECT_EQ(rig.storedMessage(rig.value(u"select max(邮件ID) from msgmail"_s).toLong()),
              second + "\r\n");
    EXPECT_EQ(again.commands().mid(3).join(' '), QByteArray("UIDL 1 UIDL 2 RETR 2 DELE 2 QUIT"));
  }
}

TEST(CrashSmtp, ADropInTheMiddleOfDataLeavesThatMailQueued) {
  TransferRig rig;
  kvtest::FakeSmtpServer server(kvtest::FakeSmtpServer::Fault::DropInSecondData);
  rig.account().sSmtp = u"127.0.0.1"_s;
  rig.account().lSmtpPort = server.port();
  ASSERT_TRUE(rig.queue({u"先发"_s, u"中断"_s}));
  const kvmail::MailStore store(*rig.host);

  ASSERT_TRUE(rig.run(store.readSendQueue(), true, 60000));
  EXPECT_FALSE(rig.lastOk());
  EXPECT_EQ(server.commands.count("DATA"), 2);
  // Marked sent only what the server confirmed; the other stays in the queue for next time.
  EXPECT_EQ(rig.value(u"select messageID from msgmail where 主题='先发'"_s), u"127.0.0.1"_s);
  EXPECT_EQ(rig.value(u"select messageID from msgmail where 主题='中断'"_s), QString());
  EXPECT_EQ(store.readSendQueue()->Count(), 1);
}
