#pragma once
// The prompt that shows real Qt dialogs and opens files with the desktop's programs.
#include "support/Prompt.h"

namespace kvmail {

class QtPrompt : public IPrompt {
 public:
  PromptAnswer messageBox(const QString& text, const QString& title, PromptIcon icon,
                          PromptButtons buttons = PromptButtons::Ok,
                          QWidget* parent = nullptr) override;
  QStringList openFiles(const QString& title, const QString& filter, const QString& folder,
                        bool multiple, QWidget* parent = nullptr) override;
  QString saveFile(const QString& title, const QString& filter, const QString& suggestedPath,
                   QWidget* parent = nullptr) override;
  std::optional<QColor> pickColour(const QColor& initial, QWidget* parent = nullptr) override;
  std::optional<QString> inputText(const QString& title, const QString& label,
                                   const QString& initial, QWidget* parent = nullptr) override;
  bool openWithDesktop(const QString& path) override;
};

// Turns a classic filter ("All (*.*)|*.*", parts separated by "|" or ":") into Qt's form
// ("All (*)"); a filter already in Qt's form passes unchanged.
QString toQtFilter(const QString& filter);

}  // namespace kvmail
