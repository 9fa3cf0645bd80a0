#include "StoreRig.h"

#include <QSqlDatabase>
#include <QSqlQuery>

#include "LoopbackServers.h"

namespace kvtest {

using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

StoreRig::StoreRig(Engine engine, const QString& userId, const QString& operatorName)
    : engine_(engine),
      userId_(userId),
      operator_(operatorName),
      tmp_("TMPDIR", dir_.path().toUtf8()) {
  if (!dir_.isValid()) {
    error = u"no private folder"_s;
    return;
  }
  if (!isSqlite()) {
    if (options().port == 0) {
      skipped = true;
      error = u"no PostgreSQL fixture server (KV_PG_PORT)"_s;
      return;
    }
    // Each test starts from empty tables: drop what an earlier test left.
    auto admin = connect();
    for (const char* table :
         {"msgmail", "mailaccount", "mailaccountuser", "mailtemplet", "xt_objects", "kv_keys"})
      if (error.isEmpty())
        error = admin->execute(u"drop table if exists "_s + QLatin1String(table));
  }
  if (error.isEmpty()) host = connect();
}

HostOptions StoreRig::options() const {
  HostOptions o =
      isSqlite() ? HostOptions::sqlite(path(u"store.db"_s))
                 : HostOptions::postgres(u"127.0.0.1"_s, qEnvironmentVariableIntValue("KV_PG_PORT"),
                                         u"kvmail"_s, u"kvmail"_s, u"kvtest"_s);
  o.userId = userId_;
  o.operatorName = operator_;
  return o;
}

std::unique_ptr<SqlHostSystem> StoreRig::connect() const {
  auto host = std::make_unique<SqlHostSystem>(options());
  const QString openError = host->open();
  EXPECT_EQ(openError, QString());
  return host;
}

QString StoreRig::valueOf(kvmail::IHostSystem& host, const QString& sql) {
  const auto rs = host.openQuery(sql);
  return rs && !rs->atEnd() ? rs->text(0) : QString();
}

QStringList StoreRig::row(const QString& sql) const {
  QStringList out;
  const auto rs = host->openQuery(sql);
  EXPECT_TRUE(rs && !rs->atEnd()) << sql.toStdString();
  for (int i = 0; rs && !rs->atEnd() && i < rs->fieldCount(); ++i) out << rs->text(i);
  return out;
}

bool StoreRig::addTrigger(const QString& sql) const {
  bool ok = false;
  {
    QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"trigger"_s);
    db.setDatabaseName(options().sqlitePath);
    ok = db.open() && QSqlQuery(db).exec(sql);
  }
  QSqlDatabase::removeDatabase(u"trigger"_s);
  return ok;
}

int StoreRig::countOf(kvmail::IHostSystem& host, const QString& table, const QString& where) {
  return valueOf(host, u"select count(*) from "_s + table +
                           (where.isEmpty() ? QString() : u" where "_s + where))
      .toInt();
}

kvmail::sql::ComposedRow composedRow(long id) {
  kvmail::sql::ComposedRow r;
  r.mailId = id;
  r.fromName = u"王五"_s;
  r.subject = u"报价"_s;
  r.sentTime = QDateTime(QDate(2024, 3, id % 28 + 1), QTime(9, 0, 0));
  r.toAddresses = u"to%1@example.com"_s.arg(id);
  r.fromAddress = u"me@example.com"_s;
  r.toNames = u"客户 <to%1@example.com>"_s.arg(id);
  r.email = u"-1"_s;
  r.operatorName = u"张三"_s;
  r.replyId = id;
  r.size = 123;
  return r;
}

kvmail::sql::ReceivedRow receivedRow(long id, const QString& uidl) {
  kvmail::sql::ReceivedRow r;
  r.mailId = id;
  r.fromName = u"客户"_s;
  r.subject = u"回复"_s;
  r.sentTime = QDateTime(QDate(2024, 4, 1), QTime(8, 30, 0));
  r.toAddresses = u"me@example.com"_s;
  r.fromAddress = u"sender%1@example.com"_s.arg(id);
  r.toNames = u"me@example.com"_s;
  r.receivedTime = QDateTime(QDate(2024, 4, 2), QTime(10, 0, 0));
  r.operatorName = u"张三"_s;
  r.messageId = u"pop.example.com"_s;
  r.uidl = uidl;
  r.replyId = id;
  r.size = 456;
  return r;
}

kvmail::host::AccountSeed loopbackAccount(const QString& user, const QString& name) {
  kvmail::host::AccountSeed seed;
  seed.userId = u"1"_s;
  seed.isDefault = true;
  seed.name = name;
  seed.userName = user;
  seed.password = loopbackServers().password;
  seed.smtp = seed.pop3 = u"127.0.0.1"_s;
  seed.smtpPort = loopbackServers().smtpPort;
  seed.fromName = u"测试"_s;
  seed.fromAddress = addressOf(user);
  return seed;
}

}  // namespace kvtest
