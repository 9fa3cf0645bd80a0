#pragma once
// Copies an SQLite store's write-ahead log back into the database file on a thread of its own,
// so the connection that stores mail never stops for it: otherwise every few dozen mails one
// commit also copies a thousand pages. The writer's own checkpoint stays on, set far higher, as a
// backstop for a checkpointer that cannot keep up.
#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kvmail::host {

class WalCheckpointer {
 public:
  // Starts checkpointing the store at path every interval; a store it cannot open is left to
  // the writer.
  explicit WalCheckpointer(const QString& path, int intervalMs = 100);
  ~WalCheckpointer();  // stops the thread and waits for it
  WalCheckpointer(const WalCheckpointer&) = delete;
  WalCheckpointer& operator=(const WalCheckpointer&) = delete;

 private:
  void run();

  const QByteArray path_;
  const int intervalMs_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace kvmail::host
