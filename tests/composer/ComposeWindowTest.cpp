// The compose window driven as a user drives it: controls found by objectName, every box and
// dialog answered by the scripted prompt.
#include <gtest/gtest.h>

#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSignalSpy>
#include <QTreeWidget>

#include "ComposeRig.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "model/IBundle.h"
#include "model/clsBundle.h"
#include "store/MailStore.h"
#include "support/QtPrompt.h"
#include "support/SpecialFolders.h"

using kvmail::PromptAnswer;
using kvmail::PromptButtons;
using kvmail::PromptIcon;
using kvtest::ComposeRig;
using Kind = kvtest::ScriptedPrompt::Kind;

namespace {

QString label(const ComposeRig& rig, const char* name) {
  return rig.window()->findChild<QLabel*>(QLatin1String(name))->text();
}

bool shown(const ComposeRig& rig, const char* name) {
  return !rig.window()->findChild<QWidget*>(QLatin1String(name))->isHidden();
}

}  // namespace

TEST(ComposeWindow, NewMailShowsTheSenderAndOneMailUnchanged) {
  ComposeRig rig;
  ASSERT_TRUE(rig.mail->NewMail());
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.window()->windowTitle(), QStringLiteral("新邮件"));
  EXPECT_EQ(rig.field(0)->text(), QStringLiteral("销售部<sales@kvmail.test>"));
  EXPECT_EQ(label(rig, "lblPosition"), QStringLiteral("第1封/共1封"));
  EXPECT_FALSE(shown(rig, "LView"));
  EXPECT_FALSE(shown(rig, "lblAttach"));
  EXPECT_FALSE(shown(rig, "PicType"));
  EXPECT_FALSE(rig.window()->isModified());

  // Without a sender name the field holds the bare address.
  rig.mail->account()->sFrom.clear();
  rig.prompt->answer(PromptAnswer::No);
  rig.window()->close();
  ASSERT_TRUE(rig.mail->NewMail());
  EXPECT_EQ(rig.field(0)->text(), QStringLiteral("sales@kvmail.test"));
}

TEST(ComposeWindow, ABatchOfThreeMovesAndHoldsAtItsEnds) {
  ComposeRig rig;
  rig.openBatch({QStringLiteral("a@kvmail.test"), QStringLiteral("b@kvmail.test"),
                 QStringLiteral("c@kvmail.test")});
  EXPECT_EQ(label(rig, "lblPosition"), QStringLiteral("第1封/共3封"));
  EXPECT_EQ(rig.field(1)->text(), QStringLiteral("a@kvmail.test"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("致甲"));
  rig.trigger(QStringLiteral("TBPrior"));
  EXPECT_EQ(rig.window()->position(), 1);

  rig.field(3)->setText(QStringLiteral("致甲先生"));  // kept when moving on
  rig.trigger(QStringLiteral("TBNext"));
  EXPECT_EQ(rig.field(1)->text(), QStringLiteral("b@kvmail.test"));
  rig.trigger(QStringLiteral("mnuMailNext"));
  rig.trigger(QStringLiteral("mnuMailNext"));
  EXPECT_EQ(rig.window()->position(), 3);
  EXPECT_EQ(label(rig, "lblPosition"), QStringLiteral("第3封/共3封"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("致丙"));
  rig.trigger(QStringLiteral("mnuMailPrior"));
  rig.trigger(QStringLiteral("mnuMailPrior"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("致甲先生"));
}

TEST(ComposeWindow, DeletingDownToOneHidesTheNavigationForGood) {
  ComposeRig rig;
  rig.openBatch({QStringLiteral("a@kvmail.test"), QStringLiteral("b@kvmail.test"),
                 QStringLiteral("c@kvmail.test")});
  rig.prompt->answer(PromptAnswer::No);
  rig.trigger(QStringLiteral("TBDelete"));
  EXPECT_EQ(rig.window()->mailCount(), 3);
  const auto box = rig.prompt->records(Kind::MessageBox).last();
  EXPECT_EQ(box.text, QStringLiteral("是否删除当前显示的邮件！"));
  EXPECT_EQ(box.title, QStringLiteral("提示"));
  EXPECT_EQ(box.icon, PromptIcon::Information);
  EXPECT_EQ(box.buttons, PromptButtons::YesNo);

  rig.trigger(QStringLiteral("TBNext"));
  rig.trigger(QStringLiteral("TBNext"));
  rig.trigger(QStringLiteral("TBDelete"));  // the last of three: the position stays at the end
  EXPECT_EQ(label(rig, "lblPosition"), QStringLiteral("第2封/共2封"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("致乙"));
  const auto navigation = [&rig](bool visible) {
    for (const char* key : {"mnuMail3", "mnuMailPrior", "mnuMailNext", "mnuFileDelete", "TBs5",
                            "TBPrior", "TBNext", "TBDelete"})
      EXPECT_EQ(rig.action(QLatin1String(key))->isVisible(), visible) << key;
  };
  navigation(true);

  rig.trigger(QStringLiteral("mnuFileDelete"));
  EXPECT_EQ(label(rig, "lblPosition"), QStringLiteral("第1封/共1封"));
  EXPECT_EQ(rig.field(1)->text(), QStringLiteral("a@kvmail.test"));
  navigation(false);
  // The last mail is never deleted, even after Yes.
  rig.window()->m_cMenu_Click(QStringLiteral("mnuFileDelete"));
  EXPECT_EQ(rig.window()->mailCount(), 1);
  EXPECT_EQ(rig.window()->bundle()->Count(), 1);
}

TEST(ComposeWindow, PriorityDropDownShowsTheIndicatorAndMarksTheMailChanged) {
  ComposeRig rig;
  rig.mail->NewMail();
  rig.trigger(QStringLiteral("mnuTool_H"));
  EXPECT_TRUE(rig.window()->isModified());
  EXPECT_TRUE(shown(rig, "PicType"));
  EXPECT_EQ(label(rig, "lblType"), QStringLiteral("邮件状态：高优先级。"));
  rig.trigger(QStringLiteral("mnuTool_L"));
  EXPECT_EQ(label(rig, "lblType"), QStringLiteral("邮件状态：低优先级。"));
  rig.trigger(QStringLiteral("mnuTool_N"));
  EXPECT_FALSE(shown(rig, "PicType"));
  EXPECT_EQ(label(rig, "lblType"), QString());
}

TEST(ComposeWindow, CloseAsksOnlyWhenSomethingChanged) {
  ComposeRig rig;
  rig.mail->NewMail();
  QSignalSpy unload(rig.window(), &kvmail::FrmNewMail::Unload);
  rig.trigger(QStringLiteral("TBClose"));
  EXPECT_EQ(rig.prompt->count(Kind::MessageBox), 0);
  EXPECT_FALSE(rig.window()->isVisible());
  EXPECT_EQ(unload.size(), 1);

  rig.mail->NewMail();
  rig.field(3)->setText(QStringLiteral("草稿"));
  rig.prompt->answer(PromptAnswer::Cancel);
  rig.trigger(QStringLiteral("mnuFileClose"));
  const auto box = rig.prompt->records(Kind::MessageBox).last();
  EXPECT_EQ(box.text, QStringLiteral("是否保存邮件？"));
  EXPECT_EQ(box.title, QStringLiteral("提示："));
  EXPECT_EQ(box.icon, PromptIcon::Information);
  EXPECT_EQ(box.buttons, PromptButtons::YesNoCancel);
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("草稿"));
  EXPECT_EQ(unload.size(), 1);

  rig.prompt->answer(PromptAnswer::No);
  rig.trigger(QStringLiteral("TBClose"));
  EXPECT_FALSE(rig.window()->isVisible());
  EXPECT_EQ(unload.size(), 2);
  EXPECT_EQ(rig.count(), 0);
}

TEST(ComposeWindow, YesOnCloseStoresAndAFailedCheckKeepsTheWindow) {
  ComposeRig rig;
  rig.mail->NewMail();
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  rig.window()->editor()->setPlainText(QStringLiteral("关闭时保存的正文"));
  rig.prompt->answer(PromptAnswer::Yes);  // the To field is still empty
  rig.window()->close();
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.prompt->messages().last(), QStringLiteral("第1封邮件,收件人为空"));
  rig.field(1)->setText(QStringLiteral("客户 <kehu@kvmail.test"));  // a failure, not a check
  rig.prompt->answer(PromptAnswer::Yes);
  rig.window()->close();
  EXPECT_TRUE(rig.prompt->messages().last().startsWith(QStringLiteral("IsCanSave:")));
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.count(), 0);

  rig.field(1)->setText(QStringLiteral("kehu@kvmail.test"));
  rig.prompt->answer(PromptAnswer::Yes);
  rig.window()->close();
  EXPECT_FALSE(rig.window()->isVisible());
  ASSERT_EQ(returned.size(), 1);
  EXPECT_EQ(returned[0][1].toLongLong(), 1);
  const kvmail::ParsedMail stored = kvmail::MailStore(*rig.host).readMessage(
      returned[0][0].toString().toLong(), rig.path(QStringLiteral("back.eml")));
  EXPECT_TRUE(stored.htmlBody.contains(QStringLiteral("关闭时保存的正文")));
  // The body went through temp1.eml on the way, and that file is gone.
  EXPECT_FALSE(QFile::exists(kvmail::tempFilePath(QStringLiteral("temp1.eml"))));
}

TEST(ComposeWindow, OpeningAnotherMailOverUnsavedWorkAsksFirst) {
  ComposeRig rig;
  rig.mail->NewMail();
  rig.field(3)->setText(QStringLiteral("写到一半"));
  rig.prompt->answer(PromptAnswer::Cancel);
  rig.mail->NewMail();
  EXPECT_EQ(rig.prompt->messages().last(), QStringLiteral("是否保存邮件？"));
  EXPECT_EQ(rig.field(3)->text(), QStringLiteral("写到一半"));
  rig.prompt->answer(PromptAnswer::No);
  rig.mail->NewMail();
  EXPECT_EQ(rig.field(3)->text(), QString());
  EXPECT_FALSE(rig.window()->isModified());
}

TEST(ComposeWindow, AttachmentsAreInsertedOpenedAndRemoved) {
  ComposeRig rig;
  rig.mail->NewMail();
  const QString quote = rig.file(QStringLiteral("报价单.xlsx"), QByteArray(300, 'q'));
  const QString notes = rig.file(QStringLiteral("notes.txt"), "notes");
  rig.prompt->answerOpenFiles({});  // cancelled: nothing happens
  rig.trigger(QStringLiteral("mnuMailTattach"));
  EXPECT_FALSE(shown(rig, "LView"));
  EXPECT_EQ(rig.prompt->records(Kind::OpenFiles).first().folder,
            kvmail::GetSystemPath(QStringLiteral("Mydocuments")));
  EXPECT_FALSE(rig.window()->isModified());

  rig.attach(quote);
  rig.prompt->answerOpenFiles({notes});
  rig.window()->mnu_Click(3);
  EXPECT_TRUE(shown(rig, "LView"));
  EXPECT_TRUE(shown(rig, "lblAttach"));
  EXPECT_TRUE(rig.window()->isModified());
  auto* list = rig.window()->findChild<QTreeWidget*>(QStringLiteral("LView"));
  ASSERT_EQ(list->topLevelItemCount(), 2);
  EXPECT_EQ(list->topLevelItem(0)->text(0), QStringLiteral("报价单.xlsx"));
  EXPECT_EQ(list->topLevelItem(0)->text(1), quote);

  list->setCurrentItem(list->topLevelItem(0));
  rig.window()->findChild<QAction*>(QStringLiteral("mnu(0)"))->trigger();
  ASSERT_EQ(rig.prompt->count(Kind::OpenWithDesktop), 1);
  EXPECT_EQ(rig.prompt->records(Kind::OpenWithDesktop).first().text, quote);

  rig.prompt->answerOpenWithDesktop(false);  // the desktop knows no program for it
  rig.window()->mnu_Click(0);
  EXPECT_EQ(rig.prompt->messages().last(),
            QStringLiteral("打开时错误，原因：No application is associated with this file type."));

  const int boxes = rig.prompt->count(Kind::MessageBox);
  QFile::remove(quote);  // vanished meanwhile: nothing is opened and nothing is said
  rig.window()->mnu_Click(0);
  EXPECT_EQ(rig.prompt->count(Kind::OpenWithDesktop), 2);
  EXPECT_EQ(rig.prompt->count(Kind::MessageBox), boxes);

  rig.window()->findChild<QAction*>(QStringLiteral("mnu(4)"))->trigger();
  EXPECT_EQ(list->topLevelItemCount(), 1);
  EXPECT_TRUE(shown(rig, "LView"));
  list->setCurrentItem(list->topLevelItem(0));
  rig.window()->mnu_Click(4);
  EXPECT_FALSE(shown(rig, "LView"));
  EXPECT_FALSE(shown(rig, "lblAttach"));
}

TEST(ComposeWindow, BodyIsLoadedAndSavedThroughTheDialogs) {
  ComposeRig rig;
  rig.mail->NewMail();
  // An HTML file as Chinese editors write it: gb2312 bytes.
  const QString html =
      rig.file(QStringLiteral("正文.htm"), QByteArray("<html><body><p>\xc4\xfa\xba\xc3\xa3\xac"
                                                      "\xbf\xcd\xbb\xa7</p></body></html>"));
  rig.prompt->answerOpenFiles({html});
  rig.trigger(QStringLiteral("TBAddHtml"));
  EXPECT_EQ(rig.prompt->records(Kind::OpenFiles).first().filter, kvmail::compose::addBodyFilter());
  EXPECT_EQ(rig.prompt->records(Kind::OpenFiles).first().folder,
            kvmail::GetSystemPath(QStringLiteral("Mydocuments")));
  EXPECT_EQ(rig.window()->editor()->toPlainText(), QStringLiteral("您好，客户"));
  EXPECT_TRUE(rig.window()->isModified());

  const QString target = rig.path(QStringLiteral("saved"));  // no extension: html is added
  rig.prompt->answerSaveFile(target);
  rig.trigger(QStringLiteral("mnuFileSaveHtml"));
  EXPECT_TRUE(rig.prompt->records(Kind::SaveFile)
                  .first()
                  .folder.endsWith(QStringLiteral("/正文另存为.html")));
  const QByteArray written = kvtest::readAll(target + QStringLiteral(".html"));
  EXPECT_TRUE(QString::fromUtf8(written).contains(QStringLiteral("您好，客户")));
}

TEST(ComposeWindow, EditingCommandsReachTheBodyEditor) {
  ComposeRig rig;
  rig.mail->NewMail();
  kvmail::BodyEditor* editor = rig.window()->editor();
  editor->setPlainText(QStringLiteral("第一行"));
  rig.trigger(QStringLiteral("mnuEditSelectall"));
  EXPECT_EQ(editor->textCursor().selectedText(), QStringLiteral("第一行"));
  rig.trigger(QStringLiteral("TBCut"));
  EXPECT_EQ(editor->toPlainText(), QString());
  rig.trigger(QStringLiteral("TBPaste"));
  rig.trigger(QStringLiteral("mnuEditPaste"));
  EXPECT_EQ(editor->toPlainText(), QStringLiteral("第一行第一行"));
  rig.trigger(QStringLiteral("TBUndo"));
  EXPECT_EQ(editor->toPlainText(), QStringLiteral("第一行"));
  EXPECT_TRUE(editor->ExecCommand(5035));
  EXPECT_TRUE(editor->ExecCommand(5002));
  EXPECT_FALSE(editor->ExecCommand(5999));  // a command the editor does not know
}

TEST(ComposeWindow, PrintWritesTheShownMailToATextFile) {
  ComposeRig rig;
  rig.mail->NewMail();
  rig.field(1)->setText(QStringLiteral("kehu@kvmail.test"));
  rig.field(3)->setText(QStringLiteral("打印的主题"));
  rig.window()->editor()->setPlainText(QStringLiteral("打印的正文"));
  QSignalSpy print(rig.window(), &kvmail::FrmNewMail::DoPrint);
  rig.window()->cToolbar1_ButtonClick(QStringLiteral("TBPrint"));
  rig.trigger(QStringLiteral("mnuFilePrint"));  // a key without a menu item of its own
  ASSERT_EQ(print.size(), 2);
  for (QAction* top : rig.window()->findChild<QMenuBar*>()->actions())
    for (QAction* item : top->menu()->actions())
      EXPECT_NE(item->objectName(), QStringLiteral("mnuFilePrint"));
  const QString path = print[1][0].toString();
  EXPECT_TRUE(path.startsWith(kvmail::tempFilePath(QStringLiteral("selfPrint/"))));
  EXPECT_TRUE(path.endsWith(QStringLiteral(".txt")));
  const QString text = QString::fromUtf8(kvtest::readAll(path));
  EXPECT_TRUE(text.contains(QStringLiteral("打印的主题")));
  EXPECT_TRUE(text.contains(QStringLiteral("打印的正文")));
  EXPECT_TRUE(text.contains(QStringLiteral("kehu@kvmail.test")));
}

TEST(ComposeWindow, FailuresOfACommandAreShownWithItsRoutinesName) {
  ComposeRig rig;
  rig.mail->NewMail();
  rig.field(1)->setText(QStringLiteral("客户 <kehu@kvmail.test"));  // no closing bracket
  rig.trigger(QStringLiteral("TBSend"));
  EXPECT_TRUE(rig.prompt->messages().last().startsWith(QStringLiteral("cToolbar1_ButtonClick：")));
  EXPECT_EQ(rig.prompt->records().last().title, QStringLiteral("错误："));
  rig.trigger(QStringLiteral("mnuMailSend"));
  EXPECT_TRUE(rig.prompt->messages().last().startsWith(QStringLiteral("m_cMenu_Click：")));
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.count(), 0);
}

TEST(ComposeWindow, ABrokenBundleIsReportedByTheInitialiserAndANewMailStillWorks) {
  ComposeRig rig;
  auto bundle = std::make_shared<kvmail::clsBundle>();
  bundle->AddMessage(nullptr);  // a host handing over a hole instead of a message
  rig.window()->py_Init(bundle, rig.faults.get(), rig.mail->account(), QString(), -1);
  ASSERT_EQ(rig.prompt->count(Kind::MessageBox), 1);
  EXPECT_TRUE(
      rig.prompt->messages().first().startsWith(QStringLiteral("初始化时发生错误，原因：")));
  EXPECT_EQ(rig.prompt->records().first().title, QStringLiteral("错误："));
  EXPECT_TRUE(rig.window()->isVisible());
  rig.field(1)->setText(QStringLiteral("kehu@kvmail.test"));
  QSignalSpy returned(rig.window(), &kvmail::FrmNewMail::ReturnData);
  rig.trigger(QStringLiteral("TBSend"));
  EXPECT_EQ(returned.size(), 1);
}

TEST(ComposeWindow, AMailOpenedWhileTheLastOneIsSendingIsNotClosedByThatSend) {
  ComposeRig rig;
  rig.mail->NewMail();
  rig.field(1)->setText(QStringLiteral("kehu@kvmail.test"));
  rig.field(3)->setText(QStringLiteral("先发的"));
  // The host opens a new mail from its own window while the send is still running.
  QObject::connect(rig.window(), &kvmail::FrmNewMail::SendMail, rig.window(),
                   [&rig] { rig.mail->NewMail(); });
  rig.trigger(QStringLiteral("TBSend"));
  EXPECT_TRUE(rig.window()->isVisible());
  EXPECT_EQ(rig.field(3)->text(), QString());
  EXPECT_EQ(rig.count(), 1);
  // The send hid the window first: no question about the stored mail came up.
  EXPECT_TRUE(rig.prompt->messages().filter(QStringLiteral("是否保存邮件")).isEmpty());
}

TEST(ComposeWindow, DialogFiltersBecomeQtFilters) {
  EXPECT_EQ(kvmail::toQtFilter(kvmail::compose::addBodyFilter()),
            QStringLiteral("All Web Files (*.asp *.asa *.pl *.htm *.html *.css);;Asp files "
                           "(*.asp);;Asa files (*.asa);;Htm files (*.htm);;Html files "
                           "(*.html);;Perl files (*.pl);;Style Sheets (*.css);;All files (*)"));
  EXPECT_EQ(kvmail::toQtFilter(kvmail::compose::saveBodyFilter()),
            QStringLiteral("Html files (*.html);;All files (*)"));
  EXPECT_EQ(kvmail::toQtFilter(kvmail::compose::attachmentFilter()),
            QStringLiteral("所有文件 (*)"));
}
