#pragma once
// The send/receive progress window: a task list, caption, progress bar, animation, log and
// summary around the two engines (sending the queue, receiving by POP3).
// Controls carry the names callers and tests look for: "LV(0)" tasks, "LV(1)" errors, "Txt",
// "lblCaption", "lblMessage", "ProgBar", "Animation1", "Img", "XTab", "Cmd(0)" close,
// "Cmd(1)" stop, "Cmd(2)" details, "Chk".
#include <QMap>
#include <QTimer>
#include <QWidget>

#include <memory>

#include "model/ModelTypes.h"
#include "service/clsAccount.h"
#include "transfer/TransferView.h"

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTabWidget;
class QTreeWidget;

namespace kvmail {

class IHostSystem;
class Pop3Session;
class ReceivedMailStore;
class SendEngine;
class TransferAnimation;

class FrmSend : public QWidget, public ITransferView {
  Q_OBJECT
 public:
  explicit FrmSend(QWidget* parent = nullptr);
  ~FrmSend() override;

  // Called by the service: keeps the arguments, shows the window and starts the tasks.
  void py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
               bool sendOnly, const QString& caption);
  void StartTasks();
  void StartReceive();

  // ITransferView
  void WriteLog(const QString& text, int level) override;
  void setCaption(const QString& text) override;
  void setProgressRange(int minimum, int maximum) override;
  int progressValue() const override;
  void setProgressValue(int value) override;
  void setTaskText(int row, const QString& text) override;
  QString taskText(int row) const override;
  void setTaskState(int row, const QString& state) override;
  void setTaskInfo(int row, const QString& info) override;
  void addErrorRow(const QString& reason) override;
  int errorCount() const override;
  bool isStopEnabled() const override;
  void startAnimation(const QString& name) override;
  void stopAnimation() override;
  void FinishReceive() override;
  void FailReceive(const QString& reason) override;
  void FinishSend(int sent, int failed) override;

  // The caption exactly as set (the label shows it with plain line breaks).
  QString captionText() const { return caption_; }
  bool isBusy() const { return sending_ || receiving_; }
  // False when the last run had a failed task, a failed message or was stopped.
  bool lastRunOk() const { return runOk_; }
  int plTaskRow() const { return plTaskRow_; }
  BundlePtr bundle() const { return bundle_; }
  bool isSendOnly() const { return sendOnly_; }
  Pop3Session* pop3Session() const { return pop3_.get(); }
  // How long a silent POP3 server is waited for (tests shorten it).
  void setPop3StallTimeout(int milliseconds) { stallMs_ = milliseconds; }

 Q_SIGNALS:
  void EvMailRead(long mailId);
  void ReturnData(long mailId);
  // Every task of the run has ended (ok: none failed and none was stopped).
  void TasksEnded(bool ok);

 private:
  void buildUi();
  void onStop();
  void onClose();
  void onDetails();
  void onReceiveEnded(bool ok);
  void endRun();
  void closeWhenDone();
  // Caption, progress and log reach the widgets a few times a second: a
  // repaint per received piece would cost more than the transfer itself.
  void scheduleRefresh();
  void refreshNow();
  int addTaskRow(const QString& text);
  void setRowDone(int row, bool cancelled);
  void updateSummary();

  QTreeWidget* lvTasks_ = nullptr;
  QTreeWidget* lvErrors_ = nullptr;
  QPlainTextEdit* txt_ = nullptr;
  QLabel* lblCaption_ = nullptr;
  QLabel* lblMessage_ = nullptr;
  QProgressBar* progBar_ = nullptr;
  TransferAnimation* animation_ = nullptr;
  QLabel* img_ = nullptr;
  QTabWidget* xTab_ = nullptr;
  QWidget* details_ = nullptr;
  QPushButton* cmdClose_ = nullptr;
  QPushButton* cmdStop_ = nullptr;
  QPushButton* cmdDetails_ = nullptr;
  QCheckBox* chk_ = nullptr;

  BundlePtr bundle_;
  IHostSystem* system_ = nullptr;
  AccountPtr poAccount_;
  bool sendOnly_ = false;
  int plTaskRow_ = 0;
  bool finished_ = false;
  bool sending_ = false;
  bool receiving_ = false;
  bool runOk_ = true;
  QString caption_;
  int stallMs_ = 120000;
  int progressMin_ = 0, progressMax_ = 100, progressValue_ = 0;
  QString pendingLog_;
  QMap<int, QString> pendingInfo_;  // task row -> the text for its information column
  QTimer refreshTimer_;

  std::unique_ptr<SendEngine> sender_;
  std::unique_ptr<ReceivedMailStore> store_;
  std::unique_ptr<Pop3Session> pop3_;
};

}  // namespace kvmail
