#pragma once
// A fresh SQLite store for one benchmark run: its own folder (also the temp folder the module
// writes into), the host tables, and the benchmark's account for user "1".
#include <QCommandLineOption>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

#include "HostStore.h"

namespace kvbench {

struct BenchStore {
  QTemporaryDir dir;
  std::shared_ptr<kvmail::host::SqlHostSystem> host;

  explicit BenchStore(kvmail::host::AccountSeed seed = {}) {
    qputenv("TMPDIR", dir.path().toUtf8());
    const QString db = dir.filePath(QStringLiteral("bench.db"));
    kvmail::host::createStore(db);
    auto options = kvmail::host::HostOptions::sqlite(db);
    options.userId = QStringLiteral("1");
    host = std::make_shared<kvmail::host::SqlHostSystem>(options);
    host->open();
    seed.userId = QStringLiteral("1");
    if (seed.name.isEmpty()) seed.name = QStringLiteral("基准");
    kvmail::host::seedAccount(*host, seed);
  }
};

// The options every transfer benchmark takes: how many mails, their size, whose mailbox, runs.
inline QList<QCommandLineOption> transferOptions(int count, const QString& user) {
  return {{QStringLiteral("count"), QStringLiteral("mails"), QStringLiteral("n"),
           QString::number(count)},
          {QStringLiteral("size"), QStringLiteral("bytes per mail"), QStringLiteral("n"),
           QStringLiteral("20000")},
          {QStringLiteral("user"), QStringLiteral("mailbox"), QStringLiteral("u"), user},
          {QStringLiteral("rounds"), QStringLiteral("runs of each"), QStringLiteral("n"),
           QStringLiteral("3")}};
}

// Runs one of bench/reference's Python loops, which print their elapsed seconds; a negative
// value when it failed.
inline double runReference(const QString& script, const QStringList& args) {
  QProcess p;
  p.start(QStringLiteral("/usr/bin/python3"),
          QStringList{QStringLiteral(KV_SOURCE_DIR "/bench/reference/") + script} + args);
  if (!p.waitForFinished(600000) || p.exitCode() != 0) {
    std::fprintf(stderr, "%s failed: %s\n", qPrintable(script),
                 p.readAllStandardError().constData());
    return -1;
  }
  return p.readAllStandardOutput().trimmed().toDouble();
}

}  // namespace kvbench
