#include "KvhostProcess.h"

#include <QProcess>

namespace kvtest {

ProcessResult runProgram(const QString& program, const QStringList& args,
                         const QProcessEnvironment& env, int timeoutMs, const QString& workingDir) {
  ProcessResult result;
  QProcess process;
  process.setProcessEnvironment(env);
  if (!workingDir.isEmpty()) process.setWorkingDirectory(workingDir);
  process.start(program, args);
  if (!process.waitForStarted(10000)) {
    result.err = u"could not start %1"_s.arg(program);
    return result;
  }
  result.finished = process.waitForFinished(timeoutMs);
  if (!result.finished) {
    process.kill();
    process.waitForFinished(5000);
  }
  result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
  result.out = QString::fromUtf8(process.readAllStandardOutput());
  result.err = QString::fromUtf8(process.readAllStandardError());
  return result;
}

QProcessEnvironment headlessEnvironment() {
  QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
  env.remove(u"DISPLAY"_s);
  env.remove(u"WAYLAND_DISPLAY"_s);
  env.remove(u"QT_QPA_PLATFORM"_s);
  return env;
}

}  // namespace kvtest
