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
  EXPECT_EQ(GetSystemPath(QStringLiteral("temp")), QString());
  EXPECT_EQ(GetSystemPath(QString()), QString());
  EXPECT_EQ(GetSystemPath(QStringLiteral("Temp ")), QString());
}

// The temporary folder ends in one separator, whether TMPDIR has one or not.
TEST(SpecialFolders, TempIsTheTemporaryFolderWithOneSeparator) {
  QTemporaryDir dir;
  for (const QByteArray& tmpdir : {dir.path().toLocal8Bit(), dir.path().toLocal8Bit() + '/'}) {
    ScopedEnv tmp("TMPDIR", tmpdir);
    EXPECT_EQ(tempFolder(), dir.path() + u'/') << tmpdir.constData();
    EXPECT_EQ(GetSystemPath(QStringLiteral("Temp")), dir.path() + u'/');
    EXPECT_EQ(tempFilePath(QStringLiteral("temp12.eml")),
              dir.path() + QStringLiteral("/temp12.eml"));
  }
}

TEST(SpecialFolders, ASharedTempFolderGivesEachUserAPrivateOne) {
  QTemporaryDir dir;
  const QString shared = dir.path() + QStringLiteral("/shared");
  ASSERT_TRUE(QDir().mkpath(shared));
  ASSERT_EQ(::chmod(QFile::encodeName(shared).constData(), 01777), 0);
  const QString mine = shared + QStringLiteral("/kvmail-") + QString::number(::getuid());
  {
    ScopedEnv tmp("TMPDIR", shared.toLocal8Bit());
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
  ScopedEnv tmp("TMPDIR", other.toLocal8Bit());
  EXPECT_FALSE(tempFolder().startsWith(planted));
  EXPECT_FALSE(tempFolder().startsWith(other));
}

// Kept on purpose: the last byte of the file is dropped. An empty or missing file raises.
TEST(FileToText, DropsTheLastByte) {
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("body.htm"));
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
  EXPECT_EQ(errorOf(dir.filePath(QStringLiteral("missing.htm"))), MailError::FileNotFound);
  EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("missing.htm"))));
}
