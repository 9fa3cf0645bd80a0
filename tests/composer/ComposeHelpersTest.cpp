// The compose window's helpers over a real store: completion in the To field from the recipient
// history, the address book and the template editor opened from the window, and pictures of the
// body stored as related parts and shown again when the mail is read back. (A reply's and a
// forward's pictures are the answer tests'.)
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

}  // namespace

// Which entry completes is the address index's rule, proved there; here typing completes and
// taking text away does not.
TEST(ComposeHelpers, TheToFieldCompletesWhatIsTypedFromTheHistory) {
  ComposeRig rig;
  seedHistory(rig);
  rig.mail->NewMail();
  ASSERT_NE(rig.window()->history(), nullptr);
  QLineEdit* to = rig.field(1);
  QTest::keyClicks(to, u"wu"_s);  // "w" completes to Wang..., "u" replaces the selected rest
  EXPECT_EQ(to->text(), u"wu@kvmail.test"_s);
  to->clear();
  QTest::keyClicks(to, u"WANG"_s);
  EXPECT_EQ(to->text(), u"Wang.Li@Kvmail.test"_s);  // completed to the address as stored
  QTest::keyClick(to, Qt::Key_Backspace);
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

TEST(ComposeHelpers, TheAddressBookOpensModallyAndItsPickReplacesTheToField) {
  ComposeRig rig;
  seedHistory(rig);
  rig.mail->NewMail();
  rig.field(1)->setText(u"old@kvmail.test;other@kvmail.test"_s);
  withModal<kvmail::FrmDxb>(rig, u"TBTdxb"_s, [](kvmail::FrmDxb* book) {
    EXPECT_TRUE(book->isModal() || book->windowModality() != Qt::NonModal);
    auto* search = book->findChild<QLineEdit*>(u"kvTxt"_s);
    search->setText(u"WU"_s);
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_FALSE(book->isVisible());  // the pick ends the modal loop
  });
  EXPECT_EQ(rig.field(1)->text(), u"wu@kvmail.test"_s);
  // Closing the book without a pick keeps the field.
  withModal<kvmail::FrmDxb>(rig, u"mnuMailTdxb"_s, [](kvmail::FrmDxb* book) { book->close(); });
  EXPECT_EQ(rig.field(1)->text(), u"wu@kvmail.test"_s);
}

// What the template editor writes is its own test's, and CreateNew from a template the service's;
// here the window hands the editor its shown mail and waits for it.
// The mail-merge path a user takes: a mail with a picture and an attachment saved as the
// program's template, then filled per record; the template carries its own copies of both.
TEST_F(ComposeHelpersOnNewMail, ATemplateSavedFromTheWindowIsWhatCreateNewFillsNext) {
  rig.field(1)->setText(u"客户<kehu@kvmail.test>"_s);
  rig.field(3)->setText(u"新品目录"_s);
  rig.window()->editor()->setDocumentHtml(u"<p><b>[名]</b>您好，请看新品：</p>"_s);
  rig.window()->editor()->moveCursor(QTextCursor::End);
  QImage blue(24, 16, QImage::Format_RGB32);
  blue.fill(Qt::blue);
  ASSERT_TRUE(blue.save(rig.path(u"新品.png"_s)));
  rig.window()->editor()->insertPicture(rig.path(u"新品.png"_s));
  const QString catalogue = rig.file(u"目录.pdf"_s, QByteArray("%PDF-1.4 catalogue"));
  rig.attach(catalogue);

  for (const char* key : {"TBTemplet", "mnuMailTemplet"})  // saved twice: the second replaces
    withModal<kvmail::FrmTemplet>(rig, QLatin1String(key), [](kvmail::FrmTemplet* t) {
      EXPECT_EQ(t->findChild<QLineEdit*>(u"Txt(2)"_s)->text(), u"新品目录"_s);
      t->findChild<QLineEdit*>(u"Txt(0)"_s)->setText(u"[名]<[邮箱]>"_s);
      t->findChild<QPushButton*>(u"Cmd(0)"_s)->click();
    });
  EXPECT_EQ(rig.row(u"select [to],subject from MailTemplet where progID=1"_s),
            (QStringList{u"[名]<[邮箱]>"_s, u"新品目录"_s}));
  rig.prompt->answer(kvmail::PromptAnswer::No);
  rig.window()->close();
  QFile::remove(catalogue);
  QFile::remove(rig.path(u"新品.png"_s));

  const QChar nul(0);
  ASSERT_TRUE(rig.mail->CreateNew(u"[名]甲"_s + nul + u"[邮箱]a@kvmail.test"_s, u"|"_s));
  EXPECT_EQ(rig.field(1)->text(), u"甲<a@kvmail.test>"_s);
  const QString body = rig.window()->editor()->toHtml();
  EXPECT_TRUE(body.contains(u"[名]"_s)) << body.toStdString();  // the body is kept as saved
  const auto picture = QRegularExpression(u"<img src=\"([^\"]+)\""_s).match(body);
  ASSERT_TRUE(picture.hasMatch() && body.count(u"<img"_s) == 1) << body.toStdString();
  const QVariant shown = rig.window()->editor()->document()->resource(QTextDocument::ImageResource,
                                                                      QUrl(picture.captured(1)));
  EXPECT_EQ(shown.value<QImage>().pixelColor(1, 1), QColor(Qt::blue));
  auto* list = rig.window()->findChild<QTreeWidget*>();
  ASSERT_EQ(list->topLevelItemCount(), 1);
  EXPECT_EQ(list->topLevelItem(0)->text(0), u"目录.pdf"_s);
  EXPECT_EQ(kvtest::readAll(list->topLevelItem(0)->text(1)), QByteArray("%PDF-1.4 catalogue"));
}

TEST_F(ComposeHelpersOnNewMail, PicturesOfTheBodyAreStoredAsRelatedPartsAndComeBackAsFiles) {
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  QImage picture(24, 16, QImage::Format_RGB32);
  picture.fill(Qt::red);
  const QString red = rig.path(u"red.png"_s);
  ASSERT_TRUE(picture.save(red));
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
  EXPECT_EQ(stored.htmlBody.count(u"cid:"_s + stored.attachments.first().contentId), 2);
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
