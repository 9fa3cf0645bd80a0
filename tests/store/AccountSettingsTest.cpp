// Optional settings columns of the host's account table: read when the table has them, the plain
// behaviour when it does not, and added to a store made before they existed.
#include "HostStore.h"
#include "model/clsAccount.h"
#include "store/MailStore.h"
#include "store/Statements.h"

#include <gtest/gtest.h>

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

using kvmail::host::AccountSeed;
using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

namespace {

// A store whose account table predates the settings columns.
void makeOldStore(const QString& path) {
  {
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("old"));
    db.setDatabaseName(path);
    ASSERT_TRUE(db.open());
    QSqlQuery q(db);
    ASSERT_TRUE(q.exec(QStringLiteral(
        "create table mailaccount (maid integer, masmtptype integer, maname text, mausername text,"
        " mapassword text, masmtpservername text, mareplyemailaddress text, masmtpport integer,"
        " mafromname text, mafromemailaddress text, mapop3servername text, maisnotdelete integer,"
        " maisafterdaydelete integer, madeleteday integer, maisout integer, maisdefault "
        "integer)")));
    ASSERT_TRUE(
        q.exec(QStringLiteral("insert into mailaccount(maid,masmtptype,maname,maisdefault)"
                              " values(1,0,'old',1)")));
  }
  QSqlDatabase::removeDatabase(QStringLiteral("old"));
}

}  // namespace

TEST(AccountSettings, TheSettingsQueriesSelectTheSameRowsWithEveryColumn) {
  EXPECT_EQ(kvmail::sql::accountSettingsForUser(QStringLiteral("7")),
            QStringLiteral("select * from mailaccount A left join mailaccountuser B on "
                           "A.maid=B.maid and A.masmtptype=B.masmtptype where UserID=7"));
  EXPECT_EQ(kvmail::sql::defaultAccountSettings(),
            QStringLiteral("select * from mailaccount where maisdefault=1"));
}

TEST(AccountSettings, PortFromTheUsersRowOrTheDefaultRow) {
  QTemporaryDir dir;
  HostOptions o = HostOptions::sqlite(dir.filePath(QStringLiteral("s.db")));
  o.userId = QStringLiteral("7");
  SqlHostSystem host(o);
  ASSERT_EQ(host.open(), QString());
  AccountSeed mine;
  mine.maid = 1;
  mine.userId = QStringLiteral("7");
  mine.pop3Port = 11110;
  AccountSeed fallback;
  fallback.maid = 2;
  fallback.isDefault = true;
  fallback.pop3Port = 995;
  ASSERT_EQ(kvmail::host::seedAccount(host, mine), QString());
  ASSERT_EQ(kvmail::host::seedAccount(host, fallback), QString());
  kvmail::clsAccount account;
  ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
  EXPECT_EQ(account.lPop3Port, 11110);
  host.setCurrentUser(QStringLiteral("8"), QString());
  ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
  EXPECT_EQ(account.lPop3Port, 995);
  // Nonsense in the column means the standard port.
  host.execute(QStringLiteral("update mailaccount set mapop3port=70000"));
  ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
  EXPECT_EQ(account.lPop3Port, 0);
}

TEST(AccountSettings, AnOlderTableGivesThePlainBehaviourAndIsUpgradedOnOpen) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("old.db"));
  makeOldStore(path);
  HostOptions readOnly = HostOptions::sqlite(path);
  readOnly.readOnly = true;  // no set-up runs: the table stays as the host made it
  {
    SqlHostSystem host(readOnly);
    ASSERT_EQ(host.open(), QString());
    kvmail::clsAccount account;
    account.lPop3Port = 1234;
    account.lPop3Security = account.lSmtpSecurity = 2;
    ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
    EXPECT_EQ(account.sName, QStringLiteral("old"));
    EXPECT_EQ(account.lPop3Port, 0);
    EXPECT_EQ(account.lPop3Security + account.lSmtpSecurity, 0);
  }
  SqlHostSystem host(HostOptions::sqlite(path));
  ASSERT_EQ(host.open(), QString());
  EXPECT_EQ(
      host.execute(QStringLiteral("update mailaccount set mapop3port=2110, mapop3security=2")),
      QString());
  kvmail::clsAccount account;
  ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
  EXPECT_EQ(account.lPop3Port, 2110);
  EXPECT_EQ(account.lPop3Security, 2);
}

TEST(AccountSettings, SecurityColumnsAreReadAsTheHostWroteThem) {
  struct Case {
    const char* set;  // the columns' values
    long pop3, smtp;
    QString cert;
  };
  const Case cases[] = {
      {"mapop3security=null, masmtpsecurity=null, macertfile=null", 0, 0, {}},
      {"mapop3security=1, masmtpsecurity=2, macertfile=' /etc/kv/ca.pem '", 1, 2,
       QStringLiteral("/etc/kv/ca.pem")},
      // A number the sessions do not know is kept, so they refuse it rather than go plain.
      {"mapop3security=9, masmtpsecurity=-1, macertfile=''", 9, -1, {}},
  };
  QTemporaryDir dir;
  SqlHostSystem host(HostOptions::sqlite(dir.filePath(QStringLiteral("s.db"))));
  ASSERT_EQ(host.open(), QString());
  AccountSeed seed;
  seed.isDefault = true;
  ASSERT_EQ(kvmail::host::seedAccount(host, seed), QString());
  for (const Case& c : cases) {
    ASSERT_EQ(host.execute(QStringLiteral("update mailaccount set ") + QLatin1String(c.set)),
              QString());
    kvmail::clsAccount account;
    account.sCertFile = QStringLiteral("left over");
    ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
    EXPECT_EQ(account.lPop3Security, c.pop3) << c.set;
    EXPECT_EQ(account.lSmtpSecurity, c.smtp) << c.set;
    EXPECT_EQ(account.sCertFile, c.cert) << c.set;
  }
}
