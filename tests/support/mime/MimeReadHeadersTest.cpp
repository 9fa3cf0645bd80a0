// Whole messages whose headers carry what real senders write: the reader fills ParsedMail right.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "QtPrinters.h"
#include "TestEnv.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

namespace {

QByteArray hex(const char* h) {
  return QByteArray::fromHex(h);
}

}  // namespace

TEST(MimeReadHeaders, RawHeadersFollowTheCharsetOfTheFirstLabelledPart) {
  // EUC-KR subject and name, declared only on the text part of a multipart mail.
  const QByteArray raw = "From: " + hex("b1e8c3b6bcf6") + " <kim@host.kr>\r\n" +
                         "Subject: " + hex("c8b8c0c720c0cfc1a4") + "\r\n" +
                         "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                         "--b\r\nContent-Type: text/plain; charset=ks_c_5601-1987\r\n\r\nx\r\n"
                         "--b--\r\n";
  const ParsedMail m = readMailBytes(raw, QStringLiteral("gb2312"), MimeParts::StructureOnly);
  EXPECT_EQ(m.subject, QStringLiteral("회의 일정"));
  EXPECT_EQ(m.from.name, QStringLiteral("김철수"));
  EXPECT_EQ(m.from.address, QStringLiteral("kim@host.kr"));
}

TEST(MimeReadHeaders, RawUtf8AndGbkSubjectsUnderTheGb2312Default) {
  for (const auto& [bytes, text] :
       {std::pair{hex("e8bf9be587bae58fa3e68aa5e585b3e58d95"), QStringLiteral("进出口报关单")},
        std::pair{hex("b9d8d3dacfc2d6dcbbe1d2e9b5c4b0b2c5c5b1ed"),
                  QStringLiteral("关于下周会议的安排表")}}) {
    const QByteArray raw = "From: a@b.cn\r\nSubject: " + bytes + "\r\n\r\nbody";
    EXPECT_EQ(readMailBytes(raw, QStringLiteral("gb2312")).subject, text);
  }
}

TEST(MimeReadHeaders, ServerAddressFormsFillSenderAndRecipients) {
  const QByteArray raw =
      "From: =?ks_c_5601-1987?B?sejDtrz2?= kim@host.kr\r\n"
      "To: =?ks_c_5601-1987?B?wMy/tcjx?= lee@host.kr\r\n"
      "Cc: MAILER DAEMON <>, postmaster@host.kr (Post Master)\r\n"
      "Subject: =?koi8_r?B?8NLJ18XU?=\r\n\r\nbody";
  const ParsedMail m = readMailBytes(raw, QStringLiteral("gb2312"), MimeParts::StructureOnly);
  EXPECT_EQ(m.from.name, QStringLiteral("김철수"));
  EXPECT_EQ(m.from.address, QStringLiteral("kim@host.kr"));
  ASSERT_EQ(m.to.size(), 1);
  EXPECT_EQ(m.to[0].name, QStringLiteral("이영희"));
  EXPECT_EQ(m.to[0].address, QStringLiteral("lee@host.kr"));
  ASSERT_EQ(m.cc.size(), 2);
  EXPECT_EQ(m.cc[0].name, QStringLiteral("MAILER DAEMON"));
  EXPECT_TRUE(m.cc[0].address.isEmpty());
  EXPECT_EQ(m.cc[1].name, QStringLiteral("Post Master"));
  EXPECT_EQ(m.subject, QStringLiteral("Привет"));
}

TEST(MimeReadHeaders, NulInAHeaderKeepsTheRestFromBytesAndFromAFile) {
  const QByteArray raw = QByteArray("From: Zh\0ang <z@x.cn>\r\nSubject: before\0after\r\n", 46) +
                         "To: t@x.cn\r\n\r\nbody with \0 kept";
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("nul.eml"));
  ASSERT_TRUE(kvtest::writeAll(path, raw));
  for (const ParsedMail& m : {readMailBytes(raw), readMailFile(path)}) {
    EXPECT_EQ(m.subject, QStringLiteral("beforeafter"));
    EXPECT_EQ(m.from.name, QStringLiteral("Zhang"));
    ASSERT_EQ(m.to.size(), 1);
    EXPECT_EQ(m.to[0].address, QStringLiteral("t@x.cn"));
    EXPECT_TRUE(m.textBody.startsWith(QStringLiteral("body with ")));
  }
}

TEST(MimeReadHeaders, RawGbkAttachmentNamesOfEvenLengthAreReadOnce) {
  const QByteArray name = hex("bbe1d2e9bccdd2aa2e646f63");  // 会议纪要.doc
  const QByteArray raw =
      "From: a@b.cn\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
      "--b\r\nContent-Type: text/plain; charset=gbk\r\n\r\nx\r\n"
      "--b\r\nContent-Type: application/msword; name=\"" +
      name + "\"\r\nContent-Disposition: attachment; filename=" + name +
      "\r\n\r\nxx\r\n"
      "--b\r\nContent-Type: application/msword; name=\"" +
      name + "\"\r\n\r\nyy\r\n--b--\r\n";
  const ParsedMail m = readMailBytes(raw, QStringLiteral("gb2312"));
  ASSERT_EQ(m.attachments.size(), 2);
  EXPECT_EQ(m.attachments[0].fileName, QStringLiteral("会议纪要.doc"));  // unquoted filename=
  EXPECT_EQ(m.attachments[1].fileName, QStringLiteral("会议纪要.doc"));  // quoted name=
}

TEST(MimeReadHeaders, AFirstLineStartingWithABlankIsSkippedNotTakenForABody) {
  const QByteArray raw =
      " From: Broken <b@x.cn>\r\nSubject: plain text\r\nTo: t@x.cn\r\n\r\nbody\r\n";
  const ParsedMail m = readMailBytes(raw);
  EXPECT_EQ(m.subject, QStringLiteral("plain text"));
  EXPECT_TRUE(m.from.address.isEmpty());
  ASSERT_EQ(m.to.size(), 1);
  EXPECT_EQ(m.textBody.trimmed(), QStringLiteral("body"));
  // Text that only starts indented is still a mail without headers, read whole.
  EXPECT_TRUE(readMailBytes("  indented\r\nsecond line\r\n").textBody.startsWith(u"  indented"));
}
