// Receiving from the real Dovecot on loopback: what reaches the store, and a stop mid-run. What
// stays on the server under each delete policy is the crash test's.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "LoopbackServers.h"
#include "TestEnv.h"
#include "TransferRig.h"
#include "transfer/Pop3Session.h"

using kvtest::TransferRig;

namespace {

const QString kUser = u"t10"_s;

class ReceiveFromDovecot : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    rig.useLoopback(kUser);
  }
  TransferRig rig;
};

}  // namespace

TEST_F(ReceiveFromDovecot, OneMailIsStoredWithEveryColumnAndNoMailboxTotals) {
  const QByteArray mail = kvtest::sampleMail(u"一封信"_s);
  kvtest::dropMail(kUser, mail);
  QSignalSpy read(&rig.run(), &kvmail::TransferRun::EvMailRead);
  ASSERT_TRUE(rig.receive());
  EXPECT_TRUE(rig.lastOk());
  EXPECT_FALSE(rig.log().contains(u"New mail : "_s));
  EXPECT_FALSE(rig.log().contains(u"mail total sizes : "_s));
  ASSERT_EQ(rig.count(), 1);
  ASSERT_EQ(read.size(), 1);
  const long id = read.first().first().toLongLong();
  const QString where = u" from msgmail where 邮件ID=%1"_s.arg(id);
  EXPECT_EQ(
      rig.row(u"select 主题,发件人,发件人邮箱,收件人邮箱,[E-MAIL],messageID,"
              "CshgnsID,是否已读,回复ID,操作者,附件"_s +
              where),
      (QStringList{"一封信", "王五", "wang@kvmail.test", "lisi@kvmail.test;zhao@kvmail.test",
                   "copy@kvmail.test", "127.0.0.1", "1", "0", QString::number(id), "张三", "0"}));
  EXPECT_EQ(rig.value(u"select UIDL"_s + where).size(), 16);
  // The stored file is the mail as served plus the line break it was written with.
  EXPECT_EQ(rig.storedMessage(id), mail + "\r\n");
  EXPECT_EQ(rig.value(u"select 大小"_s + where).toLongLong(), mail.size() + 2);
  // The temp file is gone once the mail is stored.
  EXPECT_FALSE(QFile::exists(rig.folder() + u"/temp.eml"_s));
}

// Dot-stuffed lines are kept as they came, a lone "." line does not end the mail early, and a
// 20 MB mail arrives whole.
TEST_F(ReceiveFromDovecot, DotLinesAndA20MbMailArriveWhole) {
  kvtest::dropMail(kUser, kvtest::sampleMail(u"点行"_s, ".hidden\r\n..two\r\n.\r\nafter\r\n"));
  QByteArray big = kvtest::sampleMail(u"大邮件"_s, QByteArray());
  const QByteArray line = QByteArray(76, 'A') + "\r\n";
  while (big.size() < 20 * 1024 * 1024) big += line;
  kvtest::dropMail(kUser, big);

  ASSERT_TRUE(rig.receive(120000));
  EXPECT_TRUE(rig.lastOk());
  EXPECT_TRUE(rig.log().contains(u"New mail : 2"_s));
  const long dots = rig.value(u"select 邮件ID from msgmail where 主题='点行'"_s).toLong();
  EXPECT_TRUE(rig.storedMessage(dots).contains("\r\n..hidden\r\n...two\r\n..\r\nafter\r\n"));
  const long bigId = rig.value(u"select 邮件ID from msgmail where 主题='大邮件'"_s).toLong();
  EXPECT_EQ(rig.storedMessage(bigId), big + "\r\n");
}

TEST_F(ReceiveFromDovecot, StopQuitsAtTheNextUidlAndTheRestComesNextTime) {
  for (int i = 0; i < 12; ++i)
    kvtest::dropMail(kUser, kvtest::sampleMail(u"s%1"_s.arg(i), QByteArray(20000, 'z') + "\r\n"));
  const auto connection = QObject::connect(&rig.run(), &kvmail::TransferRun::EvMailRead, [&] {
    if (rig.view().stopEnabled) rig.run().stop();
  });
  ASSERT_TRUE(rig.receive());
  EXPECT_FALSE(rig.lastOk());
  EXPECT_EQ(rig.count(), 1);
  EXPECT_EQ(rig.taskState(1), u"取消"_s);
  EXPECT_EQ(rig.summary(), u"已完成 0 项任务(共 1 项)"_s);

  QObject::disconnect(connection);
  ASSERT_TRUE(rig.receive());
  EXPECT_EQ(rig.count(), 12);
}
