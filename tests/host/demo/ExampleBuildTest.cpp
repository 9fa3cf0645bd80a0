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
  const QString prefix = scratch.filePath(u"prefix"_s);
  const QString exampleBuild = scratch.filePath(u"example"_s);

  const auto install = cmake({u"--install"_s, buildDir, u"--prefix"_s, prefix});
  expectOk(install, "install");
  // The package's config and headers show in the build below; the program only here.
  EXPECT_TRUE(QFileInfo::exists(prefix + u"/bin/kvhost"_s));

  QStringList configure = {u"-S"_s,
                           kvtest::sourceDir() + u"/examples/host_example"_s,
                           u"-B"_s,
                           exampleBuild,
                           u"-G"_s,
                           QStringLiteral(KV_CMAKE_GENERATOR),
                           u"-DCMAKE_PREFIX_PATH="_s + prefix};
  if (!QString(QStringLiteral(KV_MAKE_PROGRAM)).isEmpty())
    configure << u"-DCMAKE_MAKE_PROGRAM="_s + QStringLiteral(KV_MAKE_PROGRAM);
  if (const QString flags = QStringLiteral(KV_EXAMPLE_FLAGS); !flags.isEmpty())
    configure << u"-DCMAKE_CXX_FLAGS="_s + flags << u"-DCMAKE_EXE_LINKER_FLAGS="_s + flags;
  const auto configured = cmake(configure);
  expectOk(configured, "configure");
  ASSERT_EQ(configured.exitCode, 0);
  const auto built = cmake({u"--build"_s, exampleBuild});
  expectOk(built, "build");
  ASSERT_EQ(built.exitCode, 0);

  // It runs from the prefix: on an empty store the module says there is no account.
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
  const auto run = kvtest::runProgram(exampleBuild + u"/host_example"_s,
                                      {scratch.filePath(u"host.db"_s)}, env, 60000);
  EXPECT_TRUE(run.finished);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_TRUE(run.err.contains(u"邮件帐户为空，请先设置！"_s)) << run.all().toStdString();
}
