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
    error = QStringLiteral("no private folder");
    return;
  }
  if (!isSqlite()) {
    if (options().port == 0) {
      skipped = true;
      error = QStringLiteral("no PostgreSQL fixture server (KV_PG_PORT)");
      return;
    }
    // Each test starts from empty tables: drop what an earlier test left.
    auto admin = connect();
    for (const char* table :
         {"msgmail", "mailaccount", "mailaccountuser", "mailtemplet", "xt_objects", "kv_keys"})
      if (error.isEmpty())
        error = admin->execute(QStringLiteral("drop table if exists ") + QLatin1String(table));
  }
  if (error.isEmpty()) host = connect();
}

HostOptions StoreRig::options() const {
  HostOptions o = isSqlite()
                      ? HostOptions::sqlite(path(QStringLiteral("store.db")))
                      : HostOptions::postgres(QStringLiteral("127.0.0.1"),
                                              qEnvironmentVariableIntValue("KV_PG_PORT"),
                                              QStringLiteral("kvmail"), QStringLiteral("kvmail"),
                                              QStringLiteral("kvtest"));
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
    QSqlDatabase db =
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("trigger"));
    db.setDatabaseName(options().sqlitePath);
    ok = db.open() && QSqlQuery(db).exec(sql);
  }
  QSqlDatabase::removeDatabase(QStringLiteral("trigger"));
  return ok;
}

int StoreRig::countOf(kvmail::IHostSystem& host, const QString& table, const QString& where) {
  return valueOf(host, QStringLiteral("select count(*) from ") + table +
                           (where.isEmpty() ? QString() : QStringLiteral(" where ") + where))
      .toInt();
}

kvmail::sql::ComposedRow composedRow(long id) {
  kvmail::sql::ComposedRow r;
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

kvmail::sql::ReceivedRow receivedRow(long id, const QString& uidl) {
  kvmail::sql::ReceivedRow r;
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

kvmail::host::AccountSeed loopbackAccount(const QString& user, const QString& name) {
  kvmail::host::AccountSeed seed;
  seed.userId = QStringLiteral("1");
  seed.isDefault = true;
  seed.name = name;
  seed.userName = user;
  seed.password = loopbackServers().password;
  seed.smtp = seed.pop3 = QStringLiteral("127.0.0.1");
  seed.smtpPort = loopbackServers().smtpPort;
  seed.fromName = QStringLiteral("测试");
  seed.fromAddress = addressOf(user);
  return seed;
}

}  // namespace kvtest
