// Replays kept fuzz inputs through a target's entry point, without libFuzzer: every file named
// on the command line, or every file inside a named folder. Fails when a folder holds no input.
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

#include "FuzzInput.h"

namespace {

int replay(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    fprintf(stderr, "cannot read %s\n", qPrintable(path));
    return 1;
  }
  const QByteArray bytes = file.readAll();
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()), size_t(bytes.size()));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  int failures = 0, inputs = 0;
  for (int i = 1; i < argc; ++i) {
    const QString arg = QString::fromLocal8Bit(argv[i]);
    if (!QFileInfo(arg).isDir()) {
      failures += replay(arg);
      ++inputs;
      continue;
    }
    const QFileInfoList files = QDir(arg).entryInfoList(QDir::Files, QDir::Name);
    if (files.isEmpty()) {
      fprintf(stderr, "no inputs in %s\n", qPrintable(arg));
      ++failures;
    }
    for (const QFileInfo& f : files) {
      failures += replay(f.filePath());
      ++inputs;
    }
  }
  printf("replayed %d inputs\n", inputs);
  return failures == 0 ? 0 : 1;
}
