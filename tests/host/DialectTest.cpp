// The dialect step: T-SQL forms in, engine SQL out, one statement at a time, and the literals
// split out of a statement so statements differing only in values share one prepared form.
#include "SqlDialect.h"

#include <gtest/gtest.h>

using kvmail::host::bindLiterals;
using kvmail::host::hasSecondStatement;
using kvmail::host::isPlainName;
using kvmail::host::toEngineSql;

TEST(Dialect, TsqlFormsBecomeEngineSql) {
  const std::pair<const char*, const char*> cases[] = {
      {"select [to],cc from MailTemplet", "select \"to\",cc from MailTemplet"},
      {"insert into msgmail([E-MAIL])values('x')", "insert into msgmail(\"E-MAIL\")values('x')"},
      {"select 1 where subject='[客户] it''s [to]'", "select 1 where subject='[客户] it''s [to]'"},
      {"delete MailTemplet where progID=3", "delete from MailTemplet where progID=3"},
      {"delete from MailTemplet where progID=3", "delete from MailTemplet where progID=3"},
      // Only a leading delete is a statement; the word inside a value is data.
      {"update t set a='delete x where'", "update t set a='delete x where'"},
      {"select 1;", "select 1"},
  };
  for (const auto& [in, out] : cases) {
    QString error;
    EXPECT_EQ(toEngineSql(QString::fromUtf8(in), &error), QString::fromUtf8(out)) << in;
    EXPECT_EQ(error, QString()) << in;
  }
}

TEST(Dialect, OneStatementOnlyAndPlainNames) {
  // That the store refuses a second statement with an error text is HostSystem's test.
  EXPECT_TRUE(hasSecondStatement(u"select 1;select 2"_s));
  // Semicolons in quotes, in brackets, before blanks only, or after a quote left open.
  for (const char* one :
       {"select 'a@b;c@d'", "select [a;b] from t", "select 1;  \r\n", "select 'x;drop table t"})
    EXPECT_FALSE(hasSecondStatement(QString::fromUtf8(one))) << one;
  for (const char* plain : {"msgmail", "邮件ID", "kv_keys"})
    EXPECT_TRUE(isPlainName(QString::fromUtf8(plain))) << plain;
  for (const char* bad : {"msgmail;drop", "E-MAIL", "", "1abc"})
    EXPECT_FALSE(isPlainName(QString::fromUtf8(bad))) << bad;
}

TEST(Literals, TextsAndComparedNumbersBecomeParameters) {
  QVariantList values;
  EXPECT_EQ(bindLiterals(u"select 大小 from msgMail where UIDL='it''s 1' and 邮件ID=42"_s, &values),
            u"select 大小 from msgMail where UIDL=? and 邮件ID=?"_s);
  EXPECT_EQ(values, (QVariantList{u"it's 1"_s, qlonglong(42)}));

  values.clear();
  EXPECT_EQ(bindLiterals(u"insert into t(a,b,c)Values(7,'',-2.5)"_s, &values),
            u"insert into t(a,b,c)Values(?,?,-?)"_s);
  ASSERT_EQ(values.size(), 3);
  EXPECT_FALSE(values.at(1).toString().isNull());  // '' is an empty text, not a null
  EXPECT_EQ(values.at(2), QVariant(2.5));

  values.clear();
  EXPECT_EQ(bindLiterals(u"select \"it's\" from t where a='b'"_s, &values),
            u"select \"it's\" from t where a=?"_s);
}

TEST(Literals, OtherStatementsAndNumbersThatAreNotValuesStay) {
  const char* unchanged[] = {
      // Column positions, limits, names with digits and exponents keep their text.
      "select a1, 2 from t2 where x>1e5 and y=3abc order by a1, 2 limit 10",
      "create table t(a varchar(250) default 'x')",
      "pragma journal_mode='wal'",
      "select a from t where b=? and c='x'",      // already has parameters
      "select a from t where b='open",            // unfinished quote
      "select a from t where b='x' -- note 'y'",  // a comment could hide quotes
      "select a from t where b=X'00ff'",          // a blob literal
  };
  for (const char* sql : unchanged) {
    QVariantList values;
    EXPECT_EQ(bindLiterals(QString::fromUtf8(sql), &values), QString::fromUtf8(sql)) << sql;
    EXPECT_TRUE(values.isEmpty()) << sql;
  }
}
