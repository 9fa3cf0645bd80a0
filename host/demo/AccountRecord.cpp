#include "AccountRecord.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace kvmail::demo {
namespace {

const QString kColumns = QStringLiteral(
    "A.maid,A.masmtptype,maname,mausername,masmtpservername,mareplyemailaddress,masmtpport,"
    "mafromname,mafromemailaddress,mapop3servername,mapop3port,mapop3security,masmtpsecurity,"
    "macertfile,maisnotdelete,maisafterdaydelete,madeleteday,maisout,maisdefault,case when "
    "coalesce(mapassword,'')='' then 0 else 1 end as haspassword");

bool isHostName(const QString& text) {
  static const QRegularExpression shape(
      QStringLiteral("^[A-Za-z0-9]([A-Za-z0-9.-]*[A-Za-z0-9])?$"));
  return shape.match(text).hasMatch();
}

bool isAddress(const QString& text) {
  static const QRegularExpression shape(QStringLiteral("^[^\\s@<>;,'\"]+@[^\\s@<>;,'\"]+$"));
  return shape.match(text).hasMatch();
}

long number(const IRecordset& rs, const QString& column) {
  return rs.text(column).toLong();
}

AccountRecord fromRow(const IRecordset& rs) {
  AccountRecord r;
  r.exists = true;
  r.maid = number(rs, QStringLiteral("maid"));
  r.smtpType = number(rs, QStringLiteral("masmtptype"));
  r.name = rs.text(QStringLiteral("maname"));
  r.userName = rs.text(QStringLiteral("mausername"));
  r.smtp = rs.text(QStringLiteral("masmtpservername"));
  r.replyTo = rs.text(QStringLiteral("mareplyemailaddress"));
  r.smtpPort = int(number(rs, QStringLiteral("masmtpport")));
  r.fromName = rs.text(QStringLiteral("mafromname"));
  r.fromAddress = rs.text(QStringLiteral("mafromemailaddress"));
  r.pop3 = rs.text(QStringLiteral("mapop3servername"));
  const int pop3Port = int(number(rs, QStringLiteral("mapop3port")));
  r.pop3Port = pop3Port > 0 ? pop3Port : 110;
  r.pop3Security = int(number(rs, QStringLiteral("mapop3security")));
  r.smtpSecurity = int(number(rs, QStringLiteral("masmtpsecurity")));
  r.certFile = rs.text(QStringLiteral("macertfile"));
  r.keepOnServer = number(rs, QStringLiteral("maisnotdelete")) == 1;  // the module's own test
  r.deleteAfterDays = number(rs, QStringLiteral("maisafterdaydelete")) != 0;
  r.deleteDays = int(number(rs, QStringLiteral("madeleteday")));
  r.isOut = number(rs, QStringLiteral("maisout")) != 0;
  r.isDefault = number(rs, QStringLiteral("maisdefault")) == 1;
  r.hasPassword = number(rs, QStringLiteral("haspassword")) != 0;
  return r;
}

}  // namespace

AccountRecord loadAccountRecord(IHostSystem& host, QString* error) {
  const QString user = host.currentUserId();
  QStringList queries;
  if (!user.isEmpty() && user.toLongLong() > 0)
    queries << QStringLiteral(
                   "select %1 from mailaccount A join mailaccountuser B on "
                   "A.maid=B.maid and A.masmtptype=B.masmtptype where B.userid=%2")
                   .arg(kColumns, QString::number(user.toLongLong()));
  queries << QStringLiteral("select %1 from mailaccount A where maisdefault=1").arg(kColumns);
  for (qsizetype i = 0; i < queries.size(); ++i) {
    const auto rs = host.openQuery(queries[i], error);
    if (!rs) return {};
    if (!rs->isEmpty()) {
      AccountRecord r = fromRow(*rs);
      r.forCurrentUser = i == 0 && queries.size() == 2;  // found through the user's own row
      return r;
    }
  }
  AccountRecord fresh;
  fresh.isDefault = true;
  return fresh;
}

QString validateAccount(const AccountRecord& r) {
  if (r.name.trimmed().isEmpty()) return QStringLiteral("请输入帐户名称！");
  if (!isHostName(r.smtp)) return QStringLiteral("SMTP 服务器“%1”不是有效的主机名！").arg(r.smtp);
  if (r.smtpPort < 1 || r.smtpPort > 65535)
    return QStringLiteral("SMTP 端口应在 1 到 65535 之间！");
  if (!isAddress(r.fromAddress))
    return QStringLiteral("发件人地址“%1”不是有效的邮件地址！").arg(r.fromAddress);
  if (!r.replyTo.isEmpty() && !isAddress(r.replyTo))
    return QStringLiteral("答复地址“%1”不是有效的邮件地址！").arg(r.replyTo);
  if (!isHostName(r.pop3)) return QStringLiteral("POP3 服务器“%1”不是有效的主机名！").arg(r.pop3);
  if (r.pop3Port < 1 || r.pop3Port > 65535)
    return QStringLiteral("POP3 端口应在 1 到 65535 之间！");
  if (r.pop3Security < 0 || r.pop3Security > 2 || r.smtpSecurity < 0 || r.smtpSecurity > 2)
    return QStringLiteral("加密方式应为 0、1 或 2！");
  if (!r.certFile.trimmed().isEmpty() && !QFileInfo(r.certFile.trimmed()).isFile())
    return QStringLiteral("证书文件“%1”不存在！").arg(r.certFile.trimmed());
  if (r.userName.trimmed().isEmpty()) return QStringLiteral("请输入登录用户名！");
  if (r.deleteDays < 0) return QStringLiteral("保留天数不能为负数！");
  return {};
}

QString saveAccountRecord(host::SqlHostSystem& host, const AccountRecord& r) {
  QString error = validateAccount(r);
  if (!error.isEmpty()) return error;
  long maid = r.maid;
  if (!r.exists) {
    const auto rs = host.openQuery(
        QStringLiteral("select coalesce(max(maid),0)+1 as k from mailaccount"), &error);
    if (!rs) return error;
    maid = rs->text(QStringLiteral("k")).toLong();
  }
  const QVariantList key = {qlonglong(maid), qlonglong(r.smtpType)};
  const QVariantList fields = {r.name.trimmed(),
                               r.userName.trimmed(),
                               r.smtp,
                               r.replyTo,
                               r.smtpPort,
                               r.fromName,
                               r.fromAddress,
                               r.pop3,
                               r.pop3Port,
                               r.pop3Security,
                               r.smtpSecurity,
                               r.certFile.trimmed(),
                               r.keepOnServer ? 1 : 0,
                               r.deleteAfterDays ? 1 : 0,
                               r.deleteDays,
                               r.isOut ? 1 : 0,
                               r.isDefault ? 1 : 0};
  const QString user = host.currentUserId();

  error = host.beginTransaction();
  if (!error.isEmpty()) return error;
  const auto run = [&](const QString& sql, const QVariantList& values) {
    if (error.isEmpty()) error = host.executeBound(sql, values);
  };
  if (r.exists) {
    run(QStringLiteral("update mailaccount set maname=?,mausername=?,masmtpservername=?,"
                       "mareplyemailaddress=?,masmtpport=?,mafromname=?,mafromemailaddress=?,"
                       "mapop3servername=?,mapop3port=?,mapop3security=?,masmtpsecurity=?,"
                       "macertfile=?,maisnotdelete=?,maisafterdaydelete=?,madeleteday=?,maisout=?,"
                       "maisdefault=? where maid=? and masmtptype=?"),
        fields + key);
  } else {
    run(QStringLiteral("insert into mailaccount(maname,mausername,masmtpservername,"
                       "mareplyemailaddress,masmtpport,mafromname,mafromemailaddress,"
                       "mapop3servername,mapop3port,mapop3security,masmtpsecurity,macertfile,"
                       "maisnotdelete,maisafterdaydelete,madeleteday,maisout,maisdefault,"
                       "mapassword,maid,masmtptype) values "
                       "(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,'',?,?)"),
        fields + key);
  }
  if (r.passwordChanged)
    run(QStringLiteral("update mailaccount set mapassword=? where maid=? and masmtptype=?"),
        QVariantList{r.newPassword} + key);
  // Only one account is the default one.
  if (r.isDefault)
    run(QStringLiteral("update mailaccount set maisdefault=0 where not (maid=? and masmtptype=?)"),
        key);
  if (!user.isEmpty()) {
    // The user's account is this one or none: the module takes the first row it finds.
    if (r.forCurrentUser)
      run(QStringLiteral("delete from mailaccountuser where userid=?"), {user.toLongLong()});
    else
      run(QStringLiteral("delete from mailaccountuser where userid=? and maid=? and masmtptype=?"),
          QVariantList{user.toLongLong()} + key);
    if (r.forCurrentUser)
      run(QStringLiteral("insert into mailaccountuser(maid,masmtptype,userid) values (?,?,?)"),
          key + QVariantList{user.toLongLong()});
  }
  if (error.isEmpty()) error = host.commitTransaction();
  if (!error.isEmpty()) host.rollbackTransaction();
  return error;
}

}  // namespace kvmail::demo
