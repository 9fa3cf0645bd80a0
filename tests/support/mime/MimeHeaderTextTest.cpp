// Header values as real senders and servers write them: raw 8-bit text, charset labels in every
// spelling, address forms outside the tidy one, NUL bytes.
#include <gtest/gtest.h>

#include "QtPrinters.h"
#include "support/mime/MimeCharset.h"
#include "support/mime/MimeHeaderText.h"

using namespace kvmail;
using namespace kvmail::mime;

namespace {

QByteArray hex(const char* h) {
  return QByteArray::fromHex(h);
}

const QByteArray kGbkMeeting =
    hex("b9d8d3dacfc2d6dcbbe1d2e9b5c4b0b2c5c5b1ed");  // 关于下周会议的安排表
const QByteArray kUtf8Customs = hex("e8bf9be587bae58fa3e68aa5e585b3e58d95");  // 进出口报关单
const QByteArray kEucKrMeeting = hex("c8b8c0c720c0cfc1a4");                   // 회의 일정
const QByteArray kUtf8Hello = hex("d09fd180d0b8d0b2d0b5d18220d0bcd0b8d180");  // Привет мир

struct TextCase {
  const char* what;
  QByteArray raw;
  QString declared;
  QString expected;
};

struct AddressCase {
  const char* what;
  QByteArray raw;
  QList<MimeAddress> expected;
};

QString show(const QList<MimeAddress>& list) {
  QStringList parts;
  for (const MimeAddress& a : list) parts << u'[' + a.name + u'|' + a.address + u']';
  return parts.join(u' ');
}

}  // namespace

TEST(MimeCharsetLabels, SpellingsMailProgramsWriteMapToOneConverter) {
  const struct {
    const char* label;
    const char* converter;
  } cases[] = {
      {"koi8_r", "KOI8-R"},
      {"KOI8-R", "KOI8-R"},
      {"ks_c_5601-1987", "CP949"},
      {"euc-kr", "CP949"},
      {"x-gbk", "GB18030"},
      {"cp936", "GB18030"},
      {"gb_2312-80", "GB18030"},
      {"GB2312", "GB18030"},
      {"x-sjis", "CP932"},
      {"Shift_JIS", "CP932"},
      {"big5", "BIG5-HKSCS"},
      {"windows-1251", "CP1251"},
      {"win-1251", "CP1251"},
      {"x-cp1252", "CP1252"},
      {"iso_8859-5", "ISO-8859-5"},
      {"ISO8859-15", "ISO-8859-15"},
      {"latin1", "ISO-8859-1"},
      {"utf8", "UTF-8"},
      {"UTF-8*en", "UTF-8"},  // RFC 2231 language suffix
      {"\"utf-8\"", "UTF-8"},
      {"x-mac-cyrillic", "MAC-CYRILLIC"},  // no table entry: the spelling iconv knows
      {"x-unknown", ""},
      {"", ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(converterName(QString::fromLatin1(c.label)), QByteArray(c.converter)) << c.label;
  EXPECT_TRUE(knownConverter("CP949"));
  EXPECT_FALSE(knownConverter("NO-SUCH-CHARSET"));
}

TEST(MimeHeaderText, RawEightBitTextIsReadOnce) {
  const TextCase cases[] = {
      {"GBK, even length (reads as GB18030 mojibake if decoded twice)",
       kGbkMeeting,
       {},
       QStringLiteral("关于下周会议的安排表")},
      {"UTF-8 that also happens to be valid GB18030",
       kUtf8Customs,
       {},
       QStringLiteral("进出口报关单")},
      {"UTF-8 wins over a declared gb2312", kUtf8Customs, QStringLiteral("gb2312"),
       QStringLiteral("进出口报关单")},
      {"UTF-8 Cyrillic", kUtf8Hello, {}, QStringLiteral("Привет мир")},
      {"EUC-KR by the declared charset", kEucKrMeeting, QStringLiteral("euc-kr"),
       QStringLiteral("회의 일정")},
      {"EUC-KR under a ks_c label", kEucKrMeeting, QStringLiteral("ks_c_5601-1987"),
       QStringLiteral("회의 일정")},
      {"declared us-ascii means unlabelled", kGbkMeeting, QStringLiteral("us-ascii"),
       QStringLiteral("关于下周会议的安排表")},
      {"a declared charset that cannot read it falls to GB18030", hex("d6d0cec4"),
       QStringLiteral("iso-2022-jp"), QStringLiteral("中文")},
      {"raw text beside an encoded word",
       "Re: " + kGbkMeeting + " =?utf-8?B?5Lit?=",
       {},
       QStringLiteral("Re: 关于下周会议的安排表 中")},
  };
  for (const TextCase& c : cases)
    EXPECT_EQ(decodeHeaderText(c.raw, {c.declared, QStringLiteral("gb2312")}), c.expected)
        << c.what;
}

TEST(MimeHeaderText, EncodedWordsUnfoldingAndNul) {
  const TextCase cases[] = {
      {"koi8_r label", "=?koi8_r?B?8NLJ18XU?=", {}, QStringLiteral("Привет")},
      {"ks_c label", "=?ks_c_5601-1987?B?sejDtrz2?=", {}, QStringLiteral("김철수")},
      {"x-gbk label, GBK-only character", "=?x-gbk?B?1uzpRrv5?=", {}, QStringLiteral("朱镕基")},
      {"cp936 label", "=?cp936?B?sai827Wl?=", {}, QStringLiteral("报价单")},
      {"gb_2312-80 label", "=?gb_2312-80?B?u+HS6Q==?=", {}, QStringLiteral("会议")},
      {"x-sjis label", "=?x-sjis?B?k/qWe4zq?=", {}, QStringLiteral("日本語")},
      {"windows-1251 label", "=?windows-1251?B?xO7q6+Dk?=", {}, QStringLiteral("Доклад")},
      {"language suffix", "=?utf-8*zh?B?5Lit?=", {}, QStringLiteral("中")},
      {"blanks between adjacent words go, others stay",
       "a =?utf-8?q?x?= \t=?utf-8?q?y?= b =?utf-8?q?z?=",
       {},
       QStringLiteral("a xy b z")},
      {"words of two charsets side by side",
       "=?gb2312?B?1tA=?= =?utf-8?B?5paH?=",
       {},
       QStringLiteral("中文")},
      {"a character split across two words",
       "=?UTF-8?B?5Lg=?=\r\n =?UTF-8?B?rQ==?=",
       {},
       QStringLiteral("中")},
      {"Q word with a blank inside", "=?utf-8?Q?a b?=", {}, QStringLiteral("a b")},
      {"word glued to text", "Re:=?utf-8?B?5Lit?=abc", {}, QStringLiteral("Re:中abc")},
      {"unknown label holding UTF-8", "=?x-foo?B?5Lit?=", {}, QStringLiteral("中")},
      {"unknown label holding GBK", "=?x-foo?B?1tA=?=", {}, QStringLiteral("中")},
      {"folded", "first\r\n\tsecond\r\n third", {}, QStringLiteral("first\tsecond third")},
      {"NUL dropped, the rest kept",
       QByteArray("before\0after", 12),
       {},
       QStringLiteral("beforeafter")},
      {"broken word stays as text", "=?utf-8?B?5Lit", {}, QStringLiteral("=?utf-8?B?5Lit")},
  };
  for (const TextCase& c : cases)
    EXPECT_EQ(decodeHeaderText(c.raw, {c.declared, QStringLiteral("gb2312")}), c.expected)
        << c.what;
}

TEST(MimeHeaderText, AddressFormsServersReallySend) {
  const QString kim = QStringLiteral("김철수");
  const AddressCase cases[] = {
      {"name then a bare address",
       "=?ks_c_5601-1987?B?sejDtrz2?= kim@host.kr",
       {{kim, QStringLiteral("kim@host.kr")}}},
      {"two of them",
       "=?ks_c_5601-1987?B?sejDtrz2?= kim@host.kr, Lee lee@host.kr",
       {{kim, QStringLiteral("kim@host.kr")},
        {QStringLiteral("Lee"), QStringLiteral("lee@host.kr")}}},
      {"null address keeps the name", "MAILER DAEMON <>", {{QStringLiteral("MAILER DAEMON"), {}}}},
      {"the comment names the mailbox",
       "bbb@ddd.com (John X. Doe)",
       {{QStringLiteral("John X. Doe"), QStringLiteral("bbb@ddd.com")}}},
      {"a comment after a named address is not the name",
       "Anne <a@b.cn> (office)",
       {{QStringLiteral("Anne"), QStringLiteral("a@b.cn")}}},
      {"quoted name with a comma",
       R"("Doe, John" <j@d.cn>, a@b.cn)",
       {{QStringLiteral("Doe, John"), QStringLiteral("j@d.cn")}, {{}, QStringLiteral("a@b.cn")}}},
      {"encoded comma does not split",
       "=?utf-8?Q?Doe=2C_John?= <j@d.cn>",
       {{QStringLiteral("Doe, John"), QStringLiteral("j@d.cn")}}},
      {"encoded word inside quotes",
       R"("=?utf-8?B?5byg5LiJ?=" <zs@x.cn>)",
       {{QStringLiteral("张三"), QStringLiteral("zs@x.cn")}}},
      {"raw GBK name",
       hex("d5c5c8fd") + " <zs@x.cn>",
       {{QStringLiteral("张三"), QStringLiteral("zs@x.cn")}}},
      {"raw UTF-8 quoted name",
       "\"" + hex("e78e8be4ba94") + "\" <w@x.cn>",
       {{QStringLiteral("王五"), QStringLiteral("w@x.cn")}}},
      {"group flattened, empty group dropped",
       "Team: a@x.cn, =?gb2312?B?1cXI/Q==?= <b@x.cn>;, undisclosed-recipients:;, c@x.cn",
       {{{}, QStringLiteral("a@x.cn")},
        {QStringLiteral("张三"), QStringLiteral("b@x.cn")},
        {{}, QStringLiteral("c@x.cn")}}},
      {"source route", "<@relay.cn,@hub.cn:a@b.cn>", {{{}, QStringLiteral("a@b.cn")}}},
      {"blanks and comments inside angles",
       "Li < li@x.cn (work) >",
       {{QStringLiteral("Li"), QStringLiteral("li@x.cn")}}},
      {"quoted local part", R"("john doe"@x.cn)", {{{}, QStringLiteral("\"john doe\"@x.cn")}}},
      {"local name only", "postmaster", {{{}, QStringLiteral("postmaster")}}},
      {"encoded name only", "=?gb2312?B?1cXI/Q==?=", {{QStringLiteral("张三"), {}}}},
      {"folded list with blanks and empty entries",
       "Anne <a@b.cn>,\r\n  , Bob <b@c.cn>,",
       {{QStringLiteral("Anne"), QStringLiteral("a@b.cn")},
        {QStringLiteral("Bob"), QStringLiteral("b@c.cn")}}},
      {"nested comment",
       "a@b.cn (x (y) z)",
       {{QStringLiteral("x (y) z"), QStringLiteral("a@b.cn")}}},
      {"NUL inside a name",
       QByteArray("Zh\0ang <z@x.cn>", 15),
       {{QStringLiteral("Zhang"), QStringLiteral("z@x.cn")}}},
      {"nothing", "  ", {}},
  };
  for (const AddressCase& c : cases)
    EXPECT_EQ(show(parseAddressList(c.raw, {{}, QStringLiteral("gb2312")})), show(c.expected))
        << c.what;
}
