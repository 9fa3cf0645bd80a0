#include "ConsolePrompt.h"

namespace kvmail::demo {

ConsolePrompt::ConsolePrompt(FILE* stream) : out_(stream) {}

void ConsolePrompt::say(const QString& line) {
  out_ << line << Qt::endl;  // flushed at once: the order beside the log must hold
}

PromptAnswer ConsolePrompt::defaultAnswer(PromptButtons buttons) {
  switch (buttons) {
    case PromptButtons::YesNo:
    case PromptButtons::YesNoCancel:
      return PromptAnswer::Yes;
    case PromptButtons::Ok:
    case PromptButtons::OkCancel:
      break;
  }
  return PromptAnswer::Ok;
}

PromptAnswer ConsolePrompt::messageBox(const QString& text, const QString& title, PromptIcon,
                                       PromptButtons buttons, QWidget*) {
  const PromptAnswer answer = answers_.isEmpty() ? defaultAnswer(buttons) : answers_.dequeue();
  const QString pressed = answer == PromptAnswer::Yes      ? QStringLiteral("是")
                          : answer == PromptAnswer::No     ? QStringLiteral("否")
                          : answer == PromptAnswer::Cancel ? QStringLiteral("取消")
                                                           : QStringLiteral("确定");
  say(QStringLiteral("[消息框] %1 %2 [%3]").arg(title, text, pressed));
  return answer;
}

QStringList ConsolePrompt::openFiles(const QString& title, const QString&, const QString&, bool,
                                     QWidget*) {
  if (!openFiles_.isEmpty()) {
    const QStringList chosen = openFiles_.dequeue();
    say(QStringLiteral("[对话框] %1 [%2]").arg(title, chosen.join(QStringLiteral("; "))));
    return chosen;
  }
  say(QStringLiteral("[对话框] %1 [取消]").arg(title));
  return {};
}

QString ConsolePrompt::saveFile(const QString& title, const QString&, const QString&, QWidget*) {
  say(QStringLiteral("[对话框] %1 [取消]").arg(title));
  return {};
}

std::optional<QColor> ConsolePrompt::pickColour(const QColor&, QWidget*) {
  say(QStringLiteral("[对话框] 颜色 [取消]"));
  return std::nullopt;
}

bool ConsolePrompt::openWithDesktop(const QString& path) {
  say(QStringLiteral("[打开文件] %1 [未打开]").arg(path));
  return false;
}

QString ConsolePrompt::printFile(const QString& path, QWidget* parent) {
  // Without a screen the module prints into a PDF beside the file; say where it went.
  const QString where = IPrompt::printFile(path, parent);
  say(QStringLiteral("[打印] %1 [%2]")
          .arg(path, where.isEmpty() ? QStringLiteral("未打印") : where));
  return where;
}

}  // namespace kvmail::demo
