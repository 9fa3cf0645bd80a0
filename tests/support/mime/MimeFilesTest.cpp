// Saving attachments to a folder, and the joined address texts.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include "TestEnv.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

namespace {

MimeAttachment attachment(const QString& name, const QByteArray& data) {
  MimeAttachment a;
  a.fileName = name;
  a.data = data;
  return a;
}

}  // namespace

TEST(MimeSaveAttachments, SavesEachUnderItsOwnNameInOrderReplacingOlderFiles) {
  QTemporaryDir dir;
  ASSERT_TRUE(
      kvtest::writeAll(dir.filePath(QStringLiteral("报价单.xls")), "old and longer content"));
  ParsedMail mail;
  mail.attachments = {attachment(QStringLiteral("报价单.xls"), "new"),
                      attachment(QStringLiteral("a.bin"), QByteArray("\0\1\2", 3))};
  const QStringList paths = saveAttachments(mail, dir.path());
  ASSERT_EQ(paths.size(), 2);
  EXPECT_EQ(paths[0], QDir(dir.path()).absoluteFilePath(QStringLiteral("报价单.xls")));
  EXPECT_EQ(kvtest::readAll(paths[0]), QByteArray("new"));
  EXPECT_EQ(kvtest::readAll(paths[1]), QByteArray("\0\1\2", 3));
}

// Names lose folders and unsafe characters, the same name twice keeps both, and a very long
// name is shortened keeping its extension.
TEST(MimeSaveAttachments, NamesAreMadeSafeUniqueAndShort) {
  QTemporaryDir dir;
  const QString folder = dir.filePath(QStringLiteral("new/sub"));  // made when missing
  ParsedMail mail;
  for (const QString& name :
       {QStringLiteral("../../escape.txt"), QStringLiteral("C:\\Windows\\合同.doc"),
        QStringLiteral("a<b>:c?*|\".txt"), QStringLiteral(".."), QStringLiteral("tab\there\n.txt"),
        QStringLiteral("image.png"), QStringLiteral("IMAGE.png"), QStringLiteral("image.png"),
        QString(120, QChar(0x6587)) + QStringLiteral(".pdf")})
    mail.attachments << attachment(name, name.toUtf8());
  const QStringList paths = saveAttachments(mail, folder);
  ASSERT_EQ(paths.size(), 9);
  QStringList names;
  for (qsizetype i = 0; i < paths.size(); ++i) {
    EXPECT_EQ(QFileInfo(paths[i]).absolutePath(), QDir(folder).absolutePath()) << i;
    EXPECT_EQ(kvtest::readAll(paths[i]), mail.attachments[i].data) << i;
    names << QFileInfo(paths[i]).fileName();
  }
  const QString longName = names.takeLast();
  EXPECT_EQ(names, (QStringList{"escape.txt", "合同.doc", "a_b__c____.txt", "attachment4",
                                "tab_here_.txt", "image.png", "IMAGE (2).png", "image (3).png"}));
  EXPECT_TRUE(longName.endsWith(QStringLiteral(".pdf")));
  EXPECT_LE(longName.toUtf8().size(), 200);
}

TEST(MimeJoin, AddressesAndDisplayTexts) {
  const QList<MimeAddress> list = {{QStringLiteral("张三"), QStringLiteral("zs@x.cn")},
                                   {QString(), QStringLiteral("b@y.cn")}};
  EXPECT_EQ(joinAddresses(list), QStringLiteral("zs@x.cn;b@y.cn"));
  EXPECT_EQ(joinDisplay(list), QStringLiteral("张三 <zs@x.cn>;b@y.cn"));
  EXPECT_EQ(joinAddresses({}), QString());
  EXPECT_EQ(joinAddresses({{QStringLiteral("MAILER DAEMON"), QString()}, list[1]}),
            QStringLiteral("b@y.cn"));
  EXPECT_EQ(joinDisplay({}), QString());
}
