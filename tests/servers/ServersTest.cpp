// The loopback SMTP sink as a test peer: it keeps each message's bytes exactly, answers like a
// real server (550 for "reject..." recipients, 535 for a wrong password) and delivers into the
// Maildirs Dovecot serves. (What Dovecot serves from them, the receive tests see.)
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QTcpSocket>

#include "LoopbackServers.h"

using namespace kvtest;

namespace {

const QString kUser = u"t01"_s;

// A blocking line client; every wait is bounded and a time-out reads as an empty answer.
struct LineClient {
  QTcpSocket socket;

  bool connectTo(quint16 port) {
    socket.connectToHost(loopbackServers().host, port);
    return socket.waitForConnected(5000);
  }
  void send(const QByteArray& bytes) {
    socket.write(bytes);
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(10000)) {
    }
  }
  bool line(QByteArray* out) {
    const QDeadlineTimer deadline(10000);
    while (!socket.canReadLine())
      if (deadline.hasExpired() || !socket.waitForReadyRead(int(deadline.remainingTime())))
        return false;
    *out = socket.readLine();
    out->chop(out->endsWith("\r\n") ? 2 : out->endsWith('\n') ? 1 : 0);
    return true;
  }
  // A command and its reply; an SMTP reply's lines joined with LF.
  QByteArray ask(const QByteArray& command) {
    if (!command.isEmpty()) send(command + "\r\n");
    QByteArray all, l;
    while (line(&l)) {
      all += all.isEmpty() ? l : "\n" + l;
      if (l.size() < 4 || l.at(3) != '-') break;
    }
    return all;
  }
};

class Servers : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(serversWithEmptyMailbox(kUser)); }
  void smtp(LineClient& c) {
    ASSERT_TRUE(c.connectTo(loopbackServers().smtpPort));
    ASSERT_TRUE(c.ask({}).startsWith("220 "));
    ehlo = c.ask("EHLO test.localhost");
    ASSERT_TRUE(ehlo.startsWith("250"));
  }
  QByteArray ehlo;
};

}  // namespace

TEST_F(Servers, SinkKeepsTheExactBytesOfALargeMessage) {
  // CR LF line ends, dot-stuffed lines, 8-bit gb2312 text, above aiosmtpd's default 32 MB cap.
  QByteArray original = "Subject: " + QByteArray::fromHex("d6d0cec4d3cabcfe") +
                        "\r\nFrom: a@kvmail.localhost\r\n\r\n.leading dot\r\n..two dots\r\n";
  while (original.size() < 40 * 1024 * 1024) original += QByteArray(76, 'A') + "\r\n";
  QByteArray stuffed = original;
  stuffed.replace("\r\n.", "\r\n..");
  LineClient c;
  ASSERT_NO_FATAL_FAILURE(smtp(c));
  ASSERT_TRUE(c.ask("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  ASSERT_TRUE(c.ask("RCPT TO:<" + addressOf(kUser).toUtf8() + ">").startsWith("250"));
  ASSERT_TRUE(c.ask("DATA").startsWith("354"));
  ASSERT_TRUE(c.ask(stuffed + ".").startsWith("250"));
  ASSERT_TRUE(waitForMail(kUser, 1));
  EXPECT_EQ(readMail(listMails(kUser).first()), original);
}

TEST_F(Servers, SinkRecipientsDecideTheMailboxAndAuthChecksThePassword) {
  ASSERT_TRUE(clearMailbox(u"catchall"_s));
  LineClient c;
  ASSERT_NO_FATAL_FAILURE(smtp(c));
  EXPECT_TRUE(ehlo.contains("AUTH")) << "AUTH must be offered without TLS";
  EXPECT_FALSE(ehlo.contains("SIZE") || ehlo.contains("STARTTLS")) << ehlo.constData();
  const QByteArray plain = QByteArray(1, 0) + kUser.toUtf8() + QByteArray(1, 0);
  EXPECT_TRUE(c.ask("AUTH PLAIN " + (plain + "wrong").toBase64()).startsWith("535"));
  EXPECT_TRUE(c.ask("AUTH PLAIN " + (plain + loopbackServers().password.toUtf8()).toBase64())
                  .startsWith("235"));

  // "reject..." is refused like an unknown user; the rest of the envelope still goes through.
  ASSERT_TRUE(c.ask("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  EXPECT_TRUE(c.ask("RCPT TO:<reject.me@kvmail.localhost>").startsWith("550"));
  EXPECT_TRUE(c.ask("RCPT TO:<" + addressOf(kUser).toUtf8() + ">").startsWith("250"));
  EXPECT_TRUE(c.ask("RCPT TO:<" + kUser.toUpper().toUtf8() + "@other.example>").startsWith("250"));
  EXPECT_TRUE(c.ask("RCPT TO:<stranger@elsewhere.example>").startsWith("250"));
  ASSERT_TRUE(c.ask("DATA").startsWith("354"));
  ASSERT_TRUE(c.ask("Subject: fan-out\r\n\r\nbody\r\n.").startsWith("250"));
  // Two addresses of the same user make one copy; the unknown one lands in "catchall".
  ASSERT_TRUE(waitForMail(kUser, 1) && waitForMail(u"catchall"_s, 1));
  EXPECT_EQ(listMails(kUser).size(), 1);
  EXPECT_EQ(listMails(u"catchall"_s).size(), 1);

  // Only rejected recipients: no DATA.
  ASSERT_TRUE(c.ask("MAIL FROM:<a@kvmail.localhost>").startsWith("250"));
  EXPECT_TRUE(c.ask("RCPT TO:<REJECT@kvmail.localhost>").startsWith("550"));
  EXPECT_TRUE(c.ask("DATA").startsWith("503"));
}
