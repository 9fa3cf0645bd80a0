#pragma once
// The prompt of a scripted run: every message box goes to stderr with its title and text and is
// answered with its default button, every dialog is cancelled unless a file was queued for it, so
// nothing ever waits for a user.
#include <QQueue>
#include <QTextStream>

#include "support/Prompt.h"

namespace kvmail::demo {

class ConsolePrompt : public IPrompt {
 public:
  explicit ConsolePrompt(FILE* stream = stderr);

  PromptAnswer messageBox(const QString& text, const QString& title, PromptIcon icon,
                          PromptButtons buttons = PromptButtons::Ok,
                          QWidget* parent = nullptr) override;
  QStringList openFiles(const QString& title, const QString& filter, const QString& folder,
                        bool multiple, QWidget* parent = nullptr) override;
  QString saveFile(const QString& title, const QString& filter, const QString& suggestedPath,
                   QWidget* parent = nullptr) override;
  std::optional<QColor> pickColour(const QColor& initial, QWidget* parent = nullptr) override;
  bool openWithDesktop(const QString& path) override;
  QString printFile(const QString& path, QWidget* parent = nullptr) override;

  // The next open dialog picks these files instead of being cancelled (a scripted compose).
  void answerOpenFiles(const QStringList& paths) { openFiles_.enqueue(paths); }
  // The next message box gets this answer instead of its default button.
  void answerMessageBox(PromptAnswer answer) { answers_.enqueue(answer); }

  // The default button of a box: the first one (OK, or Yes).
  static PromptAnswer defaultAnswer(PromptButtons buttons);

 private:
  void say(const QString& line);
  QTextStream out_;
  QQueue<QStringList> openFiles_;
  QQueue<PromptAnswer> answers_;
};

}  // namespace kvmail::demo
