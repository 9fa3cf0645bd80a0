// Recipient lists and the protocol transcript: the password must never survive in a shown line,
// and the last command and reply must be what the error text quotes.
#include <gtest/gtest.h>

#include "transfer/SmtpText.h"

using namespace kvmail;
using namespace kvmail::smtp;

namespace {

TEST(SmtpRecipients, SplitsOnTheDelimiterAndKeepsNames) {
  const auto list = parseRecipients(u" a@x.cn ;王芳 <b@y.cn>;; \"Li, Ming\" <c@z.cn>;"_s, u";"_s);
  QStringList seen;
  for (const auto& r : list) seen << r.name + u'|' + r.address;
  EXPECT_EQ(seen, (QStringList{"|a@x.cn", "王芳|b@y.cn", "Li, Ming|c@z.cn"}));

  EXPECT_EQ(parseRecipients(u"a@x|b@y"_s, u"|"_s).size(), 2);
  EXPECT_TRUE(parseRecipients(u" ; ; "_s, u";"_s).isEmpty());
}

TEST(SmtpTranscript, AuthPlainNeverShowsTheCredentials) {
  ProtocolLog log(u"t02"_s, u"s3cret!"_s);
  const QByteArray initial = (QByteArray(1, 0) + "t02" + QByteArray(1, 0) + "s3cret!").toBase64();
  EXPECT_EQ(log.outgoing("AUTH PLAIN " + initial), u"AUTH PLAIN *****"_s);
  EXPECT_EQ(log.incoming("535 5.7.8 Authentication credentials invalid"),
            u"535 5.7.8 Authentication credentials invalid"_s);
  EXPECT_EQ(log.errorCode(), 535);
  EXPECT_EQ(log.errorCommand(), u"AUTH PLAIN *****"_s);
  // After the exchange ended, ordinary commands are shown again.
  EXPECT_EQ(log.outgoing("QUIT"), u"QUIT"_s);
}

TEST(SmtpTranscript, AuthLoginHidesEveryAnswerToAChallenge) {
  ProtocolLog log(u"t02"_s, u"pw"_s);  // too short to hide literally
  EXPECT_EQ(log.outgoing("AUTH LOGIN"), u"AUTH LOGIN"_s);
  log.incoming("334 VXNlciBOYW1lAA==");
  EXPECT_EQ(log.outgoing(QByteArray("t02").toBase64()), u"*****"_s);
  log.incoming("334 UGFzc3dvcmQA");
  EXPECT_EQ(log.outgoing(QByteArray("pw").toBase64()), u"*****"_s);
  log.incoming("235 2.7.0 Authentication successful");
  EXPECT_EQ(log.outgoing("MAIL FROM:<a@x>"), u"MAIL FROM:<a@x>"_s);
}

TEST(SmtpTranscript, PasswordIsHiddenWhereverItAppears) {
  ProtocolLog log(u"u"_s, u"kvpass"_s);
  EXPECT_EQ(log.incoming("535 bad password kvpass"), u"535 bad password *****"_s);
  EXPECT_EQ(log.note("login u:kvpass"), u"login u:*****"_s);
  EXPECT_FALSE(log.errorReply().contains(u"kvpass"_s));
  EXPECT_EQ(log.note(QByteArray("kvpass").toBase64()), u"*****"_s);
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
  EXPECT_EQ(log.errorReply(), u"550-5.1.1 first line 5.1.1 User unknown"_s);
  EXPECT_EQ(log.errorCommand(), u"RCPT TO:<reject@x>"_s);
  // The QUIT that follows a failure must not hide what failed.
  log.outgoing("QUIT");
  log.incoming("221 Bye");
  EXPECT_EQ(log.errorCode(), 550);
  EXPECT_EQ(log.errorCommand(), u"RCPT TO:<reject@x>"_s);
}

}  // namespace
