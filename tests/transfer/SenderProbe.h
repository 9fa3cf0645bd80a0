#pragma once
// Records every event of an SmtpSender, and on which thread it arrived.
#include <QCoreApplication>
#include <QStringList>
#include <QThread>

#include "transfer/SmtpSender.h"

namespace kvtest {

struct SenderProbe {
  explicit SenderProbe(kvmail::SmtpSender& sender) {
    QObject::connect(
        &sender, &kvmail::SmtpSender::Progress, &guard,
        [this](QString text, int percent) {
          progress << text;
          percents << percent;
          offThread |= QThread::currentThread() != qApp->thread();
        },
        Qt::DirectConnection);
    QObject::connect(
        &sender, &kvmail::SmtpSender::SendFailed, &guard,
        [this](QString reason) {
          failures << reason;
          offThread |= QThread::currentThread() != qApp->thread();
        },
        Qt::DirectConnection);
    QObject::connect(
        &sender, &kvmail::SmtpSender::SendSuccesful, &guard,
        [this] {
          ++successes;
          offThread |= QThread::currentThread() != qApp->thread();
        },
        Qt::DirectConnection);
    QObject::connect(
        &sender, &kvmail::SmtpSender::Status, &guard,
        [this](QString text) {
          status << text;
          offThread |= QThread::currentThread() != qApp->thread();
        },
        Qt::DirectConnection);
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
