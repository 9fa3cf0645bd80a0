// Recipient lists and the protocol transcript: the password must never survive in a shown line,
// and the last command and reply must be what the error text quotes.
#include <gtest/gtest.h>

#include "transfer/SmtpText.h"

using namespace kvmail;
using namespace kvmail::smtp;

namespace {

TEST(SmtpRecipients, SplitsOnTheDelimiterAndKeepsNames) {
  const auto list = parseRecipients(
      QStringLiteral(" a@x.cn ;王芳 <b@y.cn>;; \"Li, Ming\" <c@z.cn>;"), QStringLiteral(";"));
  ASSERT_EQ(list.size(), 3);
  EXPECT_EQ(list[0].address, QStringLiteral("a@x.cn"));
  EXPECT_TRUE(list[0].name.isEmpty());
  EXPECT_EQ(list[1].name, QStringLiteral("王芳"));
  EXPECT_EQ(list[1].address, QStringLiteral("b@y.cn"));
  EXPECT_EQ(list[2].name, QStringLiteral("Li, Ming"));
  EXPECT_EQ(list[2].address, QStringLiteral("c@z.cn"));

  EXPECT_EQ(parseRecipients(QStringLiteral("a@x|b@y"), QStringLiteral("|")).size(), 2);
  EXPECT_TRUE(parseRecipients(QStringLiteral(" ; ; "), QStringLiteral(";")).isEmpty());
}

TEST(SmtpRecipients, UnsafeAddressesAreRefused) {
  EXPECT_TRUE(isSafeAddress(QStringLiteral("a.b+c@x.cn")));
  EXPECT_FALSE(isSafeAddress(QString()));
  EXPECT_FALSE(isSafeAddress(QStringLiteral("a b@x")));
  EXPECT_FALSE(isSafeAddress(QStringLiteral("a@x>\r\nRCPT TO:<b@y")));  // command injection
  EXPECT_FALSE(isSafeAddress(QStringLiteral("a@x\tb")));
}

TEST(SmtpTranscript, AuthPlainNeverShowsTheCredentials) {
  ProtocolLog log(QStringLiteral("t02"), QStringLiteral("s3cret!"));
  const QByteArray initial = (QByteArray(1, 0) + "t02" + QByteArray(1, 0) + "s3cret!").toBase64();
  EXPECT_EQ(log.outgoing("AUTH PLAIN " + initial), QStringLiteral("AUTH PLAIN *****"));
  EXPECT_EQ(log.incoming("535 5.7.8 Authentication credentials invalid"),
            QStringLiteral("535 5.7.8 Authentication credentials invalid"));
  EXPECT_EQ(log.errorCode(), 535);
  EXPECT_EQ(log.errorCommand(), QStringLiteral("AUTH PLAIN *****"));
  // After the exchange ended, ordinary commands are shown again.
  EXPECT_EQ(log.outgoing("QUIT"), QStringLiteral("QUIT"));
}

TEST(SmtpTranscript, AuthLoginHidesEveryAnswerToAChallenge) {
  ProtocolLog log(QStringLiteral("t02"), QStringLiteral("pw"));  // too short to hide literally
  EXPECT_EQ(log.outgoing("AUTH LOGIN"), QStringLiteral("AUTH LOGIN"));
  log.incoming("334 VXNlciBOYW1lAA==");
  EXPECT_EQ(log.outgoing(QByteArray("t02").toBase64()), QStringLiteral("*****"));
  log.incoming("334 UGFzc3dvcmQA");
  EXPECT_EQ(log.outgoing(QByteArray("pw").toBase64()), QStringLiteral("*****"));
  log.incoming("235 2.7.0 Authentication successful");
  EXPECT_EQ(log.outgoing("MAIL FROM:<a@x>"), QStringLiteral("MAIL FROM:<a@x>"));
}

TEST(SmtpTranscript, PasswordIsHiddenWhereverItAppears) {
  ProtocolLog log(QStringLiteral("u"), QStringLiteral("kvpass"));
  EXPECT_EQ(log.incoming("535 bad password kvpass"), QStringLiteral("535 bad password *****"));
  EXPECT_EQ(log.note("login u:kvpass"), QStringLiteral("login u:*****"));
  EXPECT_FALSE(log.errorReply().contains(QStringLiteral("kvpass")));
  EXPECT_EQ(log.note(QByteArray("kvpass").toBase64()), QStringLiteral("*****"));
}

TEST(SmtpTranscript, TheLastErrorReplyIsKept) {
  ProtocolLog log{QString(), QString()};
  EXPECT_FALSE(log.greeted());
  log.incoming("220 kvmail-sink ready");
  EXPECT_TRUE(log.greeted());
  log.outgoing("RCPT TO:<reject@x>");
  log.incoming("550-5.1.1 first line");
  EXPECT_EQ(log.errorCode(), 0);  // a reply counts only once complete
  log.incoming("550 5.1.1 User unknown");
  EXPECT_EQ(log.errorCode(), 550);
  EXPECT_EQ(log.errorReply(), QStringLiteral("550-5.1.1 first line 5.1.1 User unknown"));
  EXPECT_EQ(log.errorCommand(), QStringLiteral("RCPT TO:<reject@x>"));
  // The QUIT that follows a failure must not hide what failed.
  log.outgoing("QUIT");
  log.incoming("221 Bye");
  EXPECT_EQ(log.errorCode(), 550);
  EXPECT_EQ(log.errorCommand(), QStringLiteral("RCPT TO:<reject@x>"));
}

}  // namespace
