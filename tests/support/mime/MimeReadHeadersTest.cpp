// Whole messages whose headers carry what real senders write: the reader fills ParsedMail right.
// (Sender, recipient and subject forms are covered by the received corpus in tests/store.)
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "TestEnv.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

namespace {

QByteArray hex(const char* h) {
  return QByteArray::fromHex(h);
}

}  // namespace

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
