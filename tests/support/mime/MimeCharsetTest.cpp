// Charset labels, tolerant decoding and strict encoding under the MIME layer.
#include <gtest/gtest.h>

#include "support/mime/MimeCharset.h"

using namespace kvmail::mime;

TEST(MimeCharset, Gb2312FamilyLabelsMapToGb18030) {
  for (const char* label :
       {"gb2312", "GB2312", "GB_2312-80", "gbk", "CP936", "\"gb2312\"", " x-gbk "})
    EXPECT_EQ(converterName(QString::fromLatin1(label)), QByteArray("GB18030")) << label;
  EXPECT_EQ(converterName(QStringLiteral("utf8")), QByteArray("UTF-8"));
  EXPECT_EQ(converterName(QStringLiteral("ISO-8859-1")), QByteArray("ISO-8859-1"));
  EXPECT_TRUE(converterName(QString()).isEmpty());
  EXPECT_TRUE(converterName(QStringLiteral("x-unknown")).isEmpty());
}

TEST(MimeCharset, DecodingPrefersTheLabelThenFallsBack) {
  const QByteArray gbk("\xE9\x46\xD6\xD0", 4);  // 镕中: 镕 is GBK only
  EXPECT_EQ(decodeText(gbk, QStringLiteral("gb2312"), {}), QStringLiteral("镕中"));
  EXPECT_EQ(decodeText(gbk, QStringLiteral("us-ascii"), {}), QStringLiteral("镕中"));
  EXPECT_EQ(decodeText(gbk, QStringLiteral("utf-8"), {}), QStringLiteral("镕中"));
  EXPECT_EQ(decodeText(gbk, QStringLiteral("no-such-charset"), {}), QStringLiteral("镕中"));
  EXPECT_EQ(decodeText(QStringLiteral("é").toUtf8(), QStringLiteral("utf-8"), {}),
            QStringLiteral("é"));
  EXPECT_EQ(decodeText("\xE9", QStringLiteral("iso-8859-1"), {}), QStringLiteral("é"));
  // Undecodable in every candidate: readable text with replacement characters, nothing thrown.
  const QString broken = decodeText(QByteArray("ok\xFF\xFF\xFF", 5), QStringLiteral("utf-8"), {});
  EXPECT_TRUE(broken.startsWith(QStringLiteral("ok")));
  EXPECT_FALSE(decodeStrict(QByteArray("\xFF", 1), "UTF-8").has_value());
  EXPECT_FALSE(decodeStrict("abc", "no-such-charset").has_value());
}

TEST(MimeCharset, StrictEncodingReportsCharactersThatDoNotFit) {
  EXPECT_EQ(encodeStrict(QStringLiteral("中文"), "GB2312"), QByteArray("\xD6\xD0\xCE\xC4"));
  EXPECT_FALSE(encodeStrict(QStringLiteral("价格€"), "GB2312").has_value());
  EXPECT_FALSE(encodeStrict(QStringLiteral("𠀀"), "GB2312").has_value());
  EXPECT_FALSE(encodeStrict(QStringLiteral("朱镕基"), "GB2312").has_value());  // GBK only
  EXPECT_EQ(encodeStrict(QString(), "GB2312"), QByteArray());
}

TEST(MimeCharset, RelabellingWritesConverterNames) {
  EXPECT_EQ(canonicalLabels("=?gb2312?B?1tA=?= =?GB_2312-80?q?x?= =?utf-8?B?eA==?="),
            QByteArray("=?GB18030?B?1tA=?= =?GB18030?q?x?= =?utf-8?B?eA==?="));
  EXPECT_EQ(canonicalLabels("attachment; filename*=gb2312''%D6%D0.txt"),
            QByteArray("attachment; filename*=GB18030''%D6%D0.txt"));
  EXPECT_EQ(canonicalLabels("x; name*0*=GBK'zh'%D6; name*1*=%D0"),
            QByteArray("x; name*0*=GB18030'zh'%D6; name*1*=%D0"));
  const QByteArray raw("\xD6\xD0 plain =?iso-8859-1?Q?x?=", 24);
  EXPECT_EQ(canonicalLabels(raw), raw);  // 8-bit bytes survive untouched
}

TEST(MimeCharset, AdjacentWordsOfOneCharsetAreJoinedIntoOne) {
  // Padding inside a run (Outlook splits long subjects so) and a character split across words.
  EXPECT_EQ(mergeEncodedWords("=?gb2312?B?1tDW0A==?=\r\n =?gb2312?B?1tA=?="),
            QByteArray("=?gb2312?B?1tDW0NbQ?="));
  EXPECT_EQ(mergeEncodedWords("=?UTF-8?B?5Lg=?= =?utf-8?Q?=AD?= tail"),
            QByteArray("=?UTF-8?B?5Lit?= tail"));
  const QByteArray untouched[] = {
      "=?gb2312?B?1tA=?= =?UTF-8?B?5Lit?=",       // different charsets
      "=?gb2312?B?1tA=?= and =?gb2312?B?1tA=?=",  // text between
      "plain text, no words",
      "=?gb2312?B?1tA=?=",
  };
  for (const QByteArray& raw : untouched) EXPECT_EQ(mergeEncodedWords(raw), raw);
}
