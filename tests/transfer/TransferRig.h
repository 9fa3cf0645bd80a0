#pragma once
// A transfer window over a fresh SQLite store in a private temp folder, with the scripted
// prompt installed: what the receive and send tests drive.
#include <QByteArray>
#include <QTemporaryDir>

#include <memory>

#include "ScriptedPrompt.h"
#include "SqlHostSystem.h"
#include "service/clsAccount.h"
#include "transfer/FrmSend.h"

namespace kvtest {

class TransferRig {
 public:
  TransferRig();
  ~TransferRig();

  kvmail::host::SqlHostSystem& host() { return *host_; }
  kvmail::clsAccount& account() { return *account_; }
  kvmail::AccountPtr accountPtr() { return account_; }
  kvmail::FrmSend& window() { return *window_; }
  ScriptedPrompt& prompt() { return *prompt_; }
  QString tempDir() const { return dir_.path(); }

  // Points the account at a POP3 server on 127.0.0.1 with the given login.
  void usePop3(quint16 port, const QString& user, const QString& password);
  // Opens the window to receive only and waits until every task has ended; false on time-out.
  bool receive(int timeoutMs = 30000);
  // Opens the window on a bundle and waits until every task ended.
  bool run(const kvmail::BundlePtr& bundle, bool sendOnly, int timeoutMs = 60000);
  bool lastOk() const { return lastOk_; }

  // The log as its lines.
  QStringList logLines() const;
  QString log() const;
  // The first column of the first row, as text ("" when none).
  QString value(const QString& sql);
  int count(const QString& where = {});
  // The stored message file of one row.
  QByteArray storedMessage(long mailId);
  QString taskState(int row) const;
  QString taskText(int row) const;
  QString summary() const;

 private:
  QTemporaryDir dir_;
  QByteArray oldTmp_;
  QByteArray oldPort_;
  std::unique_ptr<kvmail::host::SqlHostSystem> host_;
  kvmail::AccountPtr account_;
  std::unique_ptr<kvmail::FrmSend> window_;
  ScopedPrompt prompt_;
  bool lastOk_ = false;
};

// A small but real mail in CR LF form.
QByteArray sampleMail(const QString& subject, const QByteArray& body = "Hello.\r\n");

}  // namespace kvtest
