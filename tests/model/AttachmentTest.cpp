// Attachments: the name looked up once when the path is set, and Save that copies yet answers
// false.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "ErrorOf.h"
#include "TestEnv.h"
#include "model/MailError.h"
#include "model/clsAttachment.h"
#include "model/clsAttachments.h"

using namespace kvmail;
using kvtest::errorOf;

namespace {

class AttachmentFiles : public ::testing::Test {
 protected:
  QString path(const QString& name) const { return dir_.filePath(name); }
  QString make(const QString& name, const QByteArray& bytes) {
    return kvtest::writtenFile(path(name), bytes);
  }
  QTemporaryDir dir_;
};

}  // namespace

// Add fills the file name, the name and the description only; Size stays 0 whatever the file.
TEST_F(AttachmentFiles, NameIsLookedUpOnceWhenThePathIsSet) {
  clsAttachments list;
  const QString file = make(QString::fromUtf8("报价 a.txt"), "x");
  AttachmentPtr a = list.Add(file, "d");
  EXPECT_EQ((QStringList{a->FileName(), a->Name(), a->Description()}),
            (QStringList{file, QString::fromUtf8("报价 a.txt"), "d"}));
  EXPECT_EQ(
      a->ContentType() + a->ContentSubType() + a->Encoding() + a->ContentID() + a->TempFileName(),
      "");
  EXPECT_EQ(a->Size(), 0);
  EXPECT_EQ(errorOf([&] { list.Item("d"); }), MailError::InvalidArgument);  // Add gives no key

  EXPECT_EQ(list.Add(path("nothing.bin"), "")->Name(), "");  // a missing file has no name
  ASSERT_TRUE(QDir(dir_.path()).mkdir("folder"));
  EXPECT_EQ(list.Add(path("folder"), "")->Name(), "folder");
  ASSERT_TRUE(QFile::remove(file));
  EXPECT_EQ(a->Name(), QString::fromUtf8("报价 a.txt"));  // the disk changed, Name did not
  a->setFileName("");
  EXPECT_EQ(a->Name(), "");
}

// Save copies over any file (bOverwrite is not consulted) and still answers false; a failure
// raises a file error and changes nothing.
TEST_F(AttachmentFiles, SaveCopiesReplacesAnswersFalseOrRaisesFileErrors) {
  const QByteArray payload("\x00\x01payload\r\n", 11);
  clsAttachment a;
  a.setFileName(make("src.bin", payload));
  EXPECT_FALSE(a.Save(path("copy.bin"), true));
  EXPECT_EQ(kvtest::readAll(path("copy.bin")), payload);
  const QString target = make("target.bin", "old contents that are longer");
  EXPECT_FALSE(a.Save(target, false));
  EXPECT_EQ(kvtest::readAll(target), payload);

  ASSERT_TRUE(QDir(dir_.path()).mkdir("adir"));
  clsAttachment gone, folder;
  gone.setFileName(path("gone.bin"));
  folder.setFileName(path("adir"));
  const std::tuple<clsAttachment*, QString, long> failures[] = {
      {&gone, target, MailError::FileNotFound},
      {&a, path("no/such/folder/x.bin"), MailError::PathFileAccess},
      {&folder, target, MailError::PathFileAccess},
  };
  for (const auto& [attachment, to, error] : failures)
    EXPECT_EQ(errorOf([&] { attachment->Save(to, true); }), error) << to.toStdString();
  EXPECT_EQ(kvtest::readAll(target), payload);
}
