// Each catalogue statement, character for character: the one place their texts are asserted.
// (tests/host runs every one of them against both engines.)
#include "StoreRig.h"

namespace sql = kvmail::sql;

TEST(Statements, EveryTextToTheCharacter) {
  const QString accountColumns =
      u"select maname,mausername,mapassword,masmtpservername,mareplyemailaddress,masmtpport,"
      "mafromname,mafromemailaddress,mapop3servername,maisnotdelete,maisafterdaydelete,"
      "madeleteday,maisout"_s;
  const QString mailColumns =
      u"Insert into msgmail(邮件ID,发件人,主题,发送时间,收件人邮箱,发件人邮箱,收件人,[E-MAIL],级次,"
      "接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,是否已读,messageID,"_s;
  // Only the composed subject has its quotes doubled.
  sql::ComposedRow composed = kvtest::composedRow(17);
  composed.subject = u"It's 报价"_s;
  composed.fromName = u"O'Brien"_s;
  composed.attachments = 1;
  composed.priority = u"1"_s;
  // Received texts are not escaped. (Their cuts to the columns are proved where the catalogue
  // runs on both engines.)
  sql::ReceivedRow received = kvtest::receivedRow(21, u"uid'21"_s);
  received.subject = u"it's"_s;
  struct Case {
    const char* what;
    QString text, expected;
  };
  const Case cases[] = {
      {"account of the user", sql::accountForUser(u"7"_s),
       accountColumns + " from mailaccount A left join mailaccountuser B on A.maid=B.maid and "
                        "A.masmtptype=B.masmtptype where UserID=7"},
      {"default account", sql::defaultAccount(),
       accountColumns + " from mailaccount where maisdefault=1"},
      {"account settings of the user", sql::accountSettingsForUser(u"7"_s),
       "select * from mailaccount A left join mailaccountuser B on A.maid=B.maid and "
       "A.masmtptype=B.masmtptype where UserID=7"},
      {"default account settings", sql::defaultAccountSettings(),
       "select * from mailaccount where maisdefault=1"},
      {"template fields", sql::templateFields(12),
       "select [to],cc,bcc,subject from MailTemplet where progID=12"},
      {"send queue", sql::sendQueue(),
       "select 邮件ID From msgmail where cshgnsID=2 and (del is null or del=0) and (active is not "
       "null and active=1) and MessageID='' order by 发送时间 desc"},
      {"address book", sql::addressBook(),
       "select DISTINCT 发件人邮箱 from msgmail where 发件人邮箱<>'' and cshgnsID<>2 Union select "
       "DISTINCT 收件人邮箱 from msgmail where 收件人邮箱<>'' and cshgnsID=2 order by 发件人邮箱"},
      {"composed insert", sql::insertComposed(composed),
       mailColumns + "回复ID,大小,权限)Values(17,'O'Brien','It''s 报价','2024-03-18 09:00:00',"
                     "'to17@example.com','me@example.com','客户 <to17@example.com>','-1',1,'',1,2,"
                     "'张三',1,0,'',0,0,'',17,123,'')"},
      {"mark sent", sql::markSent(u"smtp.z.com"_s, 17),
       "update msgmail set messageid='smtp.z.com',是否已读=1 where 邮件ID=17"},
      {"received time", sql::receivedTimeByUidl(u"00a'b"_s),
       "select 接收时间 from msgMail where UIDL='00a'b'"},
      {"stored size", sql::storedSizeByUidl(u"00ab"_s),
       "select 大小 from msgMail where UIDL='00ab'"},
      {"received insert", sql::insertReceived(received),
       mailColumns + "UIDL,回复ID,大小,权限)Values(21,'客户','it's','2024-04-01 08:30:00',"
                     "'me@example.com','sender21@example.com','me@example.com','',1,"
                     "'2024-04-02 10:00:00',0,1,'张三',3,0,'',0,0,'pop.example.com','uid'21',21,"
                     "456,'')"},
      {"mail header", sql::mailHeader(5),
       "select 收件人,发件人,发件人邮箱,发送时间,主题,优先级,附件 from msgmail where 邮件ID=5"},
      {"delete template", sql::deleteTemplate(12), "delete MailTemplet where progID=12"},
      {"insert template, bcc not written",
       sql::insertTemplate(12, u"[客户]"_s, u"c@x"_s, u"关于 it's"_s),
       "insert into MailTemplet(progID,[to],cc,subject)values(12,'[客户]','c@x','关于 it's')"},
      {"program name", sql::programName(12), "select progname from xt_objects where progID=12"},
      {"template exists", sql::templateExists(-3),
       "select progID from MailTemplet where progID=-3"},
      {"column to file",
       sql::columnToFileQuery(sql::messageColumn(), sql::mailTable(), sql::mailKey(), 42),
       "select 消息 from msgmail where 邮件ID=42"},
      {"file to column",
       sql::fileToColumnQuery(sql::templateFileRead(), sql::templateTable(), sql::templateKey(),
                              12),
       "select EMail,progID from MailTemplet where progID=12"},
      {"template file column as written", sql::templateFileWrite(), "Email"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.text, c.expected) << c.what;
}

TEST(Statements, DatesAreLocalTimeTextsAndNoDateIsEmpty) {
  EXPECT_EQ(sql::dateText(QDateTime(QDate(2024, 12, 31), QTime(23, 59, 58))),
            u"2024-12-31 23:59:58"_s);
  EXPECT_EQ(sql::dateText(QDateTime()), QString());
  const QDateTime utc(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
  EXPECT_EQ(sql::dateText(utc), utc.toLocalTime().toString(u"yyyy-MM-dd HH:mm:ss"_s));
}
