#pragma once
// Records every event of an SmtpSender, and on which thread it arrived.
#include <QCoreApplication>
#include <QStringList>
#include <QThread>

#include "transfer/SmtpSender.h"

namespace kvtest {

struct SenderProbe {
  explicit SenderProbe(kvmail::SmtpSender& sender) {
    const auto on = [&](auto signal, auto record) {
      QObject::connect(
          &sender, signal, &guard,
          [this, record](auto... args) {
            record(args...);
            offThread |= QThread::currentThread() != qApp->thread();
          },
          Qt::DirectConnection);
    };
    using S = kvmail::SmtpSender;
    on(&S::Progress, [this](QString text, int percent) { progress << text, percents << percent; });
    on(&S::SendFailed, [this](QString reason) { failures << reason; });
    on(&S::SendSuccesful, [this] { ++successes; });
    on(&S::Status, [this](QString text) { status << text; });
  }

  // Everything a user or a log could see.
  QString shown() const { return (progress + failures + status).join(u'\n'); }

  QObject guard;  // disconnects the probe when it goes; events are seen on their own thread
  QStringList progress, failures, status;
  QList<int> percents;
  int successes = 0;
  bool offThread = false;
};

}  // namespace kvtest
