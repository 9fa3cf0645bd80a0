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
      txt[i] = window.findChild<QLineEdit*>(u"Txt(%1)"_s.arg(i));
      ASSERT_NE(txt[i], nullptr);
    }
    label = window.findChild<QLabel*>(u"lblMessage"_s);
    save = window.findChild<QPushButton*>(u"Cmd(0)"_s);
    ASSERT_NE(label, nullptr);
    ASSERT_NE(save, nullptr);
  }
  QString tempFile() const { return kvmail::tempFilePath(u"temp12.eml"_s); }

  TemplateRig rig;
  FrmTemplet window;
  QLineEdit* txt[3] = {};
  QLabel* label = nullptr;
  QPushButton* save = nullptr;
};

}  // namespace

TEST_F(FrmTempletTest, TheBoxesStartFromTheMailAndTheLabelNamesTheProgram) {
  prepare(rig.message());
  EXPECT_EQ((QStringList{txt[0]->text(), txt[1]->text(), txt[2]->text()}),
            (QStringList{u"[邮箱]"_s, u"boss@kvmail.test"_s, u"致[名]：新品目录"_s}));
  EXPECT_TRUE(label->text().contains(u"“客户关怀”还没有邮件模板"_s)) << label->text().toStdString();

  rig.seedRow(u"a@kvmail.test"_s, QString());
  window.refreshStatus();
  EXPECT_TRUE(label->text().contains(u"“客户关怀”已有邮件模板"_s));

  // A program the host's table does not name is called by its number.
  rig.account->lProgID = 40;
  window.refreshStatus();
  EXPECT_TRUE(label->text().startsWith(u"程序 40还没有邮件模板"_s));
}

TEST_F(FrmTempletTest, SavingWritesTheRowAsTypedAndTheMessageAsTheStoredFile) {
  const QString attachment = rig.file(u"新品目录.txt"_s, "catalogue\r\n");
  prepare(rig.message(u"3"_s, {attachment}));
  txt[1]->setText(u"[经理邮箱]"_s);
  QTest::mouseClick(save, Qt::LeftButton);
  EXPECT_TRUE(rig.prompt->records().isEmpty()) << rig.prompt->messages().join(u'\n').toStdString();
  EXPECT_EQ(rig.row(), u"[邮箱]|[经理邮箱]||致[名]：新品目录|1"_s);

  const QByteArray stored = rig.storedFile();
  ASSERT_FALSE(stored.isEmpty());
  for (const char* header : {"Content-Type: text/html; charset=gb2312",
                             "Content-Transfer-Encoding: base64", "X-Priority: 3"})
    EXPECT_TRUE(stored.contains(header)) << header << "\n" << stored.constData();
  const kvmail::ParsedMail parsed = kvmail::readMailBytes(stored);
  EXPECT_EQ(parsed.subject, u"致[名]：新品目录"_s);
  EXPECT_TRUE(parsed.htmlBody.contains(u"[名]您好！"_s));
  ASSERT_EQ(parsed.attachments.size(), 1);
  EXPECT_EQ(parsed.attachments.at(0).fileName, u"新品目录.txt"_s);
  EXPECT_EQ(parsed.attachments.at(0).data, QByteArray("catalogue\r\n"));

  EXPECT_FALSE(QFile::exists(tempFile()));  // the temp file is gone
  EXPECT_TRUE(label->text().contains(u"已有邮件模板"_s));
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
  }
}

TEST_F(FrmTempletTest, SavingTwiceLeavesOneRowWithTheLastValuesAndNoBcc) {
  rig.seedRow(u"old@kvmail.test"_s, u"secret@kvmail.test"_s);
  prepare(rig.message());
  ASSERT_TRUE(window.save());
  // The bcc of the earlier template is lost: the row is made anew without it.
  EXPECT_EQ(rig.row(), u"[邮箱]|boss@kvmail.test||致[名]：新品目录|1"_s);
  txt[2]->setText(u"第二版"_s);
  ASSERT_TRUE(window.save());
  EXPECT_EQ(rig.rows(), 1);
  EXPECT_TRUE(rig.row().endsWith(u"|第二版|1"_s));
}

TEST_F(FrmTempletTest, AQuoteInTheToTextFailsTheInsertAfterTheOldTemplateIsDeleted) {
  rig.seedRow(u"old@kvmail.test"_s, QString());
  prepare(rig.message());
  txt[0]->setText(u"O'Brien <ob@kvmail.test>"_s);
  EXPECT_FALSE(window.save());
  // Deliberately in this order: the old template is already gone when the insert fails.
  EXPECT_EQ(rig.rows(), 0);
  ASSERT_EQ(rig.prompt->records().size(), 1);
  const auto& box = rig.prompt->records().at(0);
  EXPECT_EQ(std::tuple(box.title, box.icon, box.text.left(6)),
            std::tuple(u"错误："_s, PromptIcon::Critical, u"数据库错误："_s));
  EXPECT_TRUE(label->text().contains(u"还没有邮件模板"_s));
  EXPECT_FALSE(QFile::exists(tempFile()));  // the save stopped before the file
  // A quote in the subject fails the same way: no value of the row is escaped.
  txt[0]->setText(u"a@kvmail.test"_s);
  txt[2]->setText(u"王's 报价"_s);
  EXPECT_FALSE(window.save());
  EXPECT_EQ(rig.rows(), 0);
}

TEST_F(FrmTempletTest, AMissingAttachmentKeepsTheRowButReportsTheFile) {
  prepare(rig.message(u"3"_s, {rig.path(u"gone.pdf"_s)}));
  EXPECT_FALSE(window.save());
  ASSERT_EQ(rig.prompt->records().size(), 1);
  const auto& box = rig.prompt->records().at(0);
  EXPECT_EQ(std::tuple(box.icon, box.text.left(9)),
            std::tuple(PromptIcon::Critical, u"写模板文件时出错："_s));
  EXPECT_EQ(rig.rows(), 1);  // the row went in before the file was written
  EXPECT_TRUE(rig.storedFile().isEmpty());
  EXPECT_FALSE(QFile::exists(tempFile()));
}

TEST_F(FrmTempletTest, CtrlDeleteAsksOnlyYesDeletesAndARefusedDeleteIsAnError) {
  rig.seedRow(u"old@kvmail.test"_s, QString());
  prepare(rig.message());
  const QString before = txt[1]->text();

  // In a text box, where Ctrl+Delete would otherwise delete a word.
  rig.prompt->answer(PromptAnswer::No);
  txt[1]->setFocus();
  txt[1]->setCursorPosition(0);
  QTest::keyClick(txt[1], Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(rig.prompt->records().size(), 1);
  const auto& question = rig.prompt->records().at(0);
  EXPECT_EQ(std::tuple(question.text, question.title, question.buttons),
            std::tuple(u"是否删除当前已存在的模板！"_s, u"提示："_s, PromptButtons::YesNo));
  EXPECT_EQ(rig.row(), u"old@kvmail.test|||旧主题|1"_s);
  EXPECT_EQ(txt[1]->text(), before);
  EXPECT_TRUE(label->text().contains(u"已有邮件模板"_s));

  // Delete alone asks nothing.
  QTest::keyClick(txt[1], Qt::Key_Delete);
  EXPECT_EQ(rig.prompt->records().size(), 1);

  rig.prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(save, Qt::Key_Delete, Qt::ControlModifier);
  EXPECT_EQ(rig.prompt->records().size(), 2);
  EXPECT_EQ(rig.rows(), 0);
  EXPECT_TRUE(label->text().contains(u"还没有邮件模板"_s));

  // A delete the store refuses is shown as an error.
  rig.host->execute(u"drop table MailTemplet"_s);
  rig.prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(&window, Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(rig.prompt->records().size(), 4);
  const auto& error = rig.prompt->records().at(3);
  EXPECT_EQ(std::tuple(error.title, error.icon, error.text.left(6)),
            std::tuple(u"错误："_s, PromptIcon::Critical, u"数据库错误："_s));
}

TEST_F(FrmTempletTest, InitShowsTheWindowModallyUntilSavedOrClosed) {
  bool wasModal = false;
  QTimer::singleShot(0, &window, [&] {
    wasModal = window.isVisible() && window.isModal();
    window.findChild<QPushButton*>(u"Cmd(0)"_s)->click();
  });
  window.py_Init(rig.message(), rig.host.get(), rig.account);
  EXPECT_TRUE(wasModal);
  EXPECT_FALSE(window.isVisible());  // a successful save closes it
  EXPECT_EQ(rig.rows(), 1);

  // Closing saves nothing.
  rig.host->execute(u"delete from MailTemplet"_s);
  QTimer::singleShot(0, &window, [&] { window.findChild<QPushButton*>(u"Cmd(1)"_s)->click(); });
  window.py_Init(rig.message(), rig.host.get(), rig.account);
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(rig.rows(), 0);
}
