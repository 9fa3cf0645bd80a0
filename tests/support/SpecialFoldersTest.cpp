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

using kvtest::ScopedEnv;

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
  EXPECT_EQ(GetSystemPath(u"temp"_s), QString());
  EXPECT_EQ(GetSystemPath(QString()), QString());
  EXPECT_EQ(GetSystemPath(u"Temp "_s), QString());
}

// The temporary folder ends in one separator, whether TMPDIR has one or not.
TEST(SpecialFolders, TempIsTheTemporaryFolderWithOneSeparator) {
  QTemporaryDir dir;
  for (const QByteArray& tmpdir : {dir.path().toLocal8Bit(), dir.path().toLocal8Bit() + '/'}) {
    ScopedEnv tmp("TMPDIR", tmpdir);
    EXPECT_EQ(tempFolder(), dir.path() + u'/') << tmpdir.constData();
    EXPECT_EQ(GetSystemPath(u"Temp"_s), dir.path() + u'/');
    EXPECT_EQ(tempFilePath(u"temp12.eml"_s), dir.path() + u"/temp12.eml"_s);
  }
}

TEST(SpecialFolders, ASharedTempFolderGivesEachUserAPrivateOne) {
  QTemporaryDir dir;
  const QString shared = dir.path() + u"/shared"_s;
  ASSERT_TRUE(QDir().mkpath(shared));
  ASSERT_EQ(::chmod(QFile::encodeName(shared).constData(), 01777), 0);
  const QString mine = shared + u"/kvmail-"_s + QString::number(::getuid());
  {
    ScopedEnv tmp("TMPDIR", shared.toLocal8Bit());
    EXPECT_EQ(tempFolder(), mine + u'/');
    EXPECT_EQ(
        QFileInfo(mine).permissions() & (QFile::ReadOther | QFile::WriteOther | QFile::ReadGroup),
        QFileDevice::Permissions());
  }
  // A link planted under that name is never followed.
  const QString other = dir.path() + u"/shared2"_s;
  ASSERT_TRUE(QDir().mkpath(other + u"/target"_s));
  ASSERT_EQ(::chmod(QFile::encodeName(other).constData(), 01777), 0);
  const QString planted = other + u"/kvmail-"_s + QString::number(::getuid());
  ASSERT_TRUE(QFile::link(other + u"/target"_s, planted));
  ScopedEnv tmp("TMPDIR", other.toLocal8Bit());
  EXPECT_FALSE(tempFolder().startsWith(planted));
  EXPECT_FALSE(tempFolder().startsWith(other));
}

// Kept on purpose: the last byte of the file is dropped. An empty or missing file raises.
TEST(FileToText, DropsTheLastByte) {
  QTemporaryDir dir;
  const QString path = dir.filePath(u"body.htm"_s);
  const std::pair<QByteArray, QString> cases[] = {{"<p>你好</p>\r\n", "<p>你好</p>\r"}, {"x", ""}};
  for (const auto& [bytes, text] : cases) {
    ASSERT_TRUE(kvtest::writeAll(path, bytes));
    EXPECT_EQ(fileToText(path), text);
  }
  const auto errorOf = [](const QString& file) {
    try {
      fileToText(file);
    } catch (const MailError& e) {
      return e.number();
    }
    return 0L;
  };
  ASSERT_TRUE(kvtest::writeAll(path, QByteArray()));
  EXPECT_EQ(errorOf(path), MailError::InvalidArgument);
  EXPECT_EQ(errorOf(dir.filePath(u"missing.htm"_s)), MailError::FileNotFound);
  EXPECT_FALSE(QFile::exists(dir.filePath(u"missing.htm"_s)));
}
