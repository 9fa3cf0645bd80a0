// The compose window driven as a user drives it: controls found by objectName, every box and
// dialog answered by the scripted prompt.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTreeWidget>

#include "ComposeRig.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "model/IBundle.h"
#include "model/clsBundle.h"
#include "support/QtPrompt.h"
#include "support/SpecialFolders.h"

using kvmail::PromptAnswer;
using kvmail::PromptButtons;
using kvmail::PromptIcon;
using kvtest::ComposeRig;
using Kind = kvtest::ScriptedPrompt::Kind;

TEST(ComposeWindow, NewMailShowsTheSenderAndOneMailUnchanged) {
  ComposeRig rig;
  ASSERT_TRUE(rig.mail->NewMail());
  EXPECT_TRUE(rig.window()->isVisible() && !rig.window()->isModified());
  EXPECT_EQ(
      (QStringList{rig.window()->windowTitle(), rig.field(0)->text(), rig.label("lblPosition")}),
      (QStringList{u"新邮件"_s, u"销售部<sales@kvmail.test>"_s, u"第1封/共1封"_s}));

  // Without a sender name the field holds the bare address.
  rig.mail->account()->sFrom.clear();
  rig.prompt->answer(PromptAnswer::No);
  rig.window()->close();
  ASSERT_TRUE(rig.mail->NewMail());
  EXPECT_EQ(rig.field(0)->text(), u"sales@kvmail.test"_s);
}

TEST(ComposeWindow, ABatchMovesAndHoldsAtItsEndsAndDeletingDownToOneHidesTheNavigation) {
  ComposeRig rig;
  rig.openBatch({u"a@kvmail.test"_s, u"b@kvmail.test"_s, u"c@kvmail.test"_s});
  EXPECT_EQ((QStringList{rig.label("lblPosition"), rig.field(1)->text(), rig.field(3)->text()}),
            (QStringList{u"第1封/共3封"_s, u"a@kvmail.test"_s, u"致甲"_s}));
  rig.trigger(u"TBPrior"_s);
  EXPECT_EQ(rig.window()->position(), 1);
  rig.field(3)->setText(u"致甲先生"_s);  // kept when moving on
  for (const char* key : {"TBNext", "mnuMailNext", "mnuMailNext"}) rig.trigger(QLatin1String(key));
  EXPECT_EQ(rig.label("lblPosition") + rig.field(3)->text(), u"第3封/共3封致丙"_s);

  rig.prompt->answer(PromptAnswer::No);
  rig.trigger(u"TBDelete"_s);
  EXPECT_EQ(rig.window()->mailCount(), 3);
  const auto box = rig.prompt->records(Kind::MessageBox).last();
  EXPECT_EQ(std::tuple(box.text, box.title, box.icon, box.buttons),
            std::tuple(u"是否删除当前显示的邮件！"_s, u"提示"_s, PromptIcon::Information,
                       PromptButtons::YesNo));
  rig.trigger(u"TBDelete"_s);  // the last of three: the position stays at the end
  EXPECT_EQ(rig.label("lblPosition") + rig.field(3)->text(), u"第2封/共2封致乙"_s);
  const auto navigation = [&rig](bool visible) {
    for (const char* key : {"mnuMail3", "mnuMailPrior", "mnuMailNext", "mnuFileDelete", "TBs5",
                            "TBPrior", "TBNext", "TBDelete"})
      EXPECT_EQ(rig.action(QLatin1String(key))->isVisible(), visible) << key;
  };
  navigation(true);
  rig.trigger(u"mnuMailPrior"_s);
  EXPECT_EQ(rig.field(3)->text(), u"致甲先生"_s);

  rig.trigger(u"mnuFileDelete"_s);
  EXPECT_EQ(rig.label("lblPosition") + rig.field(1)->text(), u"第1封/共1封b@kvmail.test"_s);
  navigation(false);
  // The last mail is never deleted, even after Yes.
  rig.window()->m_cMenu_Click(u"mnuFileDelete"_s);
  EXPECT_EQ(rig.window()->mailCount() + rig.window()->bundle()->Count(), 2);
}

// A compose window opened on a new mail.
class ComposeWindowOnNewMail : public ::testing::Test {
 protected:
  void SetUp() override { rig.mail->NewMail(); }
  ComposeRig rig;
};

// Closing and opening another mail ask the same question, only after a change, and do as
// answered: Cancel keeps the work, No drops it, Yes stores it (or keeps the window when a check
// fails).
TEST_F(ComposeWindowOnNewMail, CloseOrAnotherMailAsksOnlyAfterAChangeAndDoesAsAnswered) {
  QSignalSpy unload(rig.window(), &kvmail::FrmNewMail::Unload);
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  rig.trigger(u"TBClose"_s);
  EXPECT_EQ(rig.prompt->count(Kind::MessageBox), 0);
  EXPECT_EQ(unload.size(), 1);

  rig.mail->NewMail();
  rig.field(3)->setText(u"草稿"_s);
  rig.prompt->answer(PromptAnswer::Cancel);
  rig.trigger(u"mnuFileClose"_s);
  const auto box = rig.prompt->records(Kind::MessageBox).last();
  EXPECT_EQ(std::tuple(box.text, box.title, box.icon, box.buttons),
            std::tuple(u"是否保存邮件？"_s, u"提示："_s, PromptIcon::Information,
                       PromptButtons::YesNoCancel));
  rig.prompt->answer(PromptAnswer::Cancel);
  rig.mail->NewMail();
  EXPECT_EQ(rig.prompt->messages(), QStringList(2, u"是否保存邮件？"_s));
  EXPECT_TRUE(rig.window()->isVisible() && unload.size() == 1);
  EXPECT_EQ(rig.field(3)->text(), u"草稿"_s);

  rig.prompt->answer(PromptAnswer::No);
  rig.mail->NewMail();
  EXPECT_EQ(rig.field(3)->text(), QString());
  EXPECT_FALSE(rig.window()->isModified());

  rig.window()->editor()->setPlainText(u"关闭时保存的正文"_s);
  rig.prompt->answer(PromptAnswer::Yes);  // the To field is still empty
  rig.trigger(u"TBClose"_s);
  EXPECT_EQ(rig.prompt->messages().last(), u"第1封邮件,收件人为空"_s);
  EXPECT_TRUE(rig.window()->isVisible());
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  rig.prompt->answer(PromptAnswer::Yes);
  rig.trigger(u"TBClose"_s);
  EXPECT_FALSE(rig.window()->isVisible());
  ASSERT_EQ(returned.size(), 1);
  EXPECT_EQ(rig.value(u"select 收件人邮箱 from msgmail"_s), u"kehu@kvmail.test"_s);
}

TEST_F(ComposeWindowOnNewMail, AttachmentsAreInsertedOpenedAndRemoved) {
  const QString quote = rig.file(u"报价单.xlsx"_s, QByteArray(300, 'q'));
  rig.prompt->answerOpenFiles({});  // cancelled: nothing happens
  rig.trigger(u"mnuMailTattach"_s);
  EXPECT_EQ(rig.prompt->records(Kind::OpenFiles).first().folder,
            kvmail::GetSystemPath(u"Mydocuments"_s));
  EXPECT_FALSE(rig.shown("LView") || rig.window()->isModified());

  rig.attach(quote);
  rig.attach(rig.file(u"notes.txt"_s, "notes"));
  EXPECT_TRUE(rig.shown("LView") && rig.shown("lblAttach") && rig.window()->isModified());
  auto* list = rig.window()->findChild<QTreeWidget*>(u"LView"_s);
  ASSERT_EQ(list->topLevelItemCount(), 2);
  EXPECT_EQ(list->topLevelItem(0)->text(0) + '|' + list->topLevelItem(0)->text(1),
            u"报价单.xlsx|"_s + quote);

  list->setCurrentItem(list->topLevelItem(0));
  rig.window()->findChild<QAction*>(u"mnu(0)"_s)->trigger();
  EXPECT_EQ(rig.prompt->records(Kind::OpenWithDesktop).value(0).text, quote);
  rig.prompt->answerOpenWithDesktop(false);  // the desktop knows no program for it
  rig.window()->mnu_Click(0);
  EXPECT_EQ(rig.prompt->messages().last(),
            u"打开时错误，原因：No application is associated with this file type."_s);

  for (int left : {1, 0}) {
    list->setCurrentItem(list->topLevelItem(0));
    rig.window()->findChild<QAction*>(u"mnu(4)"_s)->trigger();
    EXPECT_EQ(list->topLevelItemCount(), left);
  }
  EXPECT_FALSE(rig.shown("LView") || rig.shown("lblAttach"));
}

TEST_F(ComposeWindowOnNewMail, BodyIsLoadedAndSavedThroughTheDialogs) {
  // An HTML file as Chinese editors write it: gb2312 bytes.
  const QString html = rig.file(u"正文.htm"_s, QByteArray("<html><body><p>\xc4\xfa\xba\xc3\xa3\xac"
                                                          "\xbf\xcd\xbb\xa7</p></body></html>"));
  rig.prompt->answerOpenFiles({html});
  rig.trigger(u"TBAddHtml"_s);
  EXPECT_EQ(rig.window()->editor()->toPlainText(), u"您好，客户"_s);
  EXPECT_TRUE(rig.window()->isModified());

  const QString target = rig.path(u"saved"_s);  // no extension: html is added
  rig.prompt->answerSaveFile(target);
  rig.trigger(u"mnuFileSaveHtml"_s);
  EXPECT_TRUE(rig.prompt->records(Kind::SaveFile).first().folder.endsWith(u"/正文另存为.html"_s));
  const QByteArray written = kvtest::readAll(target + u".html"_s);
  EXPECT_TRUE(QString::fromUtf8(written).contains(u"您好，客户"_s));
}

TEST_F(ComposeWindowOnNewMail, PrintWritesTheShownMailToATextFile) {
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  rig.field(3)->setText(u"打印的主题"_s);
  rig.window()->editor()->setPlainText(u"打印的正文"_s);
  QSignalSpy print(rig.window(), &kvmail::FrmNewMail::DoPrint);
  rig.window()->cToolbar1_ButtonClick(u"TBPrint"_s);
  rig.trigger(u"mnuFilePrint"_s);  // a key without a menu item of its own
  ASSERT_EQ(print.size(), 2);
  const QString path = print[1][0].toString();
  EXPECT_TRUE(path.startsWith(kvmail::tempFilePath(u"selfPrint/"_s)) && path.endsWith(u".txt"_s));
  const QString text = QString::fromUtf8(kvtest::readAll(path));
  for (const QString& shown : {u"打印的主题"_s, u"打印的正文"_s, u"kehu@kvmail.test"_s})
    EXPECT_TRUE(text.contains(shown)) << shown.toStdString();
}

TEST_F(ComposeWindowOnNewMail, FailuresOfACommandAreShownWithItsRoutinesName) {
  rig.field(1)->setText(u"客户 <kehu@kvmail.test"_s);  // no closing bracket
  rig.trigger(u"TBSend"_s);
  EXPECT_TRUE(rig.prompt->messages().last().startsWith(u"cToolbar1_ButtonClick："_s));
  EXPECT_EQ(rig.prompt->records().last().title, u"错误："_s);
  rig.trigger(u"mnuMailSend"_s);
  EXPECT_TRUE(rig.prompt->messages().last().startsWith(u"m_cMenu_Click："_s));
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.count(), 0);
}

TEST(ComposeWindow, ABrokenBundleIsReportedByTheInitialiserAndANewMailStillWorks) {
  ComposeRig rig;
  auto bundle = std::make_shared<kvmail::clsBundle>();
  bundle->AddMessage(nullptr);  // a host handing over a hole instead of a message
  rig.window()->py_Init(bundle, rig.faults.get(), rig.mail->account(), QString(), -1);
  ASSERT_EQ(rig.prompt->count(Kind::MessageBox), 1);
  EXPECT_TRUE(rig.prompt->messages().first().startsWith(u"初始化时发生错误，原因："_s));
  EXPECT_EQ(rig.prompt->records().first().title, u"错误："_s);
  EXPECT_TRUE(rig.window()->isVisible());
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  QSignalSpy returned(rig.window(), &kvmail::FrmNewMail::ReturnData);
  rig.trigger(u"TBSend"_s);
  EXPECT_EQ(returned.size(), 1);
}

TEST_F(ComposeWindowOnNewMail, AMailOpenedWhileTheLastOneIsSendingIsNotClosedByThatSend) {
  rig.field(1)->setText(u"kehu@kvmail.test"_s);
  rig.field(3)->setText(u"先发的"_s);
  // The host opens a new mail from its own window while the send is still running.
  QObject::connect(rig.window(), &kvmail::FrmNewMail::SendMail, rig.window(),
                   [this] { rig.mail->NewMail(); });
  rig.trigger(u"TBSend"_s);
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.field(3)->text(), QString());
  EXPECT_EQ(rig.count(), 1);
  // The send hid the window first: no question about the stored mail came up.
  EXPECT_TRUE(rig.prompt->messages().filter(u"是否保存邮件"_s).isEmpty());
}
