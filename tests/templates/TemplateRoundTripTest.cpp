// A template saved in the editor is what the next mail-merge batch is made from.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QFile>

#include "TemplateRig.h"
#include "composer/FrmNewMail.h"
#include "model/IAttachment.h"
#include "model/IBundle.h"
#include "service/clsMail.h"
#include "templates/FrmTemplet.h"

using kvmail::IndexKey;

TEST(TemplateRoundTrip, CreateNewFillsTheSavedTemplatePerRecord) {
  kvtest::TemplateRig rig;
  const QString attachment = rig.file(QStringLiteral("报价单.csv"), "型号,价格\r\nA1,100\r\n");
  {
    kvmail::FrmTemplet editor;
    editor.prepare(rig.message(QStringLiteral("1"), {attachment}), rig.host.get(), rig.account);
    ASSERT_TRUE(editor.save()) << rig.prompt->messages().join(u'\n').toStdString();
  }
  QFile::remove(attachment);  // the template carries its own copy

  {
    kvmail::clsMail mail;
    ASSERT_TRUE(mail.Init(rig.host, kvtest::TemplateRig::kProgram));
    const QChar item(0);
    const QString records = QStringLiteral("王五") + item + QStringLiteral("[名]经理") + item +
                            QStringLiteral("[邮箱]wang@kvmail.test");
    ASSERT_TRUE(mail.CreateNew(records, QStringLiteral("\n")));
    const kvmail::BundlePtr bundle = mail.composeWindow()->bundle();
    ASSERT_EQ(bundle->Count(), 1);
    const kvmail::MessagePtr m = bundle->Item(IndexKey(1));
    EXPECT_EQ(m->Subject(), QStringLiteral("致经理：新品目录"));
    EXPECT_EQ(m->TOs()->ToString(), QStringLiteral("wang@kvmail.test"));
    EXPECT_EQ(m->Cc()->ToString(), QStringLiteral("boss@kvmail.test"));
    EXPECT_TRUE(m->BodyText().contains(QStringLiteral("[名]您好！附件是本季的新品目录。")))
        << m->BodyText().toStdString();  // the body keeps its placeholders
    EXPECT_EQ(m->Priority(), QStringLiteral("1"));
    ASSERT_EQ(m->Attachments()->Count(), 1);
    const auto a = m->Attachments()->Item(IndexKey(1));
    EXPECT_EQ(a->Name(), QStringLiteral("报价单.csv"));
    QFile saved(a->FileName());
    ASSERT_TRUE(saved.open(QIODevice::ReadOnly));
    EXPECT_EQ(saved.readAll(), QByteArray("型号,价格\r\nA1,100\r\n"));
  }
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
