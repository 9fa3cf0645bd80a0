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

// Each is saved in order under its own name, replacing an older file of that name. Names lose
// folders and unsafe characters, the same name twice keeps both, and a very long name is
// shortened keeping its extension.
TEST(MimeSaveAttachments, NamesAreMadeSafeUniqueAndShort) {
  QTemporaryDir dir;
  const QString folder = dir.filePath(u"sub"_s);
  ASSERT_TRUE(kvtest::writeAll(folder + u"/image.png"_s, "older and longer content"));
  ParsedMail mail;
  for (const QString& name :
       {u"../../escape.txt"_s, u"C:\\Windows\\合同.doc"_s, u"a<b>:c?*|\".txt"_s, u".."_s,
        u"tab\there\n.txt"_s, u"image.png"_s, u"IMAGE.png"_s, u"image.png"_s,
        QString(120, QChar(0x6587)) + u".pdf"_s})
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
  EXPECT_TRUE(longName.endsWith(u".pdf"_s));
  EXPECT_LE(longName.toUtf8().size(), 200);
}

TEST(MimeJoin, AddressesAndDisplayTexts) {
  const QList<MimeAddress> list = {{u"张三"_s, u"zs@x.cn"_s}, {QString(), u"b@y.cn"_s}};
  EXPECT_EQ(joinAddresses(list), u"zs@x.cn;b@y.cn"_s);
  EXPECT_EQ(joinDisplay(list), u"张三 <zs@x.cn>;b@y.cn"_s);
  EXPECT_EQ(joinAddresses({}), QString());
  EXPECT_EQ(joinAddresses({{u"MAILER DAEMON"_s, QString()}, list[1]}), u"b@y.cn"_s);
  EXPECT_EQ(joinDisplay({}), QString());
}
