#pragma once
// Session work off the UI thread. One serial worker per sender runs its transfers (and the end of
// its session) in order; the UI thread waits for one in a local event loop, so events and the stop
// button stay live. A transfer can start held: its session commands go out at once, while its
// content waits until the sender claims it for the message it is sending, or it is dropped before
// one byte of the message has gone out.
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "transfer/SmtpSession.h"

class QEventLoop;

namespace kvmail::smtp {

// One piece of session work, and how the UI thread learns that it ended.
class Task {
 public:
  void finish();  // worker side
  // Runs meanwhile (which must not process events), then waits for the end.
  void wait(const std::function<void()>& meanwhile = {});

 private:
  std::mutex m_;
  std::condition_variable ended_;
  bool done_ = false;
  QEventLoop* wake_ = nullptr;
};

// Runs its work one item after the other on a pooled thread; in place without an application.
class SerialWorker : public std::enable_shared_from_this<SerialWorker> {
 public:
  void post(std::function<void()> work);
  void waitIdle();  // blocks; for an owner that goes away

 private:
  void drain();

  std::mutex m_;
  std::condition_variable idle_;
  std::deque<std::function<void()>> queue_;
  bool running_ = false;
};

// One mail transaction on the session.
class Flight {
 public:
  Flight(Job job, int logLevel, Session::LineFn line, Session::ProgressFn progress);

  // Worker side: performs the transaction unless it was dropped before its turn.
  void fly(Session& session);
  void hold();   // before it is posted: the content waits for claim()
  bool claim();  // false when it was dropped (or waited too long) and cannot be used
  void drop();   // sends nothing more of the message; the server never gets the whole of it
  void cancel() { cancel_ = true; }

  const Job& job() const { return job_; }
  int logLevel() const { return logLevel_; }
  const Outcome& outcome() const { return outcome_; }
  Task& task() { return task_; }

 private:
  enum class Gate { Open, Held, Claimed, Dropped };
  bool awaitClaim();

  const Job job_;
  const int logLevel_;
  const Session::LineFn line_;
  const Session::ProgressFn progress_;
  std::atomic<bool> cancel_{false};
  std::mutex m_;
  std::condition_variable claimed_;
  Gate gate_ = Gate::Open;
  Outcome outcome_;
  Task task_;
};

}  // namespace kvmail::smtp
