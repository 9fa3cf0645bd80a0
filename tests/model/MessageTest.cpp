// A message is created complete with parts of its own; the date object is inert.
#include <gtest/gtest.h>

#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/OleDate.h"
#include "model/clsMailDate.h"
#include "model/clsMessage.h"

using namespace kvmail;

TEST(Message, HasSevenPartsOfItsOwn) {
  const MessagePtr m = std::make_shared<clsMessage>();
  ASSERT_TRUE(m->From() && m->ReplyTo() && m->TOs() && m->Cc() && m->Bcc() && m->Attachments() &&
              m->DateTime());
  EXPECT_TRUE(m->From() != m->ReplyTo() && m->TOs() != m->Cc() && m->Cc() != m->Bcc());
}

// Deliberately inert: no time zone, no routing, no formatting, no conversion of the date.
TEST(MailDate, KeepsOnlyTheDateAndEverythingElseIsInert) {
  clsMailDate d;
  d.setDateTime(45000.5);
  EXPECT_EQ(d.DateTime(), 45000.5);
  d.setTimeZoneBias(480);
  EXPECT_EQ(d.TimeZoneBias(), 0);
  d.setVia("x");
  EXPECT_EQ(d.Via(), "");
  EXPECT_FALSE(d.ToString().isValid());  // an empty variant, not even an empty string
  EXPECT_EQ(d.LocalDate(), 0.0);
}

TEST(OleDate, ConvertsBothWaysWithTheNegativeConvention) {
  const std::pair<double, QDateTime> cases[] = {
      {0.0, QDateTime(QDate(1899, 12, 30), QTime(0, 0))},
      {2.25, QDateTime(QDate(1900, 1, 1), QTime(6, 0))},
      {-1.25, QDateTime(QDate(1899, 12, 29), QTime(6, 0))},
      {45292.75, QDateTime(QDate(2024, 1, 1), QTime(18, 0))},
  };
  for (const auto& [ole, when] : cases) {
    EXPECT_EQ(fromOleDate(ole), when) << ole;
    EXPECT_EQ(toOleDate(when), ole) << ole;
  }
  EXPECT_EQ(toOleDate(QDateTime()), 0.0);
  // A fraction that rounds up to midnight lands on the next day, not on 24:00.
  EXPECT_EQ(fromOleDate(1.9999999999), QDateTime(QDate(1900, 1, 1), QTime(0, 0)));
  const QDateTime t(QDate(2023, 7, 14), QTime(9, 41, 27, 123));
  EXPECT_EQ(fromOleDate(toOleDate(t)), t);
}
