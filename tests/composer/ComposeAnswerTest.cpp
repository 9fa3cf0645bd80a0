// Replies and forwards: the window builds them from the stored mail whose identifier it is given.
#include <gtest/gtest.h>

#include <QTreeWidget>

#include "ComposeRig.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeReply.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

using kvtest::ComposeRig;

namespace {

class ComposeAnswer : public ::testing::Test {
 protected:
  void SetUp() override {
    kvmail::OutgoingMail m;
    m.from = {QStringLiteral("王五"), QStringLiteral("wang@kvmail.test")};
    m.to = {{QStringLiteral("销售部"), QStringLiteral("sales@kvmail.test")}};
    m.subject = QStringLiteral("询价");
    m.htmlBody = QStringLiteral("<html><body><p>请报价，谢谢。</p></body></html>");
    m.attachmentPaths = {rig.file(QStringLiteral("规格.pdf"), datasheet)};
    original = rig.storeReceived(m);
    ASSERT_GT(original, 0);
  }
  QString row(long id, const char* columns) {
    return rig.value(QStringLiteral("select %1 from msgmail where 邮件ID=%2")
                         .arg(QString::fromUtf8(columns))
                         .arg(id));
  }

  ComposeRig rig;
  QByteArray datasheet = QByteArray("%PDF-1.4 规格").append(QByteArray(2000, '\x01'));
  long original = 0;
};

}  // namespace

TEST_F(ComposeAnswer, AReplyGoesToTheSenderWithTheOriginalQuotedBelowALine) {
  EXPECT_FALSE(rig.mail->ReplyMail(original));
  EXPECT_EQ(rig.field(1)->text(), QStringLiteral("王五<wang@kvmail.test>"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("回复：询价"));
  const QString body = rig.window()->editor()->toPlainText();
  const qsizetype line = body.indexOf(QStringLiteral("原始邮件"));
  ASSERT_GE(line, 0) << body.toStdString();
  EXPECT_GT(body.indexOf(QStringLiteral("请报价，谢谢。")), line);
  EXPECT_TRUE(body.contains(QStringLiteral("发件人：王五<wang@kvmail.test>")));
  EXPECT_EQ(rig.window()->findChild<QTreeWidget*>(QStringLiteral("LView"))->topLevelItemCount(), 0);
  EXPECT_FALSE(rig.window()->isModified());
  // The stored message file was only borrowed.
  EXPECT_FALSE(QFile::exists(kvmail::tempFilePath(QString::number(original) + ".eml")));

  const long id = rig.send();
  ASSERT_GT(id, 0);
  EXPECT_EQ(row(id, "回复ID||'/'||级次||'/'||[E-MAIL]"),
            QStringLiteral("%1/2/销售部<sales@kvmail.test>").arg(original));
  EXPECT_EQ(row(id, "收件人"), QStringLiteral("王五<wang@kvmail.test>"));
  EXPECT_EQ(row(id, "收件人邮箱"), QStringLiteral("wang@kvmail.test"));
}

TEST_F(ComposeAnswer, AForwardCarriesTheBodyAndTheAttachments) {
  EXPECT_FALSE(rig.mail->TransmitMail(original));
  EXPECT_EQ(rig.field(1)->text(), QString());
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("转发：询价"));
  EXPECT_TRUE(rig.window()->editor()->toPlainText().contains(QStringLiteral("请报价，谢谢。")));
  auto* list = rig.window()->findChild<QTreeWidget*>(QStringLiteral("LView"));
  ASSERT_EQ(list->topLevelItemCount(), 1);
  EXPECT_EQ(list->topLevelItem(0)->text(0), QStringLiteral("规格.pdf"));
  const QString saved = list->topLevelItem(0)->text(1);
  EXPECT_TRUE(saved.startsWith(kvmail::tempFolder()));
  EXPECT_EQ(kvtest::readAll(saved), datasheet);

  rig.field(1)->setText(QStringLiteral("zhao@kvmail.test"));
  const long id = rig.send();
  ASSERT_GT(id, 0);
  EXPECT_EQ(row(id, "附件"), QStringLiteral("1"));
  const kvmail::ParsedMail back =
      kvmail::MailStore(*rig.host).readMessage(id, rig.path(QStringLiteral("fwd.eml")));
  ASSERT_EQ(back.attachments.size(), 1);
  EXPECT_EQ(back.attachments.first().fileName, QStringLiteral("规格.pdf"));
  EXPECT_EQ(back.attachments.first().data, datasheet);
}

TEST(ComposeQuote, OnlyTheBodyOfAnHtmlDocumentIsQuoted) {
  EXPECT_EQ(kvmail::compose::bodyContents(
                QStringLiteral("<HTML><head><style>p{}</style></head><BODY bgcolor=x>"
                               "<p>正文</p></BODY></HTML>")),
            QStringLiteral("<p>正文</p>"));
  EXPECT_EQ(kvmail::compose::bodyContents(QStringLiteral("纯文本<br>")),
            QStringLiteral("纯文本<br>"));
  const QString quoted = kvmail::compose::quotedBody(
      QStringLiteral("A<a@x>"), QStringLiteral("2026-01-02 03:04:05"), QStringLiteral("b@y"),
      QStringLiteral("<主题>"), QStringLiteral("<body><p>原文</p></body>"));
  EXPECT_TRUE(quoted.contains(QStringLiteral("A&lt;a@x&gt;")));
  EXPECT_TRUE(quoted.contains(QStringLiteral("&lt;主题&gt;")));
  EXPECT_TRUE(quoted.endsWith(QStringLiteral("<div><p>原文</p></div>")));
}

TEST_F(ComposeAnswer, AMailThatIsNotStoredGivesAnEmptyMailToWrite) {
  rig.mail->ReplyMail(original + 100);
  EXPECT_EQ(rig.window()->mailCount(), 1);
  EXPECT_EQ(rig.field(1)->text(), QString());
  EXPECT_EQ(rig.field(3)->text(), QString());
}
