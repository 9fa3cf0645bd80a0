// Every catalogue statement run against a real store, with the results the module relies on.
#include "HostBackend.h"
#include "HostStore.h"
#include "store/FieldText.h"
#include "store/Statements.h"

using kvmail::firstValue;
using kvmail::host::AccountSeed;
using kvmail::host::seedAccount;
using kvmail::host::seedProgram;
using kvtest::HostStoreTest;
namespace sql = kvmail::sql;

namespace {

sql::ComposedRow composed(long id) {
  sql::ComposedRow r;
  r.mailId = id;
  r.fromName = QStringLiteral("王五");
  r.subject = QStringLiteral("报价");
  r.sentTime = QDateTime(QDate(2024, 3, id % 28 + 1), QTime(9, 0, 0));
  r.toAddresses = QStringLiteral("to%1@example.com").arg(id);
  r.fromAddress = QStringLiteral("me@example.com");
  r.toNames = QStringLiteral("客户 <to%1@example.com>").arg(id);
  r.email = QStringLiteral("-1");
  r.operatorName = QStringLiteral("张三");
  r.replyId = id;
  r.size = 123;
  return r;
}

sql::ReceivedRow received(long id, const QString& uidl) {
  sql::ReceivedRow r;
  r.mailId = id;
  r.fromName = QStringLiteral("客户");
  r.subject = QStringLiteral("回复");
  r.sentTime = QDateTime(QDate(2024, 4, 1), QTime(8, 30, 0));
  r.toAddresses = QStringLiteral("me@example.com");
  r.fromAddress = QStringLiteral("sender%1@example.com").arg(id);
  r.toNames = QStringLiteral("me@example.com");
  r.receivedTime = QDateTime(QDate(2024, 4, 2), QTime(10, 0, 0));
  r.operatorName = QStringLiteral("张三");
  r.messageId = QStringLiteral("pop.example.com");
  r.uidl = uidl;
  r.replyId = id;
  r.size = 456;
  return r;
}

QStringList column(kvmail::IHostSystem& host, const QString& query) {
  QStringList out;
  auto rs = host.openQuery(query);
  EXPECT_TRUE(rs) << query.toStdString();
  if (!rs) return out;
  for (; !rs->atEnd(); rs->moveNext()) out << rs->text(0);
  return out;
}

}  // namespace

using Catalogue = HostStoreTest;

TEST_F(Catalogue, AccountOfTheUserThenTheDefault) {
  AccountSeed mine;
  mine.maid = 1;
  mine.userId = QStringLiteral("7");
  mine.name = QStringLiteral("mine");
  ASSERT_EQ(seedAccount(*host_, mine), QString());
  AccountSeed fallback;
  fallback.maid = 2;
  fallback.isDefault = true;
  fallback.name = QStringLiteral("default");
  ASSERT_EQ(seedAccount(*host_, fallback), QString());

  EXPECT_EQ(column(*host_, sql::accountForUser(QStringLiteral("7"))), QStringList{"mine"});
  EXPECT_TRUE(column(*host_, sql::accountForUser(QStringLiteral("8"))).isEmpty());
  EXPECT_EQ(column(*host_, sql::defaultAccount()), QStringList{"default"});
  auto rs = host_->openQuery(sql::defaultAccount());
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->fieldCount(), 13);
}

TEST_F(Catalogue, QueueHoldsOnlyActiveUndeletedUnsentComposedMailNewestFirst) {
  for (long id = 1; id <= 5; ++id)
    ASSERT_EQ(host_->execute(sql::insertComposed(composed(id))), QString());
  ASSERT_EQ(host_->execute(sql::insertReceived(received(6, QStringLiteral("u6")))), QString());
  ASSERT_EQ(host_->execute(QStringLiteral("update msgmail set del=1 where 邮件ID=2")), QString());
  ASSERT_EQ(host_->execute(QStringLiteral("update msgmail set active=0 where 邮件ID=3")),
            QString());
  ASSERT_EQ(host_->execute(QStringLiteral("update msgmail set del=null where 邮件ID=4")),
            QString());
  EXPECT_EQ(column(*host_, sql::sendQueue()), (QStringList{"5", "4", "1"}));

  ASSERT_EQ(host_->execute(sql::markSent(QStringLiteral("smtp.example.com"), 5)), QString());
  EXPECT_EQ(column(*host_, sql::sendQueue()), (QStringList{"4", "1"}));
  auto rs =
      host_->openQuery(QStringLiteral("select messageID,是否已读 from msgmail where 邮件ID=5"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("messageid")), QStringLiteral("smtp.example.com"));
  EXPECT_EQ(rs->text(QStringLiteral("是否已读")), QStringLiteral("1"));
}

TEST_F(Catalogue, ComposedRowReadsBackWithItsSubjectQuoteIntact) {
  sql::ComposedRow r = composed(9);
  r.subject = QStringLiteral("It's O'Brien's offer");
  r.priority = QStringLiteral("1");
  r.attachments = 1;
  r.level = 2;
  r.replyId = 3;
  ASSERT_EQ(host_->execute(sql::insertComposed(r)), QString());
  auto rs = host_->openQuery(sql::mailHeader(9));
  ASSERT_TRUE(rs);
  ASSERT_FALSE(rs->isEmpty());
  EXPECT_EQ(rs->text(QStringLiteral("主题")), r.subject);
  EXPECT_EQ(rs->text(QStringLiteral("收件人")), r.toNames);
  EXPECT_EQ(rs->text(QStringLiteral("发件人")), QStringLiteral("王五"));
  EXPECT_EQ(rs->text(QStringLiteral("发件人邮箱")), QStringLiteral("me@example.com"));
  EXPECT_EQ(rs->text(QStringLiteral("发送时间")), QStringLiteral("2024-03-10 09:00:00"));
  EXPECT_EQ(rs->text(QStringLiteral("优先级")), QStringLiteral("1"));
  EXPECT_EQ(rs->text(QStringLiteral("附件")), QStringLiteral("1"));
  auto more = host_->openQuery(QStringLiteral(
      "select 级次,接收时间,CshgnsID,回复ID,大小,[E-MAIL],权限,帐户 from msgmail where 邮件ID=9"));
  ASSERT_TRUE(more);
  EXPECT_EQ(more->text(QStringLiteral("级次")), QStringLiteral("2"));
  EXPECT_EQ(more->text(QStringLiteral("接收时间")), QString());
  EXPECT_FALSE(more->isNull(QStringLiteral("接收时间")));
  EXPECT_EQ(more->text(QStringLiteral("cshgnsid")), QStringLiteral("2"));
  EXPECT_EQ(more->text(QStringLiteral("回复ID")), QStringLiteral("3"));
  EXPECT_EQ(more->text(QStringLiteral("大小")), QStringLiteral("123"));
  EXPECT_EQ(more->text(QStringLiteral("E-MAIL")), QStringLiteral("-1"));
}

TEST_F(Catalogue, QuoteOutsideTheSubjectBreaksTheInsertsAsItAlwaysDid) {
  sql::ComposedRow r = composed(1);
  r.toNames = QStringLiteral("O'Brien <o@example.com>");
  EXPECT_FALSE(host_->execute(sql::insertComposed(r)).isEmpty());
  EXPECT_FALSE(host_
                   ->execute(sql::insertTemplate(1, QStringLiteral("o'b@example.com"), QString(),
                                                 QStringLiteral("s")))
                   .isEmpty());
  sql::ReceivedRow in = received(2, QStringLiteral("u2"));
  in.subject = QStringLiteral("it's");
  EXPECT_FALSE(host_->execute(sql::insertReceived(in)).isEmpty());
  EXPECT_EQ(countRows(*host_, QStringLiteral("msgmail")), 0);
  EXPECT_EQ(countRows(*host_, QStringLiteral("MailTemplet")), 0);
}

TEST_F(Catalogue, ReceivedMailIsFoundByUidlAndCutToItsColumns) {
  sql::ReceivedRow r = received(11, QStringLiteral("0123456789012345678901234567890123456789"));
  r.toAddresses = QString(300, u'a');
  r.toNames = QString(121, u'名');
  r.email = QString(251, u'e');
  ASSERT_EQ(host_->execute(sql::insertReceived(r)), QString());
  auto rs = host_->openQuery(QStringLiteral(
      "select 收件人邮箱,收件人,[E-MAIL],UIDL,messageID,CshgnsID,级次 from msgmail"));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("收件人邮箱")), QString(250, u'a') + QStringLiteral("..."));
  EXPECT_EQ(rs->text(QStringLiteral("收件人")), QString(120, u'名') + QStringLiteral("..."));
  EXPECT_EQ(rs->text(QStringLiteral("E-MAIL")), QString(250, u'e') + QStringLiteral("..."));
  EXPECT_EQ(rs->text(QStringLiteral("uidl")),
            QStringLiteral("012345678901234567890123456789012345"));
  EXPECT_EQ(rs->text(QStringLiteral("messageid")), QStringLiteral("pop.example.com"));
  EXPECT_EQ(rs->text(QStringLiteral("cshgnsid")), QStringLiteral("1"));
  EXPECT_EQ(rs->text(QStringLiteral("级次")), QStringLiteral("1"));

  // Looked up by its cut id it is stored; by the server's full id it never is (kept so).
  const QString stored = QStringLiteral("012345678901234567890123456789012345");
  EXPECT_TRUE(kvmail::isValidDateText(firstValue(*host_, sql::receivedTimeByUidl(stored))));
  EXPECT_EQ(firstValue(*host_, sql::storedSizeByUidl(stored)), QStringLiteral("456"));
  EXPECT_EQ(firstValue(*host_, sql::receivedTimeByUidl(r.uidl)), QString());
  EXPECT_EQ(kvmail::vbVal(firstValue(*host_, sql::storedSizeByUidl(r.uidl))), 0);
  // A received mail is never queued for sending.
  EXPECT_TRUE(column(*host_, sql::sendQueue()).isEmpty());
}

TEST_F(Catalogue, AddressBookListsSendersOfReceivedAndRecipientsOfSentMailSorted) {
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(1))), QString());  // to1@
  ASSERT_EQ(host_->execute(sql::insertComposed(composed(2))), QString());  // to2@
  ASSERT_EQ(host_->execute(sql::insertReceived(received(3, QStringLiteral("a")))), QString());
  ASSERT_EQ(host_->execute(sql::insertReceived(received(4, QStringLiteral("b")))), QString());
  sql::ReceivedRow again = received(5, QStringLiteral("c"));
  again.fromAddress = QStringLiteral("to1@example.com");
  ASSERT_EQ(host_->execute(sql::insertReceived(again)), QString());
  sql::ReceivedRow blank = received(6, QStringLiteral("d"));
  blank.fromAddress.clear();
  ASSERT_EQ(host_->execute(sql::insertReceived(blank)), QString());
  EXPECT_EQ(column(*host_, sql::addressBook()),
            (QStringList{"sender3@example.com", "sender4@example.com", "to1@example.com",
                         "to2@example.com"}));
}

TEST_F(Catalogue, TemplateSaveReplacesTheRowAndLosesBcc) {
  ASSERT_EQ(seedProgram(*host_, 12, QStringLiteral("销售订单")), QString());
  EXPECT_EQ(firstValue(*host_, sql::programName(12)), QStringLiteral("销售订单"));
  EXPECT_TRUE(column(*host_, sql::templateExists(12)).isEmpty());

  ASSERT_EQ(host_->execute(sql::insertTemplate(12, QStringLiteral("[客户]"), QStringLiteral("cc@x"),
                                               QStringLiteral("关于[单号]"))),
            QString());
  ASSERT_EQ(host_->execute(QStringLiteral("update MailTemplet set bcc='hidden@x' where progID=12")),
            QString());
  EXPECT_EQ(column(*host_, sql::templateExists(12)), QStringList{"12"});
  auto rs = host_->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("to")), QStringLiteral("[客户]"));
  EXPECT_EQ(rs->text(QStringLiteral("bcc")), QStringLiteral("hidden@x"));

  ASSERT_EQ(host_->execute(sql::deleteTemplate(12)), QString());
  ASSERT_EQ(host_->execute(
                sql::insertTemplate(12, QStringLiteral("a@x"), QString(), QStringLiteral("s"))),
            QString());
  rs = host_->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("TO")), QStringLiteral("a@x"));
  EXPECT_EQ(rs->text(QStringLiteral("bcc")), QString());
  EXPECT_EQ(countRows(*host_, QStringLiteral("MailTemplet")), 1);
}

TEST_F(Catalogue, StoredFileQueriesSelectTheColumnOfOneRow) {
  ASSERT_EQ(host_->execute(sql::insertTemplate(3, QStringLiteral("a@x"), QString(), QString())),
            QString());
  auto rs = host_->openQuery(sql::fileToColumnQuery(
      QStringLiteral("EMail"), QStringLiteral("MailTemplet"), QStringLiteral("progID"), 3));
  ASSERT_TRUE(rs);
  ASSERT_FALSE(rs->isEmpty());
  EXPECT_EQ(rs->fieldCount(), 2);
  EXPECT_TRUE(rs->isNull(QStringLiteral("EMail")));
  rs->setValue(QStringLiteral("EMail"), QString(""));
  rs->appendChunk(QStringLiteral("EMail"), QByteArray("X-Priority: 1\r\n\r\nbody"));
  ASSERT_EQ(rs->update(), QString());
  rs = host_->openQuery(sql::columnToFileQuery(
      QStringLiteral("EMail"), QStringLiteral("MailTemplet"), QStringLiteral("progID"), 3));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->actualSize(QStringLiteral("email")), 21);
  EXPECT_TRUE(
      host_
          ->openQuery(sql::columnToFileQuery(QStringLiteral("EMail"), QStringLiteral("MailTemplet"),
                                             QStringLiteral("progID"), 4))
          ->isEmpty());
}
