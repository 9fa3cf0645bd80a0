#include "ScriptedPrompt.h"

#include "support/PrintFile.h"

namespace kvtest {

using kvmail::PromptAnswer;
using kvmail::PromptButtons;

QList<ScriptedPrompt::Record> ScriptedPrompt::records(Kind kind) const {
  QList<Record> out;
  for (const Record& r : records_)
    if (r.kind == kind) out << r;
  return out;
}

QStringList ScriptedPrompt::messages() const {
  QStringList out;
  for (const Record& r : records(Kind::MessageBox)) out << r.text;
  return out;
}

PromptAnswer ScriptedPrompt::messageBox(const QString& text, const QString& title,
                                        kvmail::PromptIcon icon, PromptButtons buttons, QWidget*) {
  Record r;
  r.kind = Kind::MessageBox;
  r.text = text;
  r.title = title;
  r.icon = icon;
  r.buttons = buttons;
  records_ << r;
  if (!answers_.isEmpty()) return answers_.dequeue();
  const bool yesFirst = buttons == PromptButtons::YesNo || buttons == PromptButtons::YesNoCancel;
  return yesFirst ? PromptAnswer::Yes : PromptAnswer::Ok;
}

QStringList ScriptedPrompt::openFiles(const QString& title, const QString& filter,
                                      const QString& folder, bool multiple, QWidget*) {
  Record r;
  r.kind = Kind::OpenFiles;
  r.title = title;
  r.filter = filter;
  r.folder = folder;
  r.multiple = multiple;
  records_ << r;
  return openFiles_.isEmpty() ? QStringList() : openFiles_.dequeue();
}

QString ScriptedPrompt::saveFile(const QString& title, const QString& filter,
                                 const QString& suggestedPath, QWidget*) {
  Record r;
  r.kind = Kind::SaveFile;
  r.title = title;
  r.filter = filter;
  r.folder = suggestedPath;
  records_ << r;
  return saveFiles_.isEmpty() ? QString() : saveFiles_.dequeue();
}

std::optional<QColor> ScriptedPrompt::pickColour(const QColor& initial, QWidget*) {
  Record r;
  r.kind = Kind::PickColour;
  r.colour = initial;
  records_ << r;
  return colours_.isEmpty() ? std::nullopt : colours_.dequeue();
}

bool ScriptedPrompt::openWithDesktop(const QString& path) {
  Record r;
  r.kind = Kind::OpenWithDesktop;
  r.text = path;
  records_ << r;
  return opened_.isEmpty() ? true : opened_.dequeue();
}

ScopedPrompt::ScopedPrompt()
    : scripted_(std::make_shared<ScriptedPrompt>()), previous_(kvmail::installedPrompt()) {
  kvmail::setPrompt(scripted_);
}

ScopedPrompt::~ScopedPrompt() {
  kvmail::setPrompt(previous_);
}

QString ScriptedPrompt::printFile(const QString& path, QWidget*) {
  Record r;
  r.kind = Kind::PrintFile;
  r.text = path;
  records_ << r;
  return kvmail::printFileToPdf(path);
}

}  // namespace kvtest
