// The SMTP sink as a test peer: it must keep each message's bytes exactly, answer like a real
// server (550 for "reject..." recipients, 535 for a wrong password) and deliver into Maildirs.
#include <gtest/gtest.h>

#include "LineClient.h"
#include "LoopbackServers.h"

#include <QDir>

using namespace kvtest;

namespace {

const QString kUser = QStringLiteral("t01");

class SinkTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(loopbackServers().ok()) << loopbackServers().error.toStdString();
    ASSERT_TRUE(clearMailbox(kUser));
    ASSERT_TRUE(clearMailbox(QStringLiteral("catchall")));
    ASSERT_TRUE(client.connectTo(loopbackServers().smtpPort));
    ASSERT_TRUE(client.smtpReply().startsWith("220 "));
    ehlo = client.command("EHLO test.localhost");
    ASSERT_TRUE(ehlo.startsWith("250"));
  }

  // Sends a whole message (already dot-stuffed, ending in CR LF); answers the final reply.
  QByteArray sendData(const QByteArray& stuffed) {
    if (!client.command("DATA").startsWith("354")) return {};
    client.sendRaw(stuffed + ".\r\n");
    return client.smtpReply();
  }

  static QByteArray b64(const QByteArray& s) { return s.toBase64(); }

  LineClient client;
  QByteArray ehlo;
};

TEST_F(SinkTest, KeepsTheExactBytesOfTheMessage) {
  // CR LF line ends, a dot-stuffed line, 8-bit gb2312 text and no trailing blank line.
  const QByteArray gb = QByteArray::fromHex("d6d0cec4d3cabcfe");  // "中文邮件" in gb2312
  const QByteArray original = "Subject: " + gb + "\r\nFrom: a@kvmail.localhost\r\n\r\n" +
                              ".leading dot\r\n..two dots\r\nlast line\r\n";
  QByteArray stuffed = original;
  stuffed.replace("\r\n.", "\r\n..");
  ASSERT_TRUE(client.command("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  ASSERT_TRUE(client.command("RCPT TO:<" + addressOf(kUser).toUtf8() + ">").startsWith("250"));
  ASSERT_TRUE(sendData(stuffed).startsWith("250"));

  ASSERT_TRUE(waitForMail(kUser, 1));
  const QStringList mails = listMails(kUser);
  ASSERT_EQ(mails.size(), 1);
  EXPECT_EQ(readMail(mails.first()), original);
}

TEST_F(SinkTest, RecipientsDecideTheMailbox) {
  // "reject..." is refused like an unknown user; the rest of the envelope still goes through.
  ASSERT_TRUE(client.command("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  const QByteArray refused = client.command("RCPT TO:<reject.me@kvmail.localhost>");
  EXPECT_TRUE(refused.startsWith("550")) << refused.constData();
  EXPECT_TRUE(client.command("RCPT TO:<" + addressOf(kUser).toUtf8() + ">").startsWith("250"));
  EXPECT_TRUE(
      client.command("RCPT TO:<" + kUser.toUpper().toUtf8() + "@other.example>").startsWith("250"));
  EXPECT_TRUE(client.command("RCPT TO:<stranger@elsewhere.example>").startsWith("250"));
  ASSERT_TRUE(sendData("Subject: fan-out\r\n\r\nbody\r\n").startsWith("250"));

  // Two addresses of the same user make one copy; the unknown one lands in "catchall".
  ASSERT_TRUE(waitForMail(kUser, 1));
  ASSERT_TRUE(waitForMail(QStringLiteral("catchall"), 1));
  EXPECT_EQ(listMails(kUser).size(), 1);
  EXPECT_EQ(listMails(QStringLiteral("catchall")).size(), 1);
}

TEST_F(SinkTest, OnlyRejectedRecipientsMeanNoData) {
  ASSERT_TRUE(client.command("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  EXPECT_TRUE(client.command("RCPT TO:<REJECT@kvmail.localhost>").startsWith("550"));
  EXPECT_TRUE(client.command("DATA").startsWith("503"));
}

TEST_F(SinkTest, AuthChecksTheMailPassword) {
  EXPECT_TRUE(ehlo.contains("AUTH")) << "AUTH must be offered without TLS";
  EXPECT_FALSE(ehlo.contains("SIZE")) << "no size cap";
  EXPECT_FALSE(ehlo.contains("STARTTLS"));

  const QByteArray wrong =
      b64(QByteArray(1, 0) + kUser.toUtf8() + QByteArray(1, 0) + "wrong-password");
  EXPECT_TRUE(client.command("AUTH PLAIN " + wrong).startsWith("535"));
  const QByteArray right = b64(QByteArray(1, 0) + kUser.toUtf8() + QByteArray(1, 0) +
                               loopbackServers().password.toUtf8());
  EXPECT_TRUE(client.command("AUTH PLAIN " + right).startsWith("235"));
}

TEST_F(SinkTest, AuthLoginWorksToo) {
  EXPECT_TRUE(client.command("AUTH LOGIN").startsWith("334"));
  EXPECT_TRUE(client.command(b64(kUser.toUtf8())).startsWith("334"));
  EXPECT_TRUE(client.command(b64(loopbackServers().password.toUtf8())).startsWith("235"));
}

TEST_F(SinkTest, TakesLargeMessages) {
  QByteArray big = "Subject: big\r\n\r\n";
  const QByteArray line = QByteArray(76, 'A') + "\r\n";
  while (big.size() < 40 * 1024 * 1024) big += line;  // above aiosmtpd's default 32 MB cap
  ASSERT_TRUE(client.command("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  ASSERT_TRUE(client.command("RCPT TO:<" + addressOf(kUser).toUtf8() + ">").startsWith("250"));
  ASSERT_TRUE(sendData(big).startsWith("250"));
  ASSERT_TRUE(waitForMail(kUser, 1));
  EXPECT_EQ(QFileInfo(listMails(kUser).first()).size(), big.size());
}

}  // namespace
