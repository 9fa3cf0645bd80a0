// The viewer window offscreen, opened through the service on mails in a real SQLite store:
// what it shows, what each command raises, and the words it uses.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSignalSpy>

#include "RecordingHost.h"
#include "TestEnv.h"
#include "ViewerRig.h"
#include "viewer/FrmMail.h"
#include "viewer/ViewedMail.h"

using kvtest::ScriptedPrompt;
using kvtest::ViewerRig;

static const QString kMixed = u"mime/mixed_attachments.eml"_s;

// The sender box joins name and address without a blank, or shows the address alone; priority 1
// and 2 show the strip, anything else hides it.
TEST(FrmMailWindow, HeaderBoxesFollowTheSenderRuleAndThePriorityItsStrip) {
  struct Case {
    QString name;
    int priority;
    QString sender, strip;
  };
  const QList<Case> cases = {
      {QString(), 1, u"wang@kvmail.test"_s, u"邮件状态：高优先级。"_s},
      {u"王五"_s, 2, u"王五<wang@kvmail.test>"_s, u"邮件状态：低优先级。"_s},
      {u"王五"_s, 3, u"王五<wang@kvmail.test>"_s, QString()},
  };
  ViewerRig rig;
  const long id = rig.store(kvtest::htmlMail(u"报价"_s, "<p>正文</p>"));
  rig.set(id, u"收件人"_s, u"李四 <lisi@kvmail.test>"_s);
  rig.set(id, u"发送时间"_s, u"2024-07-01 10:00:00"_s);
  for (const Case& c : cases) {
    rig.set(id, u"发件人"_s, c.name);
    rig.set(id, u"优先级"_s, c.priority);
    kvmail::FrmMail* w = rig.show(id);
    EXPECT_EQ(
        (QStringList{rig.box(0), rig.box(1), rig.box(2), rig.box(3)}),
        (QStringList{u"李四 <lisi@kvmail.test>"_s, c.sender, u"2024-07-01 10:00:00"_s, u"报价"_s}));
    EXPECT_EQ(w->findChild<QFrame*>(u"PicType"_s)->isVisible(), !c.strip.isEmpty()) << c.priority;
    EXPECT_EQ(rig.label(u"lblType"_s)->text(), c.strip);
  }
}

// The window only reads: whatever changes the mail table is the host's, through the events.
TEST(FrmMailWindow, LoadingChangesNothingInTheStore) {
  ViewerRig rig;
  const long id = rig.storeData(kMixed);
  kvtest::RecordingHost logging(*rig.host);
  kvmail::FrmMail window;
  window.py_Init(id, &logging, u"查看"_s);
  EXPECT_EQ(logging.queries.size(), 2);  // the header row and the stored file
  EXPECT_TRUE(logging.statements.isEmpty()) << logging.statements.join('\n').toStdString();
}

TEST(FrmMailWindow, TheStoredMailAndItsAttachmentsAreSavedUnderItsNumberInTheTempFolder) {
  ViewerRig rig;
  const QByteArray message = kvtest::readAll(kvtest::dataFile(kMixed));
  const long id = rig.store(message);
  // An older, longer file of the same name must not leave its tail behind the shown mail.
  const QString file = QDir(rig.folder()).filePath(QString::number(id) + ".eml");
  ASSERT_TRUE(kvtest::writeAll(file, QByteArray(message.size() * 2, 'x')));
  rig.show(id);
  EXPECT_EQ(kvtest::readAll(file), message);
  EXPECT_EQ(rig.rows(), (QStringList{u"0k|合同（草案）.doc"_s, u"1k|报价单.xls"_s,
                                     u"2k|很长的文件名_第二季度销售报表汇总.pdf"_s}));
  const QStringList paths = rig.rowPaths();
  EXPECT_EQ(kvtest::readAll(paths.value(1)), QByteArray("xls-bytes"));
  EXPECT_TRUE(rig.label(u"lblAttach"_s)->isVisible());
  EXPECT_TRUE(rig.bodyText().contains(u"请查收附件。"_s));

  // Shown again, the mail's saved attachments are written anew and nothing stale stays.
  const QString folder = kvmail::viewedAttachmentFolder(id);
  ASSERT_TRUE(kvtest::writeAll(folder + u"/stale.txt"_s, "old"));
  ASSERT_TRUE(kvtest::writeAll(paths.value(1), "changed"));
  rig.show(id);
  EXPECT_FALSE(QFile::exists(folder + u"/stale.txt"_s));
  EXPECT_EQ(kvtest::readAll(rig.rowPaths().value(1)), QByteArray("xls-bytes"));

  // The same mail with an attachment flag of zero: no rows and no caption, the body still shows;
  // moving from a mail with rows to it clears them.
  const long without = rig.storeData(kMixed);
  rig.set(without, u"附件"_s, 0);
  rig.show(without);
  EXPECT_EQ(rig.list()->topLevelItemCount(), 0);
  EXPECT_FALSE(rig.label(u"lblAttach"_s)->isVisible());
  EXPECT_TRUE(rig.bodyText().contains(u"请查收附件。"_s));
}

TEST(FrmMailWindow, ReplyReplyToAllForwardAndCloseRaiseTheirEventAndClose) {
  // Reply and reply to all are deliberately the same: one event, the same mail number.
  struct Case {
    QString command;  // an action's name, or a toolbar key as the click handler gets it
    bool reply, forward;
  };
  const QList<Case> cases = {
      {"TBRevert", true, false},        {"mnuMailRevertAll", true, false},
      {"TBTransmit", false, true},      {"mnuFileClose", false, false},
      {"key:TBREVERTALL", true, false}, {"frame", false, false},
  };
  ViewerRig rig;
  const long id = rig.store(kvtest::htmlMail(u"答复"_s, "<p>x</p>"));
  for (const Case& c : cases) {
    kvmail::FrmMail* w = rig.show(id);
    QSignalSpy reply(w, &kvmail::FrmMail::RevertMail);
    QSignalSpy forward(w, &kvmail::FrmMail::TransmitMail);
    QSignalSpy unload(w, &kvmail::FrmMail::Unload);
    if (c.command == "frame"_L1)
      w->close();
    else if (c.command.startsWith("key:"_L1))
      w->toolbarClick(c.command.mid(4));
    else
      rig.action(c.command)->trigger();
    const std::string what = c.command.toStdString();
    // The mail number each event carried, 0 for an event not raised.
    const auto carried = [](const QSignalSpy& spy) {
      return spy.size() == 1 ? spy[0][0].toLongLong() : 0;
    };
    EXPECT_EQ(carried(reply), c.reply ? id : 0) << what;
    EXPECT_EQ(carried(forward), c.forward ? id : 0) << what;
    EXPECT_EQ(unload.size(), 1) << what;
    EXPECT_FALSE(w->isVisible()) << what;
  }
  // Unknown keys and menu names in the wrong case do nothing.
  kvmail::FrmMail* w = rig.show(id);
  QSignalSpy move(w, &kvmail::FrmMail::RecordMove);
  w->toolbarClick(u"TBUnknown"_s);
  w->menuClick(u"mnumailnext"_s);
  EXPECT_TRUE(move.isEmpty());
  EXPECT_TRUE(w->isVisible());
}

TEST(FrmMailWindow, PreviousAndNextAskTheHostAndShowTheMailItLeaves) {
  ViewerRig rig;
  const long first = rig.store(kvtest::htmlMail(u"第一封"_s, "<p>一</p>"));
  const long second = rig.store(kvtest::htmlMail(u"第二封"_s, "<p>二</p>"));
  QList<long> directions;
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvRecordMove, [&](long direction, long* id) {
    directions << direction;
    if (direction > 0 && *id == first) *id = second;
    if (direction < 0 && *id == second) *id = first;
  });
  rig.show(first);
  rig.action(u"TBNext"_s)->trigger();
  EXPECT_EQ(rig.viewer()->mailId(), second);
  EXPECT_EQ(rig.bodyText(), u"二"_s);
  QStringList subjects{rig.box(3)};
  // After the last one the host leaves it; the same at the first.
  for (const char* key : {"mnuMailNext", "mnuMailPrior", "TBPrior"}) {
    rig.action(QLatin1String(key))->trigger();
    subjects << rig.box(3);
  }
  EXPECT_EQ(subjects, (QStringList{u"第二封"_s, u"第二封"_s, u"第一封"_s, u"第一封"_s}));
  EXPECT_EQ(directions, (QList<long>{1, 1, -1, -1}));
  EXPECT_TRUE(rig.viewer()->isVisible());
}

TEST(FrmMailWindow, DeleteShowsTheMailTheHostNamesOrClosesWhenNoneIsLeft) {
  ViewerRig rig;
  const long first = rig.store(kvtest::htmlMail(u"要删除的"_s, "<p>一</p>"));
  const long second = rig.store(kvtest::htmlMail(u"下一封"_s, "<p>二</p>"));
  QList<long> asked;
  long next = second;
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvDelete, [&](long* id) {
    asked << *id;
    *id = next;
  });
  kvmail::FrmMail* w = rig.show(first);
  QSignalSpy unload(w, &kvmail::FrmMail::Unload);
  rig.action(u"TBDelete"_s)->trigger();
  EXPECT_EQ(w->mailId(), second);
  EXPECT_TRUE(rig.box(3) == u"下一封"_s && w->isVisible());
  next = 0;
  rig.action(u"mnuFileDelete"_s)->trigger();
  EXPECT_FALSE(w->isVisible());
  EXPECT_EQ(unload.size(), 1);
  EXPECT_EQ(asked, (QList<long>{first, second}));
  // The window deletes nothing itself.
  EXPECT_EQ(rig.value(u"select count(*) from msgmail where del=1"_s), "0");
}

TEST(FrmMailWindow, SaveAsCopiesTheAttachmentAndSaysWhereOrThatItWasCancelled) {
  ViewerRig rig;
  const long id = rig.storeData(kMixed);
  rig.show(id);
  const QString target = rig.path(u"下载/合同 副本.doc"_s);
  QDir().mkpath(rig.path(u"下载"_s));
  // The dialog's answer comes padded with NULs and blanks, as the system's buffer hands it.
  rig.prompt->answerSaveFile(u"  "_s + target + QChar(0) + QChar(0) + u' ');
  rig.action(u"mnuAttachSaveAs"_s)->trigger();
  EXPECT_EQ(rig.status(), u"下载文件"_s + target + u"成功"_s);
  EXPECT_EQ(kvtest::readAll(target), kvtest::readAll(rig.rowPaths().first()));
  const auto dialogs = rig.prompt->records(ScriptedPrompt::Kind::SaveFile);
  ASSERT_EQ(dialogs.size(), 1);
  EXPECT_TRUE(dialogs[0].folder.endsWith(u"合同（草案）.doc"_s));

  // Saving over an existing file replaces it whole.
  rig.list()->setCurrentItem(rig.list()->topLevelItem(1));
  rig.prompt->answerSaveFile(target);
  rig.action(u"mnuAttachSaveAs"_s)->trigger();
  EXPECT_EQ(kvtest::readAll(target), QByteArray("xls-bytes"));
  // The next dialog starts in the folder chosen last.
  EXPECT_TRUE(rig.prompt->records(ScriptedPrompt::Kind::SaveFile)
                  .last()
                  .folder.startsWith(rig.path(u"下载"_s)));

  rig.action(u"mnuAttachSaveAs"_s)->trigger();  // no answer: cancelled
  EXPECT_EQ(rig.status(), u"取消了下载文件"_s);

  // A file that cannot be written is said so, and nothing appears.
  const QString bad = rig.path(u"no-such-folder/x.doc"_s);
  rig.prompt->answerSaveFile(bad);
  rig.action(u"mnuAttachSaveAs"_s)->trigger();
  EXPECT_EQ(rig.status(), u"下载文件"_s + bad + u"失败"_s);
  ASSERT_EQ(rig.prompt->messages().size(), 1);
  EXPECT_TRUE(rig.prompt->messages().first().startsWith(u"附件另存为："_s));
  EXPECT_FALSE(QFile::exists(bad));
}

TEST(FrmMailWindow, OpeningAnAttachmentUsesTheDesktopAndAFailureSaysWhy) {
  ViewerRig rig;
  rig.show(rig.storeData(kMixed));
  rig.list()->setCurrentItem(rig.list()->topLevelItem(1));
  rig.action(u"mnuAttachOpen"_s)->trigger();
  auto opened = rig.prompt->records(ScriptedPrompt::Kind::OpenWithDesktop);
  ASSERT_EQ(opened.size(), 1);
  EXPECT_EQ(opened[0].text, rig.rowPaths().value(1));
  EXPECT_TRUE(rig.prompt->messages().isEmpty());

  rig.prompt->answerOpenWithDesktop(false);
  Q_EMIT rig.list()->itemActivated(rig.list()->topLevelItem(0), 0);  // a double-click
  ASSERT_EQ(rig.prompt->messages().size(), 1);
  EXPECT_EQ(rig.prompt->messages().first(),
            u"打开时错误，原因：No application is associated with this file type."_s);
  EXPECT_EQ(rig.prompt->records(ScriptedPrompt::Kind::MessageBox).first().title, u"错误："_s);
}

// A print folder that cannot be made is reported with the phrase of the handler that ran the
// command; once it can, the shown mail is written as text under selfPrint and handed on.
TEST(FrmMailWindow, PrintWritesATextFileUnderSelfPrintOrSaysWhichHandlerFailed) {
  ViewerRig rig;
  const long id = rig.storeData(kMixed);
  kvmail::FrmMail* w = rig.show(id);
  ASSERT_TRUE(kvtest::writeAll(rig.path(u"selfPrint"_s), "not a folder"));
  rig.action(u"TBPrint"_s)->trigger();
  rig.action(u"mnuFilePrint"_s)->trigger();
  EXPECT_EQ(rig.prompt->messages(), (QStringList{u"cToolbar1_ButtonClick：Path/File access error"_s,
                                                 u"m_cMenu_Click：Path/File access error"_s}));

  ASSERT_TRUE(QFile::remove(rig.path(u"selfPrint"_s)));
  QSignalSpy print(w, &kvmail::FrmMail::DoPrint);
  rig.action(u"TBPrint"_s)->trigger();
  ASSERT_EQ(print.size(), 1);
  const QString path = print.first().first().toString();
  EXPECT_EQ(path, rig.folder() + u"/selfPrint/%1.txt"_s.arg(id));
  const QString text = QString::fromUtf8(kvtest::readAll(path));
  EXPECT_TRUE(text.startsWith(u"邮件编号：%1\n"_s.arg(id))) << text.toStdString();
  for (const QString& line : {u"主题：季度报表\n"_s, u"发件人：Zhang San<zhangsan@example.cn>\n"_s,
                              u"附件：合同（草案）.doc；报价单.xls；"_s, u"请查收附件。"_s})
    EXPECT_TRUE(text.contains(line)) << line.toStdString();
  EXPECT_TRUE(w->isVisible());  // printing leaves the mail shown
}

TEST(FrmMailWindow, WithoutAHostTheInitialiserSaysSo) {
  kvmail::FrmMail window;
  QSignalSpy error(&window, &kvmail::FrmMail::ErrMessage);
  window.py_Init(1, nullptr, u"查看"_s);
  ASSERT_EQ(error.size(), 1);
  EXPECT_EQ(error[0], (QList<QVariant>{u"初始化时发生错误，原因：Object variable not set"_s,
                                       QVariant::fromValue(8L), u"错误："_s}));
}

TEST(FrmMailWindow, AnUnknownMailNumberShowsNothingOfAnEarlierMail) {
  ViewerRig rig;
  rig.show(rig.storeData(kMixed));
  rig.show(9999);
  EXPECT_EQ(rig.box(0) + rig.box(1) + rig.box(2) + rig.box(3) + rig.bodyText(), QString());
  EXPECT_EQ(rig.list()->topLevelItemCount(), 0);
  EXPECT_EQ(rig.status(), u"没有找到邮件（邮件ID=9999）。"_s);
  EXPECT_TRUE(rig.prompt->messages().isEmpty());
}
