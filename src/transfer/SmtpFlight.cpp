#include "transfer/SmtpFlight.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThreadPool>

#include <algorithm>
#include <chrono>

namespace kvmail::smtp {

void Task::finish() {
  std::lock_guard lock(m_);
  done_ = true;
  // Posted under the lock: the waiter cannot see done_ and leave (destroying the loop) before.
  if (wake_) QMetaObject::invokeMethod(wake_, &QEventLoop::quit, Qt::QueuedConnection);
  ended_.notify_all();
}

void Task::wait(const std::function<void()>& meanwhile) {
  if (!QCoreApplication::instance()) {
    if (meanwhile) meanwhile();
  } else {
    QEventLoop loop;
    {
      std::lock_guard lock(m_);
      if (!done_) wake_ = &loop;
    }
    if (meanwhile) meanwhile();
    bool done;
    {
      std::lock_guard lock(m_);
      done = done_;
    }
    // A quit posted after the check is still queued, so exec() sees it.
    if (!done) loop.exec();
  }
  // The loop may also have been ended by the application quitting: the work ends first.
  std::unique_lock lock(m_);
  ended_.wait(lock, [this] { return done_; });
  wake_ = nullptr;
}

void SerialWorker::post(std::function<void()> work) {
  if (!QCoreApplication::instance()) {
    work();
    return;
  }
  std::lock_guard lock(m_);
  queue_.push_back(std::move(work));
  if (running_) return;
  running_ = true;
  // A pooled thread: a new thread per message cost more than a small message's transfer.
  QThreadPool::globalInstance()->start([self = shared_from_this()] { self->drain(); });
}

void SerialWorker::drain() {
  for (;;) {
    std::function<void()> work;
    {
      std::lock_guard lock(m_);
      if (queue_.empty()) {
        running_ = false;
        idle_.notify_all();
        return;
      }
      work = std::move(queue_.front());
      queue_.pop_front();
    }
    work();
  }
}

void SerialWorker::waitIdle() {
  std::unique_lock lock(m_);
  idle_.wait(lock, [this] { return !running_; });
}

Flight::Flight(Job job, int logLevel, Session::LineFn line, Session::ProgressFn progress)
    : job_(std::move(job)),
      logLevel_(logLevel),
      line_(std::move(line)),
      progress_(std::move(progress)) {}

void Flight::fly(Session& session) {
  bool dropped;
  {
    std::lock_guard lock(m_);
    dropped = gate_ == Gate::Dropped;
  }
  if (dropped) {
    outcome_.cancelled = true;
  } else {
    outcome_ = session.perform(job_, cancel_, logLevel_, line_, progress_,
                               [this] { return awaitClaim(); });
  }
  task_.finish();
}

void Flight::hold() {
  std::lock_guard lock(m_);
  gate_ = Gate::Held;
}

bool Flight::claim() {
  std::lock_guard lock(m_);
  if (gate_ == Gate::Dropped) return false;
  gate_ = Gate::Claimed;
  claimed_.notify_all();
  return true;
}

void Flight::drop() {
  std::lock_guard lock(m_);
  gate_ = Gate::Dropped;
  cancel_ = true;
  claimed_.notify_all();
}

bool Flight::awaitClaim() {
  std::unique_lock lock(m_);
  // Unclaimed for as long as a silent server is waited for: nobody is coming for it.
  claimed_.wait_for(lock, std::chrono::seconds(std::max(1, job_.stallTimeoutSeconds)),
                    [this] { return gate_ != Gate::Held; });
  if (gate_ == Gate::Held) gate_ = Gate::Dropped;
  return gate_ != Gate::Dropped;
}

}  // namespace kvmail::smtp
