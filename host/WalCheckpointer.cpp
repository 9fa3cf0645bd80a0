#include "WalCheckpointer.h"

#include <QFile>

#include <sqlite3.h>

namespace kvmail::host {

WalCheckpointer::WalCheckpointer(const QString& path, int intervalMs)
    : path_(QFile::encodeName(path)), intervalMs_(intervalMs), thread_([this] { run(); }) {}

WalCheckpointer::~WalCheckpointer() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void WalCheckpointer::run() {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(path_.constData(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
    sqlite3_close(db);
    return;
  }
  // A connection learns that the store keeps a log only when it first reads the store.
  sqlite3_exec(db, "pragma schema_version", nullptr, nullptr, nullptr);
  std::unique_lock<std::mutex> lock(mutex_);
  while (
      !wake_.wait_for(lock, std::chrono::milliseconds(intervalMs_), [this] { return stopping_; })) {
    lock.unlock();
    // Passive: copies what no reader still needs and never holds up the writer.
    sqlite3_wal_checkpoint_v2(db, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    lock.lock();
  }
  lock.unlock();
  sqlite3_close(db);
}

}  // namespace kvmail::host
