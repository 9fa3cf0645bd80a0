// Stored values read as text and numbers, the way every caller reads them.
#include "store/FieldText.h"

#include <gtest/gtest.h>

using kvmail::isValidDateText;
using kvmail::vbLong;
using kvmail::vbVal;

// Blanks, tabs and line feeds are skipped anywhere, a carriage return ends the number, and
// full-width digits are not digits here.
TEST(FieldText, ValTakesTheLeadingNumber) {
  const std::pair<const char*, double> cases[] = {
      {"", 0},     {"abc", 0},  {"3.5kg", 3.5}, {"-7", -7},   {"1e3", 1000}, {"2D2", 200},
      {"1e", 1},   {".5", 0.5}, {"-", 0},       {"&H1F", 31}, {"&o17", 15},  {" 1 615\t2\n", 16152},
      {"1\r5", 1}, {"１２", 0}};
  for (const auto& [text, value] : cases) EXPECT_EQ(vbVal(QString::fromUtf8(text)), value) << text;
}

TEST(FieldText, LongRoundsHalfToEvenAndClamps) {
  const std::pair<const char*, long> cases[] = {
      {"25", 25},   {"2.5", 2}, {"3.5", 4},
      {"-2.5", -2}, {"", 0},    {"1e300", std::numeric_limits<long>::max()}};
  for (const auto& [text, value] : cases) EXPECT_EQ(vbLong(QString::fromUtf8(text)), value) << text;
}

TEST(FieldText, DateTexts) {
  for (const char* valid :
       {"2024-03-05 14:07:00", "2024-3-5 9:07:00", "2024/03/05", "2024-03-05T14:07:00"})
    EXPECT_TRUE(isValidDateText(QString::fromUtf8(valid))) << valid;
  for (const char* invalid : {"", "   ", "0", "2024-02-30 10:00:00", "2024-03-05 25:00:00", "abc"})
    EXPECT_FALSE(isValidDateText(QString::fromUtf8(invalid))) << invalid;
  EXPECT_EQ(kvmail::dateFromText(u"2026-11-22 05:12:50"_s),
            QDateTime(QDate(2026, 11, 22), QTime(5, 12, 50)));
  EXPECT_EQ(kvmail::dateFromText(u"2026/1/2"_s), QDate(2026, 1, 2).startOfDay());
  EXPECT_FALSE(kvmail::dateFromText(u"2026-13-40"_s).isValid());
}
