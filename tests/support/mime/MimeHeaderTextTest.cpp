// Header values as real senders and servers write them: raw 8-bit text, charset labels in every
// spelling, address forms outside the tidy one, NUL bytes.
#include <gtest/gtest.h>

#include "support/mime/MimeHeaderText.h"

using namespace kvmail;
using namespace kvmail::mime;

namespace {

struct TextCase {
  const char* what;
  QByteArray raw;
  const char* declared;
  const char* expected;  // UTF-8
};

QByteArray hex(const char* h) {
  return QByteArray::fromHex(h);
}

// "[name|address]" per entry.
QString show(const QList<MimeAddress>& list) {
  QStringList parts;
  for (const MimeAddress& a : list) parts << u'[' + a.name + u'|' + a.address + u']';
  return parts.join(u' ');
}

}  // namespace

TEST(MimeHeaderText, RawEightBitTextIsReadOnceAndWordsByTheirOwnLabel) {
  const QByteArray gbk = hex("b9d8d3dacfc2d6dcbbe1d2e9b5c4b0b2c5c5b1ed");  // 关于下周会议的安排表
  const QByteArray utf8 =
      hex("e8bf9be587bae58fa3e68aa5e585b3e58d95");  // 进出口报关单, valid GBK too
  const TextCase cases[] = {
      {"raw GBK", gbk, "", "关于下周会议的安排表"},
      {"raw UTF-8 that is also valid GBK", utf8, "", "进出口报关单"},
      {"UTF-8 wins over a declared gb2312", utf8, "gb2312", "进出口报关单"},
      {"EUC-KR by a ks_c label", hex("c8b8c0c720c0cfc1a4"), "ks_c_5601-1987", "회의 일정"},
      {"declared us-ascii means unlabelled", gbk, "us-ascii", "关于下周会议的安排表"},
      {"declared charset that cannot read it", hex("d6d0cec4"), "iso-2022-jp", "中文"},
      {"raw text beside a word", "Re: " + gbk + " =?utf-8?B?5Lit?=", "",
       "Re: 关于下周会议的安排表 中"},
      // How a label names its converter is MimeCharset's; that the word follows it, here.
      {"x-gbk label, GBK-only character", "=?x-gbk?B?1uzpRrv5?=", "", "朱镕基"},
      {"blanks between words go, others stay",
       "a =?utf-8?q?x?= \t=?utf-8?q?y?= b =?utf-8?q?z?=", "", "a xy b z"},
      {"words of two charsets side by side", "=?gb2312?B?1tA=?= =?utf-8?B?5paH?=", "", "中文"},
      {"a character split across two folded words", "=?UTF-8?B?5Lg=?=\r\n =?UTF-8?B?rQ==?=", "",
       "中"},
      {"Q word with a blank inside", "=?utf-8?Q?a b?=", "", "a b"},
      {"word glued to text", "Re:=?utf-8?B?5Lit?=abc", "", "Re:中abc"},
      {"unknown label holding UTF-8", "=?x-foo?B?5Lit?=", "", "中"},
      {"unknown label holding GBK", "=?x-foo?B?1tA=?=", "", "中"},
      {"folded", "first\r\n\tsecond\r\n third", "", "first\tsecond third"},
      {"NUL dropped, the rest kept", QByteArray("before\0after", 12), "", "beforeafter"},
      {"broken word stays as text", "=?utf-8?B?5Lit", "", "=?utf-8?B?5Lit"},
  };
  for (const TextCase& c : cases)
    EXPECT_EQ(decodeHeaderText(c.raw, {QString::fromLatin1(c.declared), u"gb2312"_s}),
              QString::fromUtf8(c.expected))
        << c.what;
}

TEST(MimeHeaderText, AddressFormsServersReallySend) {
  const TextCase cases[] = {
      {"name then a bare address", "=?ks_c_5601-1987?B?sejDtrz2?= kim@h.kr, Lee lee@h.kr", "",
       "[김철수|kim@h.kr] [Lee|lee@h.kr]"},
      {"null address keeps the name", "MAILER DAEMON <>", "", "[MAILER DAEMON|]"},
      {"the comment names the mailbox", "bbb@ddd.com (John X. Doe)", "",
       "[John X. Doe|bbb@ddd.com]"},
      {"a comment after a named address", "Anne <a@b.cn> (office)", "", "[Anne|a@b.cn]"},
      {"quoted name with a comma", R"("Doe, John" <j@d.cn>, a@b.cn)", "",
       "[Doe, John|j@d.cn] [|a@b.cn]"},
      {"encoded comma does not split", "=?utf-8?Q?Doe=2C_John?= <j@d.cn>", "",
       "[Doe, John|j@d.cn]"},
      {"encoded word inside quotes", R"("=?utf-8?B?5byg5LiJ?=" <zs@x.cn>)", "", "[张三|zs@x.cn]"},
      {"raw GBK name", hex("d5c5c8fd") + " <zs@x.cn>", "", "[张三|zs@x.cn]"},
      {"group flattened, empty group dropped",
       "Team: a@x.cn, =?gb2312?B?1cXI/Q==?= <b@x.cn>;, undisclosed-recipients:;, c@x.cn", "",
       "[|a@x.cn] [张三|b@x.cn] [|c@x.cn]"},
      {"source route", "<@relay.cn,@hub.cn:a@b.cn>", "", "[|a@b.cn]"},
      {"blanks and comments inside angles", "Li < li@x.cn (work) >", "", "[Li|li@x.cn]"},
      {"quoted local part", R"("john doe"@x.cn)", "", R"([|"john doe"@x.cn])"},
      {"local name only", "postmaster", "", "[|postmaster]"},
      {"encoded name only", "=?gb2312?B?1cXI/Q==?=", "", "[张三|]"},
      {"folded list with empty entries", "Anne <a@b.cn>,\r\n  , Bob <b@c.cn>,", "",
       "[Anne|a@b.cn] [Bob|b@c.cn]"},
      {"nested comment", "a@b.cn (x (y) z)", "", "[x (y) z|a@b.cn]"},
      {"NUL inside a name", QByteArray("Zh\0ang <z@x.cn>", 15), "", "[Zhang|z@x.cn]"},
      {"nothing", "  ", "", ""},
  };
  for (const TextCase& c : cases)
    EXPECT_EQ(show(parseAddressList(c.raw, {{}, u"gb2312"_s})), QString::fromUtf8(c.expected))
        << c.what;
}
