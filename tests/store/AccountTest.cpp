// Loading the account: the user's own, else the default, with the flags read as they always were.
#include "HostStore.h"
#include "model/clsAccount.h"
#include "store/MailStore.h"
#include "store/Statements.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using kvmail::clsAccount;
using kvmail::host::AccountSeed;
using kvmail::host::HostOptions;
using kvmail::host::seedAccount;
using kvmail::host::SqlHostSystem;

namespace {

class AccountLoading : public ::testing::Test {
 protected:
  void SetUp() override {
    HostOptions o = HostOptions::sqlite(dir_.filePath(QStringLiteral("store.db")));
    o.userId = QStringLiteral("7");
    host_ = std::make_unique<SqlHostSystem>(o);
    ASSERT_EQ(host_->open(), QString());
  }

  static AccountSeed full(long maid, const QString& userId) {
    AccountSeed s;
    s.maid = maid;
    s.userId = userId;
    s.name = QStringLiteral("account%1").arg(maid);
    s.userName = QStringLiteral("user%1").arg(maid);
    s.password = QStringLiteral("pw%1").arg(maid);
    s.smtp = QStringLiteral("smtp%1.example.com").arg(maid);
    s.replyTo = QStringLiteral("reply%1@example.com").arg(maid);
    s.smtpPort = 2525;
    s.fromName = QStringLiteral("发件人%1").arg(maid);
    s.fromAddress = QStringLiteral("from%1@example.com").arg(maid);
    s.pop3 = QStringLiteral("pop%1.example.com").arg(maid);
    s.notDelete = 1;
    s.afterDayDelete = 1;
    s.deleteDay = 14;
    s.isOut = 1;
    return s;
  }

  clsAccount loaded(bool expectFound = true) {
    clsAccount account;
    account.lProgID = 12;
    EXPECT_EQ(kvmail::MailStore(*host_).loadAccount(account), expectFound);
    return account;
  }

  QTemporaryDir dir_;
  std::unique_ptr<SqlHostSystem> host_;
};

}  // namespace

TEST_F(AccountLoading, EveryFieldFromTheUsersAccount) {
  ASSERT_EQ(seedAccount(*host_, full(1, QStringLiteral("7"))), QString());
  const clsAccount a = loaded();
  EXPECT_EQ(a.lProgID, 12);
  EXPECT_EQ(a.sName, QStringLiteral("account1"));
  EXPECT_EQ(a.sSmtp, QStringLiteral("smtp1.example.com"));
  EXPECT_EQ(a.sFrom, QStringLiteral("发件人1"));
  EXPECT_EQ(a.sFromAddress, QStringLiteral("from1@example.com"));
  EXPECT_EQ(a.sUserName, QStringLiteral("user1"));
  EXPECT_EQ(a.sPassword, QStringLiteral("pw1"));
  EXPECT_EQ(a.sReplyTo, QStringLiteral("reply1@example.com"));
  EXPECT_EQ(a.lSmtpPort, 2525);
  EXPECT_EQ(a.sPop3, QStringLiteral("pop1.example.com"));
  EXPECT_FALSE(a.bIsDelete);
  EXPECT_TRUE(a.bIsAfterdayDelete);
  EXPECT_EQ(a.lDeleteDay, 14);
  EXPECT_TRUE(a.bIsOut);
}

TEST_F(AccountLoading, FirstOfTwoAssignedAccountsWins) {
  ASSERT_EQ(seedAccount(*host_, full(2, QStringLiteral("7"))), QString());
  ASSERT_EQ(seedAccount(*host_, full(1, QStringLiteral("7"))), QString());
  auto rs = host_->openQuery(kvmail::sql::accountForUser(QStringLiteral("7")));
  ASSERT_TRUE(rs);
  const QString first = rs->text(QStringLiteral("maname"));
  rs->moveNext();
  ASSERT_FALSE(rs->atEnd());
  EXPECT_NE(rs->text(QStringLiteral("maname")), first);
  EXPECT_EQ(loaded().sName, first);
}

TEST_F(AccountLoading, DefaultAccountWhenTheUserHasNone) {
  ASSERT_EQ(seedAccount(*host_, full(1, QStringLiteral("8"))), QString());
  AccountSeed fallback = full(2, QString());
  fallback.isDefault = true;
  ASSERT_EQ(seedAccount(*host_, fallback), QString());
  EXPECT_EQ(loaded().sName, QStringLiteral("account2"));
  // A user id the store cannot even compare falls back the same way.
  host_->setCurrentUser(QString(), QString());
  EXPECT_EQ(loaded().sName, QStringLiteral("account2"));
}

TEST_F(AccountLoading, NoAccountLeavesTheFieldsAsTheyWere) {
  ASSERT_EQ(seedAccount(*host_, full(1, QStringLiteral("8"))), QString());
  clsAccount account;
  account.lProgID = 3;
  account.sName = QStringLiteral("before");
  account.lSmtpPort = 99;
  account.bIsDelete = true;
  EXPECT_FALSE(kvmail::MailStore(*host_).loadAccount(account));
  EXPECT_EQ(account.lProgID, 3);
  EXPECT_EQ(account.sName, QStringLiteral("before"));
  EXPECT_EQ(account.lSmtpPort, 99);
  EXPECT_TRUE(account.bIsDelete);
}

// Kept on purpose: only an exact 1 keeps mail on the server; the other flags mean "not 0".
TEST_F(AccountLoading, FlagAsymmetry) {
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
    ASSERT_EQ(host_->execute(QStringLiteral("delete from mailaccountuser")), QString());
    AccountSeed s = full(maid++, QStringLiteral("7"));
    s.notDelete = c.notDelete;
    s.afterDayDelete = c.afterDay;
    s.isOut = c.isOut;
    ASSERT_EQ(seedAccount(*host_, s), QString());
    const clsAccount a = loaded();
    EXPECT_EQ(a.bIsDelete, c.isDelete) << "maisnotdelete " << c.notDelete.toString().toStdString();
    EXPECT_EQ(a.bIsAfterdayDelete, c.isAfterday) << c.afterDay.toString().toStdString();
    EXPECT_EQ(a.bIsOut, c.out) << c.isOut.toString().toStdString();
  }
}

TEST_F(AccountLoading, NullNumbersReadAsZeroAndNullTextsAsEmpty) {
  AccountSeed s = full(1, QStringLiteral("7"));
  s.smtpPort = QVariant();
  s.deleteDay = QVariant();
  ASSERT_EQ(seedAccount(*host_, s), QString());
  ASSERT_EQ(host_->execute(QStringLiteral("update mailaccount set mapassword=null,maname=null")),
            QString());
  const clsAccount a = loaded();
  EXPECT_EQ(a.lSmtpPort, 0);
  EXPECT_EQ(a.lDeleteDay, 0);
  EXPECT_EQ(a.sPassword, QString());
  EXPECT_EQ(a.sName, QString());
}
