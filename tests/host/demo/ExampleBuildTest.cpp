// The host-developer example compiles against an installed kvMail: the current build is installed
// into a scratch prefix, and examples/host_example is configured and built with find_package.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

#include "KvhostProcess.h"
#include "TestEnv.h"

namespace {

constexpr int kStepMs = 300000;

kvtest::ProcessResult cmake(const QStringList& args) {
  return kvtest::runProgram(QStringLiteral(KV_CMAKE_COMMAND), args,
                            QProcessEnvironment::systemEnvironment(), kStepMs);
}

void expectOk(const kvtest::ProcessResult& r, const char* step) {
  EXPECT_TRUE(r.finished) << step;
  EXPECT_EQ(r.exitCode, 0) << step << "\n" << r.all().toStdString();
}

}  // namespace

TEST(HostExample, BuildsAgainstTheInstalledPackageAndRuns) {
  const QString buildDir = qEnvironmentVariable("KV_BUILD_DIR");
  ASSERT_FALSE(buildDir.isEmpty()) << "run through ctest";
  QTemporaryDir scratch;
  const QString prefix = scratch.filePath(QStringLiteral("prefix"));
  const QString exampleBuild = scratch.filePath(QStringLiteral("example"));

  const auto install =
      cmake({QStringLiteral("--install"), buildDir, QStringLiteral("--prefix"), prefix});
  expectOk(install, "install");
  ASSERT_TRUE(QFileInfo::exists(prefix + QStringLiteral("/lib/cmake/kvmail/kvmailConfig.cmake")));
  ASSERT_TRUE(QFileInfo::exists(prefix + QStringLiteral("/include/kvmail/service/clsMail.h")));
  ASSERT_TRUE(QFileInfo::exists(prefix + QStringLiteral("/include/kvmail/host/SqlHostSystem.h")));
  EXPECT_TRUE(QFileInfo::exists(prefix + QStringLiteral("/bin/kvhost")));

  QStringList configure = {QStringLiteral("-S"),
                           kvtest::sourceDir() + QStringLiteral("/examples/host_example"),
                           QStringLiteral("-B"),
                           exampleBuild,
                           QStringLiteral("-G"),
                           QStringLiteral(KV_CMAKE_GENERATOR),
                           QStringLiteral("-DCMAKE_PREFIX_PATH=") + prefix};
  if (!QString(QStringLiteral(KV_MAKE_PROGRAM)).isEmpty())
    configure << QStringLiteral("-DCMAKE_MAKE_PROGRAM=") + QStringLiteral(KV_MAKE_PROGRAM);
  if (const QString flags = QStringLiteral(KV_EXAMPLE_FLAGS); !flags.isEmpty())
    configure << QStringLiteral("-DCMAKE_CXX_FLAGS=") + flags
              << QStringLiteral("-DCMAKE_EXE_LINKER_FLAGS=") + flags;
  const auto configured = cmake(configure);
  expectOk(configured, "configure");
  ASSERT_EQ(configured.exitCode, 0);
  const auto built = cmake({QStringLiteral("--build"), exampleBuild});
  expectOk(built, "build");
  ASSERT_EQ(built.exitCode, 0);

  // It runs from the prefix: on an empty store the module says there is no account.
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
  const auto run = kvtest::runProgram(exampleBuild + QStringLiteral("/host_example"),
                                      {scratch.filePath(QStringLiteral("host.db"))}, env, 60000);
  EXPECT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(run.err.contains(QStringLiteral("邮件帐户为空，请先设置！")))
      << run.all().toStdString();
}
