// The demo's windows offscreen: the account dialog, the main window's list, actions and its
// answers to the module's events. (The console prompt of scripted runs shows in the CLI test.)
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryFile>
#include <QTest>

#include "AccountDialog.h"
#include "DemoRig.h"
#include "MainWindow.h"
#include "ScriptedPrompt.h"
#include "composer/FrmNewMail.h"
#include "model/IBundle.h"
#include "model/IMessage.h"
#include "transfer/FrmSend.h"
#include "viewer/FrmMail.h"

using namespace kvmail::demo;
using kvtest::DemoRig;

namespace {

template <typename T>
T* child(QWidget& parent, const char* name) {
  T* found = parent.findChild<T*>(QLatin1String(name));
  EXPECT_NE(found, nullptr) << name;
  return found;
}

long queueOne(DemoRig& rig) {
  QString error;
  return queueMail(*rig.host, demoOutgoingMail(u"演示"_s, u"demo@kvmail.test"_s), &error);
}

QString passwordColumn(DemoRig& rig) {
  return rig.value(u"select mapassword from mailaccount"_s);
}

}  // namespace

// The stored account fills the dialog, but the password shows only as dots.
TEST(DemoAccountDialog, ShowsTheAccountButNeverThePassword) {
  DemoRig rig;
  AccountDialog dialog(*rig.host);
  EXPECT_EQ(child<QLineEdit>(dialog, "txtName")->text() + u'|' +
                child<QLineEdit>(dialog, "txtFromAddress")->text(),
            u"演示邮箱|demo@kvmail.test"_s);
  auto* password = child<QLineEdit>(dialog, "txtPassword");
  EXPECT_EQ(password->echoMode(), QLineEdit::Password);
  EXPECT_FALSE(password->text().isEmpty());
  EXPECT_NE(password->text(), passwordColumn(rig));
  for (QLineEdit* line : dialog.findChildren<QLineEdit*>())
    EXPECT_FALSE(line->text().contains(u"kvpass"_s)) << line->objectName().toStdString();
}

class DemoWithPrompt : public ::testing::Test {
 protected:
  DemoRig rig;
  kvtest::ScopedPrompt prompt;
};

// Every field reaches its column; the standard port follows the security mode while a port of
// the user's own stays; the password is written only when typed.
TEST_F(DemoWithPrompt, OkWritesEveryFieldAndThePasswordOnlyWhenTyped) {
  AccountDialog dialog(*rig.host);
  QTemporaryFile pinned;
  ASSERT_TRUE(pinned.open());
  const std::pair<const char*, QString> lines[] = {
      {"txtName", u"销售部"_s},          {"txtSmtp", u"smtp.kvmail.test"_s},
      {"txtFromName", u"销售"_s},        {"txtFromAddress", u"sales@kvmail.test"_s},
      {"txtUserName", u"sales"_s},       {"txtReplyTo", u"reply@kvmail.test"_s},
      {"txtPop3", u"pop.kvmail.test"_s}, {"txtCertFile", pinned.fileName()}};
  for (const auto& [name, text] : lines) child<QLineEdit>(dialog, name)->setText(text);
  for (const char* name : {"chkKeepOnServer", "chkDeleteAfterDays", "chkIsOut"})
    child<QCheckBox>(dialog, name)->setChecked(true);
  child<QSpinBox>(dialog, "spnDeleteDays")->setValue(9);
  auto* pop3Port = child<QSpinBox>(dialog, "spnPop3Port");
  pop3Port->setValue(110);
  child<QComboBox>(dialog, "cmbPop3Security")->setCurrentIndex(2);
  EXPECT_EQ(pop3Port->value(), 995);
  child<QSpinBox>(dialog, "spnSmtpPort")->setValue(2526);
  child<QComboBox>(dialog, "cmbSmtpSecurity")->setCurrentIndex(1);
  EXPECT_EQ(child<QSpinBox>(dialog, "spnSmtpPort")->value(), 2526);
  child<QPushButton>(dialog, "cmdOk")->click();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_TRUE(prompt->messages().isEmpty());
  EXPECT_EQ(
      rig.value(u"select maname||'|'||masmtpservername||'|'||masmtpport||'|'||mafromname||'|'||"
                "mafromemailaddress||'|'||mausername||'|'||mareplyemailaddress||'|'||"
                "mapop3servername||'|'||maisnotdelete||maisafterdaydelete||'|'||madeleteday||'|'||"
                "maisout||maisdefault||'|'||mapassword||'|'||mapop3port||'|'||mapop3security||'|'||"
                "masmtpsecurity||'|'||macertfile from mailaccount"_s),
      u"销售部|smtp.kvmail.test|2526|销售|sales@kvmail.test|sales|reply@kvmail.test|"
      "pop.kvmail.test|11|9|11|kvpass|995|2|1|"_s +
          pinned.fileName());

  AccountDialog again(*rig.host);  // a typed password replaces the stored one
  EXPECT_EQ(child<QComboBox>(again, "cmbPop3Security")->currentIndex(), 2);
  EXPECT_EQ(child<QSpinBox>(again, "spnPop3Port")->value(), 995);
  auto* password = child<QLineEdit>(again, "txtPassword");
  password->selectAll();
  QTest::keyClicks(password, u"s3cret"_s);
  child<QPushButton>(again, "cmdOk")->click();
  EXPECT_EQ(passwordColumn(rig), u"s3cret"_s);
  EXPECT_EQ(rig.count(u"mailaccount"_s) + rig.count(u"mailaccountuser"_s), 2);
}

TEST_F(DemoWithPrompt, BadInputIsShownAndTheStoreStaysAsItWas) {
  AccountDialog dialog(*rig.host);
  child<QLineEdit>(dialog, "txtFromAddress")->setText(u"kein-at"_s);
  child<QLineEdit>(dialog, "txtName")->setText(u"改了"_s);
  child<QPushButton>(dialog, "cmdOk")->click();
  EXPECT_NE(dialog.result(), QDialog::Accepted);
  ASSERT_EQ(prompt->count(kvtest::ScriptedPrompt::Kind::MessageBox), 1);
  EXPECT_EQ(prompt->records().first().title, u"错误："_s);
  EXPECT_EQ(prompt->messages().first(), u"发件人地址“kein-at”不是有效的邮件地址！"_s);
  EXPECT_EQ(rig.value(u"select maname from mailaccount"_s), u"演示邮箱"_s);
}

TEST_F(DemoWithPrompt, OperationsOpenTheModuleWindows) {
  const long id = queueOne(rig);
  MainWindow window(rig.host, kDemoProgId);
  ASSERT_TRUE(window.startMail());

  ASSERT_TRUE(window.displayMail());
  EXPECT_EQ(window.mail().viewerWindow()->mailId(), id);
  EXPECT_TRUE(window.replyMail());
  EXPECT_EQ(window.mail().composeWindow()->mailId(), id);
  ASSERT_TRUE(window.newMail());
  EXPECT_EQ(window.mail().composeWindow()->mailId(), -1);

  // A batch: one message per customer, the template's placeholders filled.
  ASSERT_TRUE(window.batchNew());
  const auto bundle = window.mail().composeWindow()->bundle();
  ASSERT_EQ(bundle->Count(), 3);
  EXPECT_EQ(bundle->Item(1)->Subject() + '|' + bundle->Item(3)->Subject(),
            u"致王经理：本月对账单|致张总：本月对账单"_s);
  EXPECT_TRUE(prompt->messages().isEmpty());
}

TEST_F(DemoWithPrompt, WithoutASelectionOrAnAccountTheUserIsTold) {
  MainWindow window(rig.host, kDemoProgId);
  EXPECT_FALSE(window.displayMail());
  EXPECT_FALSE(window.transmitMail());
  EXPECT_EQ(prompt->messages(), QStringList(2, u"请先在列表中选择一封邮件！"_s));

  // Without an account the module's error is shown.
  prompt->clear();
  rig.host->execute(u"delete from mailaccount"_s);
  MainWindow bare(rig.host, kDemoProgId);
  EXPECT_FALSE(bare.receiveMail());
  EXPECT_EQ(prompt->messages(), QStringList{u"邮件帐户为空，请先设置！"_s});
}

// The module's per-mail events change only their rows, a moment later and together.
TEST(DemoMainWindow, ModuleEventsChangeTheirRows) {
  DemoRig rig;
  MainWindow window(rig.host, kDemoProgId);
  ASSERT_TRUE(window.startMail());
  ASSERT_EQ(window.rowCount(), 0);
  const long first = queueOne(rig);
  const long second = queueOne(rig);
  Q_EMIT window.mail().transferWindow()->EvMailRead(first);
  Q_EMIT window.mail().transferWindow()->EvMailRead(second);
  QTRY_COMPARE(window.rowCount(), 2);
  const QAbstractItemModel* list = child<QTableView>(window, "mailList")->model();
  EXPECT_EQ(list->index(1, 1).data().toString(), u"待发"_s);

  rig.host->executeBound(u"update msgmail set messageID='127.0.0.1' where 邮件ID=?"_s,
                         {qlonglong(first)});
  Q_EMIT window.mail().transferWindow()->ReturnData(first);
  QTRY_COMPARE(list->index(1, 1).data().toString(), u"已发"_s);
  EXPECT_EQ(child<QLabel>(window, "lblStatus")->text(), u"共 2 封邮件，1 封待发"_s);
  queueOne(rig);
  Q_EMIT window.mail().composeWindow()->ReturnData(u"3"_s);
  QTRY_COMPARE(window.rowCount(), 3);
}

// A large store is read a page at a time; walking and deleting reach past the first page.
TEST(DemoMainWindow, LargeListIsReadAsNeeded) {
  DemoRig rig;
  ASSERT_EQ(rig.host->execute(
                u"with recursive n(i) as (select 1 union all select i+1 from n where i<450) "
                "insert into msgmail(邮件ID,CshgnsID,主题,是否已读) select i,1,'m'||i,0 from n"_s),
            QString());
  MainWindow window(rig.host, kDemoProgId);
  const QAbstractItemModel* list = child<QTableView>(window, "mailList")->model();
  EXPECT_EQ(window.rowCount(), 450);
  EXPECT_LT(list->rowCount(), 450);
  ASSERT_TRUE(window.selectMail(1));  // the oldest, on the last page
  EXPECT_EQ(list->rowCount(), 450);
  long shown = 1;
  window.onRecordMove(-1, &shown);
  EXPECT_EQ(shown, 2);
  window.onDelete(&shown);
  EXPECT_EQ(shown, 1);  // the row below moves into the deleted one's place
  EXPECT_EQ(window.rowCount(), 449);
  EXPECT_EQ(rig.value(u"select 是否已读 from msgmail where 邮件ID=1"_s), u"1"_s);
}

TEST_F(DemoWithPrompt, SavedAccountIsWhatTheModuleUsesNext) {
  MainWindow window(rig.host, kDemoProgId);
  ASSERT_TRUE(window.startMail());
  QTimer::singleShot(0, [&window] {
    auto* dialog = window.findChild<AccountDialog*>();
    ASSERT_NE(dialog, nullptr);
    dialog->findChild<QLineEdit*>(u"txtName"_s)->setText(u"新名字"_s);
    dialog->findChild<QPushButton*>(u"cmdOk"_s)->click();
  });
  window.editAccount();
  EXPECT_EQ(window.mail().account()->sName, u"新名字"_s);
  EXPECT_EQ(window.mail().account()->sPassword, u"kvpass"_s);
}

// Showing a mail marks it read, and so does the viewer's walk through the host's list; a delete
// marks the row and shows the next one, until none is left.
TEST_F(DemoWithPrompt, TheViewerWalksTheListMarkingMailReadAndADeleteMarksTheRow) {
  const long first = queueOne(rig);
  const long second = queueOne(rig);
  rig.host->execute(u"update msgmail set CshgnsID=1, 是否已读=0"_s);
  MainWindow window(rig.host, kDemoProgId);
  ASSERT_TRUE(window.startMail());
  const QString read = u"select 是否已读 from msgmail where 邮件ID=%1"_s;
  ASSERT_TRUE(window.displayMail());  // the newest row is selected
  kvmail::FrmMail* viewer = window.mail().viewerWindow();
  EXPECT_EQ(viewer->mailId(), second);
  EXPECT_EQ(rig.value(read.arg(second)) + rig.value(read.arg(first)), u"10"_s);
  const QAbstractItemModel* list = child<QTableView>(window, "mailList")->model();
  EXPECT_EQ(list->index(0, list->columnCount() - 1).data().toString(), u"已读"_s);
  EXPECT_FALSE(list->index(0, 0).data(Qt::FontRole).value<QFont>().bold());
  EXPECT_TRUE(list->index(1, 0).data(Qt::FontRole).value<QFont>().bold());

  viewer->toolbarClick(u"TBNext"_s);
  EXPECT_EQ(viewer->mailId(), first);
  EXPECT_EQ(rig.value(read.arg(first)), u"1"_s);
  long id = first;
  Q_EMIT viewer->RecordMove(1, &id);
  EXPECT_EQ(id, first);  // no row after the last: it stays

  Q_EMIT viewer->Delete(&id);
  EXPECT_EQ(id, second);
  EXPECT_EQ(window.rowCount(), 1);
  Q_EMIT viewer->Delete(&id);
  EXPECT_EQ(id, 0);                                   // nothing left to show
  EXPECT_EQ(rig.count(u"msgmail"_s, u"del=1"_s), 2);  // marked, never removed
  EXPECT_TRUE(prompt->messages().isEmpty());
}
