// Loading the account: the user's own, else the default, with the flags read as they always were,
// and the optional settings columns: read when the table has them, the plain behaviour when it
// does not, and added to a store made before they existed.
#include "StoreRig.h"
#include "model/clsAccount.h"
#include "store/MailStore.h"

using kvmail::clsAccount;
using kvmail::host::AccountSeed;
using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

namespace {

class AccountLoading : public kvtest::StoreTest {
 protected:
  static AccountSeed full(long maid, const QString& userId) {
    const QString n = QString::number(maid);
    return {.maid = maid,
            .userId = userId,
            .name = "account" + n,
            .userName = "user" + n,
            .password = "pw" + n,
            .smtp = "smtp" + n + ".example.com",
            .replyTo = "reply" + n + "@example.com",
            .smtpPort = 2525,
            .fromName = "发件人" + n,
            .fromAddress = "from" + n + "@example.com",
            .pop3 = "pop" + n + ".example.com",
            .pop3Port = int(11000 + maid),
            .notDelete = 1,
            .afterDayDelete = 1,
            .deleteDay = 14,
            .isOut = 1};
  }
  // The record as loaded over one that held other values; found tells whether one was found.
  clsAccount loaded(bool expectFound = true) {
    clsAccount account;
    account.lProgID = 12;
    account.sName = u"before"_s;
    account.lSmtpPort = 99;
    account.bIsDelete = true;
    EXPECT_EQ(kvmail::MailStore(*rig.host).loadAccount(account), expectFound);
    return account;
  }
};

}  // namespace

TEST_F(AccountLoading, TheUsersFirstAccountElseTheDefaultElseNothing) {
  ASSERT_EQ(rig.seedAccount(full(1, u"8"_s)), QString());
  const clsAccount untouched = loaded(false);
  EXPECT_EQ(untouched.sName + QString::number(untouched.lSmtpPort), u"before99"_s);
  EXPECT_TRUE(untouched.bIsDelete);

  AccountSeed fallback = full(2, QString());
  fallback.isDefault = true;
  ASSERT_EQ(rig.seedAccount(fallback), QString());
  EXPECT_EQ(loaded().sName + QString::number(loaded().lPop3Port), u"account211002"_s);
  // The user's own accounts win over the default: the first of two as the store gives them.
  ASSERT_EQ(rig.seedAccount(full(4, u"7"_s)), QString());
  ASSERT_EQ(rig.seedAccount(full(3, u"7"_s)), QString());
  auto rs = rig.host->openQuery(kvmail::sql::accountForUser(u"7"_s));
  ASSERT_TRUE(rs);
  const QString first = rs->text(u"maname"_s);
  rs->moveNext();
  ASSERT_FALSE(rs->atEnd());
  EXPECT_EQ(loaded().sName, first);
  // A user id the store cannot even compare falls back the same way.
  rig.host->setCurrentUser(QString(), QString());
  EXPECT_EQ(loaded().sName, u"account2"_s);
}

// Kept on purpose: only an exact 1 keeps mail on the server; the other flags mean "not 0".
// Null numbers read as 0 and null texts as empty.
TEST_F(AccountLoading, FlagAsymmetryAndNulls) {
  struct Case {
    QVariant notDelete, afterDay, isOut;
    bool isDelete, isAfterday, out;
  };
  const Case cases[] = {
      {2, -1, 2, true, true, true},
      {1, 0, 0, false, false, false},
      {QVariant(), QVariant(), QVariant(), true, false, false},
  };
  long maid = 0;
  for (const Case& c : cases) {
    ASSERT_EQ(rig.host->execute(u"delete from mailaccountuser"_s), QString());
    AccountSeed s = full(++maid, u"7"_s);
    s.notDelete = c.notDelete;
    s.afterDayDelete = c.afterDay;
    s.isOut = c.isOut;
    ASSERT_EQ(rig.seedAccount(s), QString());
    const clsAccount a = loaded();
    EXPECT_EQ((std::tuple{a.bIsDelete, a.bIsAfterdayDelete, a.bIsOut}),
              (std::tuple{c.isDelete, c.isAfterday, c.out}))
        << "account " << maid;
  }
  AccountSeed s = full(++maid, u"7"_s);
  s.smtpPort = QVariant();
  s.deleteDay = QVariant();
  s.pop3Port = 70000;  // nonsense in the column means the standard port
  ASSERT_EQ(rig.host->execute(u"delete from mailaccountuser"_s), QString());
  ASSERT_EQ(rig.seedAccount(s), QString());
  ASSERT_EQ(rig.host->execute(u"update mailaccount set mapassword=null,maname=null"_s), QString());
  const clsAccount a = loaded();
  EXPECT_EQ(a.lSmtpPort + a.lDeleteDay + a.lPop3Port, 0);
  EXPECT_EQ(a.sPassword + a.sName, QString());
}

TEST_F(AccountLoading, EveryFieldAndTheSecurityColumnsAsTheHostWroteThem) {
  struct Case {
    const char* set;  // the columns' values
    long pop3, smtp;
    QString cert;
  };
  const Case cases[] = {
      {"mapop3security=1, masmtpsecurity=2, macertfile=' /etc/kv/ca.pem '", 1, 2,
       u"/etc/kv/ca.pem"_s},
      // A number the sessions do not know is kept, so they refuse it rather than go plain.
      {"mapop3security=9, masmtpsecurity=-1, macertfile=''", 9, -1, {}},
  };
  ASSERT_EQ(rig.seedAccount(full(1, u"7"_s)), QString());
  const clsAccount all = loaded();
  EXPECT_EQ(
      (QStringList{all.sName, all.sSmtp, all.sFrom, all.sFromAddress, all.sUserName, all.sPassword,
                   all.sReplyTo, all.sPop3, QString::number(all.lSmtpPort),
                   QString::number(all.lDeleteDay), QString::number(all.lProgID),
                   QString::number(all.lPop3Port)}),
      (QStringList{"account1", "smtp1.example.com", "发件人1", "from1@example.com", "user1", "pw1",
                   "reply1@example.com", "pop1.example.com", "2525", "14", "12", "11001"}));
  for (const Case& c : cases) {
    ASSERT_EQ(rig.host->execute(u"update mailaccount set "_s + QLatin1String(c.set)), QString());
    clsAccount a = loaded();
    EXPECT_EQ(u"%1 %2 "_s.arg(a.lPop3Security).arg(a.lSmtpSecurity) + a.sCertFile,
              u"%1 %2 "_s.arg(c.pop3).arg(c.smtp) + c.cert)
        << c.set;
  }
}

// A store whose account table predates the settings columns: the rig's store with them dropped.
TEST_F(AccountLoading, AnOlderTableGivesThePlainBehaviourAndIsUpgradedOnOpen) {
  for (const char* column : {"mapop3port", "mapop3security", "masmtpsecurity", "macertfile"})
    ASSERT_EQ(rig.host->execute(u"alter table mailaccount drop column "_s + QLatin1String(column)),
              QString());
  ASSERT_EQ(rig.host->execute(u"insert into mailaccount(maid,masmtptype,maname,maisdefault) "
                              "values(1,0,'old',1)"_s),
            QString());
  HostOptions readOnly = rig.options();
  readOnly.readOnly = true;  // no set-up runs: the table stays as it is
  {
    SqlHostSystem host(readOnly);
    ASSERT_EQ(host.open(), QString());
    clsAccount account;
    account.lPop3Port = 1234;
    account.lPop3Security = account.lSmtpSecurity = 2;
    ASSERT_TRUE(kvmail::MailStore(host).loadAccount(account));
    EXPECT_EQ(account.sName, u"old"_s);
    EXPECT_EQ(account.lPop3Port + account.lPop3Security + account.lSmtpSecurity, 0);
  }
  const auto host = rig.connect();
  EXPECT_EQ(host->execute(u"update mailaccount set mapop3port=2110, mapop3security=2"_s),
            QString());
  clsAccount account;
  ASSERT_TRUE(kvmail::MailStore(*host).loadAccount(account));
  EXPECT_EQ(account.lPop3Port + account.lPop3Security, 2112);
}
