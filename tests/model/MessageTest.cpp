// A message is created complete and owns its parts by reference; the date object is inert.
#include <gtest/gtest.h>

#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/OleDate.h"
#include "model/clsMailAddresses.h"
#include "model/clsMailDate.h"
#include "model/clsMessage.h"

using namespace kvmail;

TEST(Message, IsCreatedWithEmptyFieldsAndAllSevenParts) {
  const MessagePtr m = std::make_shared<clsMessage>();
  EXPECT_EQ(m->ID(), 0);
  for (const QString& s : {m->MessageID(), m->BodyText(), m->Charset(), m->ContentType(),
                           m->ContentSubType(), m->Priority(), m->Subject()})
    EXPECT_TRUE(s.isEmpty());
  ASSERT_TRUE(m->From() && m->ReplyTo());
  EXPECT_EQ(m->From()->Name(), "");
  EXPECT_EQ(m->From()->Address(), "");
  EXPECT_EQ(m->ReplyTo()->Address(), "");
  EXPECT_NE(m->From(), m->ReplyTo());
  ASSERT_TRUE(m->TOs() && m->Cc() && m->Bcc() && m->Attachments() && m->DateTime());
  EXPECT_EQ(m->TOs()->Count(), 0);
  EXPECT_EQ(m->Cc()->Count(), 0);
  EXPECT_EQ(m->Bcc()->Count(), 0);
  EXPECT_NE(m->TOs(), m->Cc());
  EXPECT_NE(m->Cc(), m->Bcc());
  EXPECT_EQ(m->Attachments()->Count(), 0);
  EXPECT_EQ(m->DateTime()->DateTime(), 0.0);
}

TEST(Message, StoresScalarsUnchanged) {
  clsMessage m;
  m.setPriority("3");
  EXPECT_EQ(m.Priority(), "3");
  m.setSubject(QString::fromUtf8(" 报价单 "));
  EXPECT_EQ(m.Subject(), QString::fromUtf8(" 报价单 "));
  m.setID(2147483647);
  EXPECT_EQ(m.ID(), 2147483647);
  m.setID(-5);
  EXPECT_EQ(m.ID(), -5);
}

TEST(Message, PartsOutliveTheMessageAndCanBeReplacedOrDropped) {
  MailAddressesPtr tos;
  std::weak_ptr<IMailAddresses> cc;
  {
    auto m = std::make_shared<clsMessage>();
    m->TOs()->Parser("a@b;c@d");
    tos = m->TOs();
    cc = m->Cc();
  }
  EXPECT_EQ(tos->ToString(), "a@b;c@d");  // still working after the message went
  EXPECT_TRUE(cc.expired());              // nobody else held it: released with the message

  clsMessage m;
  std::weak_ptr<IMailAddresses> old = m.Bcc();
  auto replacement = std::make_shared<clsMailAddresses>();
  m.setBcc(replacement);
  EXPECT_EQ(m.Bcc(), replacement);
  EXPECT_TRUE(old.expired());
  m.setFrom(nullptr);
  EXPECT_EQ(m.From(), nullptr);
  m.setDateTime(nullptr);
  EXPECT_EQ(m.DateTime(), nullptr);
}

TEST(MailDate, KeepsOnlyTheDateAndEverythingElseIsInert) {
  clsMailDate d;
  EXPECT_EQ(d.DateTime(), 0.0);
  d.setDateTime(45000.5);
  EXPECT_EQ(d.DateTime(), 45000.5);
  d.setTimeZoneBias(480);
  EXPECT_EQ(d.TimeZoneBias(), 0);
  d.setVia("x");
  EXPECT_EQ(d.Via(), "");
  EXPECT_FALSE(d.ToString().isValid());  // an empty variant, not even an empty string
  EXPECT_EQ(d.LocalDate(), 0.0);         // not a conversion of DateTime
}

TEST(OleDate, ConvertsBothWaysWithTheNegativeConvention) {
  EXPECT_EQ(fromOleDate(0.0), QDateTime(QDate(1899, 12, 30), QTime(0, 0)));
  EXPECT_EQ(fromOleDate(2.25), QDateTime(QDate(1900, 1, 1), QTime(6, 0)));
  EXPECT_EQ(fromOleDate(-1.25), QDateTime(QDate(1899, 12, 29), QTime(6, 0)));
  EXPECT_EQ(fromOleDate(45292.75), QDateTime(QDate(2024, 1, 1), QTime(18, 0)));
  EXPECT_EQ(toOleDate(QDateTime(QDate(2024, 1, 1), QTime(18, 0))), 45292.75);
  EXPECT_EQ(toOleDate(QDateTime(QDate(1899, 12, 29), QTime(6, 0))), -1.25);
  EXPECT_EQ(toOleDate(QDateTime()), 0.0);
  // A fraction that rounds up to midnight lands on the next day, not on 24:00.
  EXPECT_EQ(fromOleDate(1.9999999999), QDateTime(QDate(1900, 1, 1), QTime(0, 0)));
  const QDateTime t(QDate(2023, 7, 14), QTime(9, 41, 27, 123));
  EXPECT_EQ(fromOleDate(toOleDate(t)), t);
}
