#include "TestEnv.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace kvtest {

QString sourceDir() {
  const QString env = qEnvironmentVariable("KV_SOURCE_DIR");
  return env.isEmpty() ? QStringLiteral(KV_SOURCE_DIR_FALLBACK) : env;
}

QString dataFile(const QString& name) {
  return sourceDir() + u"/tests/data/"_s + name;
}

QByteArray readAll(const QString& path) {
  QFile f(path);
  if (!f.open(QIODevice::ReadOnly)) return {};
  return f.readAll();
}

bool writeAll(const QString& path, const QByteArray& bytes) {
  QDir().mkpath(QFileInfo(path).absolutePath());
  QFile f(path);
  if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
  return f.write(bytes) == bytes.size();
}

void pumpEvents(int ms) {
  const QDeadlineTimer until(ms);
  while (!until.hasExpired()) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

QString writtenFile(const QString& path, const QByteArray& bytes) {
  if (!writeAll(path, bytes)) ADD_FAILURE() << "cannot write " << path.toStdString();
  return path;
}

}  // namespace kvtest

namespace kvtest {

ScopedEnv::ScopedEnv(const char* name, const QByteArray& value)
    : name_(name), old_(qgetenv(name)), had_(qEnvironmentVariableIsSet(name)) {
  qputenv(name, value);
}

ScopedEnv::~ScopedEnv() {
  if (had_)
    qputenv(name_, old_);
  else
    qunsetenv(name_);
}

}  // namespace kvtest
