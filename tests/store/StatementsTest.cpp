// Each catalogue statement, character for character.
#include "store/Statements.h"

#include <gtest/gtest.h>

namespace sql = kvmail::sql;

namespace {

const QString kAccountSelect = QStringLiteral(
    "select maname,mausername,mapassword,masmtpservername,mareplyemailaddress,masmtpport,"
    "mafromname,mafromemailaddress,mapop3servername,maisnotdelete,maisafterdaydelete,madeleteday,"
    "maisout");

sql::ComposedRow composedRow() {
  sql::ComposedRow r;
  r.mailId = 17;
  r.fromName = QStringLiteral("王五");
  r.subject = QStringLiteral("It's 报价");
  r.sentTime = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9));
  r.toAddresses = QStringLiteral("a@x.com;b@y.com");
  r.fromAddress = QStringLiteral("me@z.com");
  r.toNames = QStringLiteral("\"A\" <a@x.com>;b@y.com");
  r.email = QStringLiteral("-1");
  r.level = 1;
  r.attachments = 1;
  r.operatorName = QStringLiteral("张三");
  r.priority = QStringLiteral("3");
  r.replyId = 17;
  r.size = 2048;
  return r;
}

sql::ReceivedRow receivedRow() {
  sql::ReceivedRow r;
  r.mailId = 21;
  r.fromName = QStringLiteral("客户");
  r.subject = QStringLiteral("回复");
  r.sentTime = QDateTime(QDate(2024, 4, 1), QTime(8, 30, 0));
  r.toAddresses = QStringLiteral("me@z.com");
  r.fromAddress = QStringLiteral("c@w.com");
  r.toNames = QStringLiteral("me@z.com");
  r.email = QStringLiteral("cc@w.com");
  r.receivedTime = QDateTime(QDate(2024, 4, 2), QTime(10, 0, 1));
  r.attachments = 0;
  r.operatorName = QStringLiteral("张三");
  r.priority = 3;
  r.messageId = QStringLiteral("pop.z.com");
  r.uidl = QStringLiteral("000000026b0266ae");
  r.replyId = 21;
  r.size = 186;
  return r;
}

}  // namespace

TEST(Statements, AccountQueries) {
  EXPECT_EQ(sql::accountForUser(QStringLiteral("7")),
            kAccountSelect +
                QStringLiteral(" from mailaccount A left join mailaccountuser B on A.maid=B.maid "
                               "and A.masmtptype=B.masmtptype where UserID=7"));
  EXPECT_EQ(sql::defaultAccount(),
            kAccountSelect + QStringLiteral(" from mailaccount where maisdefault=1"));
}

TEST(Statements, QueueAndAddressBook) {
  EXPECT_EQ(sql::sendQueue(),
            QStringLiteral("select 邮件ID From msgmail where cshgnsID=2 and (del is null or del=0) "
                           "and (active is not null and active=1) and MessageID='' order by "
                           "发送时间 desc"));
  EXPECT_EQ(sql::addressBook(),
            QStringLiteral("select DISTINCT 发件人邮箱 from msgmail where 发件人邮箱<>'' and "
                           "cshgnsID<>2 Union select DISTINCT 收件人邮箱 from msgmail where "
                           "收件人邮箱<>'' and cshgnsID=2 order by 发件人邮箱"));
}

TEST(Statements, ComposedInsertDoublesQuotesInTheSubjectOnly) {
  EXPECT_EQ(sql::insertComposed(composedRow()),
            QStringLiteral(
                "Insert into msgmail(邮件ID,发件人,主题,发送时间,收件人邮箱,发件人邮箱,收件人,"
                "[E-MAIL],级次,接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,是否已读,"
                "messageID,回复ID,大小,权限)Values(17,'王五','It''s 报价','2024-03-05 14:07:09',"
                "'a@x.com;b@y.com','me@z.com','\"A\" <a@x.com>;b@y.com','-1',1,'',1,2,'张三',3,"
                "0,'',0,0,'',17,2048,'')"));
  // Names and addresses go in as they stand, so a quote there breaks the statement (kept so).
  sql::ComposedRow r = composedRow();
  r.subject = QStringLiteral("s");
  r.fromName = QStringLiteral("O'Brien");
  r.priority = QStringLiteral("1");
  EXPECT_TRUE(sql::insertComposed(r).contains(QStringLiteral(",'O'Brien','s',")));
  EXPECT_TRUE(sql::insertComposed(r).contains(QStringLiteral(",'张三',1,0,'',0,0,'',")));
}

TEST(Statements, ReceivedInsertCarriesUidlAndTheServerName) {
  EXPECT_EQ(sql::insertReceived(receivedRow()),
            QStringLiteral(
                "Insert into msgmail(邮件ID,发件人,主题,发送时间,收件人邮箱,发件人邮箱,收件人,"
                "[E-MAIL],级次,接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,是否已读,"
                "messageID,UIDL,回复ID,大小,权限)Values(21,'客户','回复','2024-04-01 08:30:00',"
                "'me@z.com','c@w.com','me@z.com','cc@w.com',1,'2024-04-02 10:00:01',0,1,'张三',3,"
                "0,'',0,0,'pop.z.com','000000026b0266ae',21,186,'')"));
  // Quotes are not doubled in received values: such a mail fails to store, deliberately.
  sql::ReceivedRow r = receivedRow();
  r.subject = QStringLiteral("it's");
  EXPECT_TRUE(sql::insertReceived(r).contains(QStringLiteral(",'it's',")));
}

TEST(Statements, ReceivedInsertCutsLongValues) {
  sql::ReceivedRow r = receivedRow();
  r.toAddresses = QString(300, u'a');
  r.toNames = QString(120, u'名');
  r.email = QString(250, u'e');
  r.uidl = QString(36, u'u') + QStringLiteral("XXXX");
  const QString text = sql::insertReceived(r);
  EXPECT_TRUE(text.contains(u'\'' + QString(250, u'a') + QStringLiteral("...',")));
  EXPECT_FALSE(text.contains(QString(251, u'a')));
  EXPECT_TRUE(text.contains(u'\'' + QString(120, u'名') + QStringLiteral("','")));  // whole
  EXPECT_TRUE(text.contains(u'\'' + QString(250, u'e') + QStringLiteral("',1,")));  // whole
  EXPECT_TRUE(text.contains(u'\'' + QString(36, u'u') + QStringLiteral("',21,")));

  r.toNames = QString(121, u'名');
  r.email = QString(251, u'e');
  const QString longer = sql::insertReceived(r);
  EXPECT_TRUE(longer.contains(u'\'' + QString(120, u'名') + QStringLiteral("...','")));
  EXPECT_TRUE(longer.contains(u'\'' + QString(250, u'e') + QStringLiteral("...',1,")));
}

TEST(Statements, SentMarkAndUidlLookups) {
  EXPECT_EQ(sql::markSent(QStringLiteral("smtp.z.com"), 17),
            QStringLiteral("update msgmail set messageid='smtp.z.com',是否已读=1 where 邮件ID=17"));
  EXPECT_EQ(sql::receivedTimeByUidl(QStringLiteral("00a'b")),
            QStringLiteral("select 接收时间 from msgMail where UIDL='00a'b'"));
  EXPECT_EQ(sql::storedSizeByUidl(QStringLiteral("00ab")),
            QStringLiteral("select 大小 from msgMail where UIDL='00ab'"));
  EXPECT_EQ(sql::mailHeader(5),
            QStringLiteral("select 收件人,发件人,发件人邮箱,发送时间,主题,优先级,附件 from msgmail "
                           "where 邮件ID=5"));
}

TEST(Statements, TemplatesAndPrograms) {
  EXPECT_EQ(sql::templateFields(12),
            QStringLiteral("select [to],cc,bcc,subject from MailTemplet where progID=12"));
  EXPECT_EQ(sql::deleteTemplate(12), QStringLiteral("delete MailTemplet where progID=12"));
  EXPECT_EQ(sql::insertTemplate(12, QStringLiteral("[客户]"), QStringLiteral("c@x"),
                                QStringLiteral("关于 it's")),
            QStringLiteral("insert into MailTemplet(progID,[to],cc,subject)values(12,'[客户]',"
                           "'c@x','关于 it's')"));
  EXPECT_EQ(sql::programName(12),
            QStringLiteral("select progname from xt_objects where progID=12"));
  EXPECT_EQ(sql::templateExists(-3),
            QStringLiteral("select progID from MailTemplet where progID=-3"));
}

TEST(Statements, StoredFileQueries) {
  EXPECT_EQ(sql::columnToFileQuery(QStringLiteral("消息"), QStringLiteral("msgmail"),
                                   QStringLiteral("邮件ID"), 42),
            QStringLiteral("select 消息 from msgmail where 邮件ID=42"));
  EXPECT_EQ(sql::fileToColumnQuery(QStringLiteral("EMail"), QStringLiteral("MailTemplet"),
                                   QStringLiteral("progID"), 12),
            QStringLiteral("select EMail,progID from MailTemplet where progID=12"));
}

TEST(Statements, DateText) {
  EXPECT_EQ(sql::dateText(QDateTime(QDate(2024, 12, 31), QTime(23, 59, 58))),
            QStringLiteral("2024-12-31 23:59:58"));
  EXPECT_EQ(sql::dateText(QDateTime()), QString());
  const QDateTime utc(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
  EXPECT_EQ(sql::dateText(utc), utc.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
}
