// The compose window's helpers over a real store: completion in the To field from the recipient
// history, the address book and the template editor opened from the window, and pictures of the
// body stored as related parts and shown again when the mail is read back.
#include <gtest/gtest.h>

#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>

#include <functional>

#include "ComposeRig.h"
#include "addressbook/FrmDxb.h"
#include "composer/BodyEditor.h"
#include "model/IAttachments.h"
#include "model/IBundle.h"
#include "model/IMessage.h"
#include "store/MailStore.h"
#include "templates/FrmTemplet.h"

using kvtest::ComposeRig;

namespace {

// Senders of received mail; SQLite orders them byte-wise, capitals first.
void seedHistory(ComposeRig& rig) {
  for (const char* from : {"zhao@kvmail.test", "wu@kvmail.test", "Wang.Li@Kvmail.test"}) {
    kvmail::OutgoingMail m;
    m.from = {QString(), QLatin1String(from)};
    m.to = {{QString(), u"sales@kvmail.test"_s}};
    m.subject = QLatin1String(from);
    rig.storeReceived(m);
  }
}

// Runs the window's command while a modal window it opens is handled by then().
template <typename W>
void withModal(ComposeRig& rig, const QString& key, std::function<void(W*)> then) {
  bool ran = false;
  QTimer::singleShot(0, rig.window(), [&] {
    W* modal = rig.window()->findChild<W*>();
    ASSERT_NE(modal, nullptr);
    ASSERT_TRUE(modal->isVisible());
    ran = true;
    then(modal);
    if (modal->isVisible()) modal->hide();
  });
  rig.trigger(key);
  EXPECT_TRUE(ran);
}

QString pictureFile(ComposeRig& rig, const QString& name, Qt::GlobalColor colour) {
  QImage image(24, 16, QImage::Format_RGB32);
  image.fill(colour);
  const QString path = rig.path(name);
  image.save(path);
  return path;
}

}  // namespace

TEST(ComposeHelpers, TheToFieldCompletesTheWholeTextFromTheHistoryIgnoringCase) {
  struct Row {
    const char* typed;
    const char* shown;
  };
  const Row rows[] = {
      {"WANG", "Wang.Li@Kvmail.test"},  // completed to the address as stored
      {"wu", "wu@kvmail.test"},         // "w" first completes to Wang..., "u" replaces the rest
      {"x", "x"},
      {"a@kvmail.test;w", "a@kvmail.test;w"},  // the whole field is compared, not its last part
  };
  ComposeRig rig;
  seedHistory(rig);
  rig.mail->NewMail();
  ASSERT_NE(rig.window()->history(), nullptr);
  QLineEdit* to = rig.field(1);
  for (const Row& row : rows) {
    to->clear();
    QTest::keyClicks(to, QLatin1String(row.typed));
    EXPECT_EQ(to->text(), QLatin1String(row.shown)) << row.typed;
  }
  // Taking text away never completes again.
  to->clear();
  QTest::keyClicks(to, u"WANG"_s);
  QTest::keyClick(to, Qt::Key_Backspace);
  EXPECT_EQ(to->text(), u"Wang"_s);
  QTest::keyClick(to, Qt::Key_Backspace);
  EXPECT_EQ(to->text(), u"Wan"_s);
  QTest::keyClick(to, Qt::Key_Left);
  QTest::keyClick(to, Qt::Key_Delete);
  EXPECT_EQ(to->text(), u"Wa"_s);
}

class ComposeHelpersOnNewMail : public ::testing::Test {
 protected:
  void SetUp() override { rig.mail->NewMail(); }
  ComposeRig rig;
};

TEST_F(ComposeHelpersOnNewMail, AStoreWithoutMailGivesNoHistoryAndNothingCompletes) {
  EXPECT_EQ(rig.window()->history(), nullptr);
  QTest::keyClicks(rig.field(1), u"w"_s);
  EXPECT_EQ(rig.field(1)->text(), u"w"_s);
}

TEST(ComposeHelpers, TheAddressBookOpensModallyAndItsPickReplacesTheToField) {
  ComposeRig rig;
  seedHistory(rig);
  rig.mail->NewMail();
  rig.field(1)->setText(u"old@kvmail.test;other@kvmail.test"_s);
  for (const char* key : {"TBTdxb", "mnuMailTdxb"}) {
    withModal<kvmail::FrmDxb>(rig, QLatin1String(key), [](kvmail::FrmDxb* book) {
      EXPECT_TRUE(book->isModal() || book->windowModality() != Qt::NonModal);
      auto* search = book->findChild<QLineEdit*>(u"kvTxt"_s);
      search->setText(u"WU"_s);
      QTest::keyClick(search, Qt::Key_Return);
      EXPECT_FALSE(book->isVisible());  // the pick ends the modal loop
    });
    EXPECT_EQ(rig.field(1)->text(), u"wu@kvmail.test"_s) << key;
    rig.field(1)->setText(u"again@kvmail.test"_s);
  }
  // Closing the book without a pick keeps the field.
  withModal<kvmail::FrmDxb>(rig, u"TBTdxb"_s, [](kvmail::FrmDxb* book) { book->close(); });
  EXPECT_EQ(rig.field(1)->text(), u"again@kvmail.test"_s);
}

TEST_F(ComposeHelpersOnNewMail, ATemplateSavedFromTheWindowIsWhatCreateNewFillsNext) {
  rig.field(1)->setText(u"客户<kehu@kvmail.test>"_s);
  rig.field(3)->setText(u"新品目录"_s);
  rig.window()->editor()->setDocumentHtml(u"<p><b>[名]</b>您好，请看新品：</p>"_s);
  rig.window()->editor()->moveCursor(QTextCursor::End);
  rig.window()->editor()->insertPicture(pictureFile(rig, u"新品.png"_s, Qt::blue));
  const QString catalogue = rig.file(u"目录.pdf"_s, QByteArray("%PDF-1.4 catalogue"));
  rig.attach(catalogue);

  for (const char* key : {"TBTemplet", "mnuMailTemplet"})  // saved twice: the second replaces
    withModal<kvmail::FrmTemplet>(rig, QLatin1String(key), [](kvmail::FrmTemplet* t) {
      t->findChild<QLineEdit*>(u"Txt(0)"_s)->setText(u"[名]<[邮箱]>"_s);
      t->findChild<QPushButton*>(u"Cmd(0)"_s)->click();
    });
  EXPECT_EQ(rig.value(u"select [to] from MailTemplet where progID=1"_s), u"[名]<[邮箱]>"_s);
  rig.prompt->answer(kvmail::PromptAnswer::No);
  rig.window()->close();
  QFile::remove(catalogue);  // the template carries its own copy

  const QChar nul(0);
  ASSERT_TRUE(rig.mail->CreateNew(u"[名]甲"_s + nul + u"[邮箱]a@kvmail.test"_s, u"|"_s));
  EXPECT_EQ(rig.field(1)->text(), u"甲<a@kvmail.test>"_s);
  EXPECT_EQ(rig.field(3)->text(), u"新品目录"_s);
  const QString body = rig.window()->editor()->toHtml();
  EXPECT_TRUE(body.contains(u"[名]"_s)) << body.toStdString();  // body kept as saved
  EXPECT_FALSE(body.contains(u"cid:"_s));
  // The one picture is shown from the template's own copy.
  const auto picture = QRegularExpression(u"<img src=\"([^\"]+)\""_s).match(body);
  ASSERT_TRUE(picture.hasMatch() && body.count(u"<img"_s) == 1) << body.toStdString();
  EXPECT_EQ(rig.window()
                ->editor()
                ->document()
                ->resource(QTextDocument::ImageResource, QUrl(picture.captured(1)))
                .value<QImage>()
                .pixelColor(1, 1),
            QColor(Qt::blue));
  auto* list = rig.window()->findChild<QTreeWidget*>();
  ASSERT_EQ(list->topLevelItemCount(), 1);
  EXPECT_EQ(list->topLevelItem(0)->text(0), u"目录.pdf"_s);
  EXPECT_EQ(kvtest::readAll(list->topLevelItem(0)->text(1)), QByteArray("%PDF-1.4 catalogue"));
}

TEST_F(ComposeHelpersOnNewMail, PicturesOfTheBodyAreStoredAsRelatedPartsAndComeBackAsFiles) {
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  const QString red = pictureFile(rig, u"red.png"_s, Qt::red);
  kvmail::BodyEditor* editor = rig.window()->editor();
  editor->insertPlainText(u"两张图："_s);
  editor->insertPicture(red);
  editor->insertPicture(red);  // shown twice, sent once
  ASSERT_TRUE(rig.window()->StoreAll());
  const long id = rig.value(u"select 邮件ID from msgmail"_s).toLong();
  EXPECT_EQ(rig.value(u"select 附件 from msgmail"_s), u"0"_s);

  const kvmail::ParsedMail stored =
      kvmail::MailStore(*rig.host).readMessage(id, rig.path(u"stored.eml"_s));
  ASSERT_EQ(stored.attachments.size(), 1);
  const kvmail::MimeAttachment& part = stored.attachments.first();
  EXPECT_TRUE(part.isInline);
  EXPECT_EQ(part.contentType, u"image/png"_s);
  EXPECT_EQ(part.data, kvtest::readAll(red));
  EXPECT_EQ(stored.htmlBody.count(u"cid:"_s + part.contentId), 2);
  EXPECT_FALSE(stored.htmlBody.contains(u"file:"_s));

  // The send queue reads it back with the picture as a file the body shows, not an attachment.
  const kvmail::BundlePtr queue = kvmail::MailStore(*rig.host).readSendQueue();
  ASSERT_EQ(queue->Count(), 1);
  const kvmail::MessagePtr back = queue->Item(kvmail::IndexKey(1));
  EXPECT_EQ(back->Attachments()->Count(), 0);
  const QString body = back->BodyText();
  const qsizetype at = body.indexOf(u"file://"_s);
  ASSERT_GE(at, 0) << body.toStdString();
  const QUrl shown(body.mid(at, body.indexOf(QLatin1Char('"'), at) - at));
  EXPECT_EQ(kvtest::readAll(shown.toLocalFile()), kvtest::readAll(red));
}

TEST(ComposeHelpers, AReplyAndAForwardQuoteTheReceivedPicturesAsFilesNotAttachments) {
  ComposeRig rig;
  kvmail::OutgoingMail received;
  received.from = {u"客户"_s, u"kehu@kvmail.test"_s};
  received.to = {{QString(), u"sales@kvmail.test"_s}};
  received.subject = u"样品照片"_s;
  const QString green = pictureFile(rig, u"sample.png"_s, Qt::green);
  received.htmlBody = u"<p>照片：<img src=\"%1\"></p>"_s.arg(QUrl::fromLocalFile(green).toString());
  const long id = rig.storeReceived(received);
  for (bool forward : {false, true}) {
    forward ? rig.mail->TransmitMail(id) : rig.mail->ReplyMail(id);  // both answer false
    const QString body = rig.window()->editor()->toHtml();
    EXPECT_FALSE(body.contains(u"cid:"_s)) << forward;
    EXPECT_TRUE(body.contains(u"sample.png"_s)) << forward;
    EXPECT_EQ(rig.window()->findChild<QTreeWidget*>()->topLevelItemCount(), 0) << forward;
    rig.prompt->answer(kvmail::PromptAnswer::No);
    rig.window()->close();
  }
}
