// A mail composed in the window goes out through the loopback SMTP sink, comes back in by POP3
// from Dovecot, and reads the same to Python's email package as it did to the writer.
#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>

#include "ComposeRig.h"
#include "LoopbackServers.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"
#include "transfer/FrmSend.h"

namespace {

const QString kUser = QStringLiteral("t26");

QJsonObject readWithPython(const QString& path) {
  QProcess python;
  python.start(QStringLiteral("/usr/bin/python3"), {QStringLiteral(KV_MAIL_READER), path});
  if (!python.waitForFinished(30000) || python.exitCode() != 0) {
    ADD_FAILURE() << python.readAllStandardError().toStdString();
    return {};
  }
  return QJsonDocument::fromJson(python.readAllStandardOutput()).object();
}

QString sha256(const QByteArray& bytes) {
  return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

class ComposeRoundTrip : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto& servers = kvtest::loopbackServers();
    ASSERT_TRUE(servers.ok()) << servers.error.toStdString();
    ASSERT_TRUE(kvtest::clearMailbox(kUser));
    rig.host->executeBound(
        QStringLiteral(
            "update mailaccount set masmtpport=?, mapop3port=?, mausername=?, mapassword=?, "
            "mafromemailaddress=?"),
        {servers.smtpPort, servers.pop3Port, kUser, servers.password, kvtest::addressOf(kUser)});
    ASSERT_TRUE(rig.start());
  }

  // Runs what opens the transfer window and waits for its tasks to end.
  template <typename F>
  bool runTransfer(F&& open) {
    QSignalSpy ended(rig.mail->transferWindow(), &kvmail::FrmSend::TasksEnded);
    open();
    if (ended.isEmpty() && !ended.wait(60000)) return false;
    return ended.first().first().toBool();
  }

  // What Python reads from a message file matches what was composed.
  void expectComposed(const QString& path) {
    const QJsonObject mail = readWithPython(path);
    EXPECT_EQ(mail[QStringLiteral("subject")].toString(), subject);
    EXPECT_EQ(mail[QStringLiteral("charset")].toString(), QStringLiteral("gb2312"));
    for (const QString& line : bodyLines)
      EXPECT_TRUE(mail[QStringLiteral("text")].toString().contains(line))
          << mail[QStringLiteral("text")].toString().toStdString();
    const QJsonArray files = mail[QStringLiteral("attachments")].toArray();
    ASSERT_EQ(files.size(), 2);
    EXPECT_EQ(files[0][QStringLiteral("name")].toString(), QStringLiteral("报价单（2026）.xlsx"));
    EXPECT_EQ(files[0][QStringLiteral("sha256")].toString(), sha256(quote));
    EXPECT_EQ(files[1][QStringLiteral("name")].toString(), QStringLiteral("catalog.pdf"));
    EXPECT_EQ(files[1][QStringLiteral("sha256")].toString(), sha256(catalog));
  }

  kvtest::ComposeRig rig{false};
  const QString subject = QStringLiteral("季度报价：华东区（第三季度）");
  const QStringList bodyLines = {QStringLiteral("王经理：您好！"),
                                 QStringLiteral("附件是报价单和产品目录，请查收。")};
  QByteArray quote = [] {
    QByteArray b;
    for (int i = 0; i < 70000; ++i) b.append(char(i * 31 % 256));
    return b;
  }();
  QByteArray catalog = QByteArray("%PDF-1.4\n%\xe2\xe3\xcf\xd3\n") + QByteArray(3000, 'c');
};

}  // namespace

TEST_F(ComposeRoundTrip, ComposedSentReceivedAndReadBackTheSame) {
  rig.mail->NewMail();
  rig.field(1)->setText(QStringLiteral("王经理<%1>").arg(kvtest::addressOf(kUser)));
  rig.field(3)->setText(subject);
  rig.window()->editor()->setPlainText(bodyLines.join(QLatin1Char('\n')));
  rig.attach(rig.file(QStringLiteral("报价单（2026）.xlsx"), quote));
  rig.attach(rig.file(QStringLiteral("catalog.pdf"), catalog));
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);

  ASSERT_TRUE(runTransfer([&] { rig.trigger(QStringLiteral("TBSend")); }));
  ASSERT_EQ(returned.size(), 2);
  const long queued = returned[0][0].toString().toLong();
  EXPECT_EQ(returned[0][1].toLongLong(), 1);
  EXPECT_EQ(returned[1][0].toString(), QString::number(queued));
  EXPECT_EQ(returned[1][1].toLongLong(), 2);
  EXPECT_EQ(rig.value(QStringLiteral("select messageID||'/'||是否已读 from msgmail where "
                                     "邮件ID=%1")
                          .arg(queued)),
            QStringLiteral("127.0.0.1/1"));
  const QString composedFile = rig.path(QStringLiteral("composed.eml"));
  ASSERT_TRUE(kvmail::MailStore(*rig.host).messageToFile(queued, composedFile));
  expectComposed(composedFile);

  // What the sink delivered into the mailbox.
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  expectComposed(kvtest::listMails(kUser).first());

  // Received back by POP3 into the store.
  ASSERT_TRUE(runTransfer([&] { rig.mail->ReceiveMail(); }));
  const QString received = rig.value(QStringLiteral("select 邮件ID from msgmail where CshgnsID=1"));
  ASSERT_FALSE(received.isEmpty());
  EXPECT_EQ(
      rig.value(QStringLiteral("select 主题||'/'||附件 from msgmail where 邮件ID=") + received),
      subject + QStringLiteral("/1"));
  const QString storedFile = rig.path(QStringLiteral("received.eml"));
  const kvmail::ParsedMail back =
      kvmail::MailStore(*rig.host).readMessage(received.toLong(), storedFile);
  EXPECT_EQ(back.subject, subject);
  ASSERT_EQ(back.attachments.size(), 2);
  EXPECT_EQ(back.attachments[0].data, quote);
  EXPECT_EQ(back.attachments[1].data, catalog);
  expectComposed(storedFile);
}
