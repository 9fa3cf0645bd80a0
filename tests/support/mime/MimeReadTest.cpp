// Reading real-world-shaped messages: charsets, encodings, structure and broken input.
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include "TestEnv.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

namespace {

ParsedMail sample(const QString& name, const QString& charset = {}) {
  return readMailFile(kvtest::dataFile(u"mime/"_s + name), charset);
}

// Each attachment as "name type", with " inline" and " cid:<id>" when so.
QStringList parts(const ParsedMail& m) {
  QStringList out;
  for (const MimeAttachment& a : m.attachments)
    out << a.fileName + u' ' + a.contentType + (a.isInline ? u" inline"_s : QString()) +
               (a.contentId.isEmpty() ? QString() : u" cid:"_s + a.contentId);
  return out;
}

QByteArray binarySample() {
  QByteArray b;
  for (int r = 0; r < 3; ++r)
    for (int i = 0; i < 256; ++i) b.append(static_cast<char>(i));
  return b + QByteArray("\r\n\n\r\0\x1a", 6);
}

}  // namespace

TEST(MimeRead, Gb2312LabelHoldingGbkCharactersWithDateAndPriority) {
  const ParsedMail m = sample(u"gb2312_alternative.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ(
      (QStringList{m.subject, joinDisplay({m.from}), joinDisplay({m.replyTo}), joinDisplay(m.to),
                   joinDisplay(m.cc), joinDisplay(m.bcc), m.textBody, m.htmlBody}),
      (QStringList{"报价单（朱镕基）", "销售部 <sales@example.cn>", "回复 <reply@example.cn>",
                   "朱镕基 <zhu@example.cn>;Li Si <lisi@example.cn>", "wang@example.cn", "",
                   "朱镕基先生：\n喆报价单见附件。\n",
                   "<html><body><p>朱镕基先生：</p><p>喆报价单见附件。</p></body></html>\n"}));
  EXPECT_TRUE(m.attachments.isEmpty());
  EXPECT_EQ(m.date.toUTC(), QDateTime(QDate(2024, 3, 5), QTime(1, 30, 15), Qt::UTC));
  EXPECT_EQ(m.date.offsetFromUtc(), 8 * 3600);
  EXPECT_EQ(m.priority, 3);  // "3 (Normal)"

  const ParsedMail urgent = sample(u"mixed_attachments.eml"_s);
  EXPECT_EQ(urgent.priority, 1);
  EXPECT_EQ(urgent.date.offsetFromUtc(), -5 * 3600);

  const ParsedMail plain = sample(u"gb18030_plain.eml"_s);
  EXPECT_EQ(plain.priority, 0);
  EXPECT_FALSE(plain.date.isValid());
}

// The names and bytes of its three attachments (RFC 2047, RFC 2231 with gb2312, RFC 2231
// continued) are the viewer's received-mail test; the reader's own part is both bodies of the
// alternative nested inside the mixed part.
TEST(MimeRead, NestedAlternativeInsideMixedGivesBothBodies) {
  const ParsedMail m = sample(u"mixed_attachments.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ(
      (QStringList{joinDisplay(m.to), m.textBody, m.htmlBody}),
      (QStringList{"王五 <wangwu@example.com>", "请查收附件。", "<p>请查收<b>附件</b>。</p>"}));
  EXPECT_EQ(m.attachments.size(), 3);
}

TEST(MimeRead, RelatedInlineImagesKeepTheirContentIds) {
  const ParsedMail m = sample(u"related_inline.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_TRUE(m.htmlBody.contains(u"cid:logo@kv"_s));
  EXPECT_TRUE(m.textBody.isEmpty());
  // The second has no disposition (inline inside multipart/related) and a made-up name.
  EXPECT_EQ(parts(m), (QStringList{"logo.png image/png inline cid:logo@kv",
                                   "part2.png image/png inline cid:sign@kv"}));
  ASSERT_EQ(m.attachments.size(), 2);
  EXPECT_TRUE(m.attachments[0].data.startsWith("\x89PNG"));
  EXPECT_EQ(m.attachments[1].data, m.attachments[0].data);
}

TEST(MimeRead, PlainTextOnlyBecomesEscapedHtmlWithLineBreaks) {
  const ParsedMail m = sample(u"gb18030_plain.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ(m.textBody, u"第一行 <b>&\n第二行 𠀀 €\n"_s);
  EXPECT_EQ(m.htmlBody, u"第一行 &lt;b&gt;&amp;<br>\n第二行 𠀀 €<br>\n"_s);
}

TEST(MimeRead, LfOnlyMailWithWrongAsciiLabelAndForwardedMessage) {
  const ParsedMail m = sample(u"lf_only.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ((QStringList{m.from.name, m.subject, m.textBody}),
            (QStringList{"Bob", "lf only", "line one\nline two 中文\n"}));
  EXPECT_EQ(parts(m), QStringList{"转发的邮件.eml message/rfc822"});
  ASSERT_EQ(m.attachments.size(), 1);
  EXPECT_TRUE(m.attachments[0].data.contains("inner body"));
}

TEST(MimeRead, TruncatedMailYieldsWhatWasThere) {
  const ParsedMail m = sample(u"truncated.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ((QStringList{m.subject, m.from.name, m.htmlBody}),
            (QStringList{"截断的邮件", "李四", "<p>正文完整</p>"}));
  ASSERT_EQ(m.attachments.size(), 1);
  EXPECT_EQ(m.attachments[0].fileName, u"data.bin"_s);
  EXPECT_FALSE(m.attachments[0].data.isEmpty());
  EXPECT_TRUE(binarySample().startsWith(m.attachments[0].data));
}

// Text without headers is the body; leading blank lines and an mbox "From " line are skipped.
TEST(MimeRead, HeaderlessTextLeadingBlankLinesAndMboxLines) {
  const ParsedMail m = sample(u"no_headers.eml"_s);
  ASSERT_TRUE(m.ok);
  EXPECT_EQ((QStringList{m.subject, m.from.address, m.textBody, m.htmlBody}),
            (QStringList{"", "", "这不是邮件头\n只是一些文字 <x>\n",
                         "这不是邮件头<br>\n只是一些文字 &lt;x&gt;<br>\n"}));
  for (const QByteArray raw : {"\r\n\r\nFrom: a@b.cn\r\nSubject: hi\r\n\r\nbody",
                               "From a@b.cn Mon Jan  1 00:00:00 2024\nFrom: a@b.cn\nSubject: "
                               "hi\n\nbody"}) {
    const ParsedMail r = readMailBytes(raw);
    EXPECT_EQ((QStringList{r.subject, r.from.address, r.textBody}),
              (QStringList{"hi", "a@b.cn", "body"}));
  }
}

TEST(MimeRead, NothingReadableGivesNotOk) {
  EXPECT_FALSE(readMailBytes({}).ok);
  EXPECT_FALSE(readMailBytes("\r\n \r\n").ok);
  EXPECT_FALSE(readMailFile(u"/nonexistent/kvmail/none.eml"_s).ok);
}

TEST(MimeRead, UnlabelledEightBitTextFollowsTheDefaultCharset) {
  const QByteArray raw = QByteArray("From: a@b\r\nSubject: x\r\n\r\n") + u"中文"_s.toUtf8();
  EXPECT_EQ(readMailBytes(raw).textBody, u"中文"_s);  // valid UTF-8 wins by default
  // The same bytes read as gb2312 (GB18030) when the caller says the mail is gb2312.
  EXPECT_EQ(readMailBytes(raw, u"gb2312"_s).textBody, QString::fromUtf8("涓\xEE\x85\x9F枃"));
  const QByteArray gbk = QByteArray("Subject: ") + QByteArray("\xD6\xD0\xCE\xC4") + "\r\n\r\n" +
                         QByteArray("\xD6\xD0\xCE\xC4");
  const ParsedMail m = readMailBytes(gbk);
  EXPECT_EQ(m.subject, u"中文"_s);
  EXPECT_EQ(m.textBody, u"中文"_s);
}

TEST(MimeRead, HtmlWithoutCharsetLabelUsesItsMetaTag) {
  const QByteArray raw = QByteArray("Content-Type: text/html\r\n\r\n<meta charset=\"gb2312\"><p>") +
                         QByteArray("\xE9\x46") + "</p>";  // 镕 in GBK
  EXPECT_EQ(readMailBytes(raw).htmlBody, u"<meta charset=\"gb2312\"><p>镕</p>"_s);
}

// Groups are the header reader's; here repeated To headers make one list and an empty Cc none.
TEST(MimeRead, RepeatedRecipientHeadersAreJoined) {
  const ParsedMail m = readMailBytes("To: a@x.cn, b@x.cn\r\nTo: c@x.cn\r\nCc: \r\n\r\nbody");
  EXPECT_EQ(joinAddresses(m.to), u"a@x.cn;b@x.cn;c@x.cn"_s);
  EXPECT_TRUE(m.cc.isEmpty());
}

TEST(MimeRead, EveryPrefixOfEverySampleIsReadWithoutFailing) {
  const QDir samples(kvtest::dataFile(u"mime"_s));
  const QStringList files = samples.entryList({u"*.eml"_s}, QDir::Files);
  ASSERT_GE(files.size(), 8);
  for (const QString& name : files) {
    const QByteArray whole = kvtest::readAll(samples.filePath(name));
    for (qsizetype n = 1; n <= whole.size(); n += 5) {
      const ParsedMail m = readMailBytes(whole.left(n));
      for (const MimeAttachment& a : m.attachments) EXPECT_FALSE(a.fileName.isEmpty());
    }
  }
  QByteArray noise;
  for (int i = 0; i < 4096; ++i) noise.append(static_cast<char>((i * 7919) % 251));
  readMailBytes(noise);
  readMailBytes("Content-Type: multipart/mixed; boundary=x\r\n\r\n--x\r\n--x\r\n--x--");
  readMailBytes("Subject: =?gb2312?B?====?= =?x?Q?=ZZ?= =?\r\nTo: <<>>,,@\r\n\r\n");
}

// Headers as real senders write them. (Sender, recipient and subject forms are covered by the
// received corpus in tests/store.)
TEST(MimeReadHeaders, NulInAHeaderKeepsTheRestFromBytesAndFromAFile) {
  const QByteArray raw = QByteArray("From: Zh\0ang <z@x.cn>\r\nSubject: before\0after\r\n", 46) +
                         "To: t@x.cn\r\n\r\nbody with \0 kept";
  QTemporaryDir dir;
  const QString path = dir.filePath(u"nul.eml"_s);
  ASSERT_TRUE(kvtest::writeAll(path, raw));
  for (const ParsedMail& m : {readMailBytes(raw), readMailFile(path)}) {
    EXPECT_EQ(m.subject, u"beforeafter"_s);
    EXPECT_EQ(m.from.name, u"Zhang"_s);
    ASSERT_EQ(m.to.size(), 1);
    EXPECT_EQ(m.to[0].address, u"t@x.cn"_s);
    EXPECT_TRUE(m.textBody.startsWith(u"body with "_s));
  }
}

TEST(MimeReadHeaders, RawGbkAttachmentNamesOfEvenLengthAreReadOnce) {
  const QByteArray name = QByteArray::fromHex("bbe1d2e9bccdd2aa2e646f63");  // 会议纪要.doc
  const QByteArray raw =
      "From: a@b.cn\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
      "--b\r\nContent-Type: text/plain; charset=gbk\r\n\r\nx\r\n"
      "--b\r\nContent-Type: application/msword; name=\"" +
      name + "\"\r\nContent-Disposition: attachment; filename=" + name +
      "\r\n\r\nxx\r\n"
      "--b\r\nContent-Type: application/msword; name=\"" +
      name + "\"\r\n\r\nyy\r\n--b--\r\n";
  const ParsedMail m = readMailBytes(raw, u"gb2312"_s);
  ASSERT_EQ(m.attachments.size(), 2);
  EXPECT_EQ(m.attachments[0].fileName, u"会议纪要.doc"_s);  // unquoted filename=
  EXPECT_EQ(m.attachments[1].fileName, u"会议纪要.doc"_s);  // quoted name=
}

TEST(MimeReadHeaders, AFirstLineStartingWithABlankIsSkippedNotTakenForABody) {
  const QByteArray raw =
      " From: Broken <b@x.cn>\r\nSubject: plain text\r\nTo: t@x.cn\r\n\r\nbody\r\n";
  const ParsedMail m = readMailBytes(raw);
  EXPECT_EQ(m.subject, u"plain text"_s);
  EXPECT_TRUE(m.from.address.isEmpty());
  ASSERT_EQ(m.to.size(), 1);
  EXPECT_EQ(m.textBody.trimmed(), u"body"_s);
  // Text that only starts indented is still a mail without headers, read whole.
  EXPECT_TRUE(readMailBytes("  indented\r\nsecond line\r\n").textBody.startsWith(u"  indented"));
}
