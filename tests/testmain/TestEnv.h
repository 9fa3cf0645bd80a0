#pragma once
// Small helpers shared by every test: where the sources are, files, a scoped environment value.
#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace kvtest {

// The checkout's root folder (for tests/data and scripts).
QString sourceDir();
// A file under tests/data.
QString dataFile(const QString& name);
// Reads a whole file; empty when it cannot be read.
QByteArray readAll(const QString& path);
// Writes bytes to a file, creating folders; false on failure.
bool writeAll(const QString& path, const QByteArray& bytes);
// The same for a file a test goes on to use: answers the path, and a failure fails the test.
QString writtenFile(const QString& path, const QByteArray& bytes);

// Runs the event loop for a while.
void pumpEvents(int ms);

// Sets an environment variable for a scope and puts the old value (or its absence) back.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const QByteArray& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  QByteArray old_;
  bool had_;
};

}  // namespace kvtest
