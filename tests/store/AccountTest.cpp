// Loading the account: the user's own, else the default, with the flags read as they always were.
#include "StoreRig.h"
#include "model/clsAccount.h"
#include "store/MailStore.h"

using kvmail::clsAccount;
using kvmail::host::AccountSeed;

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
            .notDelete = 1,
            .afterDayDelete = 1,
            .deleteDay = 14,
            .isOut = 1};
  }
  // The record as loaded over one that held other values; found tells whether one was found.
  clsAccount loaded(bool expectFound = true) {
    clsAccount account;
    account.lProgID = 12;
    account.sName = QStringLiteral("before");
    account.lSmtpPort = 99;
    account.bIsDelete = true;
    EXPECT_EQ(kvmail::MailStore(*rig.host).loadAccount(account), expectFound);
    return account;
  }
};

}  // namespace

TEST_F(AccountLoading, EveryFieldFromTheUsersAccount) {
  ASSERT_EQ(rig.seedAccount(full(1, QStringLiteral("7"))), QString());
  const clsAccount a = loaded();
  EXPECT_EQ((QStringList{a.sName, a.sSmtp, a.sFrom, a.sFromAddress, a.sUserName, a.sPassword,
                         a.sReplyTo, a.sPop3, QString::number(a.lSmtpPort),
                         QString::number(a.lDeleteDay), QString::number(a.lProgID)}),
            (QStringList{"account1", "smtp1.example.com", "发件人1", "from1@example.com", "user1",
                         "pw1", "reply1@example.com", "pop1.example.com", "2525", "14", "12"}));
  EXPECT_FALSE(a.bIsDelete);
  EXPECT_TRUE(a.bIsAfterdayDelete);
  EXPECT_TRUE(a.bIsOut);
}

TEST_F(AccountLoading, FirstOfTwoAssignedAccountsWins) {
  ASSERT_EQ(rig.seedAccount(full(2, QStringLiteral("7"))), QString());
  ASSERT_EQ(rig.seedAccount(full(1, QStringLiteral("7"))), QString());
  auto rs = rig.host->openQuery(kvmail::sql::accountForUser(QStringLiteral("7")));
  ASSERT_TRUE(rs);
  const QString first = rs->text(QStringLiteral("maname"));
  rs->moveNext();
  ASSERT_FALSE(rs->atEnd());
  EXPECT_NE(rs->text(QStringLiteral("maname")), first);
  EXPECT_EQ(loaded().sName, first);
}

TEST_F(AccountLoading, DefaultAccountWhenTheUserHasNoneAndNothingWithoutOne) {
  ASSERT_EQ(rig.seedAccount(full(1, QStringLiteral("8"))), QString());
  const clsAccount untouched = loaded(false);
  EXPECT_EQ(untouched.sName, QStringLiteral("before"));
  EXPECT_EQ(untouched.lSmtpPort, 99);
  EXPECT_TRUE(untouched.bIsDelete);

  AccountSeed fallback = full(2, QString());
  fallback.isDefault = true;
  ASSERT_EQ(rig.seedAccount(fallback), QString());
  EXPECT_EQ(loaded().sName, QStringLiteral("account2"));
  // A user id the store cannot even compare falls back the same way.
  rig.host->setCurrentUser(QString(), QString());
  EXPECT_EQ(loaded().sName, QStringLiteral("account2"));
}

// Kept on purpose: only an exact 1 keeps mail on the server; the other flags mean "not 0".
// Null numbers read as 0 and null texts as empty.
TEST_F(AccountLoading, FlagAsymmetryAndNulls) {
  struct Case {
    QVariant notDelete, afterDay, isOut;
    bool isDelete, isAfterday, out;
  };
  const Case cases[] = {
      {2, 2, 2, true, true, true},
      {1, 0, 0, false, false, false},
      {QVariant(), QVariant(), QVariant(), true, false, false},
      {0, -1, 1, true, true, true},
  };
  long maid = 1;
  for (const Case& c : cases) {
    ASSERT_EQ(rig.host->execute(QStringLiteral("delete from mailaccountuser")), QString());
    AccountSeed s = full(maid++, QStringLiteral("7"));
    s.notDelete = c.notDelete;
    s.afterDayDelete = c.afterDay;
    s.isOut = c.isOut;
    ASSERT_EQ(rig.seedAccount(s), QString());
    const clsAccount a = loaded();
    const std::string flags = c.notDelete.toString().toStdString() + "/" +
                              c.afterDay.toString().toStdString() + "/" +
                              c.isOut.toString().toStdString();
    EXPECT_EQ(a.bIsDelete, c.isDelete) << flags;
    EXPECT_EQ(a.bIsAfterdayDelete, c.isAfterday) << flags;
    EXPECT_EQ(a.bIsOut, c.out) << flags;
  }
  AccountSeed s = full(maid, QStringLiteral("7"));
  s.smtpPort = QVariant();
  s.deleteDay = QVariant();
  ASSERT_EQ(rig.host->execute(QStringLiteral("delete from mailaccountuser")), QString());
  ASSERT_EQ(rig.seedAccount(s), QString());
  ASSERT_EQ(rig.host->execute(QStringLiteral("update mailaccount set mapassword=null,maname=null")),
            QString());
  const clsAccount a = loaded();
  EXPECT_EQ(a.lSmtpPort, 0);
  EXPECT_EQ(a.lDeleteDay, 0);
  EXPECT_EQ(a.sPassword, QString());
  EXPECT_EQ(a.sName, QString());
}
