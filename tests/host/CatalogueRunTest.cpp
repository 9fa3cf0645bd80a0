// Every catalogue statement run against a real store, with the results the module relies on.
#include "HostStoreTest.h"
#include "store/FieldText.h"

using kvtest::composedRow;
using kvtest::receivedRow;
namespace sql = kvmail::sql;

namespace {

QStringList column(kvmail::IHostSystem& host, const QString& query) {
  QStringList out;
  auto rs = host.openQuery(query);
  EXPECT_TRUE(rs) << query.toStdString();
  for (; rs && !rs->atEnd(); rs->moveNext()) out << rs->text(0);
  return out;
}

}  // namespace

using Catalogue = kvtest::HostStoreTest;

TEST_F(Catalogue, AccountOfTheUserThenTheDefault) {
  kvmail::host::AccountSeed mine;
  mine.userId = u"7"_s;
  mine.name = u"mine"_s;
  ASSERT_EQ(rig.seedAccount(mine), QString());
  kvmail::host::AccountSeed fallback;
  fallback.maid = 2;
  fallback.isDefault = true;
  fallback.name = u"default"_s;
  ASSERT_EQ(rig.seedAccount(fallback), QString());

  EXPECT_EQ(column(*rig.host, sql::accountForUser(u"7"_s)) +
                column(*rig.host, sql::accountForUser(u"8"_s)) +
                column(*rig.host, sql::defaultAccount()),
            (QStringList{"mine", "default"}));
}

TEST_F(Catalogue, QueueHoldsOnlyActiveUndeletedUnsentComposedMailNewestFirst) {
  for (long id = 1; id <= 5; ++id)
    ASSERT_EQ(rig.host->execute(sql::insertComposed(composedRow(id))), QString());
  ASSERT_EQ(rig.host->execute(sql::insertReceived(receivedRow(6, u"u6"_s))), QString());
  for (const char* change :
       {"del=1 where 邮件ID=2", "active=0 where 邮件ID=3", "del=null where 邮件ID=4"})
    ASSERT_EQ(rig.host->execute(u"update msgmail set "_s + QString::fromUtf8(change)), QString());
  EXPECT_EQ(column(*rig.host, sql::sendQueue()), (QStringList{"5", "4", "1"}));

  ASSERT_EQ(rig.host->execute(sql::markSent(u"smtp.example.com"_s, 5)), QString());
  EXPECT_EQ(column(*rig.host, sql::sendQueue()), (QStringList{"4", "1"}));
  EXPECT_EQ(rig.row(u"select messageID,是否已读 from msgmail where 邮件ID=5"_s),
            (QStringList{"smtp.example.com", "1"}));
}

TEST_F(Catalogue, ComposedRowReadsBackWithItsSubjectQuoteIntact) {
  sql::ComposedRow r = composedRow(9);
  r.subject = u"It's O'Brien's offer"_s;
  r.priority = u"1"_s;
  r.attachments = 1;
  r.level = 2;
  r.replyId = 3;
  ASSERT_EQ(rig.host->execute(sql::insertComposed(r)), QString());
  EXPECT_EQ(rig.row(sql::mailHeader(9)), (QStringList{r.toNames, r.fromName, r.fromAddress,
                                                      "2024-03-10 09:00:00", r.subject, "1", "1"}));
  EXPECT_EQ(rig.row(u"select 级次,接收时间,CshgnsID,回复ID,大小,[E-MAIL] "
                    "from msgmail"_s),
            (QStringList{"2", "", "2", "3", "123", "-1"}));
  EXPECT_EQ(rig.count(u"msgmail"_s, u"接收时间 is null"_s), 0);
}

TEST_F(Catalogue, ReceivedMailIsFoundByUidlAndCutToItsColumns) {
  const QString uidl40 = u"0123456789012345678901234567890123456789"_s;
  sql::ReceivedRow r = receivedRow(11, uidl40);
  r.toAddresses = QString(300, u'a');
  r.toNames = QString(121, u'名');
  r.email = QString(251, u'e');
  // Past 250 and 120 characters the columns take a cut text with its "..."; at them, the whole.
  sql::ReceivedRow whole = receivedRow(12, QString(36, u'u'));
  whole.toAddresses = QString(250, u'a');
  whole.toNames = QString(120, u'名');
  whole.email = QString(250, u'e');
  for (const sql::ReceivedRow& row : {r, whole})
    ASSERT_EQ(rig.host->execute(sql::insertReceived(row)), QString());
  const QString query =
      u"select 收件人邮箱,收件人,[E-MAIL],UIDL,messageID,CshgnsID,级次 from msgmail where 邮件ID="_s;
  EXPECT_EQ(
      rig.row(query + "11"),
      (QStringList{QString(250, u'a') + "...", QString(120, u'名') + "...",
                   QString(250, u'e') + "...", uidl40.left(36), "pop.example.com", "1", "1"}));
  EXPECT_EQ(rig.row(query + "12"), (QStringList{whole.toAddresses, whole.toNames, whole.email,
                                                whole.uidl, "pop.example.com", "1", "1"}));

  // Looked up by its cut id it is stored; by the server's full id it never is (kept so).
  EXPECT_TRUE(kvmail::isValidDateText(rig.value(sql::receivedTimeByUidl(uidl40.left(36)))));
  EXPECT_EQ(rig.value(sql::storedSizeByUidl(uidl40.left(36))), u"456"_s);
  EXPECT_EQ(rig.value(sql::receivedTimeByUidl(uidl40)) + rig.value(sql::storedSizeByUidl(uidl40)),
            QString());
  // A received mail is never queued for sending.
  EXPECT_TRUE(column(*rig.host, sql::sendQueue()).isEmpty());
}

TEST_F(Catalogue, AddressBookListsSendersOfReceivedAndRecipientsOfSentMailSorted) {
  sql::ReceivedRow again = receivedRow(5, u"c"_s);
  again.fromAddress = u"to1@example.com"_s;
  sql::ReceivedRow blank = receivedRow(6, u"d"_s);
  blank.fromAddress.clear();
  for (const QString& statement :
       {sql::insertComposed(composedRow(1)), sql::insertComposed(composedRow(2)),
        sql::insertReceived(receivedRow(3, u"a"_s)), sql::insertReceived(receivedRow(4, u"b"_s)),
        sql::insertReceived(again), sql::insertReceived(blank)})
    ASSERT_EQ(rig.host->execute(statement), QString());
  EXPECT_EQ(column(*rig.host, sql::addressBook()),
            (QStringList{"sender3@example.com", "sender4@example.com", "to1@example.com",
                         "to2@example.com"}));
}

TEST_F(Catalogue, TemplateSaveReplacesTheRowAndLosesBcc) {
  ASSERT_EQ(rig.seedProgram(12, u"销售订单"_s), QString());
  EXPECT_EQ(rig.value(sql::programName(12)), u"销售订单"_s);
  EXPECT_TRUE(column(*rig.host, sql::templateExists(12)).isEmpty());

  ASSERT_EQ(rig.host->execute(sql::insertTemplate(12, u"[客户]"_s, u"cc@x"_s, u"关于[单号]"_s)),
            QString());
  ASSERT_EQ(rig.host->execute(u"update MailTemplet set bcc='hidden@x' where progID=12"_s),
            QString());
  EXPECT_EQ(column(*rig.host, sql::templateExists(12)), QStringList{"12"});
  auto rs = rig.host->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(u"to"_s) + '|' + rs->text(u"bcc"_s), u"[客户]|hidden@x"_s);

  ASSERT_EQ(rig.host->execute(sql::deleteTemplate(12)), QString());
  ASSERT_EQ(rig.host->execute(sql::insertTemplate(12, u"a@x"_s, QString(), u"s"_s)), QString());
  rs = rig.host->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(u"TO"_s) + '|' + rs->text(u"bcc"_s), u"a@x|"_s);
  EXPECT_EQ(rig.count(u"MailTemplet"_s), 1);
}
