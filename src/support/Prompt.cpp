#include "support/Prompt.h"

#include "support/QtPrompt.h"

namespace kvmail {
namespace {

std::shared_ptr<IPrompt>& installed() {
  static std::shared_ptr<IPrompt> current;
  return current;
}

}  // namespace

std::optional<QString> IPrompt::inputText(const QString&, const QString&, const QString&,
                                          QWidget*) {
  return std::nullopt;
}

IPrompt& prompt() {
  if (const auto& p = installed()) return *p;
  static QtPrompt dialogs;
  return dialogs;
}

void setPrompt(std::shared_ptr<IPrompt> replacement) {
  installed() = std::move(replacement);
}

std::shared_ptr<IPrompt> installedPrompt() {
  return installed();
}

}  // namespace kvmail
