// A mail composed in the window (bold text, a colour, a link, a picture in the body and two
// attachments) goes out through the loopback SMTP sink, comes back in by POP3 from Dovecot, and
// reads the same to Python's email package as it did to the writer. (A refused send leaving the
// mail queued is the send queue's test.)
#include <gtest/gtest.h>

#include <QBuffer>
#include <QCryptographicHash>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QTextCursor>

#include "ComposeRig.h"
#include "LoopbackServers.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "store/MailStore.h"
#include "transfer/FrmSend.h"

namespace {

const QString kUser = u"t26"_s;

QJsonObject readWithPython(const QString& path) {
  QProcess python;
  python.start(u"/usr/bin/python3"_s, {QStringLiteral(KV_MAIL_READER), path});
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
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    rig.useLoopback(kUser);
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
    EXPECT_EQ(mail[u"subject"_s].toString(), subject);
    EXPECT_EQ(mail[u"charset"_s].toString(), u"gb2312"_s);
    for (const QString& line : bodyLines)
      EXPECT_TRUE(mail[u"text"_s].toString().contains(line))
          << mail[u"text"_s].toString().toStdString();
    QStringList files;
    for (const QJsonValue& file : mail[u"attachments"_s].toArray())
      files << file[u"name"_s].toString() << file[u"sha256"_s].toString();
    EXPECT_EQ(files, (QStringList{u"报价单（2026）.xlsx"_s, sha256(quote), u"catalog.pdf"_s,
                                  sha256(catalog)}));

    // The formatting and the picture, as another client reads them.
    const QString html = mail[u"html"_s].toString();
    for (const QString& part : {u"font-weight:700"_s, u"color:#c80000"_s,
                                u"href=\"https://kvmail.test/price?q=1&amp;r=2\""_s})
      EXPECT_TRUE(html.contains(part)) << part.toStdString() << "\n" << html.toStdString();
    EXPECT_EQ(mail[u"bodyParent"_s].toString(), u"multipart/related"_s);
    const QJsonArray pictures = mail[u"pictures"_s].toArray();
    ASSERT_EQ(pictures.size(), 1);
    const QString cid = pictures[0][u"cid"_s].toString();
    EXPECT_TRUE(html.contains(u"src=\"cid:"_s + cid + QLatin1Char('"')));
    EXPECT_EQ(
        (QStringList{pictures[0][u"type"_s].toString(), pictures[0][u"disposition"_s].toString(),
                     pictures[0][u"sha256"_s].toString()}),
        (QStringList{u"image/png"_s, u"inline"_s, sha256(logo)}));
  }

  // The body as a user writes it with the strip: "王经理" bold, "报价单" in red, a link after the
  // text and the company's logo below it.
  void writeBody() {
    kvmail::BodyEditor* editor = rig.window()->editor();
    editor->setPlainText(bodyLines.join(QLatin1Char('\n')));
    const auto select = [&](const QString& word) {
      QTextCursor c = editor->document()->find(word);
      editor->setTextCursor(c);
    };
    select(u"王经理"_s);
    editor->ExecCommand(kvmail::compose::CmdBold);
    select(u"报价单"_s);
    editor->ExecCommand(kvmail::compose::CmdForeColor, QColor(200, 0, 0));
    editor->moveCursor(QTextCursor::End);
    editor->ExecCommand(kvmail::compose::CmdHyperlink, u"https://kvmail.test/price?q=1&r=2"_s);
    const QString png = rig.file(u"logo.png"_s, logo);
    editor->ExecCommand(kvmail::compose::CmdPicture, png);
  }

  kvtest::ComposeRig rig{false};
  const QString subject = u"季度报价：华东区（第三季度）"_s;
  const QStringList bodyLines = {u"王经理：您好！"_s, u"附件是报价单和产品目录，请查收。"_s};
  QByteArray quote = [] {
    QByteArray b;
    for (int i = 0; i < 70000; ++i) b.append(char(i * 31 % 256));
    return b;
  }();
  QByteArray catalog = QByteArray("%PDF-1.4\n%\xe2\xe3\xcf\xd3\n") + QByteArray(3000, 'c');
  QByteArray logo = [] {
    QImage image(64, 32, QImage::Format_RGB32);
    image.fill(QColor(20, 90, 200));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
  }();
};

}  // namespace

TEST_F(ComposeRoundTrip, ComposedSentReceivedAndReadBackTheSame) {
  rig.mail->NewMail();
  rig.field(1)->setText(u"王经理<%1>"_s.arg(kvtest::addressOf(kUser)));
  rig.field(3)->setText(subject);
  writeBody();
  rig.attach(rig.file(u"报价单（2026）.xlsx"_s, quote));
  rig.attach(rig.file(u"catalog.pdf"_s, catalog));
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);

  ASSERT_TRUE(runTransfer([&] { rig.trigger(u"TBSend"_s); }));
  ASSERT_EQ(returned.size(), 2);
  const long queued = returned[0][0].toString().toLong();
  EXPECT_EQ((QList<qlonglong>{returned[0][1].toLongLong(), returned[1][0].toLongLong(),
                              returned[1][1].toLongLong()}),
            (QList<qlonglong>{1, queued, 2}));
  // What the sink delivered into the mailbox (what was stored is what went out).
  ASSERT_TRUE(kvtest::waitForMail(kUser, 1));
  expectComposed(kvtest::listMails(kUser).first());

  // Received back by POP3 into the store.
  ASSERT_TRUE(runTransfer([&] { rig.mail->ReceiveMail(); }));
  const QString received = rig.value(u"select 邮件ID from msgmail where CshgnsID=1"_s);
  ASSERT_FALSE(received.isEmpty());
  const QString storedFile = rig.path(u"received.eml"_s);
  ASSERT_TRUE(kvmail::MailStore(*rig.host).messageToFile(received.toLong(), storedFile));
  expectComposed(storedFile);
}
