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

namespace {

QString shapeOf(const QString& sql, QVariantList* values) {
  return kvmail::host::bindLiterals(sql, values);
}

}  // namespace

TEST(Literals, TextsAndComparedNumbersBecomeParameters) {
  QVariantList values;
  EXPECT_EQ(shapeOf(QStringLiteral("select 大小 from msgMail where UIDL='it''s 1' and 邮件ID=42"),
                    &values),
            QStringLiteral("select 大小 from msgMail where UIDL=? and 邮件ID=?"));
  EXPECT_EQ(values, (QVariantList{QStringLiteral("it's 1"), qlonglong(42)}));

  values.clear();
  EXPECT_EQ(shapeOf(QStringLiteral("insert into t(a,b,c)Values(7,'',-2.5)"), &values),
            QStringLiteral("insert into t(a,b,c)Values(?,?,-?)"));
  ASSERT_EQ(values.size(), 3);
  EXPECT_FALSE(values.at(1).toString().isNull());  // '' is an empty text, not a null
  EXPECT_EQ(values.at(2), QVariant(2.5));
}

TEST(Literals, NumbersThatAreNotValuesStay) {
  QVariantList values;
  // Column positions, limits, names with digits and exponents keep their text.
  const QString sql =
      QStringLiteral("select a1, 2 from t2 where x>1e5 and y=3abc order by a1, 2 limit 10");
  EXPECT_EQ(shapeOf(sql, &values), sql);
  EXPECT_TRUE(values.isEmpty());
}

TEST(Literals, OtherStatementsComeBackUnchanged) {
  const QStringList unchanged{
      QStringLiteral("create table t(a varchar(250) default 'x')"),
      QStringLiteral("pragma journal_mode='wal'"),
      QStringLiteral("select a from t where b=? and c='x'"),      // already has parameters
      QStringLiteral("select a from t where b='open"),            // unfinished quote
      QStringLiteral("select a from t where b='x' -- note 'y'"),  // a comment could hide quotes
      QStringLiteral("select a from t where b=X'00ff'"),          // a blob literal
  };
  for (const QString& sql : unchanged) {
    QVariantList values;
    EXPECT_EQ(shapeOf(sql, &values), sql) << sql.toStdString();
    EXPECT_TRUE(values.isEmpty()) << sql.toStdString();
  }
  QVariantList values;
  EXPECT_EQ(shapeOf(QStringLiteral("select \"it's\" from t where a='b'"), &values),
            QStringLiteral("select \"it's\" from t where a=?"));
}
