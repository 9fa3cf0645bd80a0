// One-pass line-end conversion against the two replaces it stands in for.
#include "support/mime/LineEnds.h"

#include <gtest/gtest.h>

#include "QtPrinters.h"

TEST(LineEnds, MatchWhatRepeatedReplacesGave) {
  const QString cases[] = {
      QString(), u"没有换行"_s,     u"\n"_s,         u"\r"_s,
      u"\r\n"_s, u"a\nb\r\nc\rd"_s, u"\r\r\n\n\r"_s, u"行一\n行二\n"_s + QString(5000, u'字')};
  for (const QString& text : cases) {
    SCOPED_TRACE(text.left(20).toStdString());
    const QString lf = QString(text).replace("\r\n"_L1, "\n"_L1);
    EXPECT_EQ(kvmail::mime::withLf(text), lf);
    EXPECT_EQ(kvmail::mime::withCrLf(text), QString(lf).replace(u'\n', "\r\n"_L1));
  }
}
