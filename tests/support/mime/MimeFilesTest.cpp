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

TEST(MimeSaveAttachments, NamesAreStrippedOfFoldersAndUnsafeCharacters) {
  QTemporaryDir dir;
  const QString folder = dir.filePath(QStringLiteral("new/sub"));  // made when missing
  ParsedMail mail;
  mail.attachments = {attachment(QStringLiteral("../../escape.txt"), "1"),
                      attachment(QStringLiteral("C:\\Windows\\合同.doc"), "2"),
                      attachment(QStringLiteral("a<b>:c?*|\".txt"), "3"),
                      attachment(QStringLiteral(".."), "4"),
                      attachment(QStringLiteral("tab\there\n.txt"), "5")};
  const QStringList paths = saveAttachments(mail, folder);
  ASSERT_EQ(paths.size(), 5);
  QStringList names;
  for (const QString& p : paths) {
    EXPECT_EQ(QFileInfo(p).absolutePath(), QDir(folder).absolutePath()) << p.toStdString();
    names << QFileInfo(p).fileName();
  }
  EXPECT_EQ(names, QStringList({QStringLiteral("escape.txt"), QStringLiteral("合同.doc"),
                                QStringLiteral("a_b__c____.txt"), QStringLiteral("attachment4"),
                                QStringLiteral("tab_here_.txt")}));
  EXPECT_EQ(kvtest::readAll(paths[2]), QByteArray("3"));
}

TEST(MimeSaveAttachments, SameNameTwiceInOneMailKeepsBoth) {
  QTemporaryDir dir;
  ParsedMail mail;
  mail.attachments = {attachment(QStringLiteral("image.png"), "first"),
                      attachment(QStringLiteral("IMAGE.png"), "second"),
                      attachment(QStringLiteral("image.png"), "third")};
  const QStringList paths = saveAttachments(mail, dir.path());
  ASSERT_EQ(paths.size(), 3);
  EXPECT_EQ(QFileInfo(paths[1]).fileName(), QStringLiteral("IMAGE (2).png"));
  EXPECT_EQ(QFileInfo(paths[2]).fileName(), QStringLiteral("image (3).png"));
  EXPECT_EQ(kvtest::readAll(paths[0]), QByteArray("first"));
  EXPECT_EQ(kvtest::readAll(paths[2]), QByteArray("third"));
}

TEST(MimeSaveAttachments, VeryLongNamesAreShortenedKeepingTheExtension) {
  QTemporaryDir dir;
  ParsedMail mail;
  mail.attachments = {attachment(QString(120, QChar(0x6587)) + QStringLiteral(".pdf"), "x")};
  const QStringList paths = saveAttachments(mail, dir.path());
  ASSERT_EQ(paths.size(), 1);
  const QString name = QFileInfo(paths[0]).fileName();
  EXPECT_TRUE(name.endsWith(QStringLiteral(".pdf")));
  EXPECT_LE(name.toUtf8().size(), 200);
  EXPECT_EQ(kvtest::readAll(paths[0]), QByteArray("x"));
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
