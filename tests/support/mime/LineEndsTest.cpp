// One-pass line-end conversion against the two replaces it stands in for.
#include "support/mime/LineEnds.h"

#include <gtest/gtest.h>

#include "QtPrinters.h"

TEST(LineEnds, MatchWhatRepeatedReplacesGave) {
  const QString cases[] = {QString(),
                           QStringLiteral("没有换行"),
                           QStringLiteral("\n"),
                           QStringLiteral("\r"),
                           QStringLiteral("\r\n"),
                           QStringLiteral("a\nb\r\nc\rd"),
                           QStringLiteral("\r\r\n\n\r"),
                           QStringLiteral("行一\n行二\n") + QString(5000, u'字')};
  for (const QString& text : cases) {
    SCOPED_TRACE(text.left(20).toStdString());
    const QString lf = QString(text).replace(QLatin1String("\r\n"), QLatin1String("\n"));
    EXPECT_EQ(kvmail::mime::withLf(text), lf);
    EXPECT_EQ(kvmail::mime::withCrLf(text), QString(lf).replace(u'\n', QLatin1String("\r\n")));
  }
}
