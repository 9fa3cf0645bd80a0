// The mail service object on a real SQLite store: Init and the account, the error record,
// template batches, gathering the queue, the windows it opens and the events it passes on.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSignalSpy>

#include "ServiceRig.h"
#include "TestEnv.h"
#include "composer/FrmNewMail.h"
#include "model/IBundle.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "service/IclsError.h"
#include "transfer/FrmSend.h"
#include "viewer/FrmMail.h"

using kvmail::IndexKey;
using kvtest::ServiceRig;

namespace {

// A template's stored message; its sender and recipients are not what the mails take.
kvmail::OutgoingMail templateFile(int priority = 0) {
  kvmail::OutgoingMail m;
  m.from = {u"模板"_s, u"tpl@kvmail.test"_s};
  m.to = {{QString(), u"ignored@kvmail.test"_s}};
  m.subject = u"模板主题"_s;
  m.htmlBody = u"<p>尊敬的客户：您好！</p>"_s;
  m.headerPriority = priority;
  return m;
}

kvmail::MessagePtr only(const kvmail::BundlePtr& bundle) {
  EXPECT_EQ(bundle->Count(), 1);
  return bundle->Item(IndexKey(1));
}

// To, Cc, Bcc, subject, priority and sender of a message to write.
QStringList fields(const kvmail::MessagePtr& m) {
  return {m->TOs()->ToString(QString()),
          m->Cc()->ToString(QString()),
          m->Bcc()->ToString(QString()),
          m->Subject(),
          m->Priority(),
          m->From()->Name(),
          m->From()->Address()};
}

}  // namespace

TEST(ServiceInit, NoAccountFailsWith1000001AndNoMessageBoxAndTheRecordLastsTillTheNextInit) {
  ServiceRig rig;
  EXPECT_FALSE(rig.mail->Init(rig.host, 3));
  EXPECT_EQ(rig.mail->Error()->Number(), 1000001);
  EXPECT_EQ(rig.mail->Error()->Description(), u"邮件帐户为空，请先设置！"_s);
  EXPECT_TRUE(rig.prompt->records().isEmpty());
  EXPECT_NE(rig.mail->transferWindow(), nullptr);  // the windows stay created
  // A successful CreateNew leaves the earlier error in place. Program 3 has no template: one
  // empty mail of priority 0.
  ASSERT_TRUE(rig.mail->CreateNew(QString(), QString()));
  EXPECT_EQ(rig.mail->Error()->Number(), 1000001);
  const auto m = only(rig.mail->composeWindow()->bundle());
  EXPECT_EQ(fields(m).mid(0, 5), (QStringList{"", "", "", "", "0"}));
  EXPECT_EQ(m->BodyText(), QString());
  // A second, successful Init clears it first.
  rig.seedAccount(true, false);
  ASSERT_TRUE(rig.mail->Init(rig.host, 12));
  EXPECT_EQ(rig.mail->account()->sName + QString::number(rig.mail->ProgID()), u"公司邮箱12"_s);
  EXPECT_EQ(rig.mail->Error()->Number(), 0);
  EXPECT_EQ(rig.mail->Error()->Description() + rig.mail->Error()->Source(), QString());
}

// The service over a store holding the per-user account, not yet started.
class ServiceOnTheUsersAccount : public ::testing::Test {
 protected:
  void SetUp() override { rig.seedAccount(true, false); }
  ServiceRig rig;
};
// The same, started for program 1.
class ServiceWindows : public ServiceOnTheUsersAccount {
 protected:
  void SetUp() override {
    ServiceOnTheUsersAccount::SetUp();
    ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  }
};

TEST_F(ServiceOnTheUsersAccount, EmptyRecordsMakeExactlyOneMessageFromTheTemplate) {
  rig.seedTemplate(12, u"a@kvmail.test;b@kvmail.test"_s, u"c@kvmail.test"_s, u"d@kvmail.test"_s,
                   QString(), templateFile());
  ASSERT_TRUE(rig.mail->Init(rig.host, 12));
  ASSERT_TRUE(rig.mail->CreateNew(QString(), QString()));
  auto* compose = rig.mail->composeWindow();
  EXPECT_TRUE(compose->isVisible());
  EXPECT_EQ(compose->caption(), QString());
  EXPECT_EQ(compose->mailId(), -1);
  const auto m = only(compose->bundle());
  // The row's subject is empty: the file's; no X-Priority in the file means normal.
  EXPECT_EQ(fields(m), (QStringList{"a@kvmail.test;b@kvmail.test", "c@kvmail.test", "d@kvmail.test",
                                    "模板主题", "3", "销售部", "sales@kvmail.test"}));
  EXPECT_TRUE(m->BodyText().contains(u"尊敬的客户"_s));
}

TEST_F(ServiceOnTheUsersAccount, PlaceholdersAreReplacedPerRecord) {
  rig.seedTemplate(5, u"[邮箱]"_s, QString(), QString(), u"致[名]"_s, templateFile(1));
  ASSERT_TRUE(rig.mail->Init(rig.host, 5));
  const QChar sep(0);
  const QString records = u"x"_s + sep + u"[名]经理"_s + sep + u"[邮箱]wang@kvmail.test"_s +
                          u"|"_s + u"y"_s + sep + u"[名主任"_s;
  ASSERT_TRUE(rig.mail->CreateNew(records, u"|"_s));
  const auto bundle = rig.mail->composeWindow()->bundle();
  ASSERT_EQ(bundle->Count(), 2);
  // An item with an opening bracket and no closing one changes nothing; the file's priority
  // holds for every mail.
  for (long i : {1, 2})
    EXPECT_EQ(fields(bundle->Item(IndexKey(i))).mid(0, 5),
              i == 1 ? (QStringList{"wang@kvmail.test", "", "", "致经理", "1"})
                     : (QStringList{"[邮箱]", "", "", "致[名]", "1"}));
}

TEST_F(ServiceOnTheUsersAccount, AFailureIsRecordedWithItsPrefix) {
  rig.seedTemplate(4, u"x <a@b"_s, QString(), QString(), u"s"_s, templateFile());
  ASSERT_TRUE(rig.mail->Init(rig.host, 4));
  EXPECT_FALSE(rig.mail->CreateNew(QString(), QString()));
  EXPECT_EQ(rig.mail->Error()->Number(), 5);
  EXPECT_TRUE(rig.mail->Error()->Description().startsWith(u"CreateNew:"_s));
}

TEST_F(ServiceWindows, AnEmptyQueueShowsTheMessageAndOpensNothing) {
  for (long arg : {5L, 0L}) {  // the argument is not used
    rig.prompt->clear();
    EXPECT_FALSE(rig.mail->SendMail(arg));
    ASSERT_EQ(rig.prompt->records().size(), 1);
    const auto& box = rig.prompt->records().first();
    EXPECT_EQ(box.text + box.title, u"没有要发送的邮件！提示："_s);
    EXPECT_EQ(box.icon, kvmail::PromptIcon::Information);
    EXPECT_FALSE(rig.mail->transferWindow()->isVisible());
  }
}

// Which rows are queued, and in what order, is the store's; the service hands them on to send.
TEST_F(ServiceOnTheUsersAccount, TheQueueIsHandedOnSendOnly) {
  kvmail::OutgoingMail m = templateFile();
  m.to = {{u"客户"_s, u"c1@kvmail.test"_s}};
  const long id = rig.queueMail(m, u"2026-11-01 08:00:00"_s);
  ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  EXPECT_TRUE(rig.mail->SendMail(0));
  auto* send = rig.mail->transferWindow();
  EXPECT_TRUE(send->isSendOnly());
  const auto queued = only(send->bundle());
  EXPECT_EQ(queued->ID(), id);
  EXPECT_EQ(fields(queued).mid(0, 4), (QStringList{"客户<c1@kvmail.test>", "", "", "模板主题"}));
}

TEST_F(ServiceOnTheUsersAccount, SendReceiveOnAnEmptyQueueStillOpensToReceive) {
  // Nothing listens there: the receive task ends on its own.
  rig.host->executeBound(u"update mailaccount set mapop3port=?"_s, {1});
  ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  QSignalSpy ended(rig.mail->transferWindow(), &kvmail::FrmSend::TasksEnded);
  EXPECT_TRUE(rig.mail->SendReceiveMail());
  ASSERT_EQ(rig.prompt->records().size(), 1);
  EXPECT_EQ(rig.prompt->records().first().text, u"没有要发送的邮件！"_s);
  EXPECT_TRUE(rig.mail->transferWindow()->isVisible());
  EXPECT_FALSE(rig.mail->transferWindow()->isSendOnly());
  EXPECT_EQ(rig.mail->transferWindow()->windowTitle(), u"邮件发送/接收"_s);
  EXPECT_TRUE(ended.wait(10000));
}

TEST_F(ServiceWindows, OpenersPassTheirArguments) {
  // The compose window's caption, mail and number of mails to write.
  const auto compose = [&] {
    auto* w = rig.mail->composeWindow();
    return u"%1 %2 %3"_s.arg(w->caption()).arg(w->mailId()).arg(w->bundle()->Count());
  };
  EXPECT_TRUE(rig.mail->NewMail());
  EXPECT_EQ(compose(), u"新邮件 -1 1"_s);
  // No mail 42 is stored: the window still holds one (empty) mail to write.
  EXPECT_FALSE(rig.mail->ReplyMail(42));
  EXPECT_EQ(compose(), u"答复邮件 42 1"_s);
  // A forward keeps the reply caption on purpose.
  EXPECT_FALSE(rig.mail->TransmitMail(43));
  EXPECT_EQ(compose(), u"答复邮件 43 1"_s);
  EXPECT_TRUE(rig.mail->DisPlayMail(44, u"查看"_s));
  EXPECT_EQ(
      rig.mail->viewerWindow()->caption() + QString::number(rig.mail->viewerWindow()->mailId()),
      u"查看44"_s);
}

// The viewer's moves and deletes reach the host through the service in the viewer's own tests,
// and the transfer window's EvMailRead in the demo's.
TEST_F(ServiceWindows, WindowEventsBecomeServiceEventsAndPrintFilesArePrinted) {
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  Q_EMIT rig.mail->composeWindow()->ReturnData(u"17;18;19"_s);
  Q_EMIT rig.mail->transferWindow()->ReturnData(5);
  QStringList seen;
  for (const auto& r : returned) seen << r[0].toString() + u'/' + r[1].toString();
  EXPECT_EQ(seen, (QStringList{"17;18;19/1", "5/2"}));

  Q_EMIT rig.mail->viewerWindow()->RevertMail(30);
  EXPECT_EQ(rig.mail->composeWindow()->mailId(), 30);

  // ErrMessage: kind 2, 4, 8 pick the icon; any other kind shows nothing.
  Q_EMIT rig.mail->composeWindow()->ErrMessage(u"a"_s, 2, u"提示："_s);
  Q_EMIT rig.mail->viewerWindow()->ErrMessage(u"b"_s, 4, u"t"_s);
  Q_EMIT rig.mail->viewerWindow()->ErrMessage(u"c"_s, 8, u"错误："_s);
  Q_EMIT rig.mail->viewerWindow()->ErrMessage(u"d"_s, 3, u"t"_s);
  QList<kvmail::PromptIcon> icons;
  for (const auto& box : rig.prompt->records()) icons << box.icon;
  using kvmail::PromptIcon;
  EXPECT_EQ(icons, (QList{PromptIcon::Information, PromptIcon::Exclamation, PromptIcon::Critical}));
  EXPECT_EQ(rig.prompt->records().last().title, u"错误："_s);

  // The windows write their print files; the service has them printed, offscreen to a PDF.
  const QString text = rig.file(u"print.txt"_s, "主题：对账单\n");
  const QString html = rig.file(u"print.html"_s, "<p><b>主题</b>：对账单</p>");
  Q_EMIT rig.mail->viewerWindow()->DoPrint(text);
  Q_EMIT rig.mail->composeWindow()->DoPrint(html);
  QStringList printed;
  for (const auto& r : rig.prompt->records(kvtest::ScriptedPrompt::Kind::PrintFile))
    printed << r.text;
  EXPECT_EQ(printed, (QStringList{text, html}));
  EXPECT_TRUE(kvtest::readAll(html + u".pdf"_s).startsWith("%PDF"));
}

TEST_F(ServiceWindows, ReleaseOrderIsComposeTransferViewer) {
  QStringList order;
  for (QObject* w : {static_cast<QObject*>(rig.mail->viewerWindow()),
                     static_cast<QObject*>(rig.mail->composeWindow()),
                     static_cast<QObject*>(rig.mail->transferWindow())})
    QObject::connect(w, &QObject::destroyed, [&order, name = w->objectName()] { order << name; });
  rig.mail.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(order, (QStringList{u"FrmNewMail"_s, u"FrmSend"_s, u"FrmMail"_s}));
}

TEST_F(ServiceWindows, ClearReleasesTheWindowsAndAnswersFalse) {
  EXPECT_FALSE(rig.mail->Clear());
  EXPECT_EQ(rig.mail->composeWindow(), nullptr);
  EXPECT_EQ(rig.mail->transferWindow(), nullptr);
  EXPECT_EQ(rig.mail->viewerWindow(), nullptr);
}
