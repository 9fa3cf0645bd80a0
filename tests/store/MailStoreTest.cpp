// The store's operations on a real SQLite store: batches go in whole or not at all, received
// mail goes in with its file, and what goes in reads back out the way the windows need it.
#include "RecordingHost.h"
#include "StoreRig.h"
#include "model/IBundle.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/MailError.h"
#include "store/FieldText.h"
#include "store/MailStore.h"
#include "store/QueuedBundle.h"
#include "store/Statements.h"
#include "store/StoredFile.h"

#include <QFile>

using kvmail::ComposedMail;
using kvmail::MailStore;
using kvmail::OutgoingMail;
using kvmail::StoreFailure;
using kvmail::StoreStep;

namespace {

class MailStoreTest : public kvtest::StoreTest {
 protected:
  OutgoingMail mail(const QString& subject, const QString& to) const {
    OutgoingMail m;
    m.from = {QStringLiteral("销售部 "), QStringLiteral("sales@kvmail.test")};
    m.to = {{QString(), to}, {QStringLiteral("王经理"), QStringLiteral("wang@kvmail.test")}};
    m.subject = subject;
    m.htmlBody = QStringLiteral("<p>正文</p>");
    return m;
  }
  ComposedMail composed(const OutgoingMail& m, int index, long replyKey = 0) const {
    return kvmail::composedMail(m, rig.path(QStringLiteral("temp%1.eml").arg(index)),
                                QStringLiteral("1"), replyKey);
  }
};

}  // namespace

TEST_F(MailStoreTest, ComposedBatchGoesInWithItsRowTextsAndFiles) {
  const MailStore store(*rig.host);
  StoreFailure failure;
  const QList<long> keys = store.storeComposed(
      {composed(mail(QStringLiteral("王's 报价"), QStringLiteral("a@kvmail.test")), 1),
       composed(mail(QStringLiteral("回复"), QStringLiteral("b@kvmail.test")), 2, 1)},
      &failure);
  ASSERT_FALSE(failure.failed()) << failure.error.toStdString();
  ASSERT_EQ(keys, (QList<long>{1, 2}));
  EXPECT_EQ(rig.row(QStringLiteral("select 主题,收件人邮箱,收件人,[E-MAIL],级次,回复ID,CshgnsID,"
                                   "优先级,附件,操作者 from msgmail where 邮件ID=1")),
            (QStringList{"王's 报价", "a@kvmail.test;wang@kvmail.test",
                         "a@kvmail.test;王经理<wang@kvmail.test>", "-1", "1", "1", "2", "1", "0",
                         "张三"}));
  // A reply: level 2, the replied mail's key, and the sender's text form in [E-MAIL].
  EXPECT_EQ(rig.row(QStringLiteral("select 级次,回复ID,[E-MAIL] from msgmail where 邮件ID=2")),
            (QStringList{"2", "1", "销售部 <sales@kvmail.test>"}));
  // The message files went into the rows and the temporary files are gone.
  EXPECT_FALSE(QFile::exists(rig.path(QStringLiteral("temp1.eml"))));
  const kvmail::ParsedMail back = store.readMessage(2, rig.path(QStringLiteral("2.eml")));
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.subject, QStringLiteral("回复"));
  EXPECT_EQ(rig.value(QStringLiteral("select 大小 from msgmail where 邮件ID=2")).toLongLong(),
            QFile(rig.path(QStringLiteral("2.eml"))).size());
}

TEST_F(MailStoreTest, AFailingMailOfABatchLeavesNothingStored) {
  const MailStore store(*rig.host);
  struct Case {
    const char* what;
    ComposedMail second;
    StoreStep step;
  };
  OutgoingMail missing = mail(QStringLiteral("附件"), QStringLiteral("c@kvmail.test"));
  missing.attachmentPaths = {rig.path(QStringLiteral("gone.pdf"))};
  const QList<Case> cases = {
      // A quote outside the subject breaks the insert, as it always did.
      {"quote in the recipients",
       composed(mail(QStringLiteral("二"), QStringLiteral("o'neil@kvmail.test")), 2),
       StoreStep::Insert},
      {"attachment vanished", composed(missing, 2), StoreStep::Write},
  };
  for (const Case& c : cases) {
    StoreFailure failure;
    const QList<long> keys = store.storeComposed(
        {composed(mail(QStringLiteral("一"), QStringLiteral("a@kvmail.test")), 1), c.second},
        &failure);
    EXPECT_TRUE(keys.isEmpty()) << c.what;
    EXPECT_EQ(failure.step, c.step) << c.what;
    EXPECT_EQ(failure.index, 2) << c.what;
    EXPECT_EQ(rig.count(), 0) << c.what;
  }
  // The store takes the next batch as if nothing had happened.
  StoreFailure failure;
  EXPECT_EQ(
      store
          .storeComposed({composed(mail(QStringLiteral("三"), QStringLiteral("d@x")), 1)}, &failure)
          .size(),
      1);
}

// The queue reads newest first until marked sent. It holds keys and reads each mail when asked
// for: a mail deleted after the queue was read comes back as nothing, to be skipped, never as a
// stale copy.
TEST_F(MailStoreTest, QueueReadsNewestFirstEachMailWhenAskedForUntilMarkedSent) {
  const MailStore store(*rig.host);
  StoreFailure failure;
  for (const char* subject : {"早", "晚", "删"})
    ASSERT_EQ(
        store
            .storeComposed(
                {composed(mail(QString::fromUtf8(subject), QStringLiteral("a@kvmail.test")), 1)},
                &failure)
            .size(),
        1);
  rig.host->execute(QStringLiteral("update msgmail set 发送时间='2020-01-0'||邮件ID||' 00:00:00'"));
  const kvmail::BundlePtr queue = store.readSendQueue();  // 3, 2, 1
  ASSERT_EQ(queue->Count(), 3);
  rig.host->execute(QStringLiteral("delete from msgmail where 邮件ID=3"));
  EXPECT_EQ(queue->Item(kvmail::IndexKey(1)), nullptr);
  ASSERT_NE(queue->Item(kvmail::IndexKey(2)), nullptr);
  EXPECT_EQ(queue->Item(kvmail::IndexKey(2))->Subject(), QStringLiteral("晚"));
  EXPECT_EQ(queue->Item(kvmail::IndexKey(2))->ID(), 2);
  EXPECT_EQ(queue->Item(kvmail::IndexKey(2))->TOs()->ToString(),
            QStringLiteral("a@kvmail.test;王经理<wang@kvmail.test>"));
  EXPECT_THROW(queue->Item(kvmail::IndexKey(4)), kvmail::MailError);
  EXPECT_THROW(queue->Clear(), kvmail::MailError);
  EXPECT_EQ(queue->Count(), 3);
  EXPECT_EQ(store.markSent(QStringLiteral("smtp.kvmail.test"), 2), QString());
  EXPECT_EQ(store.readSendQueue()->Count(), 1);
  EXPECT_EQ(rig.value(QStringLiteral("select messageid||是否已读 from msgmail where 邮件ID=2")),
            QStringLiteral("smtp.kvmail.test1"));
}

// A mail read ahead while another is on the wire is handed out at its turn without reading the
// store again, but only while its stored file is unchanged: saved again it is read afresh, and
// deleted it is nothing.
TEST_F(MailStoreTest, AMailReadAheadIsHandedOutOnlyWhileUnchanged) {
  kvtest::RecordingHost recording(*rig.host);
  const MailStore store(recording);
  StoreFailure failure;
  for (const char* subject : {"一", "二", "三"})
    store.storeComposed(
        {composed(mail(QString::fromUtf8(subject), QStringLiteral("a@kvmail.test")), 1)}, &failure);
  const auto queue = std::dynamic_pointer_cast<kvmail::QueuedBundle>(store.readSendQueue());
  ASSERT_TRUE(queue);
  ASSERT_EQ(queue->Count(), 3);
  QList<long> ids;
  for (long i = 1; i <= 3; ++i) ids << queue->Item(kvmail::IndexKey(i))->ID();

  queue->readAhead(kvmail::IndexKey(1));
  recording.calls.clear();
  const kvmail::MessagePtr ahead = queue->Item(kvmail::IndexKey(1));
  ASSERT_NE(ahead, nullptr);
  EXPECT_EQ(ahead->ID(), ids[0]);
  EXPECT_TRUE(recording.calls.isEmpty()) << recording.calls.join(',').toStdString();

  queue->readAhead(kvmail::IndexKey(2));
  const QString path = rig.path(QStringLiteral("saved-again.eml"));
  ASSERT_TRUE(store.messageToFile(ids[1], path));
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray again = file.readAll().replace("Subject:", "Subject: Re:");
  ASSERT_TRUE(kvmail::bytesToColumn(ids[1], again, kvmail::sql::messageColumn(), *rig.host,
                                    kvmail::sql::mailTable(), kvmail::sql::mailKey()));
  const kvmail::MessagePtr fresh = queue->Item(kvmail::IndexKey(2));
  ASSERT_NE(fresh, nullptr);
  EXPECT_TRUE(fresh->Subject().startsWith(QStringLiteral("Re:"))) << fresh->Subject().toStdString();

  queue->readAhead(kvmail::IndexKey(3));
  rig.host->execute(QStringLiteral("delete from msgmail where 邮件ID=%1").arg(ids[2]));
  EXPECT_EQ(queue->Item(kvmail::IndexKey(3)), nullptr);
  queue->readAhead(kvmail::IndexKey(9));  // out of range: nothing happens
}

TEST_F(MailStoreTest, ReceivedMailGoesInWithItsFileOrNotAtAll) {
  const MailStore store(*rig.host);
  const QByteArray bytes =
      "From: =?UTF-8?B?546L5LqU?= <wang@kvmail.test>\r\nTo: li@kvmail.test\r\n"
      "Subject: hello\r\nX-Priority: 1\r\n\r\nbody\r\n\r\n";
  kvmail::ReceivedMail received;
  received.header = kvmail::readMailBytes(bytes);
  received.uidl = QStringLiteral("uid-1");
  received.pop3Server = QStringLiteral("pop.kvmail.test");
  received.bytes = bytes;
  received.size = bytes.size();
  StoreFailure failure;
  const long id = store.storeReceived(received, &failure);
  ASSERT_EQ(id, 1) << failure.error.toStdString();
  EXPECT_TRUE(kvmail::isValidDateText(store.receivedTime(QStringLiteral("uid-1"))));
  EXPECT_EQ(store.storedSize(QStringLiteral("uid-1")), bytes.size());
  const auto header = store.header(id);
  ASSERT_TRUE(header.has_value());
  EXPECT_EQ(header->fromName, QStringLiteral("王五"));
  EXPECT_EQ(header->priority, 1);

  // A quote in the server id breaks the insert: no row, no file, and the step is named.
  received.uidl = QStringLiteral("it's");
  EXPECT_EQ(store.storeReceived(received, &failure), 0);
  EXPECT_EQ(failure.step, StoreStep::Insert);
  EXPECT_EQ(rig.count(), 1);
}

TEST_F(MailStoreTest, KnownAddressesAreSendersOfReceivedAndRecipientsOfComposedMail) {
  const auto insert = [&](int id, int direction, const QString& from, const QString& to) {
    rig.host->executeBound(
        QStringLiteral(
            "insert into msgmail(邮件ID,CshgnsID,发件人邮箱,收件人邮箱) values(?,?,?,?)"),
        {id, direction, from, to});
  };
  insert(1, 1, QStringLiteral("zhao@x"), QStringLiteral("me@x"));
  insert(2, 2, QStringLiteral("me@x"), QStringLiteral("qian@x"));
  insert(3, 1, QStringLiteral("qian@x"), QStringLiteral("me@x"));
  EXPECT_EQ(MailStore(*rig.host).knownAddresses(), (QStringList{"qian@x", "zhao@x"}));
}

TEST_F(MailStoreTest, LookupsReadNullsAndMissingRowsAsEmpty) {
  ASSERT_EQ(rig.seedProgram(3, QStringLiteral("订单")), QString());
  ASSERT_EQ(rig.host->execute(QStringLiteral("insert into xt_objects(progID) values(4)")),
            QString());
  const MailStore store(*rig.host);
  EXPECT_EQ(store.programName(3), QStringLiteral("订单"));
  EXPECT_EQ(store.programName(4), QString());
  EXPECT_EQ(store.programName(5), QString());
  EXPECT_EQ(store.receivedTime(QStringLiteral("nosuch")), QString());
  EXPECT_EQ(store.storedSize(QStringLiteral("nosuch")), 0);
  ASSERT_EQ(rig.host->execute(QStringLiteral("drop table xt_objects")), QString());
  EXPECT_EQ(store.programName(3), QString());  // a failed query reads as empty too
}
