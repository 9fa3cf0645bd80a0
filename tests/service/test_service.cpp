// The mail service object on a real SQLite store: Init and the account, the error record,
// template batches, gathering the queue, the windows it opens and the events it passes on.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>

#include "ServiceRig.h"
#include "TestEnv.h"
#include "composer/FrmNewMail.h"
#include "model/IAttachment.h"
#include "model/IAttachments.h"
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

kvmail::OutgoingMail templateFile(const QStringList& attachments = {}) {
  kvmail::OutgoingMail m;
  m.from = {u"模板"_s, u"tpl@kvmail.test"_s};
  m.to = {{QString(), u"ignored@kvmail.test"_s}};
  m.subject = u"模板主题"_s;
  m.htmlBody = u"<p>尊敬的客户：您好！</p>"_s;
  m.attachmentPaths = attachments;
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

// The service started on the per-user account, program 1.
class Started : public ::testing::Test {
 protected:
  void SetUp() override {
    rig.seedAccount(true, false);
    ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  }
  ServiceRig rig;
};
using ServiceEmptyQueue = Started;
using ServiceWindows = Started;

TEST(ServiceInit, NoAccountFailsWith1000001AndNoMessageBoxAndTheRecordLastsTillTheNextInit) {
  ServiceRig rig;
  EXPECT_FALSE(rig.mail->Init(rig.host, 3));
  EXPECT_EQ(rig.mail->Error()->Number(), 1000001);
  EXPECT_EQ(rig.mail->Error()->Description(), u"邮件帐户为空，请先设置！"_s);
  EXPECT_TRUE(rig.prompt->records().isEmpty());
  EXPECT_NE(rig.mail->transferWindow(), nullptr);  // the windows stay created
  // A successful CreateNew leaves the earlier error in place.
  ASSERT_TRUE(rig.mail->CreateNew(QString(), QString()));
  EXPECT_EQ(rig.mail->Error()->Number(), 1000001);
  // A second, successful Init clears it first.
  rig.seedAccount(true, false);
  ASSERT_TRUE(rig.mail->Init(rig.host, 12));
  EXPECT_EQ(rig.mail->account()->sName + QString::number(rig.mail->ProgID()), u"公司邮箱12"_s);
  EXPECT_EQ(rig.mail->Error()->Number(), 0);
  EXPECT_TRUE(rig.mail->Error()->Description().isEmpty());
  EXPECT_TRUE(rig.mail->Error()->Source().isEmpty());
}

// The service over a store holding the per-user account, not yet started.
class ServiceOnTheUsersAccount : public ::testing::Test {
 protected:
  void SetUp() override { rig.seedAccount(true, false); }
  ServiceRig rig;
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
  rig.seedTemplate(5, u"[邮箱]"_s, QString(), QString(), u"致[名]"_s, templateFile());
  ASSERT_TRUE(rig.mail->Init(rig.host, 5));
  const QChar sep(0);
  const QString records = u"x"_s + sep + u"[名]经理"_s + sep + u"[邮箱]wang@kvmail.test"_s +
                          u"|"_s + u"y"_s + sep + u"[名主任"_s;
  ASSERT_TRUE(rig.mail->CreateNew(records, u"|"_s));
  const auto bundle = rig.mail->composeWindow()->bundle();
  ASSERT_EQ(bundle->Count(), 2);
  // An item with an opening bracket and no closing one changes nothing.
  for (long i : {1, 2})
    EXPECT_EQ(bundle->Item(IndexKey(i))->TOs()->ToString(QString()) + u'|' +
                  bundle->Item(IndexKey(i))->Subject(),
              i == 1 ? u"wang@kvmail.test|致经理"_s : u"[邮箱]|致[名]"_s);
}

TEST_F(ServiceOnTheUsersAccount, WithoutATemplatePriorityIsZero) {
  ASSERT_TRUE(rig.mail->Init(rig.host, 0));
  ASSERT_TRUE(rig.mail->CreateNew(QString(), QString()));
  auto m = only(rig.mail->composeWindow()->bundle());
  EXPECT_EQ(fields(m), (QStringList{"", "", "", "", "0", "销售部", "sales@kvmail.test"}));
  EXPECT_EQ(m->BodyText(), QString());

  // A positive program without a stored template file gives "0" as well.
  ASSERT_TRUE(rig.mail->Init(rig.host, 99));
  ASSERT_TRUE(rig.mail->CreateNew(u"a"_s, u";"_s));
  m = only(rig.mail->composeWindow()->bundle());
  EXPECT_EQ(m->Priority(), u"0"_s);
}

TEST_F(ServiceOnTheUsersAccount, TemplateAttachmentsAreSavedToTheTempFolder) {
  const QString file = rig.file(u"价目表.txt"_s, "price list\r\n");
  kvmail::OutgoingMail tpl = templateFile({file});
  tpl.headerPriority = 1;
  rig.seedTemplate(8, u"x@kvmail.test"_s, QString(), QString(), u"报价"_s, tpl);
  QFile::remove(file);
  ASSERT_TRUE(rig.mail->Init(rig.host, 8));
  ASSERT_TRUE(rig.mail->CreateNew(u"r1;r2"_s, u";"_s));
  const auto bundle = rig.mail->composeWindow()->bundle();
  ASSERT_EQ(bundle->Count(), 2);
  for (long i = 1; i <= 2; ++i) {
    const auto m = bundle->Item(IndexKey(i));
    EXPECT_EQ(m->Priority(), u"1"_s);
    ASSERT_EQ(m->Attachments()->Count(), 1);
    const auto a = m->Attachments()->Item(IndexKey(1));
    EXPECT_EQ(a->Name(), u"价目表.txt"_s);
    EXPECT_TRUE(QFile::exists(a->FileName()));
    EXPECT_TRUE(a->FileName().startsWith(rig.path(QString())));
  }
}

TEST_F(ServiceOnTheUsersAccount, AFailureIsRecordedWithItsPrefix) {
  rig.seedTemplate(4, u"x <a@b"_s, QString(), QString(), u"s"_s, templateFile());
  ASSERT_TRUE(rig.mail->Init(rig.host, 4));
  EXPECT_FALSE(rig.mail->CreateNew(QString(), QString()));
  EXPECT_EQ(rig.mail->Error()->Number(), 5);
  EXPECT_TRUE(rig.mail->Error()->Description().startsWith(u"CreateNew:"_s));
}

TEST_F(ServiceEmptyQueue, EmptyQueueShowsTheMessageAndOpensNothing) {
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

TEST_F(ServiceOnTheUsersAccount, QueuedRowsBecomeABundleNewestFirstSendOnly) {
  kvmail::OutgoingMail m = templateFile();
  m.to = {{u"客户"_s, u"c1@kvmail.test"_s}};
  m.subject = u"旧的"_s;
  const long older = rig.queueMail(m, u"2026-11-01 08:00:00"_s);
  m.subject = u"新的"_s;
  const long newer = rig.queueMail(m, u"2026-11-02 08:00:00"_s);
  m.subject = u"已删除"_s;
  rig.queueMail(m, u"2026-11-03 08:00:00"_s, 1, 1);
  m.subject = u"未激活"_s;
  rig.queueMail(m, u"2026-11-04 08:00:00"_s, 0, 0);
  ASSERT_TRUE(rig.mail->Init(rig.host, 1));

  EXPECT_TRUE(rig.mail->SendMail(0));
  auto* send = rig.mail->transferWindow();
  EXPECT_TRUE(send->isSendOnly());
  const auto bundle = send->bundle();
  ASSERT_EQ(bundle->Count(), 2);
  EXPECT_EQ((QList<long>{bundle->Item(IndexKey(1))->ID(), bundle->Item(IndexKey(2))->ID()}),
            (QList<long>{newer, older}));
  EXPECT_EQ(fields(bundle->Item(IndexKey(1))).mid(0, 4),
            (QStringList{"客户<c1@kvmail.test>", "", "", "新的"}));
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

TEST_F(ServiceWindows, WindowEventsBecomeServiceEvents) {
  QSignalSpy returned(rig.mail.get(), &kvmail::clsMail::EvReturn);
  QSignalSpy read(rig.mail.get(), &kvmail::clsMail::EvMailRead);
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvRecordMove,
                   [](long current, long* target) { *target = current + 1; });
  QObject::connect(rig.mail.get(), &kvmail::clsMail::EvDelete, [](long* id) { *id = -*id; });

  Q_EMIT rig.mail->composeWindow()->ReturnData(u"17;18;19"_s);
  Q_EMIT rig.mail->transferWindow()->ReturnData(5);
  Q_EMIT rig.mail->transferWindow()->EvMailRead(6);
  QStringList seen;
  for (const auto& r : returned) seen << r[0].toString() + u'/' + r[1].toString();
  EXPECT_EQ(seen, (QStringList{"17;18;19/1", "5/2"}));
  ASSERT_EQ(read.size(), 1);
  EXPECT_EQ(read[0][0].toLongLong(), 6);

  long target = 0;
  Q_EMIT rig.mail->viewerWindow()->RecordMove(10, &target);
  EXPECT_EQ(target, 11);
  long id = 8;
  Q_EMIT rig.mail->viewerWindow()->Delete(&id);
  EXPECT_EQ(id, -8);

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
}

TEST_F(ServiceWindows, PrintFilesOfBothWindowsAreActuallyPrinted) {
  const QString text = rig.file(u"print.txt"_s, "收件人：王经理\n主题：对账单\n");
  const QString html = rig.file(u"print.html"_s, "<p><b>主题</b>：对账单</p>");
  Q_EMIT rig.mail->viewerWindow()->DoPrint(text);
  Q_EMIT rig.mail->composeWindow()->DoPrint(html);
  const auto printed = rig.prompt->records(kvtest::ScriptedPrompt::Kind::PrintFile);
  ASSERT_EQ(printed.size(), 2);
  EXPECT_EQ(printed[0].text, text);
  // Without a display the file goes to a PDF beside it.
  for (const QString& path : {text, html}) {
    const QByteArray pdf = kvtest::readAll(path + u".pdf"_s);
    EXPECT_TRUE(pdf.startsWith("%PDF")) << path.toStdString();
  }
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
