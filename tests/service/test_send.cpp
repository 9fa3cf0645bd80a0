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

const QString kUser = u"t11"_s;

class SendQueue : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    ASSERT_TRUE(kvtest::clearMailbox(u"t12"_s));
    rig.seedAccount(true, false, u"发送测试"_s);
    rig.useLoopback(kUser);
    ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  }

  static kvmail::OutgoingMail mail(const QString& subject, const QString& to) {
    kvmail::OutgoingMail m;
    m.from = {u"销售部"_s, u"sales@kvmail.test"_s};
    m.to = {{u"客户"_s, to}};
    m.cc = {{QString(), kvtest::addressOf(u"t12"_s)}};
    m.subject = subject;
    m.htmlBody = u"<p>您好，%1</p>"_s.arg(subject);
    return m;
  }
  // Queues a mail (to the test mailbox unless to is given) dated at hour of one day; its key.
  long queue(const QString& subject, int hour, const QString& to = {}) {
    return rig.queueMail(mail(subject, to.isEmpty() ? kvtest::addressOf(kUser) : to),
                         u"2026-11-20 %1:00:00"_s.arg(hour, 2, 10, QLatin1Char('0')));
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
    return rig.mail->transferWindow()->findChild<QTreeWidget*>(u"LV(%1)"_s.arg(index));
  }
  QString rowState() { return list(0)->topLevelItem(0)->text(1); }
  int errorRows() { return list(1)->topLevelItemCount(); }
  QString firstError() { return list(1)->topLevelItem(0)->text(0); }
  // The mails that arrived in the test mailbox, by subject.
  QMap<QString, kvmail::ParsedMail> arrived() {
    QMap<QString, kvmail::ParsedMail> bySubject;
    for (const QString& path : kvtest::listMails(kUser)) {
      const kvmail::ParsedMail m = kvmail::readMailBytes(kvtest::readMail(path));
      bySubject.insert(m.subject, m);
    }
    return bySubject;
  }

  ServiceRig rig;
  bool ok = false;
};

}  // namespace

// Order, marking and the events of a send are the store's, the composer's round trip's and the
// service's tests; what only the send loop decides is what it hands the sender: the To list
// alone, as it always has, and the priority.
TEST_F(SendQueue, OnlyTheToListAndThePriorityReachTheSender) {
  kvmail::OutgoingMail urgent = mail(u"紧急通知"_s, kvtest::addressOf(kUser));
  urgent.headerPriority = 1;
  rig.queueMail(urgent, u"2026-11-20 08:00:00"_s);
  ASSERT_TRUE(run());
  EXPECT_TRUE(ok);
  EXPECT_EQ(queued(), 0);
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  const kvmail::ParsedMail sent = arrived().value(u"紧急通知"_s);
  EXPECT_EQ(kvmail::joinAddresses(sent.to) + u'|' + kvmail::joinAddresses(sent.cc),
            kvtest::addressOf(kUser) + u'|');
  EXPECT_EQ(kvtest::listMails(u"t12"_s).size(), 0);  // the Cc never got it
  EXPECT_EQ(sent.priority, 1);
}

TEST_F(SendQueue, ARejectedRecipientFailsOnlyItsMail) {
  queue(u"好"_s, 8);
  queue(u"坏"_s, 9, u"reject-me@kvmail.test"_s);
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), u"警告"_s);
  EXPECT_EQ(queued(), 1);
  EXPECT_EQ(errorRows(), 1);
  const QString reason = firstError();
  EXPECT_TRUE(reason.contains(u"550"_s)) << reason.toStdString();
  EXPECT_FALSE(reason.contains(kvtest::loopbackServers().password));
}

TEST_F(SendQueue, AFailingMarkStopsTheLoopWithoutReturnData) {
  queue(u"后"_s, 8);
  const long newest = queue(u"先"_s, 9);
  ASSERT_TRUE(
      rig.addTrigger(u"create trigger refuse_mark before update of 是否已读 on msgmail "
                     "begin select raise(abort, 'marking refused'); end"_s));
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  ASSERT_TRUE(run());
  EXPECT_EQ(returned.size(), 0);
  // The newest went out but could not be marked; the loop left before the second one.
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  EXPECT_FALSE(kvtest::waitForMail(kUser, 2, 500)) << "the next mail was under way";
  EXPECT_EQ(rig.value(u"select messageID from msgmail where 邮件ID=%1"_s.arg(newest)), QString());
  // Nobody is told it went well: the row, the error list, the caption and the end all say so.
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), u"失败"_s);
  ASSERT_EQ(errorRows(), 1);
  const QString reason = firstError();
  EXPECT_TRUE(reason.startsWith(u"第1封邮件已发出，但无法标记为已发送（"_s))
      << reason.toStdString();
  EXPECT_TRUE(reason.endsWith(u"下次发送时会再次发出；其余1封邮件未发送。"_s));
  EXPECT_EQ(rig.mail->transferWindow()->captionText(),
            u"处理请求的任务时出错。请复查下列错误列表以获取详细信息"_s);
}

TEST_F(SendQueue, StopEndsTheRunBetweenMails) {
  for (int i = 0; i < 5; ++i) queue(u"停%1"_s.arg(i), i);
  auto* stop = rig.mail->transferWindow()->findChild<QPushButton*>(u"Cmd(1)"_s);
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvReturn, stop, [stop] {
    if (stop->isEnabled()) stop->click();
  });
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), u"取消"_s);
  EXPECT_EQ(queued(), 4);
  EXPECT_FALSE(kvtest::waitForMail(kUser, 2, 500)) << "the next mail was under way";
}

// Each mail is read from the store when its turn comes, the next one read and written ahead
// while one is on the wire. Saved again meanwhile, it goes out as saved last, never as read ahead;
// deleted meanwhile, it is skipped with a row in the error list, and the rest still go out.
TEST_F(SendQueue, AMailSavedAgainOrDeletedDuringTheRunGoesOutAsItNowIs) {
  const long deleted = queue(u"删"_s, 8);
  const long saved = queue(u"初稿"_s, 9);
  queue(u"先发"_s, 10);
  // After each mail; what it does again after the second changes nothing.
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvReturn, rig.mail.get(), [&] {
    QByteArray bytes;
    QString error;
    ASSERT_TRUE(
        kvmail::writeMailBytes(mail(u"改过的定稿"_s, kvtest::addressOf(kUser)), &bytes, &error));
    ASSERT_TRUE(kvmail::bytesToColumn(saved, bytes, kvmail::sql::messageColumn(), *rig.host,
                                      kvmail::sql::mailTable(), kvmail::sql::mailKey()));
    rig.host->execute(u"delete from msgmail where 邮件ID=%1"_s.arg(deleted));
  });
  ASSERT_TRUE(run());
  EXPECT_FALSE(ok);
  EXPECT_EQ(rowState(), u"警告"_s);
  ASSERT_EQ(errorRows(), 1);
  EXPECT_EQ(firstError(), u"第3封邮件无法从数据库读取，未发送。"_s);
  ASSERT_TRUE(kvtest::waitForMail(kUser, 2));
  EXPECT_FALSE(kvtest::waitForMail(kUser, 3, 500)) << "the deleted mail went out";
  EXPECT_EQ(arrived().keys(), (QStringList{u"先发"_s, u"改过的定稿"_s}));
}
