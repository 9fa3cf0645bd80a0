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
    m.from = {u"销售部 "_s, u"sales@kvmail.test"_s};
    m.to = {{QString(), to}, {u"王经理"_s, u"wang@kvmail.test"_s}};
    m.subject = subject;
    m.htmlBody = u"<p>正文</p>"_s;
    return m;
  }
  ComposedMail composed(const OutgoingMail& m, int index, long replyKey = 0) const {
    return kvmail::composedMail(m, rig.path(u"temp%1.eml"_s.arg(index)), u"1"_s, replyKey);
  }
};

}  // namespace

TEST_F(MailStoreTest, ComposedBatchGoesInWithItsRowTextsAndFiles) {
  const MailStore store(*rig.host);
  StoreFailure failure;
  const QList<long> keys =
      store.storeComposed({composed(mail(u"王's 报价"_s, u"a@kvmail.test"_s), 1),
                           composed(mail(u"回复"_s, u"b@kvmail.test"_s), 2, 1)},
                          &failure);
  ASSERT_FALSE(failure.failed()) << failure.error.toStdString();
  ASSERT_EQ(keys, (QList<long>{1, 2}));
  EXPECT_EQ(rig.row(u"select 主题,收件人邮箱,收件人,[E-MAIL],级次,回复ID,CshgnsID,"
                    "优先级,附件,操作者 from msgmail where 邮件ID=1"_s),
            (QStringList{"王's 报价", "a@kvmail.test;wang@kvmail.test",
                         "a@kvmail.test;王经理<wang@kvmail.test>", "-1", "1", "1", "2", "1", "0",
                         "张三"}));
  // A reply: level 2, the replied mail's key, and the sender's text form in [E-MAIL].
  EXPECT_EQ(rig.row(u"select 级次,回复ID,[E-MAIL] from msgmail where 邮件ID=2"_s),
            (QStringList{"2", "1", "销售部 <sales@kvmail.test>"}));
  // The message files went into the rows and the temporary files are gone.
  EXPECT_FALSE(QFile::exists(rig.path(u"temp1.eml"_s)));
  const kvmail::ParsedMail back = store.readMessage(2, rig.path(u"2.eml"_s));
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.subject, u"回复"_s);
  EXPECT_EQ(rig.value(u"select 大小 from msgmail where 邮件ID=2"_s).toLongLong(),
            QFile(rig.path(u"2.eml"_s)).size());
}

TEST_F(MailStoreTest, AFailingMailOfABatchLeavesNothingStored) {
  const MailStore store(*rig.host);
  struct Case {
    const char* what;
    ComposedMail second;
    StoreStep step;
  };
  OutgoingMail missing = mail(u"附件"_s, u"c@kvmail.test"_s);
  missing.attachmentPaths = {rig.path(u"gone.pdf"_s)};
  const QList<Case> cases = {
      // A quote outside the subject breaks the insert, as it always did.
      {"quote in the recipients", composed(mail(u"二"_s, u"o'neil@kvmail.test"_s), 2),
       StoreStep::Insert},
      {"attachment vanished", composed(missing, 2), StoreStep::Write},
  };
  for (const Case& c : cases) {
    StoreFailure failure;
    const QList<long> keys =
        store.storeComposed({composed(mail(u"一"_s, u"a@kvmail.test"_s), 1), c.second}, &failure);
    EXPECT_TRUE(keys.isEmpty()) << c.what;
    EXPECT_EQ(failure.step, c.step) << c.what;
    EXPECT_EQ(failure.index, 2) << c.what;
    EXPECT_EQ(rig.count(), 0) << c.what;
  }
  // The store takes the next batch as if nothing had happened.
  StoreFailure failure;
  EXPECT_EQ(store.storeComposed({composed(mail(u"三"_s, u"d@x"_s), 1)}, &failure).size(), 1);
}

// The queue reads newest first. It holds keys and reads each mail when asked for: a mail deleted
// after the queue was read comes back as nothing, to be skipped, never as a stale copy.
TEST_F(MailStoreTest, QueueReadsNewestFirstEachMailWhenAskedFor) {
  const MailStore store(*rig.host);
  StoreFailure failure;
  ASSERT_EQ(store
                .storeComposed({composed(mail(u"早"_s, u"a@kvmail.test"_s), 1),
                                composed(mail(u"晚"_s, u"a@kvmail.test"_s), 2),
                                composed(mail(u"删"_s, u"a@kvmail.test"_s), 3)},
                               &failure)
                .size(),
            3);
  rig.host->execute(u"update msgmail set 发送时间='2020-01-0'||邮件ID||' 00:00:00'"_s);
  const kvmail::BundlePtr queue = store.readSendQueue();  // 3, 2, 1
  ASSERT_EQ(queue->Count(), 3);
  rig.host->execute(u"delete from msgmail where 邮件ID=3"_s);
  EXPECT_EQ(queue->Item(kvmail::IndexKey(1)), nullptr);
  const kvmail::MessagePtr second = queue->Item(kvmail::IndexKey(2));
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(second->Subject() + QString::number(second->ID()), u"晚2"_s);
  EXPECT_EQ(second->TOs()->ToString(), u"a@kvmail.test;王经理<wang@kvmail.test>"_s);
  EXPECT_THROW(queue->Item(kvmail::IndexKey(4)), kvmail::MailError);
  EXPECT_THROW(queue->Clear(), kvmail::MailError);  // like every bundle, and keeps its mails
  EXPECT_EQ(queue->Count(), 3);
}

// A mail read ahead while another is on the wire is handed out at its turn without reading the
// store again. (Saved again meanwhile it goes out as saved, and deleted it is skipped: the send
// run's tests, which hold the read-ahead's other half.)
TEST_F(MailStoreTest, AMailReadAheadIsHandedOutWithoutReadingTheStoreAgain) {
  kvtest::RecordingHost recording(*rig.host);
  const MailStore store(recording);
  StoreFailure failure;
  ASSERT_EQ(store.storeComposed({composed(mail(u"一"_s, u"a@kvmail.test"_s), 1)}, &failure).size(),
            1);
  const auto queue = std::dynamic_pointer_cast<kvmail::QueuedBundle>(store.readSendQueue());
  ASSERT_TRUE(queue);
  ASSERT_NE(queue->readAhead(kvmail::IndexKey(1)), nullptr);
  recording.calls.clear();
  const kvmail::MessagePtr ahead = queue->Item(kvmail::IndexKey(1));
  ASSERT_NE(ahead, nullptr);
  EXPECT_EQ(ahead->Subject(), u"一"_s);
  EXPECT_TRUE(recording.calls.isEmpty()) << recording.calls.join(',').toStdString();
}

TEST_F(MailStoreTest, ReceivedMailGoesInWithItsFileOrNotAtAll) {
  const MailStore store(*rig.host);
  const QByteArray bytes =
      "From: wang@kvmail.test\r\nTo: li@kvmail.test\r\nSubject: hello\r\n\r\nbody\r\n";
  kvmail::ReceivedMail received;
  received.header = kvmail::readMailBytes(bytes);
  received.uidl = u"uid-1"_s;
  received.pop3Server = u"pop.kvmail.test"_s;
  received.bytes = bytes;
  received.size = bytes.size();
  StoreFailure failure;
  const long id = store.storeReceived(received, &failure);
  ASSERT_EQ(id, 1) << failure.error.toStdString();
  EXPECT_TRUE(kvmail::isValidDateText(store.receivedTime(u"uid-1"_s)));
  EXPECT_EQ(store.storedSize(u"uid-1"_s), bytes.size());
  EXPECT_EQ(store.readMessage(id, rig.path(u"1.eml"_s)).subject, u"hello"_s);

  // A quote in the server id breaks the insert: no row, no file, and the step is named. (The
  // receive run that stops there is the corpus test's.)
  received.uidl = u"it's"_s;
  EXPECT_EQ(store.storeReceived(received, &failure), 0);
  EXPECT_EQ(failure.step, StoreStep::Insert);
  EXPECT_EQ(rig.count(), 1);
}
