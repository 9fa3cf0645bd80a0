// The SMTP sender against the real sink: what arrives in the Maildir is read back with the
// module's own MIME reader, and every failure reaches the user as SendFailed in Chinese.
#include <gtest/gtest.h>

#include "LoopbackServers.h"
#include "SenderProbe.h"
#include "TestEnv.h"
#include "support/mime/MimeMail.h"
#include "transfer/SmtpSender.h"

#include <QRandomGenerator>
#include <QTemporaryDir>

using namespace kvmail;
using namespace kvtest;

namespace {

const QString kUser = u"t02"_s;

class SenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(loopbackServers().ok()) << loopbackServers().error.toStdString();
    ASSERT_TRUE(clearMailbox(kUser));
    ASSERT_TRUE(files.isValid());
    sender.setServer(loopbackServers().host);
    sender.setPort(loopbackServers().smtpPort);
    sender.setFromAddress(u"sales@kvmail.localhost"_s);
    sender.setFromName(u"销售部"_s);
    sender.setRecipients(addressOf(kUser));
    sender.setSubject(u"测试邮件"_s);
    sender.setBody(u"<html><body><p>您好！</p></body></html>"_s);
  }

  QString makeFile(const QString& name, const QByteArray& bytes) {
    const QString path = files.filePath(name);
    EXPECT_TRUE(writeAll(path, bytes));
    return path;
  }

  ParsedMail onlyMail() {
    if (!waitForMail(kUser, 1)) return {};
    const QStringList mails = listMails(kUser);
    EXPECT_EQ(mails.size(), 1);
    return readMailFile(mails.first());
  }

  QStringList subjects() {
    QStringList out;
    for (const QString& mail : listMails(kUser)) out << readMailFile(mail).subject;
    return out;
  }

  // The password in every form it could leak in.
  static bool leaks(const QString& text, const QString& pass = loopbackServers().password) {
    return text.contains(pass) || text.contains(QString::fromLatin1(pass.toUtf8().toBase64())) ||
           text.contains(QString::fromLatin1(
               (QByteArray(1, 0) + kUser.toUtf8() + QByteArray(1, 0) + pass.toUtf8()).toBase64()));
  }

  QTemporaryDir files;
  SmtpSender sender;
};

// What the sender itself puts on the message: sender, reply-to, every recipient of the list and
// the attachment byte for byte. (Several queued mails with Chinese names are the service's test.)
TEST_F(SenderTest, DeliversTheComposedMessage) {
  QByteArray picture(70000, '\0');
  for (char& c : picture) c = char(QRandomGenerator::global()->bounded(256));
  sender.setRecipients(addressOf(kUser) + u"; 王芳 <"_s + addressOf(kUser) + u'>');
  sender.setReplyTo(u"reply@kvmail.localhost"_s);
  sender.setAttachments(makeFile(u"说明.txt"_s, "x") + u" ; "_s +
                        makeFile(u"产品 图片.png"_s, picture) + u';');
  sender.setHeaderPriority(1);
  SenderProbe probe(sender);

  ASSERT_TRUE(sender.Send()) << probe.failures.join(u'\n').toStdString();
  EXPECT_EQ(probe.successes, 1);
  EXPECT_FALSE(probe.offThread) << "events must arrive on the UI thread";
  ASSERT_FALSE(probe.percents.isEmpty());
  EXPECT_EQ(probe.percents.last(), 100);
  EXPECT_TRUE(probe.status.isEmpty()) << "log level 0 sends no protocol detail";

  const ParsedMail mail = onlyMail();
  ASSERT_TRUE(mail.ok);
  const QString to = addressOf(kUser);
  EXPECT_EQ((QStringList{mail.subject, joinDisplay({mail.from}), joinDisplay({mail.replyTo}),
                         joinDisplay(mail.to), joinDisplay(mail.cc + mail.bcc)}),
            (QStringList{"测试邮件", "销售部 <sales@kvmail.localhost>", "reply@kvmail.localhost",
                         to + ";王芳 <" + to + '>', ""}));
  EXPECT_TRUE(mail.htmlBody.contains(u"您好！"_s));
  EXPECT_EQ(mail.priority, 1);
  ASSERT_EQ(mail.attachments.size(), 2);
  EXPECT_EQ(mail.attachments[1].fileName, u"产品 图片.png"_s);
  EXPECT_EQ(mail.attachments[1].data, picture);
}

TEST_F(SenderTest, AuthOnlyWhenAskedAndThePasswordNeverShows) {
  sender.setUserName(kUser);
  sender.setPassword(u"not-even-checked"_s);
  sender.setAuthenticate(false);
  sender.setLogLevel(1);
  SenderProbe plain(sender);
  ASSERT_TRUE(sender.Send()) << plain.failures.join(u'\n').toStdString();
  EXPECT_FALSE(plain.status.join(u'\n').contains(u"\nAUTH "_s));
  EXPECT_TRUE(plain.status.join(u'\n').contains(u"\nMAIL FROM:"_s));

  sender.setPassword(loopbackServers().password);
  sender.setAuthenticate(true);
  sender.setLogLevel(2);
  SenderProbe probe(sender);
  ASSERT_TRUE(sender.Send()) << probe.failures.join(u'\n').toStdString();
  const QString shown = probe.shown();
  EXPECT_TRUE(shown.contains(u"\nAUTH "_s)) << shown.toStdString();
  EXPECT_TRUE(shown.contains(u"235"_s));
  EXPECT_TRUE(shown.contains(u"RCPT TO:<"_s + addressOf(kUser) + u'>'));
  EXPECT_FALSE(leaks(shown)) << shown.toStdString();
  EXPECT_FALSE(probe.offThread);
  EXPECT_TRUE(waitForMail(kUser, 2));
}

TEST_F(SenderTest, WrongPasswordIsRefusedWithTheServersReply) {
  sender.setUserName(kUser);
  sender.setPassword(u"wrong-kvpass-123"_s);
  sender.setLogLevel(2);
  SenderProbe probe(sender);
  EXPECT_FALSE(sender.Send());
  EXPECT_EQ(probe.successes, 0);
  ASSERT_EQ(probe.failures.size(), 1);
  const QString reason = probe.failures.first();
  EXPECT_TRUE(reason.contains(u"用户名和密码"_s) && reason.contains(u"535"))
      << reason.toStdString();
  EXPECT_FALSE(leaks(probe.shown(), u"wrong-kvpass-123"_s));
  EXPECT_TRUE(listMails(kUser).isEmpty());
}

TEST_F(SenderTest, RejectedRecipientFailsTheWholeMessage) {
  sender.setRecipients(addressOf(kUser) + u";reject.me@kvmail.localhost"_s);
  SenderProbe probe(sender);
  EXPECT_FALSE(sender.Send());
  ASSERT_EQ(probe.failures.size(), 1);
  const QString reason = probe.failures.first();
  EXPECT_TRUE(reason.contains(u"拒绝了收件人<reject.me@kvmail.localhost>"_s))
      << reason.toStdString();
  EXPECT_TRUE(reason.contains(u"服务器回复：550"_s)) << reason.toStdString();
  EXPECT_TRUE(listMails(kUser).isEmpty()) << "a failed message must not half-arrive";
}

TEST_F(SenderTest, CancelDuringALargeSendEndsIt) {
  QByteArray big(40 * 1024 * 1024, '\0');
  for (qsizetype i = 0; i < big.size(); i += 4096) big[i] = char(i / 4096);
  sender.setAttachments(makeFile(u"大文件.bin"_s, big));
  SenderProbe probe(sender);
  // Pressing stop once the upload is under way, as the transfer window does.
  const auto stop = QObject::connect(&sender, &SmtpSender::Progress, [this](QString, int percent) {
    if (percent >= 10) sender.Cancel();
  });
  EXPECT_FALSE(sender.Send());
  EXPECT_FALSE(sender.isSending());
  EXPECT_EQ(probe.successes, 0);
  ASSERT_EQ(probe.failures.size(), 1);
  EXPECT_TRUE(probe.failures.first().contains(u"取消"_s)) << probe.failures.first().toStdString();
  EXPECT_LT(probe.percents.last(), 100);
  EXPECT_FALSE(waitForMail(kUser, 1, 500)) << "a cancelled message is not delivered";

  // The sender is usable again at once.
  QObject::disconnect(stop);
  sender.setAttachments(QString());
  EXPECT_TRUE(sender.Send());
  EXPECT_TRUE(waitForMail(kUser, 1));
}

TEST_F(SenderTest, TwoSendsOnOneKeptSession) {
  sender.setKeepSession(1);
  sender.setSubject(u"第一封"_s);
  ASSERT_TRUE(sender.Send());
  EXPECT_FALSE(sender.lastSendReusedSession());
  sender.setSubject(u"第二封"_s);
  ASSERT_TRUE(sender.Send());
  EXPECT_TRUE(sender.lastSendReusedSession());

  ASSERT_TRUE(waitForMail(kUser, 2));
  EXPECT_EQ(subjects(), (QStringList{u"第一封"_s, u"第二封"_s}));

  // A rejected message does not spoil the session for the next one.
  sender.setRecipients(u"reject@kvmail.localhost"_s);
  EXPECT_FALSE(sender.Send());
  sender.setRecipients(addressOf(kUser));
  EXPECT_TRUE(sender.Send());
  EXPECT_TRUE(waitForMail(kUser, 3));

  // Another login is another session.
  sender.setUserName(kUser);
  sender.setPassword(loopbackServers().password);
  ASSERT_TRUE(sender.Send());
  EXPECT_FALSE(sender.lastSendReusedSession());
  ASSERT_TRUE(sender.Send());
  EXPECT_TRUE(sender.lastSendReusedSession());

  // Without keeping, every message has a session of its own.
  sender.setKeepSession(0);
  ASSERT_TRUE(sender.Send());
  ASSERT_TRUE(sender.Send());
  EXPECT_FALSE(sender.lastSendReusedSession());
}

// The next message's transaction starts while this one's caller is still busy; its content goes
// out only when a Send claims it for the same message, and nothing of it arrives otherwise.
TEST_F(SenderTest, AMessageStartedAheadGoesOutOnlyWhenItsOwnSendClaimsIt) {
  const auto ahead = [this](const QString& subject) {
    SmtpSender next;
    next.setServer(sender.server());
    next.setPort(sender.port());
    next.setFromAddress(sender.fromAddress());
    next.setFromName(sender.fromName());
    next.setRecipients(sender.recipients());
    next.setSubject(subject);
    next.setBody(sender.body());
    sender.setPrepared(next.prepare());
  };
  sender.setKeepSession(1);
  sender.setSubject(u"第一封"_s);
  ASSERT_TRUE(sender.Send());

  ahead(u"提前写好"_s);
  sender.setSubject(u"第二封"_s);  // another message: the one ahead is dropped
  ASSERT_TRUE(sender.Send());
  ahead(u"第三封"_s);
  sender.setSubject(u"第三封"_s);
  ASSERT_TRUE(sender.Send());
  EXPECT_TRUE(sender.lastSendReusedSession());
  ahead(u"没有发出"_s);
  sender.closeSession();  // the run ends with a message started ahead

  ASSERT_TRUE(waitForMail(kUser, 3));
  EXPECT_FALSE(waitForMail(kUser, 4, 500));
  EXPECT_EQ(subjects(), (QStringList{u"第一封"_s, u"第二封"_s, u"第三封"_s}));
}

}  // namespace
