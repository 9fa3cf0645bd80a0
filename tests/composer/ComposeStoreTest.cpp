// Storing composed mail from the window: the checks, the insert statement, one transaction for
// the whole window, and the message file that goes into the row.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "ComposeRig.h"
#include "TestEnv.h"
#include "composer/ComposeStore.h"
#include "model/IBundle.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

using kvmail::PromptAnswer;
using kvtest::ComposeRig;
using Kind = kvtest::ScriptedPrompt::Kind;

namespace {

// Fills the shown mail as a user would.
void fill(ComposeRig& rig, const QString& to, const QString& subject) {
  rig.field(1)->setText(to);
  rig.field(3)->setText(subject);
}

}  // namespace

// The checks themselves, in the order they are made; the window's path follows.
TEST(ComposeChecks, EachFailureHasItsOwnMessage) {
  const std::tuple<QString, QString, QString> cases[] = {
      {QString(), u"销售部<sales@kvmail.test>"_s, u"收件人为空"_s},
      {u"a@kvmail.test; b@kvmail.test"_s, u"   "_s, u"收件人地址有错误，请检查"_s},
      {u"张三<zhang@kvmail.test>"_s, u"   "_s, u"发件人为空"_s},
      {u"zhang@kvmail.test"_s, u"sales desk@kvmail.test"_s, u"发件人地址错误,请检查"_s},
      {u"zhang@kvmail.test"_s, u"销售部<sales@kvmail.test>"_s, QString()},
  };
  for (const auto& [to, from, message] : cases) {
    kvmail::clsMessage m;
    m.TOs()->Parser(to);
    m.From()->Parser(from);
    EXPECT_EQ(kvmail::compose::checkMail(m, 2),
              message.isEmpty() ? message : u"第2封邮件,"_s + message);
  }
}

TEST(ComposeChecks, TheSecondMailOfABatchFailingStoresNotEvenTheFirst) {
  ComposeRig rig;
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  rig.openBatch({u"a@kvmail.test"_s, QString()});
  rig.trigger(u"TBSend"_s);
  ASSERT_EQ(rig.prompt->count(Kind::MessageBox), 1);
  const auto box = rig.prompt->records(Kind::MessageBox).first();
  EXPECT_EQ(std::tuple(box.text, box.title, box.icon, box.buttons),
            std::tuple(u"第2封邮件,收件人为空"_s, u"提示："_s, kvmail::PromptIcon::Information,
                       kvmail::PromptButtons::Ok));
  EXPECT_EQ(rig.count(), 0);
  EXPECT_TRUE(returned.isEmpty() && rig.window()->isVisible() && rig.faults->statements.isEmpty());
}

TEST(ComposeStore, ThreeMailsReturnTheirKeysInOrderAndQueueForSending) {
  ComposeRig rig(false);
  QString error;  // keys 1..16 are spent: the window's mails get 17, 18, 19
  for (int i = 0; i < 16; ++i) rig.host->nextKey(u"msgmail"_s, u"邮件ID"_s, &error);
  ASSERT_TRUE(rig.start());
  const QString file = rig.file(u"清单.txt"_s, "list");
  rig.openBatch({u"a@kvmail.test"_s, u"b@kvmail.test"_s, u"c@kvmail.test"_s});
  rig.trigger(u"TBNext"_s);
  rig.attach(file);  // only the second mail has an attachment
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  QSignalSpy send(rig.window(), &kvmail::FrmNewMail::SendMail);
  QSignalSpy unload(rig.window(), &kvmail::FrmNewMail::Unload);
  rig.trigger(u"TBSend"_s);

  ASSERT_GE(returned.size(), 1);
  EXPECT_EQ(returned[0][0].toString() + '/' + returned[0][1].toString(), u"17;18;19/1"_s);
  ASSERT_EQ(send.size(), 1);
  const kvmail::BundlePtr sent = send[0][0].value<kvmail::BundlePtr>();
  ASSERT_EQ(sent->Count(), 3);
  EXPECT_EQ((QList<long>{sent->Item(1)->ID(), sent->Item(3)->ID()}), (QList<long>{17, 19}));
  // Sent on: the window closed without asking anything.
  EXPECT_TRUE(!rig.window()->isVisible() && unload.size() == 1);
  EXPECT_EQ(rig.prompt->messages().filter(u"是否保存邮件"_s), QStringList());

  // A key and an insert for each (the statement's text is the catalogue's, asserted there); each
  // row answers itself, and only the second has an attachment.
  EXPECT_EQ(rig.faults->statements.size(), 6);
  for (int id : {17, 18, 19})
    EXPECT_EQ(rig.value(u"select 回复ID||'/'||附件||'/'||主题 from msgmail where "
                        "邮件ID=%1"_s.arg(id)),
              u"%1/%2/致%3"_s.arg(id).arg(id == 18 ? 1 : 0).arg(u"甲乙丙"_s.at(id - 17)));
  // The template's Bcc stays with each mail although the window has no field for it.
  const kvmail::ParsedMail third =
      kvmail::MailStore(*rig.host).readMessage(19, rig.path(u"19.eml"_s));
  ASSERT_EQ(third.bcc.size(), 1);
  EXPECT_EQ(third.bcc.first().address, u"boss@kvmail.test"_s);
}

TEST(ComposeStore, AFailureOfTheKeyOrTheInsertRollsBackTheWholeWindow) {
  struct Case {
    bool keyFails;
    QString text, title;
  };
  const QList<Case> cases = {
      {true, u"编号服务不可用"_s, u"提示："_s},
      {false, u"数据库拒绝了这封邮件"_s, u"错误："_s},
  };
  for (const Case& c : cases) {
    ComposeRig rig;
    if (c.keyFails)
      rig.faults->failKeyAt = 2;
    else
      ASSERT_TRUE(
          rig.addTrigger(u"create trigger refuse before insert on msgmail when new.主题='致乙' "
                         "begin select raise(abort, '数据库拒绝了这封邮件'); end"_s));
    rig.openBatch({u"a@kvmail.test"_s, u"b@kvmail.test"_s, u"c@kvmail.test"_s});
    QSignalSpy error(rig.window(), &kvmail::FrmNewMail::ErrMessage);
    QSignalSpy returned(rig.window(), &kvmail::FrmNewMail::ReturnData);
    rig.trigger(u"TBSend"_s);
    ASSERT_EQ(error.size(), 1);
    EXPECT_TRUE(error[0][0].toString().contains(c.text)) << error[0][0].toString().toStdString();
    EXPECT_EQ(rig.prompt->records().last().title, c.title);  // the service showed it
    EXPECT_TRUE(returned.isEmpty());
    EXPECT_EQ(rig.count(), 0) << "the first mail went in before the second failed";
    EXPECT_TRUE(rig.window()->isVisible());
    // The second mail's file stays behind for the next attempt; nothing was kept.
    EXPECT_TRUE(QFile::exists(kvmail::tempFilePath(u"temp2.eml"_s)));
  }
}

// The store's test proves nothing is kept; here the user is told which file.
TEST(ComposeStore, AnAttachmentThatVanishedIsNamedAndNothingIsStored) {
  ComposeRig rig;
  rig.mail->NewMail();
  fill(rig, u"kehu@kvmail.test"_s, u"带附件"_s);
  const QString gone = rig.file(u"合同.pdf"_s, "%PDF");
  rig.attach(gone);
  QFile::remove(gone);
  rig.trigger(u"TBSend"_s);
  EXPECT_EQ(rig.prompt->messages(), QStringList{u"第1封邮件,附件文件不存在："_s + gone});
  EXPECT_EQ(rig.prompt->records().last().title, u"错误："_s);
  EXPECT_EQ(rig.count(), 0);
}

// The drop-down marks the mail changed, shows its strip for high and low, and the choice goes in
// on the program's scale, the message header on the Internet's.
TEST(ComposeStore, PriorityShowsItsStripAndGoesInOnTheProgramsScale) {
  struct Case {
    QStringList choices;
    QString strip, stored;
    int header;
  };
  const QList<Case> cases = {
      {{u"mnuTool_H"_s}, u"邮件状态：高优先级。"_s, u"1"_s, 1},
      {{u"mnuTool_H"_s, u"mnuTool_L"_s}, u"邮件状态：低优先级。"_s, u"2"_s, 5},
      {{u"mnuTool_H"_s, u"mnuTool_N"_s}, QString(), u"3"_s, 3},
  };
  for (const Case& c : cases) {
    ComposeRig rig;
    rig.mail->NewMail();
    for (const QString& key : c.choices) rig.trigger(key);
    EXPECT_TRUE(rig.window()->isModified());
    EXPECT_EQ(rig.label("lblType"), c.strip);
    EXPECT_EQ(rig.shown("PicType"), !c.strip.isEmpty());
    fill(rig, u"kehu@kvmail.test"_s, u"优先级"_s);
    const long id = rig.send();
    ASSERT_GT(id, 0);
    EXPECT_EQ(rig.value(u"select 优先级 from msgmail where 邮件ID=%1"_s.arg(id)), c.stored);
    EXPECT_EQ(kvmail::MailStore(*rig.host).readMessage(id, rig.path(u"p.eml"_s)).priority,
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
