// Folder names, the temporary folder and its files, and reading a file back as text.
#include "model/MailError.h"
#include "support/SpecialFolders.h"

#include "TestEnv.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

using kvmail::fileToText;
using kvmail::GetSystemPath;
using kvmail::MailError;
using kvmail::tempFilePath;
using kvmail::tempFolder;

namespace {

// Points TMPDIR somewhere for one test and puts it back afterwards.
class TmpDirOverride {
 public:
  explicit TmpDirOverride(const QByteArray& value)
      : old_(qgetenv("TMPDIR")), had_(qEnvironmentVariableIsSet("TMPDIR")) {
    qputenv("TMPDIR", value);
  }
  ~TmpDirOverride() {
    if (had_)
      qputenv("TMPDIR", old_);
    else
      qunsetenv("TMPDIR");
  }

 private:
  QByteArray old_;
  bool had_;
};

}  // namespace

TEST(SpecialFolders, EveryKnownNameResolvesWithExactCase) {
  const char* names[] = {"Windows",     "System",   "Temp",        "Desktop",   "Sendto",
                         "Mydocuments", "Programs", "Startup",     "Startmenu", "Myfavorites",
                         "Recent",      "Nethood",  "Fonts",       "Cookies",   "History",
                         "Pagetemp",    "Shellnew", "Application", "Printhood"};
  for (const char* name : names) {
    const QString path = GetSystemPath(QLatin1String(name));
    EXPECT_FALSE(path.isEmpty()) << name;
    EXPECT_TRUE(QDir::isAbsolutePath(path)) << name;
    EXPECT_EQ(GetSystemPath(QLatin1String(name).toString().toLower()), QString()) << name;
    EXPECT_EQ(GetSystemPath(QLatin1String(name).toString().toUpper()), QString()) << name;
  }
  EXPECT_EQ(GetSystemPath(QStringLiteral("temp")), QString());
  EXPECT_EQ(GetSystemPath(QString()), QString());
  EXPECT_EQ(GetSystemPath(QStringLiteral("Temp ")), QString());
}

TEST(SpecialFolders, TempIsTheTemporaryFolderWithItsSeparator) {
  QTemporaryDir dir;
  TmpDirOverride tmp(dir.path().toLocal8Bit());
  EXPECT_EQ(tempFolder(), dir.path() + u'/');
  EXPECT_EQ(GetSystemPath(QStringLiteral("Temp")), dir.path() + u'/');
  EXPECT_EQ(tempFilePath(QStringLiteral("temp12.eml")), dir.path() + QStringLiteral("/temp12.eml"));
}

TEST(SpecialFolders, TempGivenWithASeparatorGetsNoSecondOne) {
  QTemporaryDir dir;
  TmpDirOverride tmp(dir.path().toLocal8Bit() + '/');
  EXPECT_TRUE(tempFolder().endsWith(u'/'));
  EXPECT_FALSE(tempFolder().endsWith(QStringLiteral("//")));
  EXPECT_EQ(tempFilePath(QStringLiteral("temp.eml")), dir.path() + QStringLiteral("/temp.eml"));
}

TEST(SpecialFolders, ASharedTempFolderGivesEachUserAPrivateOne) {
  QTemporaryDir dir;
  const QString shared = dir.path() + QStringLiteral("/shared");
  ASSERT_TRUE(QDir().mkpath(shared));
  ASSERT_EQ(::chmod(QFile::encodeName(shared).constData(), 01777), 0);
  const QString mine = shared + QStringLiteral("/kvmail-") + QString::number(::getuid());
  {
    TmpDirOverride tmp(shared.toLocal8Bit());
    EXPECT_EQ(tempFolder(), mine + u'/');
    EXPECT_EQ(
        QFileInfo(mine).permissions() & (QFile::ReadOther | QFile::WriteOther | QFile::ReadGroup),
        QFileDevice::Permissions());
  }
  // A link planted under that name is never followed.
  const QString other = dir.path() + QStringLiteral("/shared2");
  ASSERT_TRUE(QDir().mkpath(other + QStringLiteral("/target")));
  ASSERT_EQ(::chmod(QFile::encodeName(other).constData(), 01777), 0);
  const QString planted = other + QStringLiteral("/kvmail-") + QString::number(::getuid());
  ASSERT_TRUE(QFile::link(other + QStringLiteral("/target"), planted));
  TmpDirOverride tmp(other.toLocal8Bit());
  EXPECT_FALSE(tempFolder().startsWith(planted));
  EXPECT_FALSE(tempFolder().startsWith(other));
}

// Kept on purpose: the last byte of the file is dropped.
TEST(FileToText, DropsTheLastByte) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("body.htm"));
  ASSERT_TRUE(kvtest::writeAll(path, "<p>你好</p>\r\n"));
  EXPECT_EQ(fileToText(path), QStringLiteral("<p>你好</p>\r"));
  ASSERT_TRUE(kvtest::writeAll(path, "x"));
  EXPECT_EQ(fileToText(path), QString());
}

TEST(FileToText, EmptyOrMissingFileRaises) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("empty.htm"));
  ASSERT_TRUE(kvtest::writeAll(path, QByteArray()));
  try {
    fileToText(path);
    ADD_FAILURE() << "empty file read";
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), MailError::InvalidArgument);
  }
  try {
    fileToText(dir.filePath(QStringLiteral("missing.htm")));
    ADD_FAILURE() << "missing file read";
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), MailError::FileNotFound);
  }
  EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("missing.htm"))));
}
