// Attachments: the name looked up once when the path is set, and Save that copies yet answers
// false.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "TestEnv.h"
#include "model/MailError.h"
#include "model/clsAttachment.h"
#include "model/clsAttachments.h"

using namespace kvmail;

namespace {

class AttachmentFiles : public ::testing::Test {
 protected:
  QString path(const QString& name) const { return dir_.filePath(name); }
  QString make(const QString& name, const QByteArray& bytes) {
    EXPECT_TRUE(kvtest::writeAll(path(name), bytes));
    return path(name);
  }
  long saveError(clsAttachment& a, const QString& to) {
    try {
      a.Save(to, true);
    } catch (const MailError& e) {
      return e.number();
    }
    return 0;
  }
  QTemporaryDir dir_;
};

}  // namespace

TEST_F(AttachmentFiles, AddFillsFileNameNameAndDescriptionOnly) {
  clsAttachments list;
  const QString file = make(QString::fromUtf8("报价 a.txt"), "x");
  AttachmentPtr a = list.Add(file, "d");
  EXPECT_EQ(a->FileName(), file);
  EXPECT_EQ(a->Name(), QString::fromUtf8("报价 a.txt"));
  EXPECT_EQ(a->Description(), "d");
  for (const QString& s :
       {a->ContentType(), a->ContentSubType(), a->Encoding(), a->ContentID(), a->TempFileName()})
    EXPECT_TRUE(s.isEmpty());
  EXPECT_EQ(a->Size(), 0);  // never set, whatever the file's length
  EXPECT_EQ(list.Item(1), a);
}

TEST_F(AttachmentFiles, NameIsLookedUpOnceAndMatchesFolders) {
  clsAttachments list;
  AttachmentPtr missing = list.Add(path("nothing.bin"), "");
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(missing->Name(), "");
  EXPECT_EQ(missing->FileName(), path("nothing.bin"));

  ASSERT_TRUE(QDir(dir_.path()).mkdir("folder"));
  EXPECT_EQ(list.Add(path("folder"), "")->Name(), "folder");

  const QString file = make("later.txt", "x");
  clsAttachment a;
  a.setFileName(file);
  ASSERT_TRUE(QFile::remove(file));
  EXPECT_EQ(a.Name(), "later.txt");  // the disk changed, Name did not
  a.setFileName("");
  EXPECT_EQ(a.Name(), "");
}

TEST_F(AttachmentFiles, SaveCopiesReplacesAndStillAnswersFalse) {
  clsAttachment a;
  a.setFileName(make("src.bin", QByteArray("\x00\x01payload\r\n", 11)));
  const QString fresh = path("copy.bin");
  EXPECT_FALSE(a.Save(fresh, true));
  EXPECT_EQ(kvtest::readAll(fresh), QByteArray("\x00\x01payload\r\n", 11));

  const QString existing = make("existing.bin", "old contents that are longer");
  EXPECT_FALSE(a.Save(existing, false));  // bOverwrite is not consulted
  EXPECT_EQ(kvtest::readAll(existing), QByteArray("\x00\x01payload\r\n", 11));
}

TEST_F(AttachmentFiles, SaveFailuresRaiseFileErrorsAndChangeNothing) {
  clsAttachment a;
  a.setFileName(path("gone.bin"));
  const QString target = make("target.bin", "keep");
  EXPECT_EQ(saveError(a, target), MailError::FileNotFound);
  EXPECT_EQ(kvtest::readAll(target), "keep");

  clsAttachment none;
  EXPECT_EQ(saveError(none, target), MailError::FileNotFound);

  a.setFileName(make("src.bin", "data"));
  EXPECT_EQ(saveError(a, path("no/such/folder/x.bin")), MailError::PathFileAccess);
  ASSERT_TRUE(QDir(dir_.path()).mkdir("adir"));
  EXPECT_EQ(saveError(a, path("adir")), MailError::PathFileAccess);
  EXPECT_EQ(saveError(a, ""), MailError::PathFileAccess);

  clsAttachment folder;
  folder.setFileName(path("adir"));
  EXPECT_EQ(saveError(folder, target), MailError::PathFileAccess);
  EXPECT_EQ(kvtest::readAll(target), "keep");
}

TEST_F(AttachmentFiles, ListPositionsRemoveAndClear) {
  clsAttachments list;
  AttachmentPtr one = list.Add(path("1"), "one");
  list.Add(path("2"), "two");
  list.Add(path("3"), "three");
  auto error = [&](const IndexKey& k) {
    try {
      list.Item(k);
    } catch (const MailError& e) {
      return e.number();
    }
    return 0L;
  };
  EXPECT_EQ(error(0), MailError::SubscriptOutOfRange);
  EXPECT_EQ(error(4), MailError::SubscriptOutOfRange);
  EXPECT_EQ(error("one"), MailError::InvalidArgument);  // Add never gives a key

  list.Remove(2);
  QStringList seen;
  for (const AttachmentPtr& a : list.NewEnum()) seen << a->Description();
  EXPECT_EQ(seen, QStringList({"one", "three"}));
  EXPECT_THROW(list.Remove(3), MailError);
  EXPECT_EQ(list.Count(), 2);

  list.Clear();
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(one->Description(), "one");
}
