// Charset labels, tolerant decoding and strict encoding under the MIME layer.
#include <gtest/gtest.h>

#include "support/mime/MimeCharset.h"

using namespace kvmail::mime;

TEST(MimeCharset, LabelsAsMailProgramsSpellThemMapToOneConverter) {
  // "label>converter" pairs; an empty converter for an empty or meaningless label.
  const QByteArray cases =
      "gb2312>GB18030 GB_2312-80>GB18030 x-gbk>GB18030 CP936>GB18030 \"gb2312\">GB18030 "
      "koi8_r>KOI8-R ks_c_5601-1987>CP949 euc-kr>CP949 x-sjis>CP932 big5>BIG5-HKSCS "
      "win-1251>CP1251 x-cp1252>CP1252 iso_8859-5>ISO-8859-5 ISO8859-15>ISO-8859-15 "
      "latin1>ISO-8859-1 utf8>UTF-8 UTF-8*en>UTF-8 x-mac-cyrillic>MAC-CYRILLIC x-unknown> >";
  for (const QByteArray& c : cases.split(' ')) {
    const QList<QByteArray> pair = c.split('>');
    EXPECT_EQ(converterName(QString::fromLatin1(pair[0])), pair[1]) << c.constData();
  }
  EXPECT_EQ(converterName(u" x-gbk "_s), QByteArray("GB18030"));
  EXPECT_TRUE(knownConverter("CP949"));
  EXPECT_FALSE(knownConverter("NO-SUCH-CHARSET"));
}

TEST(MimeCharset, DecodingPrefersTheLabelThenFallsBack) {
  const QByteArray gbk("\xE9\x46\xD6\xD0", 4);  // 镕中: 镕 is GBK only
  EXPECT_EQ(decodeText(gbk, u"gb2312"_s, {}), u"镕中"_s);
  EXPECT_EQ(decodeText(gbk, u"us-ascii"_s, {}), u"镕中"_s);
  EXPECT_EQ(decodeText(gbk, u"utf-8"_s, {}), u"镕中"_s);
  EXPECT_EQ(decodeText(gbk, u"no-such-charset"_s, {}), u"镕中"_s);
  EXPECT_EQ(decodeText(u"é"_s.toUtf8(), u"utf-8"_s, {}), u"é"_s);
  EXPECT_EQ(decodeText("\xE9", u"iso-8859-1"_s, {}), u"é"_s);
  // Undecodable in every candidate: readable text with replacement characters, nothing thrown.
  const QString broken = decodeText(QByteArray("ok\xFF\xFF\xFF", 5), u"utf-8"_s, {});
  EXPECT_TRUE(broken.startsWith(u"ok"_s));
  EXPECT_FALSE(decodeStrict(QByteArray("\xFF", 1), "UTF-8").has_value());
  EXPECT_FALSE(decodeStrict("abc", "no-such-charset").has_value());
}

TEST(MimeCharset, StrictEncodingReportsCharactersThatDoNotFit) {
  EXPECT_EQ(encodeStrict(u"中文"_s, "GB2312"), QByteArray("\xD6\xD0\xCE\xC4"));
  EXPECT_FALSE(encodeStrict(u"价格€"_s, "GB2312").has_value());
  EXPECT_FALSE(encodeStrict(u"𠀀"_s, "GB2312").has_value());
  EXPECT_FALSE(encodeStrict(u"朱镕基"_s, "GB2312").has_value());  // GBK only
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
