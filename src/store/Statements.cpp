#include "store/Statements.h"

namespace kvmail::sql {
namespace {

const QString kAccountColumns = QStringLiteral(
    "select maname,mausername,mapassword,masmtpservername,mareplyemailaddress,masmtpport,"
    "mafromname,mafromemailaddress,mapop3servername,maisnotdelete,maisafterdaydelete,madeleteday,"
    "maisout");

const QString kMailColumns = QStringLiteral(
    "Insert into msgmail(邮件ID,发件人,主题,发送时间,收件人邮箱,发件人邮箱,收件人,[E-MAIL],级次,");

QString num(long value) {
  return QString::number(value);
}

QString quoted(const QString& text) {
  return QLatin1Char('\'') + text + QLatin1Char('\'');
}

// Received text columns are cut to what the host's columns were sized for.
QString cut(const QString& text, int limit) {
  return text.size() > limit ? text.left(limit) + QStringLiteral("...") : text;
}

// The values both inserts share, from 邮件ID through 优先级.
QString leadingValues(long mailId, const QString& fromName, const QString& subject,
                      const QDateTime& sent, const QString& toAddresses, const QString& fromAddress,
                      const QString& toNames, const QString& email, long level,
                      const QDateTime& received, long attachments, long direction,
                      const QString& operatorName, const QString& priority) {
  return num(mailId) + QLatin1Char(',') + quoted(fromName) + QLatin1Char(',') + quoted(subject) +
         QLatin1Char(',') + quoted(dateText(sent)) + QLatin1Char(',') + quoted(toAddresses) +
         QLatin1Char(',') + quoted(fromAddress) + QLatin1Char(',') + quoted(toNames) +
         QLatin1Char(',') + quoted(email) + QLatin1Char(',') + num(level) + QLatin1Char(',') +
         quoted(dateText(received)) + QLatin1Char(',') + num(attachments) + QLatin1Char(',') +
         num(direction) + QLatin1Char(',') + quoted(operatorName) + QLatin1Char(',') + priority +
         QLatin1Char(',');
}

}  // namespace

QString dateText(const QDateTime& when) {
  if (!when.isValid()) return {};
  return when.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString accountForUser(const QString& userId) {
  return kAccountColumns +
         QStringLiteral(
             " from mailaccount A left join mailaccountuser B on A.maid=B.maid and "
             "A.masmtptype=B.masmtptype") +
         QStringLiteral(" where UserID=") + userId;
}

QString defaultAccount() {
  return kAccountColumns + QStringLiteral(" from mailaccount where maisdefault=1");
}

QString accountSettingsForUser(const QString& userId) {
  return QStringLiteral(
             "select * from mailaccount A left join mailaccountuser B on A.maid=B.maid and "
             "A.masmtptype=B.masmtptype where UserID=") +
         userId;
}

QString defaultAccountSettings() {
  return QStringLiteral("select * from mailaccount where maisdefault=1");
}

QString templateFields(long progId) {
  return QStringLiteral("select [to],cc,bcc,subject from MailTemplet where progID=") + num(progId);
}

QString sendQueue() {
  return QStringLiteral("select 邮件ID From msgmail") +
         QStringLiteral(
             " where cshgnsID=2 and (del is null or del=0) and (active is not null and "
             "active=1) and MessageID='' order by 发送时间 desc");
}

QString addressBook() {
  return QStringLiteral(
             "select DISTINCT 发件人邮箱 from msgmail where 发件人邮箱<>'' and cshgnsID<>2") +
         QStringLiteral(
             " Union select DISTINCT 收件人邮箱 from msgmail where 收件人邮箱<>'' and cshgnsID=2") +
         QStringLiteral(" order by 发件人邮箱");
}

QString insertComposed(const ComposedRow& r) {
  QString subject = r.subject;
  subject.replace(QLatin1Char('\''), QStringLiteral("''"));
  return kMailColumns +
         QStringLiteral(
             "接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,是否已读,"
             "messageID,回复ID,大小,权限)Values(") +
         leadingValues(r.mailId, r.fromName, subject, r.sentTime, r.toAddresses, r.fromAddress,
                       r.toNames, r.email, r.level, r.receivedTime, r.attachments, 2,
                       r.operatorName, r.priority) +
         QStringLiteral("0,'',0,0,") + quoted(QString()) + QLatin1Char(',') + num(r.replyId) +
         QLatin1Char(',') + num(r.size) + QStringLiteral(",'')");
}

QString markSent(const QString& smtpServer, long mailId) {
  return QStringLiteral("update msgmail set messageid='") + smtpServer +
         QStringLiteral("',是否已读=1 where 邮件ID=") + num(mailId);
}

QString receivedTimeByUidl(const QString& uidl) {
  return QStringLiteral("select 接收时间 from msgMail where UIDL='") + uidl + QLatin1Char('\'');
}

QString storedSizeByUidl(const QString& uidl) {
  return QStringLiteral("select 大小 from msgMail where UIDL='") + uidl + QLatin1Char('\'');
}

QString insertReceived(const ReceivedRow& r) {
  return kMailColumns +
         QStringLiteral(
             "接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,是否已读,"
             "messageID,UIDL,回复ID,大小,权限)Values(") +
         leadingValues(r.mailId, r.fromName, r.subject, r.sentTime, cut(r.toAddresses, 250),
                       r.fromAddress, cut(r.toNames, 120), cut(r.email, 250), 1, r.receivedTime,
                       r.attachments, 1, r.operatorName, num(r.priority)) +
         QStringLiteral("0,'',0,0,") + quoted(r.messageId) + QLatin1Char(',') +
         quoted(r.uidl.left(36)) + QLatin1Char(',') + num(r.replyId) + QLatin1Char(',') +
         num(r.size) + QStringLiteral(",'')");
}

QString mailHeader(long mailId) {
  return QStringLiteral("select 收件人,发件人,发件人邮箱,发送时间,主题,优先级,附件") +
         QStringLiteral(" from msgmail where 邮件ID=") + num(mailId);
}

QString messageLength(long mailId) {
  return QStringLiteral("select length(消息) from msgmail where 邮件ID=") + num(mailId);
}

QString deleteTemplate(long progId) {
  return QStringLiteral("delete MailTemplet where progID=") + num(progId);
}

QString insertTemplate(long progId, const QString& to, const QString& cc, const QString& subject) {
  return QStringLiteral("insert into MailTemplet(progID,[to],cc,subject)values(") + num(progId) +
         QLatin1Char(',') + QLatin1Char('\'') + to + QStringLiteral("',") + QLatin1Char('\'') + cc +
         QStringLiteral("',") + QLatin1Char('\'') + subject + QStringLiteral("')");
}

QString programName(long progId) {
  return QStringLiteral("select progname from xt_objects where progID=") + num(progId);
}

QString templateExists(long progId) {
  return QStringLiteral("select progID from MailTemplet where progID=") + num(progId);
}

QString columnToFileQuery(const QString& column, const QString& table, const QString& keyColumn,
                          long key) {
  return QStringLiteral("select ") + column + QStringLiteral(" from ") + table +
         QStringLiteral(" where ") + keyColumn + QLatin1Char('=') + num(key);
}

QString fileToColumnQuery(const QString& column, const QString& table, const QString& keyColumn,
                          long key) {
  return QStringLiteral("select ") + column + QLatin1Char(',') + keyColumn +
         QStringLiteral(" from ") + table + QStringLiteral(" where ") + keyColumn +
         QLatin1Char('=') + num(key);
}

}  // namespace kvmail::sql
