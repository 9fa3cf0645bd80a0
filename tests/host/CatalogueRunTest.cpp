// Every catalogue statement run against a real store, with the results the module relies on.
#include "HostStoreTest.h"
#include "store/FieldText.h"

using kvmail::host::AccountSeed;
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
  AccountSeed mine;
  mine.maid = 1;
  mine.userId = QStringLiteral("7");
  mine.name = QStringLiteral("mine");
  ASSERT_EQ(rig.seedAccount(mine), QString());
  AccountSeed fallback;
  fallback.maid = 2;
  fallback.isDefault = true;
  fallback.name = QStringLiteral("default");
  ASSERT_EQ(rig.seedAccount(fallback), QString());

  EXPECT_EQ(column(*rig.host, sql::accountForUser(QStringLiteral("7"))), QStringList{"mine"});
  EXPECT_TRUE(column(*rig.host, sql::accountForUser(QStringLiteral("8"))).isEmpty());
  EXPECT_EQ(column(*rig.host, sql::defaultAccount()), QStringList{"default"});
  EXPECT_EQ(rig.host->openQuery(sql::defaultAccount())->fieldCount(), 13);
}

TEST_F(Catalogue, QueueHoldsOnlyActiveUndeletedUnsentComposedMailNewestFirst) {
  for (long id = 1; id <= 5; ++id)
    ASSERT_EQ(rig.host->execute(sql::insertComposed(composedRow(id))), QString());
  ASSERT_EQ(rig.host->execute(sql::insertReceived(receivedRow(6, QStringLiteral("u6")))),
            QString());
  for (const char* change :
       {"del=1 where 邮件ID=2", "active=0 where 邮件ID=3", "del=null where 邮件ID=4"})
    ASSERT_EQ(rig.host->execute(QStringLiteral("update msgmail set ") + QString::fromUtf8(change)),
              QString());
  EXPECT_EQ(column(*rig.host, sql::sendQueue()), (QStringList{"5", "4", "1"}));

  ASSERT_EQ(rig.host->execute(sql::markSent(QStringLiteral("smtp.example.com"), 5)), QString());
  EXPECT_EQ(column(*rig.host, sql::sendQueue()), (QStringList{"4", "1"}));
  EXPECT_EQ(rig.value(QStringLiteral("select messageID from msgmail where 邮件ID=5")),
            QStringLiteral("smtp.example.com"));
  EXPECT_EQ(rig.value(QStringLiteral("select 是否已读 from msgmail where 邮件ID=5")),
            QStringLiteral("1"));
}

TEST_F(Catalogue, ComposedRowReadsBackWithItsSubjectQuoteIntact) {
  sql::ComposedRow r = composedRow(9);
  r.subject = QStringLiteral("It's O'Brien's offer");
  r.priority = QStringLiteral("1");
  r.attachments = 1;
  r.level = 2;
  r.replyId = 3;
  ASSERT_EQ(rig.host->execute(sql::insertComposed(r)), QString());
  EXPECT_EQ(rig.row(sql::mailHeader(9)), (QStringList{r.toNames, r.fromName, r.fromAddress,
                                                      "2024-03-10 09:00:00", r.subject, "1", "1"}));
  EXPECT_EQ(rig.row(QStringLiteral("select 级次,接收时间,CshgnsID,回复ID,大小,[E-MAIL] "
                                   "from msgmail")),
            (QStringList{"2", "", "2", "3", "123", "-1"}));
  EXPECT_EQ(rig.count(QStringLiteral("msgmail"), QStringLiteral("接收时间 is null")), 0);
}

TEST_F(Catalogue, QuoteOutsideTheSubjectBreaksTheInsertsAsItAlwaysDid) {
  sql::ComposedRow composed = composedRow(1);
  composed.toNames = QStringLiteral("O'Brien <o@example.com>");
  sql::ReceivedRow received = receivedRow(2, QStringLiteral("u2"));
  received.subject = QStringLiteral("it's");
  for (const QString& statement :
       {sql::insertComposed(composed), sql::insertReceived(received),
        sql::insertTemplate(1, QStringLiteral("o'b@example.com"), QString(), QStringLiteral("s"))})
    EXPECT_FALSE(rig.host->execute(statement).isEmpty()) << statement.toStdString();
  EXPECT_EQ(rig.count(QStringLiteral("msgmail")), 0);
  EXPECT_EQ(rig.count(QStringLiteral("MailTemplet")), 0);
}

// Received texts are cut to their columns past 250 and 120 characters, the UIDL to 36.
TEST_F(Catalogue, ReceivedMailIsFoundByUidlAndCutToItsColumns) {
  const QString uidl40 = QStringLiteral("0123456789012345678901234567890123456789");
  sql::ReceivedRow r = receivedRow(11, uidl40);
  r.toAddresses = QString(300, u'a');
  r.toNames = QString(121, u'名');
  r.email = QString(251, u'e');
  ASSERT_EQ(rig.host->execute(sql::insertReceived(r)), QString());
  sql::ReceivedRow whole = receivedRow(12, QString(36, u'u'));
  whole.toAddresses = QString(250, u'a');
  whole.toNames = QString(120, u'名');
  whole.email = QString(250, u'e');
  ASSERT_EQ(rig.host->execute(sql::insertReceived(whole)), QString());
  const QString query = QStringLiteral(
      "select 收件人邮箱,收件人,[E-MAIL],UIDL,messageID,CshgnsID,级次 from msgmail where 邮件ID=");
  EXPECT_EQ(
      rig.row(query + "11"),
      (QStringList{QString(250, u'a') + "...", QString(120, u'名') + "...",
                   QString(250, u'e') + "...", uidl40.left(36), "pop.example.com", "1", "1"}));
  EXPECT_EQ(rig.row(query + "12"), (QStringList{whole.toAddresses, whole.toNames, whole.email,
                                                whole.uidl, "pop.example.com", "1", "1"}));

  // Looked up by its cut id it is stored; by the server's full id it never is (kept so).
  EXPECT_TRUE(kvmail::isValidDateText(rig.value(sql::receivedTimeByUidl(uidl40.left(36)))));
  EXPECT_EQ(rig.value(sql::storedSizeByUidl(uidl40.left(36))), QStringLiteral("456"));
  EXPECT_EQ(rig.value(sql::receivedTimeByUidl(uidl40)), QString());
  EXPECT_EQ(rig.value(sql::storedSizeByUidl(uidl40)), QString());
  // A received mail is never queued for sending.
  EXPECT_TRUE(column(*rig.host, sql::sendQueue()).isEmpty());
}

TEST_F(Catalogue, AddressBookListsSendersOfReceivedAndRecipientsOfSentMailSorted) {
  sql::ReceivedRow again = receivedRow(5, QStringLiteral("c"));
  again.fromAddress = QStringLiteral("to1@example.com");
  sql::ReceivedRow blank = receivedRow(6, QStringLiteral("d"));
  blank.fromAddress.clear();
  for (const QString& statement :
       {sql::insertComposed(composedRow(1)), sql::insertComposed(composedRow(2)),
        sql::insertReceived(receivedRow(3, QStringLiteral("a"))),
        sql::insertReceived(receivedRow(4, QStringLiteral("b"))), sql::insertReceived(again),
        sql::insertReceived(blank)})
    ASSERT_EQ(rig.host->execute(statement), QString());
  EXPECT_EQ(column(*rig.host, sql::addressBook()),
            (QStringList{"sender3@example.com", "sender4@example.com", "to1@example.com",
                         "to2@example.com"}));
}

TEST_F(Catalogue, TemplateSaveReplacesTheRowAndLosesBcc) {
  ASSERT_EQ(rig.seedProgram(12, QStringLiteral("销售订单")), QString());
  EXPECT_EQ(rig.value(sql::programName(12)), QStringLiteral("销售订单"));
  EXPECT_TRUE(column(*rig.host, sql::templateExists(12)).isEmpty());

  ASSERT_EQ(
      rig.host->execute(sql::insertTemplate(12, QStringLiteral("[客户]"), QStringLiteral("cc@x"),
                                            QStringLiteral("关于[单号]"))),
      QString());
  ASSERT_EQ(
      rig.host->execute(QStringLiteral("update MailTemplet set bcc='hidden@x' where progID=12")),
      QString());
  EXPECT_EQ(column(*rig.host, sql::templateExists(12)), QStringList{"12"});
  auto rs = rig.host->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("to")), QStringLiteral("[客户]"));
  EXPECT_EQ(rs->text(QStringLiteral("bcc")), QStringLiteral("hidden@x"));

  ASSERT_EQ(rig.host->execute(sql::deleteTemplate(12)), QString());
  ASSERT_EQ(rig.host->execute(
                sql::insertTemplate(12, QStringLiteral("a@x"), QString(), QStringLiteral("s"))),
            QString());
  rs = rig.host->openQuery(sql::templateFields(12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->text(QStringLiteral("TO")), QStringLiteral("a@x"));
  EXPECT_EQ(rs->text(QStringLiteral("bcc")), QString());
  EXPECT_EQ(rig.count(QStringLiteral("MailTemplet")), 1);
}
