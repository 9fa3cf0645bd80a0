// The template editor offscreen over a real store: what the label says, what saving writes (the
// row and the stored message file), the order of delete then insert, and Ctrl+Delete. That saving
// replaces the row and loses its bcc is the catalogue's test and the composer's.
#include <gtest/gtest.h>

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "ScriptedPrompt.h"
#include "StoreRig.h"
#include "model/IAttachments.h"
#include "model/IMailAddresses.h"
#include "model/clsAccount.h"
#include "model/clsMessage.h"
#include "store/StoredFile.h"
#include "support/SpecialFolders.h"
#include "support/mime/MimeMail.h"
#include "templates/FrmTemplet.h"

using kvmail::PromptAnswer;
using kvmail::PromptButtons;
using kvmail::PromptIcon;

namespace {

constexpr long kProgram = 12;

// A fresh store whose scratch folder is also the temp folder, program 12 "客户关怀", and the
// editor opened on a mail being composed for it.
class FrmTempletTest : public ::testing::Test {
 protected:
  FrmTempletTest() {
    rig.seedProgram(kProgram, u"客户关怀"_s);
    account->lProgID = kProgram;
  }

  // The mail being composed.
  static kvmail::MessagePtr message(const QString& priority = u"3"_s,
                                    const QStringList& attachments = {}) {
    auto m = std::make_shared<kvmail::clsMessage>();
    m->TOs()->Parser(u"[邮箱]"_s);
    m->Cc()->Parser(u"boss@kvmail.test"_s);
    m->setSubject(u"致[名]：新品目录"_s);
    m->setBodyText(u"<p>[名]您好！附件是本季的新品目录。</p>"_s);
    m->setPriority(priority);
    for (const QString& a : attachments) m->Attachments()->Add(a);
    return m;
  }
  void prepare(const kvmail::MessagePtr& m) { window.prepare(m, rig.host.get(), account); }
  QLineEdit* txt(int i) { return window.findChild<QLineEdit*>(u"Txt(%1)"_s.arg(i)); }
  QString label() { return window.findChild<QLabel*>(u"lblMessage"_s)->text(); }
  QPushButton* button(int i) { return window.findChild<QPushButton*>(u"Cmd(%1)"_s.arg(i)); }

  // The program's template row (to, cc and subject joined by "|"), and how many rows there are.
  QString row() const {
    return rig.row(u"select [to],cc,subject from MailTemplet where progID=%1"_s.arg(kProgram))
        .join(u'|');
  }
  long rows() const { return rig.count(u"MailTemplet"_s); }
  void seedRow(const QString& to) const {
    rig.host->executeBound(u"insert into MailTemplet(progID,[to],subject) values(?,?,?)"_s,
                           {qlonglong(kProgram), to, u"旧主题"_s});
  }
  // The stored template file's bytes; empty when the row has none.
  QByteArray storedFile() const {
    const QString out = rig.path(u"stored.eml"_s);
    QFile::remove(out);
    if (!kvmail::columnToFile(kProgram, out, u"EMail"_s, *rig.host, u"MailTemplet"_s, u"progID"_s))
      return {};
    return kvtest::readAll(out);
  }
  static QString tempFile() { return kvmail::tempFilePath(u"temp12.eml"_s); }

  kvtest::StoreRig rig;
  kvtest::ScopedPrompt prompt;
  kvmail::AccountPtr account = std::make_shared<kvmail::clsAccount>();
  kvmail::FrmTemplet window;
};

}  // namespace

TEST_F(FrmTempletTest, TheBoxesStartFromTheMailAndTheLabelNamesTheProgram) {
  prepare(message());
  EXPECT_EQ((QStringList{txt(0)->text(), txt(1)->text(), txt(2)->text()}),
            (QStringList{u"[邮箱]"_s, u"boss@kvmail.test"_s, u"致[名]：新品目录"_s}));
  EXPECT_TRUE(label().contains(u"“客户关怀”还没有邮件模板"_s)) << label().toStdString();

  seedRow(u"a@kvmail.test"_s);
  window.refreshStatus();
  EXPECT_TRUE(label().contains(u"“客户关怀”已有邮件模板"_s));

  // A program the host's table does not name is called by its number.
  account->lProgID = 40;
  window.refreshStatus();
  EXPECT_TRUE(label().startsWith(u"程序 40还没有邮件模板"_s));
}

TEST_F(FrmTempletTest, SavingWritesTheRowAsTypedAndTheMessageAsTheStoredFile) {
  const QString attachment = rig.file(u"新品目录.txt"_s, "catalogue\r\n");
  prepare(message(u"3"_s, {attachment}));
  txt(1)->setText(u"[经理邮箱]"_s);
  QTest::mouseClick(button(0), Qt::LeftButton);
  EXPECT_TRUE(prompt->records().isEmpty()) << prompt->messages().join(u'\n').toStdString();
  EXPECT_EQ(row(), u"[邮箱]|[经理邮箱]|致[名]：新品目录"_s);

  // How the file is written is the MIME writer's test; here, that it holds the mail.
  const kvmail::ParsedMail parsed = kvmail::readMailBytes(storedFile());
  EXPECT_EQ(parsed.subject, u"致[名]：新品目录"_s);
  EXPECT_TRUE(parsed.htmlBody.contains(u"[名]您好！"_s));
  ASSERT_EQ(parsed.attachments.size(), 1);
  EXPECT_EQ(parsed.attachments.at(0).fileName, u"新品目录.txt"_s);
  EXPECT_EQ(parsed.attachments.at(0).data, QByteArray("catalogue\r\n"));

  EXPECT_FALSE(QFile::exists(tempFile()));  // the temp file is gone
  EXPECT_TRUE(label().contains(u"已有邮件模板"_s));
}

TEST_F(FrmTempletTest, TheFilesPriorityComesFromTheMailsOnTheInternetScale) {
  const struct {
    const char* priority;
    int header;
  } cases[] = {{"1", 1}, {"2", 5}, {"", 3}};
  for (const auto& c : cases) {
    prepare(message(QString::fromLatin1(c.priority)));
    ASSERT_TRUE(window.save()) << c.priority;
    EXPECT_EQ(kvmail::readMailBytes(storedFile()).priority, c.header) << c.priority;
  }
}

TEST_F(FrmTempletTest, AQuoteInTheToTextFailsTheInsertAfterTheOldTemplateIsDeleted) {
  seedRow(u"old@kvmail.test"_s);
  prepare(message());
  txt(0)->setText(u"O'Brien <ob@kvmail.test>"_s);
  EXPECT_FALSE(window.save());
  // Deliberately in this order: the old template is already gone when the insert fails.
  EXPECT_EQ(rows(), 0);
  ASSERT_EQ(prompt->records().size(), 1);
  const auto& box = prompt->records().at(0);
  EXPECT_EQ(std::tuple(box.title, box.icon, box.text.left(6)),
            std::tuple(u"错误："_s, PromptIcon::Critical, u"数据库错误："_s));
  EXPECT_TRUE(label().contains(u"还没有邮件模板"_s));
  EXPECT_FALSE(QFile::exists(tempFile()));  // the save stopped before the file
}

TEST_F(FrmTempletTest, AMissingAttachmentKeepsTheRowButReportsTheFile) {
  prepare(message(u"3"_s, {rig.path(u"gone.pdf"_s)}));
  EXPECT_FALSE(window.save());
  ASSERT_EQ(prompt->records().size(), 1);
  const auto& box = prompt->records().at(0);
  EXPECT_EQ(std::tuple(box.icon, box.text.left(9)),
            std::tuple(PromptIcon::Critical, u"写模板文件时出错："_s));
  EXPECT_EQ(rows(), 1);  // the row went in before the file was written
  EXPECT_TRUE(storedFile().isEmpty());
  EXPECT_FALSE(QFile::exists(tempFile()));
}

TEST_F(FrmTempletTest, CtrlDeleteAsksOnlyYesDeletesAndARefusedDeleteIsAnError) {
  seedRow(u"old@kvmail.test"_s);
  prepare(message());
  const QString before = txt(1)->text();

  // In a text box, where Ctrl+Delete would otherwise delete a word.
  prompt->answer(PromptAnswer::No);
  txt(1)->setFocus();
  txt(1)->setCursorPosition(0);
  QTest::keyClick(txt(1), Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(prompt->records().size(), 1);
  const auto& question = prompt->records().at(0);
  EXPECT_EQ(std::tuple(question.text, question.title, question.buttons),
            std::tuple(u"是否删除当前已存在的模板！"_s, u"提示："_s, PromptButtons::YesNo));
  EXPECT_EQ(row(), u"old@kvmail.test||旧主题"_s);
  EXPECT_EQ(txt(1)->text(), before);
  EXPECT_TRUE(label().contains(u"已有邮件模板"_s));

  // Delete alone asks nothing.
  QTest::keyClick(txt(1), Qt::Key_Delete);
  EXPECT_EQ(prompt->records().size(), 1);

  prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(button(0), Qt::Key_Delete, Qt::ControlModifier);
  EXPECT_EQ(prompt->records().size(), 2);
  EXPECT_EQ(rows(), 0);
  EXPECT_TRUE(label().contains(u"还没有邮件模板"_s));

  // A delete the store refuses is shown as an error.
  rig.host->execute(u"drop table MailTemplet"_s);
  prompt->answer(PromptAnswer::Yes);
  QTest::keyClick(&window, Qt::Key_Delete, Qt::ControlModifier);
  ASSERT_EQ(prompt->records().size(), 4);
  const auto& error = prompt->records().at(3);
  EXPECT_EQ(std::tuple(error.title, error.icon, error.text.left(6)),
            std::tuple(u"错误："_s, PromptIcon::Critical, u"数据库错误："_s));
}

// Shown modally (the composer waits for it): a successful save closes it, Cmd(1) saves nothing.
TEST_F(FrmTempletTest, InitShowsTheWindowModallyUntilSavedOrClosed) {
  for (int clicked : {1, 0}) {
    bool wasModal = false;
    QTimer::singleShot(0, &window, [&] {
      wasModal = window.isVisible() && window.isModal();
      button(clicked)->click();
    });
    window.py_Init(message(), rig.host.get(), account);
    EXPECT_TRUE(wasModal && !window.isVisible()) << clicked;
    EXPECT_EQ(rows(), 1 - clicked);
  }
}
