// Nothing is lost when things break mid-run: a store that refuses one mail of a real mailbox, a
// server that hangs up in the middle of a message (RETR) or of a message's text (DATA).
#include <gtest/gtest.h>

#include <QRegularExpression>

#include "FakePop3Server.h"
#include "FakeSmtpServer.h"
#include "LoopbackServers.h"
#include "TransferRig.h"
#include "model/IBundle.h"
#include "store/MailStore.h"

using kvtest::FakePop3Server;
using kvtest::TransferRig;

namespace {

const QString kUser = QStringLiteral("t36");

QStringList subjectsOnServer(const QString& user) {
  static const QRegularExpression subject(QStringLiteral("\nSubject: =\\?UTF-8\\?B\\?([^?]*)"));
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
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    for (const QString& s : subjects) kvtest::dropMail(kUser, kvtest::sampleMail(s));
    TransferRig rig;
    rig.useLoopback(kUser);
    rig.account().bIsDelete = c.deleteAfterStore;
    ASSERT_TRUE(rig.addTrigger(
        QStringLiteral("create trigger refuse_third before insert on msgmail when new.主题='third' "
                       "begin select raise(abort, 'third refused'); end")));

    ASSERT_TRUE(rig.receive(30000)) << c.policy;
    EXPECT_FALSE(rig.lastOk()) << c.policy;
    // The session still ends with QUIT, so the row reads as finished; the failure and its
    // reason are in the error list and the caption.
    EXPECT_EQ(rig.taskState(1), QStringLiteral("已完成")) << c.policy;
    EXPECT_EQ(rig.view().captionText,
              QStringLiteral("处理请求的任务时出错。请复查下列错误列表以获取详细信息"))
        << c.policy;
    ASSERT_EQ(rig.view().errors.size(), 1) << c.policy;
    EXPECT_TRUE(rig.view().errors.first().contains(QStringLiteral("third refused"))) << c.policy;
    EXPECT_EQ(subjectsOnServer(kUser), c.leftOnServer) << c.policy;
    EXPECT_EQ(rig.count(), 4) << c.policy;
    for (const QString s : {"m1", "m2", "m4", "m5"}) {
      const long id =
          rig.value(QStringLiteral("select 邮件ID from msgmail where 主题='%1'").arg(s)).toLong();
      EXPECT_EQ(rig.storedMessage(id), kvtest::sampleMail(s) + "\r\n")
          << c.policy << " " << s.toStdString();
    }
  }
}

TEST(CrashPop3, ADropInTheMiddleOfARetrEndsTheRunWithNoPartialRow) {
  const QByteArray first = kvtest::sampleMail(QStringLiteral("整封"));
  const QByteArray second =
      kvtest::sampleMail(QStringLiteral("断开"), QByteArray(5000, 'z') + "\r\n");
  struct Case {
    const char* where;
    QList<QByteArray> retr2;  // the answer to RETR 2, then the hang-up
  };
  const QList<Case> cases = {
      {"before the status line", {FakePop3Server::Drop}},
      {"after the status line", {"+OK 5600 octets\r\n", FakePop3Server::Drop}},
      {"in the message text", {"+OK 5600 octets\r\n" + second.left(2500), FakePop3Server::Drop}},
      {"before the end marker", {"+OK 5600 octets\r\n" + second, FakePop3Server::Drop}},
  };
  for (const Case& c : cases) {
    FakePop3Server server;
    const auto mailbox =
        FakePop3Server::mailbox({first, second}, {QByteArray("uid-1"), QByteArray("uid-2")});
    server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
      return command == "RETR 2" ? c.retr2 : mailbox(command);
    });
    TransferRig rig;
    rig.account().bIsDelete = true;
    rig.usePop3(server.port(), QStringLiteral("u"), QStringLiteral("p"));
    ASSERT_TRUE(rig.receive(10000)) << c.where;  // ends: the window does not wait for ever
    EXPECT_FALSE(rig.lastOk()) << c.where;
    // The row keeps the text it had when the socket failed, as it always has.
    EXPECT_EQ(rig.taskState(1), QStringLiteral("正在执行")) << c.where;
    ASSERT_EQ(rig.view().errors.size(), 1) << c.where;
    EXPECT_TRUE(rig.view().errors.first().startsWith(QStringLiteral("10053 : "))) << c.where;
    ASSERT_EQ(rig.count(), 1) << c.where;
    EXPECT_EQ(rig.storedMessage(rig.value(QStringLiteral("select 邮件ID from msgmail")).toLong()),
              first + "\r\n")
        << c.where;
    EXPECT_FALSE(server.sawCommand("DELE 2")) << c.where;
    EXPECT_TRUE(rig.log().contains(QStringLiteral("10053 : "))) << c.where;
    // The next session fetches it whole, and only then deletes it.
    FakePop3Server again;
    again.setHandler(mailbox);
    ASSERT_TRUE(rig.receiveFrom(again)) << c.where;
    EXPECT_TRUE(rig.lastOk()) << c.where;
    ASSERT_EQ(rig.count(), 2) << c.where;
    EXPECT_EQ(
        rig.storedMessage(rig.value(QStringLiteral("select max(邮件ID) from msgmail")).toLong()),
        second + "\r\n")
        << c.where;
    EXPECT_EQ(again.commands().mid(3).join(' '), QByteArray("UIDL 1 UIDL 2 RETR 2 DELE 2 QUIT"))
        << c.where;
  }
}

TEST(CrashSmtp, ADropInTheMiddleOfDataLeavesThatMailQueued) {
  TransferRig rig;
  kvtest::FakeSmtpServer server(kvtest::FakeSmtpServer::Fault::DropInSecondData);
  rig.account().sSmtp = QStringLiteral("127.0.0.1");
  rig.account().lSmtpPort = server.port();
  const kvmail::MailStore store(*rig.host);
  QList<kvmail::ComposedMail> queued;
  for (const QString& subject : {QStringLiteral("先发"), QStringLiteral("中断")}) {
    kvmail::OutgoingMail out;
    out.from = {QString(), QStringLiteral("sender@kvmail.test")};
    out.to = {{QString(), QStringLiteral("to@kvmail.test")}};
    out.subject = subject;
    out.htmlBody = QStringLiteral("<p>") + QString(40, QLatin1Char('x')) + QStringLiteral("</p>");
    queued << kvmail::composedMail(out, rig.folder() + "/" + subject + ".eml");
  }
  kvmail::StoreFailure failure;
  ASSERT_EQ(store.storeComposed(queued, &failure).size(), 2);

  ASSERT_TRUE(rig.run(store.readSendQueue(), true, 60000));
  EXPECT_FALSE(rig.lastOk());
  EXPECT_EQ(server.commands.count("DATA"), 2);
  // Marked sent only what the server confirmed; the other stays in the queue for next time.
  EXPECT_EQ(rig.value(QStringLiteral("select messageID from msgmail where 主题='先发'")),
            QStringLiteral("127.0.0.1"));
  EXPECT_EQ(rig.value(QStringLiteral("select messageID from msgmail where 主题='中断'")),
            QString());
  EXPECT_EQ(store.readSendQueue()->Count(), 1);
}
