#pragma once
// The send/receive progress window: a task list, caption, progress bar, animation, log and
// summary. It shows what its transfer run (TransferRun) reports and passes on the buttons.
// Controls carry the names callers and tests look for: "LV(0)" tasks, "LV(1)" errors, "Txt",
// "lblCaption", "lblMessage", "ProgBar", "Animation1", "Img", "XTab", "Cmd(0)" close,
// "Cmd(1)" stop, "Cmd(2)" details, "Chk".
#include <QMap>
#include <QTimer>
#include <QWidget>

#include <memory>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"
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
class TransferAnimation;
class TransferRun;

class FrmSend : public QWidget, public ITransferView {
  Q_OBJECT
 public:
  explicit FrmSend(QWidget* parent = nullptr);
  ~FrmSend() override;

  // Called by the service: keeps the arguments, shows the window and starts the tasks. During a
  // run the window comes forward and the request waits for the run to end.
  void py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
               bool sendOnly, const QString& caption);
  void StartTasks();
  void StartReceive();

  // ITransferView
  void WriteLog(const QString& text, int level) override;
  void setCaption(const QString& text) override;
  QString caption() const override { return caption_; }
  void setProgressRange(int minimum, int maximum) override;
  int progressValue() const override;
  void setProgressValue(int value) override;
  void clearRun() override;
  int addTaskRow(const QString& text, const QString& link) override;
  int taskCount() const override;
  void setTaskText(int row, const QString& text) override;
  QString taskText(int row) const override;
  void setTaskState(int row, const QString& state) override;
  QString taskState(int row) const override;
  void setTaskDone(int row, const QString& done) override;
  QString taskDone(int row) const override;
  void setTaskIcon(int row, TaskIcon icon) override;
  void setTaskInfo(int row, const QString& info) override;
  void setSummary(const QString& text) override;
  void addErrorRow(const QString& reason) override;
  int errorCount() const override;
  void showErrorPage(bool errors) override;
  bool isStopEnabled() const override;
  void setStopEnabled(bool enabled) override;
  void startAnimation(const QString& name) override;
  void stopAnimation() override;
  bool closeWhenDone() const override;
  void hideWindow() override { hide(); }
  PromptAnswer ask(const QString& text, const QString& title, PromptIcon icon,
                   PromptButtons buttons = PromptButtons::Ok) override;
  void refresh() override { refreshNow(); }

  // The caption exactly as set (the label shows it with plain line breaks).
  QString captionText() const { return caption_; }
  TransferRun& run() const { return *run_; }
  bool isBusy() const;
  bool lastRunOk() const;
  int plTaskRow() const;
  BundlePtr bundle() const;
  bool isSendOnly() const;
  Pop3Session* pop3Session() const;
  // How long a silent POP3 server is waited for (tests shorten it).
  void setPop3StallTimeout(int milliseconds);

 Q_SIGNALS:
  void EvMailRead(long mailId);
  void ReturnData(long mailId);
  // Every task of the run has ended (ok: none failed and none was stopped).
  void TasksEnded(bool ok);

 private:
  void buildUi();
  void onDetails();
  // Caption, progress and log reach the widgets a few times a second: a
  // repaint per received piece would cost more than the transfer itself.
  void scheduleRefresh();
  void refreshNow();

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

  QString caption_;
  int progressMin_ = 0, progressMax_ = 100, progressValue_ = 0;
  QString pendingLog_;
  QMap<int, QString> pendingInfo_;  // task row -> the text for its information column
  QTimer refreshTimer_;
  std::unique_ptr<TransferRun> run_;
};

}  // namespace kvmail
