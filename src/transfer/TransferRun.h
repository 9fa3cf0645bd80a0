#pragma once
// One send/receive run of the transfer window: builds the task list, sends the bundle, then
// receives unless the run is send-only, finishes each task row and tells when all have ended.
// It works through the window's view interface only, so it runs without a window in tests.
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"
#include "transfer/Pop3Session.h"

namespace kvmail {

class IHostSystem;
class ITransferView;
class ReceiveMailbox;
class SendEngine;

class TransferRun : public QObject {
  Q_OBJECT
 public:
  explicit TransferRun(ITransferView& view, QObject* parent = nullptr);
  ~TransferRun() override;

  // Keeps the arguments and starts the tasks. A request made while a run is under way waits and
  // starts when it ends (requests that wait together are joined into one run).
  void start(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
             bool sendOnly);
  bool hasWaitingRequest() const { return waiting_.has_value(); }
  void StartTasks();
  void StartReceive();
  // Ends the receive task normally (after the QUIT reply), or as failed with a reason.
  void FinishReceive();
  void FailReceive(const QString& reason);
  // Ends the send task after every message was tried: row state, caption and summary.
  void FinishSend(int sent, int failed);

  // The stop button: the POP3 session quits at its next UIDL reply; a send in progress is
  // cancelled when the running row is the send task.
  void stop();
  // The close button: a running task is stopped first.
  void close();

  bool isBusy() const { return sending_ || receiving_; }
  // False when the last run had a failed task, a failed message or was stopped.
  bool lastRunOk() const { return runOk_; }
  int plTaskRow() const { return plTaskRow_; }
  BundlePtr bundle() const { return bundle_; }
  bool isSendOnly() const { return sendOnly_; }
  Pop3Session* pop3Session() const { return pop3_.get(); }
  SendEngine* sendEngine() const { return sender_.get(); }
  // How long a silent POP3 server is waited for (tests shorten it).
  void setPop3StallTimeout(int milliseconds) { stallMs_ = milliseconds; }

 Q_SIGNALS:
  void EvMailRead(long mailId);
  void ReturnData(long mailId);
  // Every task of the run has ended (ok: none failed and none was stopped).
  void TasksEnded(bool ok);

 private:
  struct Request {
    BundlePtr bundle;
    IHostSystem* system = nullptr;
    AccountPtr account;
    bool sendOnly = true;
  };
  void wait(Request request);
  void startWaiting();
  void onReceiveEnded(Pop3End how, const QString& reason);
  void showBrokenReceive(const QString& reason);
  void endRun();
  void closeWhenDone();
  void setRowDone(int row, bool cancelled);
  void updateSummary();

  ITransferView& view_;
  BundlePtr bundle_;
  IHostSystem* system_ = nullptr;
  AccountPtr poAccount_;
  bool sendOnly_ = false;
  int plTaskRow_ = 0;
  bool finished_ = false;
  bool sending_ = false;
  bool receiving_ = false;
  bool runOk_ = true;
  int stallMs_ = 120000;
  std::optional<Request> waiting_;

  std::unique_ptr<SendEngine> sender_;
  std::unique_ptr<ReceiveMailbox> mailbox_;
  std::unique_ptr<Pop3Session> pop3_;
};

}  // namespace kvmail
