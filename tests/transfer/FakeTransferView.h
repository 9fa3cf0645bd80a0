#pragma once
// The transfer window's view as plain fields: what the run and its engines showed, without a
// window. Questions go to the installed prompt (the scripted one in tests).
#include <QList>
#include <QStringList>

#include <functional>

#include "transfer/TransferView.h"

namespace kvtest {

struct TaskRow {
  QString text, state, done;
};

class FakeTransferView : public kvmail::ITransferView {
 public:
  QStringList log;  // one entry per WriteLog with a level above 0, without its CR LF
  QString captionText, summary;
  QList<TaskRow> tasks;
  QStringList errors;
  int progress = 0;  // what the engines add up; the bar's range is the window's
  bool stopEnabled = true, closeChecked = false, hidden = false, errorPage = false;
  QStringList animations;  // "ReceiveMail" while playing, "-" when stopped
  // Runs while a question is open, as a user who takes their time would leave it open.
  std::function<void()> whileAsked;

  QString logText() const { return log.join(QLatin1Char('\n')); }

  void WriteLog(const QString& text, int level) override {
    if (level > 0) log << text;
  }
  void setCaption(const QString& text) override { captionText = text; }
  QString caption() const override { return captionText; }
  void setProgressRange(int, int) override {}
  int progressValue() const override { return progress; }
  void setProgressValue(int value) override { progress = value; }
  void clearRun() override {
    tasks.clear();
    errors.clear();
    log.clear();
  }
  int addTaskRow(const QString& text, const QString&) override {
    tasks.append(TaskRow{text, {}, {}});
    return int(tasks.size());
  }
  int taskCount() const override { return int(tasks.size()); }
  const TaskRow* row(int r) const { return r >= 1 && r <= tasks.size() ? &tasks[r - 1] : nullptr; }
  template <typename T>
  void set(int r, T TaskRow::*field, const T& value) {
    if (r >= 1 && r <= tasks.size()) tasks[r - 1].*field = value;
  }
  void setTaskText(int r, const QString& text) override { set(r, &TaskRow::text, text); }
  QString taskText(int r) const override { return row(r) ? row(r)->text : QString(); }
  void setTaskState(int r, const QString& state) override { set(r, &TaskRow::state, state); }
  QString taskState(int r) const override { return row(r) ? row(r)->state : QString(); }
  void setTaskDone(int r, const QString& done) override { set(r, &TaskRow::done, done); }
  QString taskDone(int r) const override { return row(r) ? row(r)->done : QString(); }
  void setTaskIcon(int, kvmail::TaskIcon) override {}
  void setTaskInfo(int, const QString&) override {}
  void setSummary(const QString& text) override { summary = text; }
  void addErrorRow(const QString& reason) override { errors << reason; }
  int errorCount() const override { return int(errors.size()); }
  void showErrorPage(bool e) override { errorPage = e; }
  bool isStopEnabled() const override { return stopEnabled; }
  void setStopEnabled(bool enabled) override { stopEnabled = enabled; }
  void startAnimation(const QString& name) override { animations << name; }
  void stopAnimation() override { animations << u"-"_s; }
  bool closeWhenDone() const override { return closeChecked; }
  void hideWindow() override { hidden = true; }
  kvmail::PromptAnswer ask(const QString& text, const QString& title, kvmail::PromptIcon icon,
                           kvmail::PromptButtons buttons) override {
    if (whileAsked) whileAsked();
    return kvmail::prompt().messageBox(text, title, icon, buttons);
  }
  void refresh() override {}
};

}  // namespace kvtest
