// The store's operations on a real SQLite store: batches go in whole or not at all, received
// mail goes in with its file, and what goes in reads back out the way the windows need it.
#include "HostStore.h"
#include "TestEnv.h"
#include "model/IBundle.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "store/FieldText.h"
#include "store/MailStore.h"
#include "store/Statements.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using kvmail::ComposedMail;
using kvmail::MailStore;
using kvmail::OutgoingMail;
using kvmail::StoreFailure;
using kvmail::StoreStep;
using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

namespace {

class MailStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    oldTmp_ = qgetenv("TMPDIR");
    qputenv("TMPDIR", dir_.path().toUtf8());
    HostOptions o = HostOptions::sqlite(dir_.filePath(QStringLiteral("store.db")));
    o.operatorName = QStringLiteral("张三");
    host_ = std::make_unique<SqlHostSystem>(o);
    ASSERT_EQ(host_->open(), QString());
  }
  void TearDown() override { qputenv("TMPDIR", oldTmp_); }

  OutgoingMail mail(const QString& subject, const QString& to) const {
    OutgoingMail m;
    m.from = {QStringLiteral("销售部 "), QStringLiteral("sales@kvmail.test")};
    m.to = {{QString(), to}, {QStringLiteral("王经理"), QStringLiteral("wang@kvmail.test")}};
    m.subject = subject;
    m.htmlBody = QStringLiteral("<p>正文</p>");
    return m;
  }
  ComposedMail composed(const OutgoingMail& m, int index, long replyKey = 0) const {
    return kvmail::composedMail(m, dir_.filePath(QStringLiteral("temp%1.eml").arg(index)),
                                QStringLiteral("1"), replyKey);
  }
  QString value(const QString& sql) const {
    const auto rs = host_->openQuery(sql);
    return rs && !rs->atEnd() ? rs->text(0) : QString();
  }
  int rows() const { return value(QStringLiteral("select count(*) from msgmail")).toInt(); }

  QTemporaryDir dir_;
  QByteArray oldTmp_;
  std::unique_ptr<SqlHostSystem> host_;
};

}  // namespace

TEST_F(MailStoreTest, ComposedBatchGoesInWithItsRowTextsAndFiles) {
  const MailStore store(*host_);
  StoreFailure failure;
  const QList<long> keys = store.storeComposed(
      {composed(mail(QStringLiteral("王's 报价"), QStringLiteral("a@kvmail.test")), 1),
       composed(mail(QStringLiteral("回复"), QStringLiteral("b@kvmail.test")), 2, 1)},
      &failure);
  ASSERT_FALSE(failure.failed()) << failure.error.toStdString();
  ASSERT_EQ(keys, (QList<long>{1, 2}));
  const QString first = QStringLiteral(" from msgmail where 邮件ID=1");
  EXPECT_EQ(value(QStringLiteral("select 主题") + first), QStringLiteral("王's 报价"));
  EXPECT_EQ(value(QStringLiteral("select 收件人邮箱") + first),
            QStringLiteral("a@kvmail.test;wang@kvmail.test"));
  EXPECT_EQ(value(QStringLiteral("select 收件人") + first),
            QStringLiteral("a@kvmail.test;王经理<wang@kvmail.test>"));
  EXPECT_EQ(value(QStringLiteral("select [E-MAIL]") + first), QStringLiteral("-1"));
  EXPECT_EQ(value(QStringLiteral("select 级次||回复ID||CshgnsID||优先级||附件") + first),
            QStringLiteral("11210"));
  EXPECT_EQ(value(QStringLiteral("select 操作者") + first), QStringLiteral("张三"));
  // A reply: level 2, the replied mail's key, and the sender's text form in [E-MAIL].
  const QString second = QStringLiteral(" from msgmail where 邮件ID=2");
  EXPECT_EQ(value(QStringLiteral("select 级次||'/'||回复ID") + second), QStringLiteral("2/1"));
  EXPECT_EQ(value(QStringLiteral("select [E-MAIL]") + second),
            QStringLiteral("销售部 <sales@kvmail.test>"));
  // The message files went into the rows and the temporary files are gone.
  EXPECT_FALSE(QFile::exists(dir_.filePath(QStringLiteral("temp1.eml"))));
  const kvmail::ParsedMail back = store.readMessage(2, dir_.filePath(QStringLiteral("2.eml")));
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.subject, QStringLiteral("回复"));
  EXPECT_EQ(value(QStringLiteral("select 大小") + second).toLongLong(),
            QFile(dir_.filePath(QStringLiteral("2.eml"))).size());
}

TEST_F(MailStoreTest, AFailingMailOfABatchLeavesNothingStored) {
  const MailStore store(*host_);
  struct Case {
    const char* what;
    ComposedMail second;
    StoreStep step;
  };
  OutgoingMail missing = mail(QStringLiteral("附件"), QStringLiteral("c@kvmail.test"));
  missing.attachmentPaths = {dir_.filePath(QStringLiteral("gone.pdf"))};
  const QList<Case> cases = {
      // A quote outside the subject breaks the insert, as it always did.
      {"quote in the recipients",
       composed(mail(QStringLiteral("二"), QStringLiteral("o'neil@kvmail.test")), 2), StoreStep::Insert},
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
    EXPECT_EQ(rows(), 0) << c.what;
  }
  // The store takes the next batch as if nothing had happened.
  StoreFailure failure;
  EXPECT_EQ(store.storeComposed({composed(mail(QStringLiteral("三"), QStringLiteral("d@x")), 1)},
                                &failure)
                .size(),
            1);
}

TEST_F(MailStoreTest, QueueReadsNewestFirstUntilMarkedSent) {
  const MailStore store(*host_);
  StoreFailure failure;
  for (const char* subject : {"早", "晚"}) {
    ASSERT_EQ(store.storeComposed({composed(mail(QString::fromUtf8(subject),
                                                 QStringLiteral("a@kvmail.test")),
                                            1)},
                                  &failure)
                  .size(),
              1);
  }
  host_->execute(QStringLiteral("update msgmail set 发送时间='2020-01-01 00:00:00' where 邮件ID=1"));
  const kvmail::BundlePtr queue = store.readSendQueue();
  ASSERT_EQ(queue->Count(), 2);
  EXPECT_EQ(queue->Item(kvmail::IndexKey(1))->Subject(), QStringLiteral("晚"));
  EXPECT_EQ(queue->Item(kvmail::IndexKey(1))->ID(), 2);
  EXPECT_EQ(queue->Item(kvmail::IndexKey(1))->TOs()->ToString(),
            QStringLiteral("a@kvmail.test;王经理<wang@kvmail.test>"));
  EXPECT_EQ(store.markSent(QStringLiteral("smtp.kvmail.test"), 2), QString());
  EXPECT_EQ(store.readSendQueue()->Count(), 1);
  EXPECT_EQ(value(QStringLiteral("select messageid||是否已读 from msgmail where 邮件ID=2")),
            QStringLiteral("smtp.kvmail.test1"));
}

TEST_F(MailStoreTest, ReceivedMailGoesInWithItsFileOrNotAtAll) {
  const MailStore store(*host_);
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
  EXPECT_EQ(rows(), 1);
}

TEST_F(MailStoreTest, KnownAddressesAreSendersOfReceivedAndRecipientsOfComposedMail) {
  const auto insert = [&](int id, int direction, const QString& from, const QString& to) {
    host_->executeBound(
        QStringLiteral("insert into msgmail(邮件ID,CshgnsID,发件人邮箱,收件人邮箱) values(?,?,?,?)"),
        {id, direction, from, to});
  };
  insert(1, 1, QStringLiteral("zhao@x"), QStringLiteral("me@x"));
  insert(2, 2, QStringLiteral("me@x"), QStringLiteral("qian@x"));
  insert(3, 1, QStringLiteral("qian@x"), QStringLiteral("me@x"));
  EXPECT_EQ(MailStore(*host_).knownAddresses(), (QStringList{"qian@x", "zhao@x"}));
}
