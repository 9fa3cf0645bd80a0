// What only a PostgreSQL server does: log-in, and names folded to lower case.
#include "HostBackend.h"
#include "store/FieldText.h"

using kvmail::firstValue;
using kvmail::host::SqlHostSystem;
using kvtest::HostStoreTest;

using PostgresServer = HostStoreTest;

TEST_F(PostgresServer, WrongPasswordFailsWithoutShowingIt) {
  auto o = kvtest::postgresOptions();
  o.password = QStringLiteral("Secret-Wrong-9731");
  SqlHostSystem host(o);
  const QString error = host.open();
  EXPECT_FALSE(error.isEmpty());
  EXPECT_FALSE(error.contains(o.password));
  EXPECT_FALSE(host.isOpen());
}

TEST_F(PostgresServer, MixedCaseNamesOfTheModuleResolve) {
  ASSERT_EQ(host_->execute(QStringLiteral(
                "insert into MailTemplet(progID,[to],cc,subject)values(1,'a','b','c')")),
            QString());
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select [to] from mailTemplet where PROGID=1")),
            QStringLiteral("a"));
  EXPECT_EQ(firstValue(*host_, QStringLiteral("select count(*) from msgMail where CshgnsID=2 "
                                              "and MessageID=''")),
            QStringLiteral("0"));
}
