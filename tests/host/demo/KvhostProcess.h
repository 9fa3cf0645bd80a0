#pragma once
// Running a program to its end with a time-out, and what it printed.
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace kvtest {

struct ProcessResult {
  bool finished = false;  // false: it did not start, or was killed at the time-out
  int exitCode = -1;
  QString out;
  QString err;
  QString all() const { return out + err; }
};

ProcessResult runProgram(const QString& program, const QStringList& args,
                         const QProcessEnvironment& env, int timeoutMs,
                         const QString& workingDir = {});

// The test's environment without a display, so the program takes the screenless path itself.
QProcessEnvironment headlessEnvironment();

}  // namespace kvtest
