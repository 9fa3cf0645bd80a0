#pragma once
// One SMTP connection on libcurl, kept between mail transactions of the same run. Runs on a
// worker thread; the callbacks it is given are called there too.
#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

namespace kvmail::smtp {

struct Job {
  QString host;
  int port = 25;
  QString heloDomain;
  QString mailFrom;        // bare address; may be empty (null reverse path)
  QStringList recipients;  // bare addresses
  QString userName;        // empty: no AUTH
  QString password;
  // The account's SMTP security: 0 as the port says (465 TLS, others STARTTLS when offered),
  // 1 STARTTLS required before anything else, 2 TLS from the first byte.
  long security = 0;
  // PEM certificates trusted instead of the system's store; empty: the system's store.
  QByteArray trustedPem;
  QByteArray payload;  // the whole message, CR LF line ends, not dot-stuffed
  int connectTimeoutSeconds = 30;
  int stallTimeoutSeconds = 60;

  bool operator==(const Job&) const = default;
};

struct Outcome {
  bool ok = false;
  bool cancelled = false;
  QString reason;  // for the user, in Chinese; never holds the password
  bool reusedConnection = false;
};

class Session {
 public:
  using LineFn = std::function<void(const QString&)>;
  using ProgressFn = std::function<void(qint64 sent, qint64 total)>;
  // Asked once, when the server is ready for the content; false ends the transaction unsent.
  using ContentGate = std::function<bool()>;

  Session();
  ~Session();  // says QUIT on a kept connection
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // logLevel: 0 no transcript, 1 commands and replies, 2 also the transfer library's notes.
  Outcome perform(const Job& job, const std::atomic<bool>& cancel, int logLevel, const LineFn& line,
                  const ProgressFn& progress, const ContentGate& gate = {});

 private:
  struct Impl;
  std::unique_ptr<Impl> d_;
};

}  // namespace kvmail::smtp
