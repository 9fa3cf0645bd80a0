#include "HostTables.h"

namespace kvmail::host {

QStringList hostTableStatements(SqlEngine engine) {
  const bool pg = engine == SqlEngine::Postgres;
  const QString blob = pg ? QStringLiteral("bytea") : QStringLiteral("blob");
  const QString big = pg ? QStringLiteral("bigint") : QStringLiteral("integer");
  return {
      QStringLiteral(
          "create table if not exists msgmail ("
          "邮件ID integer primary key, 发件人 text, 发件人邮箱 text, 收件人 text, 收件人邮箱 text, "
          "\"E-MAIL\" text, 级次 integer, 主题 text, 发送时间 text, 接收时间 text, 附件 integer, "
          "cshgnsid integer, 操作者 text, 优先级 integer, 标记 integer, 帐户 text, "
          "跟踪与忽略 integer, 是否已读 integer, messageid text, uidl text, 回复ID integer, "
          "大小 %1, 权限 text, 消息 %2, del integer default 0, active integer default 1)")
          .arg(big, blob),
      QStringLiteral("create index if not exists msgmail_uidl on msgmail (uidl)"),
      QStringLiteral("create index if not exists msgmail_queue on msgmail (cshgnsid, messageid)"),
      // The address book and the recipient history read these two without the message files.
      QStringLiteral(
          "create index if not exists msgmail_senders on msgmail (发件人邮箱, cshgnsid)"),
      QStringLiteral(
          "create index if not exists msgmail_recipients on msgmail (收件人邮箱, cshgnsid)"),
      // The mail list's totals: counted in the index, never through the message files.
      QStringLiteral(
          "create index if not exists msgmail_list on msgmail (del, cshgnsid, messageid)"),
      QStringLiteral(
          "create table if not exists mailaccount ("
          "maid integer not null, masmtptype integer not null default 0, maname text, "
          "mausername text, mapassword text, masmtpservername text, mareplyemailaddress text, "
          "masmtpport integer, mafromname text, mafromemailaddress text, mapop3servername text, "
          "maisnotdelete integer, maisafterdaydelete integer, madeleteday integer, "
          "maisout integer, maisdefault integer, mapop3port integer, mapop3security integer, "
          "masmtpsecurity integer, macertfile text, primary key (maid, masmtptype))"),
      QStringLiteral("create table if not exists mailaccountuser ("
                     "maid integer not null, masmtptype integer not null default 0, "
                     "userid integer not null)"),
      QStringLiteral("create table if not exists mailtemplet (progid integer primary key, "
                     "\"to\" text, cc text, bcc text, subject text, email %1)")
          .arg(blob),
      QStringLiteral(
          "create table if not exists xt_objects (progid integer primary key, progname text)"),
      QStringLiteral("create table if not exists %1 (tablename text not null, "
                     "keycolumn text not null, lastkey %2 not null, "
                     "primary key (tablename, keycolumn))")
          .arg(QLatin1String(kKeyTable), big),
  };
}

QList<OptionalColumn> hostOptionalColumns() {
  return {{"mailaccount", "mapop3port", "integer"},
          {"mailaccount", "mapop3security", "integer"},
          {"mailaccount", "masmtpsecurity", "integer"},
          {"mailaccount", "macertfile", "text"}};
}

}  // namespace kvmail::host
