#pragma once
// The one seam for everything that asks the user: message boxes, file and colour dialogs,
// and opening a file with its associated program. Tests install a scripted prompt.
#include <QColor>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QWidget;

namespace kvmail {

enum class PromptIcon { None, Information, Question, Exclamation, Critical };
enum class PromptButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class PromptAnswer { Ok, Cancel, Yes, No };

class IPrompt {
 public:
  virtual ~IPrompt() = default;

  virtual PromptAnswer messageBox(const QString& text, const QString& title, PromptIcon icon,
                                  PromptButtons buttons = PromptButtons::Ok,
                                  QWidget* parent = nullptr) = 0;
  // File dialogs answer the chosen path(s), or nothing when the user cancelled.
  virtual QStringList openFiles(const QString& title, const QString& filter, const QString& folder,
                                bool multiple, QWidget* parent = nullptr) = 0;
  virtual QString saveFile(const QString& title, const QString& filter,
                           const QString& suggestedPath, QWidget* parent = nullptr) = 0;
  virtual std::optional<QColor> pickColour(const QColor& initial, QWidget* parent = nullptr) = 0;
  // Opens a file with the desktop's associated program, or a web or mail link ("https://...",
  // "mailto:...") with the user's browser or mail program; true when it was started.
  virtual bool openWithDesktop(const QString& path) = 0;
  // Prints a text or HTML file: through the print dialog on a desktop; with no display, into a
  // PDF beside the file. Answers where it went (the printer's name or the PDF's path), or ""
  // when the user cancelled or the file could not be read.
  virtual QString printFile(const QString& path, QWidget* parent = nullptr);
};

// The prompt in use (the Qt dialogs unless something else was installed).
IPrompt& prompt();
// Installs another prompt (tests, scripted runs); nullptr restores the Qt dialogs.
void setPrompt(std::shared_ptr<IPrompt> replacement);
// The prompt installed by setPrompt, or nullptr while the Qt dialogs are in use (for restoring).
std::shared_ptr<IPrompt> installedPrompt();

}  // namespace kvmail
