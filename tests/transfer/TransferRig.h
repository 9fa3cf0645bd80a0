#pragma once
// A transfer run over a fresh SQLite store (StoreRig) in a private temp folder, shown on a view of
// plain fields (no window), with the scripted prompt installed: what the engine tests drive.
#include <QByteArray>

#include <memory>

#include "FakePop3Server.h"
#include "FakeTransferView.h"
#include "ScriptedPrompt.h"
#include "StoreRig.h"
#include "model/ModelTypes.h"
#include "model/clsAccount.h"
#include "transfer/TransferRun.h"

namespace kvtest {

class TransferRig : public StoreRig {
 public:
  TransferRig();
  ~TransferRig();

  kvmail::clsAccount& account() { return *account_; }
  kvmail::AccountPtr accountPtr() { return account_; }
  kvmail::TransferRun& run() { return *run_; }
  FakeTransferView& view() { return view_; }
  ScriptedPrompt& prompt() { return *prompt_; }

  // Points the account at a POP3 server on 127.0.0.1 with the given login.
  void usePop3(quint16 port, const QString& user, const QString& password);
  // The same for a user's mailbox on the loopback Dovecot.
  void useLoopback(const QString& user);
  // Opens the window to receive only and waits until every task has ended; false on time-out.
  bool receive(int timeoutMs = 30000);
  // Logs in to the scripted server as "u" with password "p" and receives.
  bool receiveFrom(const FakePop3Server& server, int timeoutMs = 10000) {
    usePop3(server.port(), u"u"_s, u"p"_s);
    return receive(timeoutMs);
  }
  // Stores one composed mail to to@kvmail.test per subject in the send queue; false if refused.
  bool queue(const QStringList& subjects);
  // Opens the window on a bundle and waits until every task ended.
  bool run(const kvmail::BundlePtr& bundle, bool sendOnly, int timeoutMs = 60000);
  bool lastOk() const { return lastOk_; }

  // The log as its lines, and as one text.
  QStringList logLines() const { return view_.log; }
  QString log() const { return view_.logText(); }
  int count(const QString& where = {}) const { return StoreRig::count(u"msgmail"_s, where); }
  // The stored message file of one row.
  QByteArray storedMessage(long mailId);
  QString taskState(int row) const { return view_.taskState(row); }
  QString taskText(int row) const { return view_.taskText(row); }
  QString summary() const { return view_.summary; }

 private:
  kvmail::AccountPtr account_;
  FakeTransferView view_;
  std::unique_ptr<kvmail::TransferRun> run_;
  ScopedPrompt prompt_;
  bool lastOk_ = false;
};

// A small but real mail in CR LF form; one for each subject.
QByteArray sampleMail(const QString& subject, const QByteArray& body = "Hello.\r\n");
QList<QByteArray> sampleMails(const QStringList& subjects);

}  // namespace kvtest
