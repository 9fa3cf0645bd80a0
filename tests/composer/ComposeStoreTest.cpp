// Storing composed mail from the window: the checks, the insert statement, one transaction for
// the whole window, and the message file that goes into the row.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "ComposeRig.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeStore.h"
#include "model/IBundle.h"
#include "model/IMessage.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

using kvmail::PromptAnswer;
using kvtest::ComposeRig;
using Kind = kvtest::ScriptedPrompt::Kind;

namespace {

// Fills the shown mail as a user would.
void fill(ComposeRig& rig, const QString& to, const QString& subject, const QString& body = {}) {
  rig.field(1)->setText(to);
  rig.field(3)->setText(subject);
  if (!body.isEmpty()) rig.window()->editor()->setPlainText(body);
}

}  // namespace

TEST(ComposeChecks, EachFailureHasItsOwnMessageAndStoresNothing) {
  struct Case {
    QString to, from, message;
  };
  const QList<Case> cases = {
      {QString(), QStringLiteral("销售部<sales@kvmail.test>"), QStringLiteral("收件人为空")},
      {QStringLiteral("a@kvmail.test; b@kvmail.test"), QStringLiteral("sales@kvmail.test"),
       QStringLiteral("收件人地址有错误，请检查")},
      {QStringLiteral("a@kvmail.test;"), QStringLiteral("sales@kvmail.test"),
       QStringLiteral("收件人地址有错误，请检查")},
      {QStringLiteral("张三<zhang@kvmail.test>"), QStringLiteral("   "),
       QStringLiteral("发件人为空")},
      {QStringLiteral("zhang@kvmail.test"), QStringLiteral("sales desk@kvmail.test"),
       QStringLiteral("发件人地址错误,请检查")},
  };
  for (const Case& c : cases) {
    ComposeRig rig;
    QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
    rig.mail->NewMail();
    fill(rig, c.to, QStringLiteral("检查"));
    rig.field(0)->setText(c.from);
    rig.trigger(QStringLiteral("TBSend"));
    ASSERT_EQ(rig.prompt->count(Kind::MessageBox), 1) << c.message.toStdString();
    const auto box = rig.prompt->records(Kind::MessageBox).first();
    EXPECT_EQ(box.text, QStringLiteral("第1封邮件,") + c.message);
    EXPECT_EQ(box.title, QStringLiteral("提示："));
    EXPECT_EQ(box.icon, kvmail::PromptIcon::Information);
    EXPECT_EQ(box.buttons, kvmail::PromptButtons::Ok);
    EXPECT_EQ(rig.count(), 0);
    EXPECT_TRUE(returned.isEmpty());
    EXPECT_TRUE(rig.window()->isVisible());
    EXPECT_TRUE(rig.faults->statements.isEmpty());
  }
}

TEST(ComposeChecks, TheSecondMailOfABatchFailingStoresNotEvenTheFirst) {
  ComposeRig rig;
  rig.openBatch({QStringLiteral("a@kvmail.test"), QString()});
  rig.trigger(QStringLiteral("TBSend"));
  EXPECT_EQ(rig.prompt->messages(), QStringList{QStringLiteral("第2封邮件,收件人为空")});
  EXPECT_EQ(rig.count(), 0);
}

TEST(ComposeStore, TheInsertStatementStandsToTheCharacter) {
  ComposeRig rig;
  rig.mail->NewMail();
  fill(rig, QStringLiteral("张三<zhang@kvmail.test>;li@kvmail.test"),
       QStringLiteral("O'Brien 的报价"), QStringLiteral("正文"));
  const long id = rig.send();
  ASSERT_GT(id, 0);
  const QString where = QStringLiteral(" from msgmail where 邮件ID=%1").arg(id);
  const QString sent = rig.value(QStringLiteral("select 发送时间") + where);
  const QString size = rig.value(QStringLiteral("select 大小") + where);
  EXPECT_EQ(
      rig.faults->statements.join(u'\n'),
      QStringLiteral(
          "nextKey\nInsert into msgmail(邮件ID,发件人,主题,发送时间,收件人邮箱,发件人邮箱,收件人,"
          "[E-MAIL],级次,接收时间,附件,CshgnsID,操作者,优先级,标记,帐户,跟踪与忽略,"
          "是否已读,messageID,回复ID,大小,权限)Values(%1,'销售部','O''Brien 的报价',"
          "'%2','zhang@kvmail.test;li@kvmail.test','sales@kvmail.test',"
          "'张三<zhang@kvmail.test>;li@kvmail.test','-1',1,'',0,2,'李四',3,0,'',0,0,'',"
          "%1,%3,'')")
          .arg(QString::number(id), sent, size));
  // The apostrophe reads back unchanged, and the size is the stored message's.
  EXPECT_EQ(rig.value(QStringLiteral("select 主题") + where), QStringLiteral("O'Brien 的报价"));
  const QString back = rig.path(QStringLiteral("back.eml"));
  ASSERT_TRUE(kvmail::MailStore(*rig.host).messageToFile(id, back));
  EXPECT_EQ(size.toLongLong(), kvtest::readAll(back).size());
}

TEST(ComposeStore, ThreeMailsReturnTheirKeysInOrderAndQueueForSending) {
  ComposeRig rig(false);
  QString error;  // keys 1..16 are spent: the window's mails get 17, 18, 19
  for (int i = 0; i < 16; ++i)
    rig.host->nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error);
  ASSERT_TRUE(rig.start());
  const QString file = rig.file(QStringLiteral("清单.txt"), "list");
  rig.openBatch({QStringLiteral("a@kvmail.test"), QStringLiteral("b@kvmail.test"),
                 QStringLiteral("c@kvmail.test")});
  rig.trigger(QStringLiteral("TBNext"));
  rig.attach(file);  // only the second mail has an attachment
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  QSignalSpy send(rig.window(), &kvmail::FrmNewMail::SendMail);
  QSignalSpy unload(rig.window(), &kvmail::FrmNewMail::Unload);
  rig.trigger(QStringLiteral("TBSend"));

  ASSERT_GE(returned.size(), 1);
  EXPECT_EQ(returned[0][0].toString(), QStringLiteral("17;18;19"));
  EXPECT_EQ(returned[0][1].toLongLong(), 1);
  ASSERT_EQ(send.size(), 1);
  const kvmail::BundlePtr sent = send[0][0].value<kvmail::BundlePtr>();
  ASSERT_EQ(sent->Count(), 3);
  EXPECT_EQ(sent->Item(1)->ID(), 17);
  EXPECT_EQ(sent->Item(3)->ID(), 19);
  // Sent on: the window closed without asking anything.
  EXPECT_FALSE(rig.window()->isVisible());
  EXPECT_EQ(unload.size(), 1);
  EXPECT_EQ(rig.prompt->messages().filter(QStringLiteral("是否保存邮件")).size(), 0);

  for (int id : {17, 18, 19}) {
    // Each row answers itself; the other values are the insert statement's, tested above.
    EXPECT_EQ(rig.value(QStringLiteral("select 回复ID||'/'||附件||'/'||主题 from msgmail where "
                                       "邮件ID=%1")
                            .arg(id)),
              QStringLiteral("%1/%2/致%3")
                  .arg(id)
                  .arg(id == 18 ? 1 : 0)
                  .arg(QStringLiteral("甲乙丙").at(id - 17)));
    // The message files are in the rows, and gone from the temporary folder.
    EXPECT_FALSE(QFile::exists(kvmail::tempFilePath(QStringLiteral("temp%1.eml").arg(id - 16))));
  }
  // The template's Bcc stays with each mail although the window has no field for it.
  const kvmail::ParsedMail third =
      kvmail::MailStore(*rig.host).readMessage(19, rig.path(QStringLiteral("19.eml")));
  ASSERT_EQ(third.bcc.size(), 1);
  EXPECT_EQ(third.bcc.first().address, QStringLiteral("boss@kvmail.test"));
  EXPECT_EQ(rig.value(QStringLiteral("select count(*) from msgmail where cshgnsID=2 and "
                                     "MessageID=''")),
            QStringLiteral("3"));
}

TEST(ComposeStore, AFailureOfTheKeyOrTheInsertRollsBackTheWholeWindow) {
  struct Case {
    bool keyFails;
    QString text, title;
  };
  const QList<Case> cases = {
      {true, QStringLiteral("编号服务不可用"), QStringLiteral("提示：")},
      {false, QStringLiteral("数据库拒绝了这封邮件"), QStringLiteral("错误：")},
  };
  for (const Case& c : cases) {
    ComposeRig rig;
    if (c.keyFails)
      rig.faults->failKeyAt = 2;
    else
      ASSERT_TRUE(rig.addTrigger(
          QStringLiteral("create trigger refuse before insert on msgmail when new.主题='致乙' "
                         "begin select raise(abort, '数据库拒绝了这封邮件'); end")));
    rig.openBatch({QStringLiteral("a@kvmail.test"), QStringLiteral("b@kvmail.test"),
                   QStringLiteral("c@kvmail.test")});
    QSignalSpy error(rig.window(), &kvmail::FrmNewMail::ErrMessage);
    QSignalSpy returned(rig.window(), &kvmail::FrmNewMail::ReturnData);
    rig.trigger(QStringLiteral("TBSend"));
    ASSERT_EQ(error.size(), 1);
    EXPECT_TRUE(error[0][0].toString().contains(c.text)) << error[0][0].toString().toStdString();
    EXPECT_EQ(error[0][2].toString(), c.title);
    // The service showed it.
    EXPECT_EQ(rig.prompt->records().last().title, c.title);
    EXPECT_TRUE(returned.isEmpty());
    EXPECT_EQ(rig.count(), 0) << "the first mail went in before the second failed";
    EXPECT_TRUE(rig.window()->isVisible());
    // The second mail's file stays behind for the next attempt; nothing was kept.
    EXPECT_TRUE(QFile::exists(kvmail::tempFilePath(QStringLiteral("temp2.eml"))));
  }
}

TEST(ComposeStore, AnAttachmentThatVanishedIsNamedAndNothingIsStored) {
  ComposeRig rig;
  rig.mail->NewMail();
  fill(rig, QStringLiteral("kehu@kvmail.test"), QStringLiteral("带附件"));
  const QString gone = rig.file(QStringLiteral("合同.pdf"), "%PDF");
  rig.attach(gone);
  QFile::remove(gone);
  QSignalSpy error(rig.window(), &kvmail::FrmNewMail::ErrMessage);
  rig.trigger(QStringLiteral("TBSend"));
  ASSERT_EQ(error.size(), 1);
  EXPECT_EQ(error[0][0].toString(), QStringLiteral("第1封邮件,附件文件不存在：") + gone);
  EXPECT_EQ(error[0][2].toString(), QStringLiteral("错误："));
  EXPECT_EQ(rig.count(), 0);
  EXPECT_TRUE(rig.window()->isVisible());
}

TEST(ComposeStore, PriorityGoesInOnTheProgramsScale) {
  struct Case {
    QStringList choices;
    QString stored;
    int header;
  };
  const QList<Case> cases = {
      {{QStringLiteral("mnuTool_H")}, QStringLiteral("1"), 1},
      {{QStringLiteral("mnuTool_L")}, QStringLiteral("2"), 5},
      {{QStringLiteral("mnuTool_H"), QStringLiteral("mnuTool_N")}, QStringLiteral("3"), 3},
  };
  for (const Case& c : cases) {
    ComposeRig rig;
    rig.mail->NewMail();
    fill(rig, QStringLiteral("kehu@kvmail.test"), QStringLiteral("优先级"));
    for (const QString& key : c.choices) rig.trigger(key);
    const long id = rig.send();
    ASSERT_GT(id, 0);
    EXPECT_EQ(rig.value(QStringLiteral("select 优先级 from msgmail where 邮件ID=%1").arg(id)),
              c.stored);
    EXPECT_EQ(
        kvmail::MailStore(*rig.host).readMessage(id, rig.path(QStringLiteral("p.eml"))).priority,
        c.header);
  }
}

TEST(ComposeStore, EngineNormalisesPrioritiesItWasNeverShown) {
  // CreateNew without a template gives "0", a template's X-Priority 5 gives "5": both normal.
  for (const auto& [given, stored] :
       {std::pair{"1", "1"}, {"2", "2"}, {"0", "3"}, {"5", "3"}, {"", "3"}})
    EXPECT_EQ(kvmail::compose::storedPriority(QLatin1String(given)), QLatin1String(stored))
        << given;
}
