// Stored values read as text and numbers, the way every caller reads them.
#include "HostStore.h"
#include "store/FieldText.h"

#include <gtest/gtest.h>

#include <QDateTime>

#include <QTemporaryDir>

using kvmail::firstValue;
using kvmail::isValidDateText;
using kvmail::vbLong;
using kvmail::vbVal;

TEST(FieldText, ValTakesTheLeadingNumber) {
  EXPECT_EQ(vbVal(QString()), 0);
  EXPECT_EQ(vbVal(QStringLiteral("abc")), 0);
  EXPECT_EQ(vbVal(QStringLiteral("12\r\n")), 12);
  EXPECT_EQ(vbVal(QStringLiteral("  25")), 25);
  EXPECT_EQ(vbVal(QStringLiteral("3.5kg")), 3.5);
  EXPECT_EQ(vbVal(QStringLiteral("-7")), -7);
  EXPECT_EQ(vbVal(QStringLiteral("1e3")), 1000);
  EXPECT_EQ(vbVal(QStringLiteral("2D2")), 200);
  EXPECT_EQ(vbVal(QStringLiteral("1e")), 1);
  EXPECT_EQ(vbVal(QStringLiteral(".5")), 0.5);
  EXPECT_EQ(vbVal(QStringLiteral("-")), 0);
  EXPECT_EQ(vbVal(QStringLiteral("&H1F")), 31);
  EXPECT_EQ(vbVal(QStringLiteral("&o17")), 15);
  // Blanks, tabs and line feeds are skipped anywhere, a carriage return ends the number.
  EXPECT_EQ(vbVal(QStringLiteral(" 1 615\t2\n")), 16152);
  EXPECT_EQ(vbVal(QStringLiteral("1\r5")), 1);
  EXPECT_EQ(vbVal(QStringLiteral("１２")), 0);  // full-width digits are not digits here
}

TEST(FieldText, LongRoundsHalfToEvenAndClamps) {
  EXPECT_EQ(vbLong(QStringLiteral("25")), 25);
  EXPECT_EQ(vbLong(QStringLiteral("2.5")), 2);
  EXPECT_EQ(vbLong(QStringLiteral("3.5")), 4);
  EXPECT_EQ(vbLong(QStringLiteral("-2.5")), -2);
  EXPECT_EQ(vbLong(QStringLiteral("")), 0);
  EXPECT_EQ(vbLong(QStringLiteral("1e300")), std::numeric_limits<long>::max());
}

TEST(FieldText, ValidDateTexts) {
  EXPECT_TRUE(isValidDateText(QStringLiteral("2024-03-05 14:07:00")));
  EXPECT_TRUE(isValidDateText(QStringLiteral("2024-3-5 9:07:00")));
  EXPECT_TRUE(isValidDateText(QStringLiteral("2024/03/05")));
  EXPECT_TRUE(isValidDateText(QStringLiteral("2024-03-05T14:07:00")));
  EXPECT_FALSE(isValidDateText(QString()));
  EXPECT_FALSE(isValidDateText(QStringLiteral("   ")));
  EXPECT_FALSE(isValidDateText(QStringLiteral("0")));
  EXPECT_FALSE(isValidDateText(QStringLiteral("2024-02-30 10:00:00")));
  EXPECT_FALSE(isValidDateText(QStringLiteral("2024-03-05 25:00:00")));
  EXPECT_FALSE(isValidDateText(QStringLiteral("abc")));
}

TEST(FieldText, DateFromTextReadsTheStoredForms) {
  EXPECT_EQ(kvmail::dateFromText(QStringLiteral("2026-11-22 05:12:50")),
            QDateTime(QDate(2026, 11, 22), QTime(5, 12, 50)));
  EXPECT_EQ(kvmail::dateFromText(QStringLiteral("2026/1/2")), QDate(2026, 1, 2).startOfDay());
  EXPECT_FALSE(kvmail::dateFromText(QStringLiteral("2026-13-40")).isValid());
}

TEST(FieldText, FirstValueOfARealStore) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("s.db"));
  ASSERT_EQ(kvmail::host::createStore(path), QString());
  kvmail::host::SqlHostSystem host(kvmail::host::HostOptions::sqlite(path));
  ASSERT_EQ(host.open(), QString());
  ASSERT_EQ(kvmail::host::seedProgram(host, 3, QStringLiteral("订单")), QString());
  ASSERT_EQ(host.execute(QStringLiteral("insert into xt_objects(progID) values(4)")), QString());
  EXPECT_EQ(
      firstValue(host, QStringLiteral("select progname,progID from xt_objects order by progID")),
      QStringLiteral("订单"));
  EXPECT_EQ(firstValue(host, QStringLiteral("select progname from xt_objects where progID=4")),
            QString());
  EXPECT_EQ(firstValue(host, QStringLiteral("select progname from xt_objects where progID=5")),
            QString());
  EXPECT_EQ(firstValue(host, QStringLiteral("select nosuch from xt_objects")), QString());
}
