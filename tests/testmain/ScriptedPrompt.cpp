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
  records_ << Record{
      .kind = Kind::MessageBox, .text = text, .title = title, .icon = icon, .buttons = buttons};
  if (!answers_.isEmpty()) return answers_.dequeue();
  const bool yesFirst = buttons == PromptButtons::YesNo || buttons == PromptButtons::YesNoCancel;
  return yesFirst ? PromptAnswer::Yes : PromptAnswer::Ok;
}

QStringList ScriptedPrompt::openFiles(const QString& title, const QString& filter,
                                      const QString& folder, bool multiple, QWidget*) {
  records_ << Record{.kind = Kind::OpenFiles,
                     .title = title,
                     .filter = filter,
                     .folder = folder,
                     .multiple = multiple};
  return openFiles_.isEmpty() ? QStringList() : openFiles_.dequeue();
}

QString ScriptedPrompt::saveFile(const QString& title, const QString& filter,
                                 const QString& suggestedPath, QWidget*) {
  records_ << Record{
      .kind = Kind::SaveFile, .title = title, .filter = filter, .folder = suggestedPath};
  return saveFiles_.isEmpty() ? QString() : saveFiles_.dequeue();
}

std::optional<QColor> ScriptedPrompt::pickColour(const QColor& initial, QWidget*) {
  records_ << Record{.kind = Kind::PickColour, .colour = initial};
  return colours_.isEmpty() ? std::nullopt : colours_.dequeue();
}

bool ScriptedPrompt::openWithDesktop(const QString& path) {
  records_ << Record{.kind = Kind::OpenWithDesktop, .text = path};
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
  records_ << Record{.kind = Kind::PrintFile, .text = path};
  return kvmail::printFileToPdf(path);
}

}  // namespace kvtest
