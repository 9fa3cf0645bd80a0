// Sending the queue through the service and the transfer window, against the loopback SMTP sink
// that delivers into Dovecot. (The round trip back in is the composer's and the TLS test's.)
#include <gtest/gtest.h>

#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include "LoopbackServers.h"
#include "ServiceRig.h"
#include "TestEnv.h"
#include "store/MailStore.h"
#include "store/Statements.h"
#include "store/StoredFile.h"
#include "transfer/FrmSend.h"

using kvtest::ServiceRig;

namespace {

const QString kUser = QStringLiteral("t11");

class SendQueue : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    ASSERT_TRUE(kvtest::clearMailbox(QStringLiteral("t12")));
    rig.seedAccount(true, false, QStringLiteral("发送测试"));
    rig.useLoopback(kUser);
    ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  }

  kvmail::OutgoingMail mail(const QString& subject, const QString& to) {
    kvmail::OutgoingMail m;
    m.from = {QStringLiteral("销售部"), QStringLiteral("sales@kvmail.test")};
    m.to = {{QStringLiteral("客户"), to}};
    m.cc = {{QString(), kvtest::addressOf(QStringLiteral("t12"))}};
    m.subject = subject;
    m.htmlBody = QStringLiteral("<p>您好，%1</p>").arg(subject);
    return m;
  }
  // Queues a mail (to the test mailbox unless to is given) dated at hour of one day; its key.
  long queue(const QString& subject, int hour, const QString& to = {}) {
    return rig.queueMail(mail(subject, to.isEmpty() ? kvtest::addressOf(kUser) : to),
                         QStringLiteral("2026-11-20 %1:00:00").arg(hour, 2, 10, QLatin1Char('0')));
  }
  // Runs f each time the service reports a mail sent.
  template <class F>
  void onReturn(F f) {
    QObject::connect(rig.mail.get(), &kvmail::clsMail::EvReturn, rig.mail.get(), f);
  }
  // Runs SendMail and waits for the window to finish.
  bool run() {
    QSignalSpy ended(rig.mail->transferWindow(), &kvmail::FrmSend::TasksEnded);
    if (!rig.mail->SendMail(0)) return false;
    if (ended.isEmpty() && !ended.wait(60000)) return false;
    ok = ended.first().first().toBool();
    return true;
  }
  int queued() { return int(kvmail::MailStore(*rig.host).queuedMailIds().size()); }
  QTreeWidget* list(int index) {
    return rig.mail->transferWindow()->findChild<QTreeWidget*>(QStringLiteral("LV(%1)").arg(index));
  }
  QString rowState() { return list(0)->topLevelItem(0)->text(1); }
  int errorRows() { return list(1)->topLevelItemCount(); }
  QString firstError() { return list(1)->topLevelItem(0)->text(0); }

  ServiceRig rig;
  bool ok = false;
};

}  // namespace

TEST_F(SendQueue, ThreeMailsGoOutWhole) {
  const QString to = kvtest::addressOf(kUser);
  kvmail::OutgoingMail a = mail(QStringLiteral("报价单"), to);
  a.attachmentPaths = {rig.file(QStringLiteral("报价单.xlsx"), QByteArray(5000, '\x07')),
                       rig.file(QStringLiteral("产品 目录.pdf"), QByteArray("%PDF-1.4 kv\n"))};
  kvmail::OutgoingMail b = mail(QStringLiteral("紧急通知"), to);
  b.headerPriority = 1;
  const long idA = rig.queueMail(a, QStringLiteral("2026-11-20 08:00:00"));
  const long idB = rig.queueMail(b, QStringLiteral("2026-11-20 09:00:00"));
  const long idC = queue(QStringLiteral("普通信"), 10);
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);

  ASSERT_TRUE(run());
  EXPECT_TRUE(ok);
  EXPECT_EQ(rowState(), QStringLiteral("已完成"));
  ASSERT_EQ(returned.size(), 3);
  for (const auto& r : returned) EXPECT_EQ(r[1].toLongLong(), 2);
  EXPECT_EQ(returned[0][0].toString(), QString::number(idC));  // newest first
  for (long id : {idA, idB, idC})
    EXPECT_EQ(
        rig.value(
            QStringLiteral("select messageID||是否已读 from msgmail where 邮件ID=%1").arg(id)),
        QStringLiteral("127.0.0.11"));
  EXPECT_EQ(queued(), 0);

  ASSERT_TRUE(kvtest::waitForMail(kUser, 3));
  QMap<QString, kvmail::ParsedMail> bySubject;
  for (const QString& path : kvtest::listMails(kUser)) {
    const kvmail::ParsedMail m = kvmail::readMailBytes(kvtest::readMail(path));
    bySubject.insert(m.subject, m);
  }
  ASSERT_EQ(bySubject.size(), 3);
  const kvmail::ParsedMail& quote = bySubject[QStringLiteral("报价单")];
  EXPECT_TRUE(quote.htmlBody.contains(QStringLiteral("您好，报价单")));
  ASSERT_EQ(quote.attachments.size(), 2);
  EXPECT_EQ(quote.attachments[0].fileName + u'|' + quote.attachments[1].fileName,
            QStringLiteral("报价单.xlsx|产品 目录.pdf"));
  EXPECT_EQ(quote.attachments[0].data, QByteArray(5000, '\x07'));
  // Only the To list reaches the sender, as it always has.
  EXPECT_EQ(kvmail::joinAddresses(quote.to) + u'|' + kvmail::joinAddresses(quote.cc),
            kvtest::addressOf(kUser) + u'|');
  EXPECT_EQ(kvtest::listMails(QStringLiteral("t12")).size(), 0);
  EXPECT_EQ(bySubject[QStringLiteral("紧急通知")].priority, 1);
  EXPECT_EQ(bySubject[QStringLiteral("普通信")].priority, 3);
}

TEST_F(SendQueue, ServerDownLeavesEveryMailQueued) {
  const quint16 closed = kvtest::closedPort();
  rig.host->executeBound(QStringLiteral("update mailaccount set masmtpport=?"), {closed});
  ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  queue(QStringLiteral("一"), 8);
  queue(QStringLiteral("二"), 9);
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(queued(), 2);
  EXPECT_EQ(errorRows(), 2);
  EXPECT_TRUE(firstError().contains(QStringLiteral("无法连接到SMTP服务器")) &&
              firstError().contains(QString::number(closed)))
      << firstError().toStdString();
  EXPECT_EQ(rowState(), QStringLiteral("失败"));
  EXPECT_EQ(rig.mail->transferWindow()->captionText(),
            QStringLiteral("处理请求的任务时出错。请复查下列错误列表以获取详细信息"));
}

TEST_F(SendQueue, ARejectedRecipientFailsOnlyItsMail) {
  queue(QStringLiteral("好"), 8);
  queue(QStringLiteral("坏"), 9, QStringLiteral("reject-me@kvmail.test"));
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), QStringLiteral("警告"));
  EXPECT_EQ(queued(), 1);
  EXPECT_EQ(errorRows(), 1);
  const QString reason = firstError();
  EXPECT_TRUE(reason.contains(QStringLiteral("550"))) << reason.toStdString();
  EXPECT_FALSE(reason.contains(kvtest::loopbackServers().password));
}

TEST_F(SendQueue, AFailingMarkStopsTheLoopWithoutReturnData) {
  queue(QStringLiteral("后"), 8);
  const long newest = queue(QStringLiteral("先"), 9);
  ASSERT_TRUE(
      rig.addTrigger(QStringLiteral("create trigger refuse_mark before update of 是否已读 "
                                    "on msgmail begin select raise(abort, 'marking "
                                    "refused'); end")));
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  ASSERT_TRUE(run());
  EXPECT_EQ(returned.size(), 0);
  // The newest went out but could not be marked; the loop left before the second one.
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  EXPECT_FALSE(kvtest::waitForMail(kUser, 2, 500)) << "the next mail was under way";
  EXPECT_EQ(rig.value(QStringLiteral("select messageID from msgmail where 邮件ID=%1").arg(newest)),
            QString());
  // Nobody is told it went well: the row, the error list, the caption and the end all say so.
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), QStringLiteral("失败"));
  ASSERT_EQ(errorRows(), 1);
  const QString reason = firstError();
  EXPECT_TRUE(reason.startsWith(QStringLiteral("第1封邮件已发出，但无法标记为已发送（")))
      << reason.toStdString();
  EXPECT_TRUE(reason.endsWith(QStringLiteral("下次发送时会再次发出；其余1封邮件未发送。")));
  EXPECT_EQ(rig.mail->transferWindow()->captionText(),
            QStringLiteral("处理请求的任务时出错。请复查下列错误列表以获取详细信息"));
}

TEST_F(SendQueue, StopEndsTheRunBetweenMails) {
  for (int i = 0; i < 5; ++i) queue(QStringLiteral("停%1").arg(i), i);
  auto* stop = rig.mail->transferWindow()->findChild<QPushButton*>(QStringLiteral("Cmd(1)"));
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvReturn, stop, [stop] {
    if (stop->isEnabled()) stop->click();
  });
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), QStringLiteral("取消"));
  EXPECT_EQ(queued(), 4);
  EXPECT_FALSE(kvtest::waitForMail(kUser, 2, 500)) << "the next mail was under way";
}

// Each mail is read from the store when its turn comes: one deleted meanwhile is skipped with a
// row in the error list, and the rest still go out.
TEST_F(SendQueue, AMailDeletedDuringTheRunIsSkipped) {
  const long oldest = queue(QStringLiteral("删"), 8);
  queue(QStringLiteral("留"), 9);
  onReturn([&] {
    rig.host->execute(QStringLiteral("delete from msgmail where 邮件ID=%1").arg(oldest));
  });
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), QStringLiteral("警告"));
  ASSERT_EQ(errorRows(), 1);
  EXPECT_EQ(firstError(), QStringLiteral("第2封邮件无法从数据库读取，未发送。"));
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  EXPECT_FALSE(kvtest::waitForMail(kUser, 2, 500)) << "the deleted mail went out";
}

// The next mail is read and written ahead while one is on the wire; saved again in the meantime,
// it goes out as it was saved last, never as it was read ahead.
TEST_F(SendQueue, AMailSavedAgainDuringTheRunGoesOutAsSaved) {
  const long older = queue(QStringLiteral("初稿"), 8);
  queue(QStringLiteral("先发"), 9);
  onReturn([&] {
    QByteArray bytes;
    QString error;
    ASSERT_TRUE(kvmail::writeMailBytes(mail(QStringLiteral("改过的定稿"), kvtest::addressOf(kUser)),
                                       &bytes, &error));
    ASSERT_TRUE(kvmail::bytesToColumn(older, bytes, kvmail::sql::messageColumn(), *rig.host,
                                      kvmail::sql::mailTable(), kvmail::sql::mailKey()));
  });
  ASSERT_TRUE(run());
  EXPECT_TRUE(ok);
  ASSERT_TRUE(kvtest::waitForMail(kUser, 2));
  QStringList subjects;
  for (const QString& path : kvtest::listMails(kUser))
    subjects << kvmail::readMailBytes(kvtest::readMail(path)).subject;
  subjects.sort();
  EXPECT_EQ(subjects, (QStringList{QStringLiteral("先发"), QStringLiteral("改过的定稿")}));
}
