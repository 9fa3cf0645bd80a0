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
  const QByteArray name = hex("bbe1d2e9bccdd2aa2e646f63");  // 会议纪要.doc
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
