#pragma once
// What the transfer run and its engines may touch of the transfer window: log, caption,
// progress, the task and error lists, the stop button, the animation and the user's answers.
// FrmSend implements it with widgets; tests implement it with plain fields.
#include <QString>

#include "support/Prompt.h"

namespace kvmail {

// The small icon of a task row: its column "图标" holds 1 for a finished row, 4 for a stopped or
// failed one; the picture tells the four apart.
enum class TaskIcon { None, Done, Cancelled, Warning, Failed };

class ITransferView {
 public:
  virtual ~ITransferView() = default;

  // Appends text and CR LF to the log when level > 0.
  virtual void WriteLog(const QString& text, int level) = 0;
  virtual void setCaption(const QString& text) = 0;
  virtual QString caption() const = 0;

  virtual void setProgressRange(int minimum, int maximum) = 0;
  virtual int progressValue() const = 0;
  // A value outside the range is ignored, as the bar itself does.
  virtual void setProgressValue(int value) = 0;

  // A new run: empty task list, error list and log.
  virtual void clearRun() = 0;
  // Task rows are 1-based; columns "任务", "状态", "连接", "已完成", "图标", "信息".
  virtual int addTaskRow(const QString& text, const QString& link) = 0;
  virtual int taskCount() const = 0;
  virtual void setTaskText(int row, const QString& text) = 0;
  virtual QString taskText(int row) const = 0;
  virtual void setTaskState(int row, const QString& state) = 0;
  virtual QString taskState(int row) const = 0;
  virtual void setTaskDone(int row, const QString& done) = 0;
  virtual QString taskDone(int row) const = 0;
  virtual void setTaskIcon(int row, TaskIcon icon) = 0;
  // Column "信息": a short note on the row's progress.
  virtual void setTaskInfo(int row, const QString& info) = 0;
  // The summary line under the lists.
  virtual void setSummary(const QString& text) = 0;

  virtual void addErrorRow(const QString& reason) = 0;
  virtual int errorCount() const = 0;
  // Brings the task list (false) or the error list (true) to the front.
  virtual void showErrorPage(bool errors) = 0;

  // False once the user pressed stop.
  virtual bool isStopEnabled() const = 0;
  virtual void setStopEnabled(bool enabled) = 0;

  virtual void startAnimation(const QString& name) = 0;
  virtual void stopAnimation() = 0;

  // "完成后关闭此窗口", and closing the window when it is ticked.
  virtual bool closeWhenDone() const = 0;
  virtual void hideWindow() = 0;

  // Asks the user (a message box owned by the window) and answers the button pressed.
  virtual PromptAnswer ask(const QString& text, const QString& title, PromptIcon icon,
                           PromptButtons buttons = PromptButtons::Ok) = 0;
  // Shows what the engines wrote now rather than at the next coalesced refresh.
  virtual void refresh() = 0;
};

}  // namespace kvmail
