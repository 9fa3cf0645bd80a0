// Replies and forwards: the window builds them from the stored mail whose identifier it is given.
#include <gtest/gtest.h>

#include <QImage>
#include <QTreeWidget>
#include <QUrl>

#include <algorithm>

#include "ComposeRig.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeReply.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

using kvtest::ComposeRig;

namespace {

// The received mail has a picture in its body and a file attached.
class ComposeAnswer : public ::testing::Test {
 protected:
  void SetUp() override {
    kvmail::OutgoingMail m;
    m.from = {u"王五"_s, u"wang@kvmail.test"_s};
    m.to = {{u"销售部"_s, u"sales@kvmail.test"_s}};
    m.subject = u"询价"_s;
    QImage picture(24, 16, QImage::Format_RGB32);
    picture.fill(Qt::green);
    ASSERT_TRUE(picture.save(rig.path(u"sample.png"_s)));
    m.htmlBody = u"<html><body><p>请报价，谢谢。<img src=\"%1\"></p></body></html>"_s.arg(
        QUrl::fromLocalFile(rig.path(u"sample.png"_s)).toString());
    m.attachmentPaths = {rig.file(u"规格.pdf"_s, datasheet)};
    original = rig.storeReceived(m);
    ASSERT_GT(original, 0);
  }
  QString row(long id, const char* columns) {
    return rig.value(
        u"select %1 from msgmail where 邮件ID=%2"_s.arg(QString::fromUtf8(columns)).arg(id));
  }

  ComposeRig rig;
  QByteArray datasheet = QByteArray("%PDF-1.4 规格").append(QByteArray(2000, '\x01'));
  long original = 0;
};

}  // namespace

TEST_F(ComposeAnswer, AReplyGoesToTheSenderWithTheOriginalQuotedBelowALine) {
  EXPECT_FALSE(rig.mail->ReplyMail(original));
  EXPECT_EQ(rig.field(1)->text() + '|' + rig.field(3)->text(),
            u"王五<wang@kvmail.test>|回复：询价"_s);
  const QString body = rig.window()->editor()->toPlainText();
  const qsizetype line = body.indexOf(u"原始邮件"_s);
  ASSERT_GE(line, 0) << body.toStdString();
  EXPECT_GT(body.indexOf(u"请报价，谢谢。"_s), line);
  EXPECT_TRUE(body.contains(u"发件人：王五<wang@kvmail.test>"_s));
  // The picture is quoted as a file the body shows, neither a part reference nor an attachment.
  const QString html = rig.window()->editor()->toHtml();
  EXPECT_TRUE(!html.contains(u"cid:"_s) && html.contains(u"sample.png"_s)) << html.toStdString();
  EXPECT_EQ(rig.window()->findChild<QTreeWidget*>(u"LView"_s)->topLevelItemCount(), 0);
  EXPECT_FALSE(rig.window()->isModified());
  // The stored message file was only borrowed.
  EXPECT_FALSE(QFile::exists(kvmail::tempFilePath(QString::number(original) + ".eml")));

  const long id = rig.send();
  ASSERT_GT(id, 0);
  EXPECT_EQ(
      row(id, "回复ID||'/'||级次||'/'||[E-MAIL]||'/'||收件人||'/'||收件人邮箱"),
      u"%1/2/销售部<sales@kvmail.test>/王五<wang@kvmail.test>/wang@kvmail.test"_s.arg(original));
}

TEST_F(ComposeAnswer, AForwardCarriesTheBodyAndTheAttachments) {
  EXPECT_FALSE(rig.mail->TransmitMail(original));
  EXPECT_EQ(rig.field(1)->text() + '|' + rig.field(3)->text(), u"|转发：询价"_s);
  EXPECT_TRUE(rig.window()->editor()->toPlainText().contains(u"请报价，谢谢。"_s));
  auto* list = rig.window()->findChild<QTreeWidget*>(u"LView"_s);
  ASSERT_EQ(list->topLevelItemCount(), 1);
  EXPECT_EQ(list->topLevelItem(0)->text(0), u"规格.pdf"_s);
  const QString saved = list->topLevelItem(0)->text(1);
  EXPECT_TRUE(saved.startsWith(kvmail::tempFolder()));
  EXPECT_EQ(kvtest::readAll(saved), datasheet);

  rig.field(1)->setText(u"zhao@kvmail.test"_s);
  const long id = rig.send();
  ASSERT_GT(id, 0);
  EXPECT_EQ(row(id, "附件"), u"1"_s);
  const auto sent =
      kvmail::MailStore(*rig.host).readMessage(id, rig.path(u"fwd.eml"_s)).attachments;
  const auto file = std::find_if(sent.begin(), sent.end(), [](auto& a) { return !a.isInline; });
  ASSERT_NE(file, sent.end());  // the picture goes as a part of the body
  EXPECT_EQ(file->fileName, u"规格.pdf"_s);
  EXPECT_EQ(file->data, datasheet);
}

TEST(ComposeQuote, OnlyTheBodyOfAnHtmlDocumentIsQuoted) {
  EXPECT_EQ(kvmail::compose::bodyContents(u"<HTML><head><style>p{}</style></head><BODY bgcolor=x>"
                                          "<p>正文</p></BODY></HTML>"_s),
            u"<p>正文</p>"_s);
  EXPECT_EQ(kvmail::compose::bodyContents(u"纯文本<br>"_s), u"纯文本<br>"_s);
  const QString quoted = kvmail::compose::quotedBody(
      u"A<a@x>"_s, u"2026-01-02 03:04:05"_s, u"b@y"_s, u"<主题>"_s, u"<body><p>原文</p></body>"_s);
  EXPECT_TRUE(quoted.contains(u"A&lt;a@x&gt;"_s));
  EXPECT_TRUE(quoted.contains(u"&lt;主题&gt;"_s));
  EXPECT_TRUE(quoted.endsWith(u"<div><p>原文</p></div>"_s));
}

TEST_F(ComposeAnswer, AMailThatIsNotStoredGivesAnEmptyMailToWrite) {
  rig.mail->ReplyMail(original + 100);
  EXPECT_EQ(rig.window()->mailCount(), 1);
  EXPECT_EQ(rig.field(1)->text() + rig.field(3)->text(), QString());
}
