// The template editor offscreen over a real store: what the label says, what saving writes (the
// row and the stored message file), the order of delete then insert, and Ctrl+Delete.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "TemplateRig.h"
#include "support/SpecialFolders.h"
#include "templates/FrmTemplet.h"
#include "templates/TemplateSave.h"

using kvmail::FrmTemplet;
using kvmail::PromptAnswer;
using kvmail::PromptButtons;
using kvmail::PromptIcon;
using kvtest::TemplateRig;

namespace {

class FrmTempletTest : public ::testing::Test {
 protected:
  void prepare(const kvmail::MessagePtr& message) {
    window.prepare(message, rig.host.get(), rig.account);
    for (int i = 0; i < 3; ++i) {
      txt[i] = window.findChild<QLineEdit*>(QStringLiteral("Txt(%1)").arg(i));
      ASSERT_NE(txt[i], nullptr);
    }
    label = window.findChild<QLabel*>(QStringLiteral("lblMessage"));
    save = window.findChild<QPushButton*>(QStringLiteral("Cmd(0)"));
    ASSERT_NE(label, nullptr);
    ASSERT_NE(save, nullptr);
  }
  QString tempFile() const { return kvmail::tempFilePath(QStringLiteral("temp12.eml")); }

  TemplateRig rig;
  FrmTemplet window;
  QLineEdit* txt[3] = {};
  QLabel* label = nullptr;
  QPushButton* save = nullptr;
};

}  // namespace

TEST_F(FrmTempletTest, TheBoxesStartFromTheMailAndTheLabelNamesTheProgram) {
  prepare(rig.message());
  EXPECT_EQ(txt[0]->text(), QStringLiteral("[邮箱]"));
  EXPECT_EQ(txt[1]->text(), QStringLiteral("boss@kvmail.test"));
  EXPECT_EQ(txt[2]->text(), QStringLiteral("致[名]：新品目录"));
  EXPECT_TRUE(label->text().contains(QStringLiteral("“客户关怀”还没有邮件模板")))
      << label->text().toStdString();

  rig.seedRow(QStringLiteral("a@kvmail.test"), QString());
  window.refreshStatus();
  EXPECT_TRUE(label->text().contains(QStringLiteral("“客户关怀”已有邮件模板")));

  // A program the host's table does not name is called by its number.
  rig.account->lProgID = 40;
  window.refreshStatus();
  EXPECT_TRUE(label->text().startsWith(QStringLiteral("程序 40还没有邮件模板")));
}

TEST_F(FrmTempletTest, SavingWritesTheRowAsTypedAndTheMessageAsTheStoredFile) {
  const QString attachment = rig.file(QStringLiteral("新品目录.txt"), "catalogue\r\n");
  prepare(rig.message(QStringLiteral("3"), {attachment}));
  txt[1]->setText(QStringLiteral("[经理邮箱]"));
  QTest::mouseClick(save, Qt::LeftButton);
  EXPECT_TRUE(rig.prompt->records().isEmpty()) << rig.prompt->messages().join(u'\n').toStdString();
  EXPECT_EQ(rig.row(), QStringLiteral("[邮箱]|[经理邮箱]||致[名]：新品目录|1"));

  const QByteArray stored = rig.storedFile();
  ASSERT_FALSE(stored.isEmpty());
  EXPECT_TRUE(stored.contains("Content-Type: text/html; charset=gb2312")) << stored.constData();
  EXPECT_TRUE(stored.contains("Content-Transfer-Encoding: base64"));
  EXPECT_TRUE(stored.contains("X-Priority: 3"));
  const kvmail::ParsedMail parsed = kvmail::readMailBytes(stored);
  EXPECT_EQ(parsed.subject, QStringLiteral("致[名]：新品目录"));
  EXPECT_TRUE(parsed.htmlBody.contains(QStringLiteral("[名]您好！")));
  ASSERT_EQ(parsed.attachments.size(), 1);
  EXPECT_EQ(parsed.attachments.at(0).fileName, QStringLiteral("新品目录.txt"));
  EXPECT_EQ(parsed.attachments.at(0).data, QByteArray("catalogue\r\n"));

  EXPECT_FALSE(QFile::exists(tempFile()));  // the temp file is gone
  EXPECT_TRUE(label->text().contains(QStringLiteral("已有邮件模板")));
}

TEST_F(FrmTempletTest, TheFilesPriorityComesFromTheMailsOnTheInternetScale) {
  const struct {
    const char* priority;
    int header;
  } cases[] = {{"1", 1}, {"2", 5}, {"3", 3}, {"0", 3}, {"", 3}, {"5", 3}};
  for (const auto& c : cases) {
    prepare(rig.message(QString::fromLatin1(c.priority)));
    ASSERT_TRUE(window.save()) << c.priority;
    EXPECT_EQ(kvmail::readMailBytes(rig.storedFile()).priority, c.header) << c.priority;
    EXPECT_EQ(kvmail::templateHeaderPriority(QString::fromLatin1(c.priority)), c.header);
  }
}

TEST_F(FrmTempletTest, SavingTwiceLeavesOneRowWithTheLastValuesAndNoBcc) {
  rig.seedRow(QStringLiteral("old@kvmail.test"), QStringLiteral("secret@kvmail.test"));
  prepare(rig.message());
  ASSERT_TRUE(window.save());
  // The bcc of the earlier template is lost: the row is made anew without it.
  EXPECT_EQ(rig.row(), QStringLiteral("[邮箱]|boss@kvmail.test||致[名]：新品目录|1"));
  txt[2]->setText(QStringLiteral("第二版"));
  ASSERT_TRUE(window.save());
  EXPECT_EQ(rig.rows(), 1);
  EXPECT_TRUE(rig.row().endsWith(QStringLiteral("|第二版|1")));
}

TEST_F(FrmTempletTest, AQuoteInTheToTextFailsTheInsertAfterTheOldTemplateIsDeleted) {
  rig.seedRow(QStringLiteral("old@kvmail.test"), QString());
  prepare(rig.message());
  txt[0]->setText(QStringLiteral("O'Brien <ob@kvmail.test>"));
  EXPECT_FALSE(window.save());
  // Deliberately in this order: the old template is already gone when the insert fails.
  EXPECT_EQ(rig.rows(), 0);
  ASSERT_EQ(rig.prompt->records().size(), 1);
  const auto& box = rig.prompt->records().at(0);
  EXPECT_EQ(box.title, QStringLiteral("错误："));
  EXPECT_EQ(box.icon, PromptIcon::Critical);
  EXPECT_TRUE(box.text.startsWith(QStringLiteral("数据库错误："))) << box.text.toStdString();
  EXPECT_TRUE(label->text().contains(QStringLiteral("还没有邮件模板")));
  EXPECT_FALSE(QFile::exists(tempFile()));  // the save stopped before the file
  // A quote in the subject fails the same way: no value of the row is escaped.
  txt[0]->setText(QStringLiteral("a@kvmail.test"));
  txt[2]->setText(QStringLiteral("王's 报价"));
  EXPECT_FALSE(window.save());
  EXPECT_EQ(rig.rows(), 0);
}

TEST_F(FrmTempletTest, AMissingAttachmentKeepsTheRowButReportsTheFile) {
  prepare(rig.message(QStringLiteral("3"), {rig.path(QStringLiteral("gone.pdf"))}));
  EXPECT_FALSE(window.save());
  ASSERT_EQ(rig.prompt->records().size(), 1);
  EXPECT_TRUE(rig.prompt->records().at(0).text.startsWith(QStringLiteral("写模板文件时出错：")));
  EXPECT_EQ(rig.prompt->records().at(0).icon, PromptIcon::Critical);
  EXPECT_EQ(rig.rows(), 1);  // the row went in before the file was written
  EXPECT_TRUE(rig.storedFile().isEmpty());
  EXPECT_FALSE(QFile::exists(tempFile()));
}

TEST_F(FrmTempletTest, CtrlDeleteAsksOnlyYesDeletesAndARefusedDeleteIsAnError) {
  rig.seedRow(QStringLiteral("old@kvmail.test"), QString());
  prepare(rig.message());
  const QString before = txt[1]->text();

  // In a text box, where Ctrl+Delete would otherwise delete a word.
  rig.prompt->answer(PromptAnswer::No);
  txt[1]->setFocus();
  txt[1]->setCursorPosition(0);
  QTest::keyClick(txt[1], Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(rig.prompt->records().size(), 1);
  const auto& question = rig.prompt->records().at(0);
  EXPECT_EQ(question.text, QStringLiteral("是否删除当前已存在的模板！"));
  EXPECT_EQ(question.title, QStringLiteral("提示："));
  EXPECT_EQ(question.buttons, PromptButtons::YesNo);
  EXPECT_EQ(rig.row(), QStringLiteral("old@kvmail.test|||旧主题|1"));
  EXPECT_EQ(txt[1]->text(), before);
  EXPECT_TRUE(label->text().contains(QStringLiteral("已有邮件模板")));

  // Delete alone asks nothing.
  QTest::keyClick(txt[1], Qt::Key_Delete);
  EXPECT_EQ(rig.prompt->records().size(), 1);

  rig.prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(save, Qt::Key_Delete, Qt::ControlModifier);
  EXPECT_EQ(rig.prompt->records().size(), 2);
  EXPECT_EQ(rig.rows(), 0);
  EXPECT_TRUE(label->text().contains(QStringLiteral("还没有邮件模板")));

  // A delete the store refuses is shown as an error.
  rig.host->execute(QStringLiteral("drop table MailTemplet"));
  rig.prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(&window, Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(rig.prompt->records().size(), 4);
  EXPECT_EQ(rig.prompt->records().at(3).title, QStringLiteral("错误："));
  EXPECT_EQ(rig.prompt->records().at(3).icon, PromptIcon::Critical);
  EXPECT_TRUE(rig.prompt->records().at(3).text.startsWith(QStringLiteral("数据库错误：")));
}

TEST_F(FrmTempletTest, InitShowsTheWindowModallyUntilSavedOrClosed) {
  bool wasModal = false;
  QTimer::singleShot(0, &window, [&] {
    wasModal = window.isVisible() && window.isModal();
    window.findChild<QPushButton*>(QStringLiteral("Cmd(0)"))->click();
  });
  window.py_Init(rig.message(), rig.host.get(), rig.account);
  EXPECT_TRUE(wasModal);
  EXPECT_FALSE(window.isVisible());  // a successful save closes it
  EXPECT_EQ(rig.rows(), 1);

  // Closing saves nothing.
  rig.host->execute(QStringLiteral("delete from MailTemplet"));
  QTimer::singleShot(0, &window,
                     [&] { window.findChild<QPushButton*>(QStringLiteral("Cmd(1)"))->click(); });
  window.py_Init(rig.message(), rig.host.get(), rig.account);
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(rig.rows(), 0);
}
