// The dialect step: T-SQL forms in, engine SQL out, one statement at a time.
#include "SqlDialect.h"

#include <gtest/gtest.h>

using kvmail::host::hasSecondStatement;
using kvmail::host::isPlainName;
using kvmail::host::toEngineSql;

namespace {

QString engineSql(const QString& sql) {
  QString error;
  const QString out = toEngineSql(sql, &error);
  EXPECT_TRUE(error.isEmpty()) << error.toStdString();
  return out;
}

}  // namespace

TEST(Dialect, BracketNamesBecomeQuotedNames) {
  EXPECT_EQ(engineSql(QStringLiteral("select [to],cc from MailTemplet")),
            QStringLiteral("select \"to\",cc from MailTemplet"));
  EXPECT_EQ(engineSql(QStringLiteral("insert into msgmail([E-MAIL])values('x')")),
            QStringLiteral("insert into msgmail(\"E-MAIL\")values('x')"));
}

TEST(Dialect, TextInsideQuotesIsLeftAlone) {
  EXPECT_EQ(engineSql(QStringLiteral("select 1 where subject='[客户] it''s [to]'")),
            QStringLiteral("select 1 where subject='[客户] it''s [to]'"));
}

TEST(Dialect, DeleteGetsItsFrom) {
  EXPECT_EQ(engineSql(QStringLiteral("delete MailTemplet where progID=3")),
            QStringLiteral("delete from MailTemplet where progID=3"));
  EXPECT_EQ(engineSql(QStringLiteral("  DELETE MailTemplet where progID=3")),
            QStringLiteral("  DELETE from MailTemplet where progID=3"));
  EXPECT_EQ(engineSql(QStringLiteral("delete from MailTemplet where progID=3")),
            QStringLiteral("delete from MailTemplet where progID=3"));
  // Only a leading delete is a statement; the word inside a value is data.
  EXPECT_EQ(engineSql(QStringLiteral("update t set a='delete x where'")),
            QStringLiteral("update t set a='delete x where'"));
}

TEST(Dialect, OneStatementOnly) {
  QString error;
  EXPECT_TRUE(toEngineSql(QStringLiteral("select 1; delete from msgmail"), &error).isEmpty());
  EXPECT_FALSE(error.isEmpty());
  EXPECT_TRUE(hasSecondStatement(QStringLiteral("select 1;select 2")));
  EXPECT_FALSE(hasSecondStatement(QStringLiteral("select 'a@b;c@d'")));
  EXPECT_FALSE(hasSecondStatement(QStringLiteral("select [a;b] from t")));
  EXPECT_FALSE(hasSecondStatement(QStringLiteral("select 1;  \r\n")));
  EXPECT_EQ(engineSql(QStringLiteral("select 1;")), QStringLiteral("select 1"));
  // A quote left open swallows the rest, so nothing after it counts as a second statement.
  EXPECT_FALSE(hasSecondStatement(QStringLiteral("select 'x;drop table t")));
}

TEST(Dialect, PlainNames) {
  EXPECT_TRUE(isPlainName(QStringLiteral("msgmail")));
  EXPECT_TRUE(isPlainName(QStringLiteral("邮件ID")));
  EXPECT_TRUE(isPlainName(QStringLiteral("kv_keys")));
  EXPECT_FALSE(isPlainName(QStringLiteral("msgmail;drop")));
  EXPECT_FALSE(isPlainName(QStringLiteral("E-MAIL")));
  EXPECT_FALSE(isPlainName(QString()));
  EXPECT_FALSE(isPlainName(QStringLiteral("1abc")));
}
