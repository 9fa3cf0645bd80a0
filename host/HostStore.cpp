#include "HostStore.h"

#include <QDir>
#include <QFileInfo>

namespace kvmail::host {

QString createStore(const QString& path) {
  QDir().mkpath(QFileInfo(path).absolutePath());
  SqlHostSystem host(HostOptions::sqlite(path));
  return host.open();
}

QString seedAccount(SqlHostSystem& host, const AccountSeed& s) {
  QString error = host.executeBound(
      QStringLiteral("insert into mailaccount(maid,masmtptype,maname,mausername,mapassword,"
                     "masmtpservername,mareplyemailaddress,masmtpport,mafromname,"
                     "mafromemailaddress,mapop3servername,maisnotdelete,maisafterdaydelete,"
                     "madeleteday,maisout,maisdefault,mapop3port) "
                     "values (?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)"),
      {qlonglong(s.maid), qlonglong(s.smtpType), s.name, s.userName, s.password, s.smtp, s.replyTo,
       s.smtpPort, s.fromName, s.fromAddress, s.pop3, s.notDelete, s.afterDayDelete, s.deleteDay,
       s.isOut, s.isDefault ? 1 : 0, s.pop3Port});
  if (!error.isEmpty() || s.userId.isEmpty()) return error;
  return host.executeBound(
      QStringLiteral("insert into mailaccountuser(maid,masmtptype,userid) values (?,?,?)"),
      {qlonglong(s.maid), qlonglong(s.smtpType), s.userId.toLongLong()});
}

QString seedProgram(SqlHostSystem& host, long progId, const QString& name) {
  return host.executeBound(QStringLiteral("insert into xt_objects(progid,progname) values (?,?)"),
                           {qlonglong(progId), name});
}

}  // namespace kvmail::host
