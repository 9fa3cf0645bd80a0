// The Maildir helpers against the real POP3 server: what a test drops is what Dovecot serves,
// and a cleared mailbox starts afresh (UIDs from 1 again).
#include <gtest/gtest.h>

#include "LineClient.h"
#include "LoopbackServers.h"

#include <QFileInfo>

using namespace kvtest;

namespace {

const QString kUser = QStringLiteral("t01");

class MailboxTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(loopbackServers().ok()) << loopbackServers().error.toStdString();
    ASSERT_TRUE(clearMailbox(kUser));
  }

  // Logs in as kUser; the greeting and every status must be "+OK".
  void login(LineClient& pop) {
    ASSERT_TRUE(pop.connectTo(loopbackServers().pop3Port));
    QByteArray line;
    ASSERT_TRUE(pop.readLine(&line));
    EXPECT_EQ(line, "+OK Dovecot (Debian) ready.");
    pop.send("USER " + kUser.toUtf8());
    ASSERT_TRUE(pop.readLine(&line) && line.startsWith("+OK"));
    pop.send("PASS " + loopbackServers().password.toUtf8());
    ASSERT_TRUE(pop.readLine(&line) && line.startsWith("+OK")) << line.constData();
  }

  static QByteArray ask(LineClient& pop, const QByteArray& command) {
    pop.send(command);
    QByteArray line;
    pop.readLine(&line);
    return line;
  }
};

TEST_F(MailboxTest, DroppedMailIsServedByPop3) {
  const QByteArray mail = "Subject: dropped\r\n\r\n.starts with a dot\r\nend\r\n";
  ASSERT_FALSE(dropMail(kUser, mail).isEmpty());

  LineClient pop;
  ASSERT_NO_FATAL_FAILURE(login(pop));
  EXPECT_EQ(ask(pop, "STAT"), "+OK 1 " + QByteArray::number(mail.size()));
  const QByteArray uidl = ask(pop, "UIDL 1");
  EXPECT_TRUE(uidl.startsWith("+OK 1 00000001")) << uidl.constData();  // %08Xu%08Xv
  EXPECT_EQ(uidl.size(), QByteArray("+OK 1 ").size() + 16);
  ASSERT_TRUE(ask(pop, "RETR 1").startsWith("+OK"));
  QByteArray body = pop.pop3Body();
  body.replace("\r\n..", "\r\n.");
  EXPECT_EQ(body, mail);
  EXPECT_TRUE(ask(pop, "QUIT").startsWith("+OK"));
}

TEST_F(MailboxTest, ClearingStartsTheMailboxAfresh) {
  ASSERT_FALSE(dropMail(kUser, "Subject: one\r\n\r\n1\r\n").isEmpty());
  ASSERT_FALSE(dropMail(kUser, "Subject: two\r\n\r\n2\r\n").isEmpty());
  {
    LineClient pop;
    ASSERT_NO_FATAL_FAILURE(login(pop));
    EXPECT_TRUE(ask(pop, "STAT").startsWith("+OK 2 "));
    EXPECT_TRUE(ask(pop, "UIDL 2").startsWith("+OK 2 00000002"));
    EXPECT_TRUE(ask(pop, "QUIT").startsWith("+OK"));
  }
  // The session moved both files to cur/; they are still listed, in delivery order.
  const QStringList seen = listMails(kUser);
  ASSERT_EQ(seen.size(), 2);
  EXPECT_TRUE(seen.first().contains(QStringLiteral("/cur/")));
  EXPECT_TRUE(readMail(seen.first()).contains("Subject: one"));
  EXPECT_TRUE(readMail(seen.last()).contains("Subject: two"));

  ASSERT_TRUE(clearMailbox(kUser));
  EXPECT_TRUE(listMails(kUser).isEmpty());
  ASSERT_FALSE(dropMail(kUser, "Subject: three\r\n\r\n3\r\n").isEmpty());
  LineClient pop;
  ASSERT_NO_FATAL_FAILURE(login(pop));
  EXPECT_TRUE(ask(pop, "STAT").startsWith("+OK 1 "));
  EXPECT_TRUE(ask(pop, "UIDL 1").startsWith("+OK 1 00000001"));
  EXPECT_TRUE(ask(pop, "QUIT").startsWith("+OK"));
}

TEST_F(MailboxTest, DeleteTakesEffectAtQuit) {
  ASSERT_FALSE(dropMail(kUser, "Subject: gone\r\n\r\nx\r\n").isEmpty());
  LineClient pop;
  ASSERT_NO_FATAL_FAILURE(login(pop));
  EXPECT_TRUE(ask(pop, "DELE 1").startsWith("+OK"));
  EXPECT_EQ(listMails(kUser).size(), 1);
  EXPECT_TRUE(ask(pop, "QUIT").startsWith("+OK"));
  EXPECT_TRUE(listMails(kUser).isEmpty());
}

TEST_F(MailboxTest, ReadMailFollowsAFileMovedToCur) {
  const QString path = dropMail(kUser, "Subject: moving\r\n\r\nx\r\n");
  ASSERT_TRUE(path.contains(QStringLiteral("/new/")));
  {
    LineClient pop;
    ASSERT_NO_FATAL_FAILURE(login(pop));
    EXPECT_TRUE(ask(pop, "QUIT").startsWith("+OK"));
  }
  EXPECT_FALSE(QFileInfo::exists(path));
  EXPECT_TRUE(readMail(path).contains("Subject: moving"));
}

TEST_F(MailboxTest, WaitingGivesUpOnAnEmptyMailbox) {
  EXPECT_FALSE(waitForMail(kUser, 1, 200));
  ASSERT_FALSE(dropMail(kUser, "Subject: here\r\n\r\nx\r\n").isEmpty());
  EXPECT_TRUE(waitForMail(kUser, 1, 200));
}

}  // namespace
