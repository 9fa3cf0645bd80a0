#pragma once
// What the send and receive engines may touch of the transfer window: log, caption, progress,
// task rows, the error list and the stop button. FrmSend implements it; engines never see widgets.
#include <QString>

namespace kvmail {

class ITransferView {
 public:
  virtual ~ITransferView() = default;

  // Appends text and CR LF to the log when level > 0.
  virtual void WriteLog(const QString& text, int level) = 0;
  virtual void setCaption(const QString& text) = 0;

  virtual void setProgressRange(int minimum, int maximum) = 0;
  virtual int progressValue() const = 0;
  // A value outside the range is ignored, as the bar itself does.
  virtual void setProgressValue(int value) = 0;

  // Task rows are 1-based; column "任务" holds the text, "状态" the state.
  virtual void setTaskText(int row, const QString& text) = 0;
  virtual QString taskText(int row) const = 0;
  virtual void setTaskState(int row, const QString& state) = 0;
  // Column "信息": a short note on the row's progress.
  virtual void setTaskInfo(int row, const QString& info) = 0;

  virtual void addErrorRow(const QString& reason) = 0;
  virtual int errorCount() const = 0;

  // False once the user pressed stop.
  virtual bool isStopEnabled() const = 0;

  virtual void startAnimation(const QString& name) = 0;
  virtual void stopAnimation() = 0;

  // Ends the receive task normally (after the QUIT reply).
  virtual void FinishReceive() = 0;
  // Ends the receive task as failed (connection lost, stalled, refused): the row shows "失败".
  virtual void FailReceive(const QString& reason) = 0;
  // Ends the send task: row state, caption and summary, after every message was tried.
  virtual void FinishSend(int sent, int failed) = 0;
};

}  // namespace kvmail
