#pragma once
// A fresh SQLite store for one benchmark run: its own folder (also the temp folder the module
// writes into), the host tables, and the benchmark's account for user "1".
#include <QCommandLineOption>
#include <QTemporaryDir>

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

}  // namespace kvbench
