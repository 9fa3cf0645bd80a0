// The compose command: the real compose window filled in and its buttons pressed, as a user
// would, through the module's public widget and the controls' objectNames.
#include <QAction>
#include <QFileInfo>
#include <QLineEdit>

#include "ConsolePrompt.h"
#include "MainWindow.h"
#include "ScriptedRun.h"
#include "support/Prompt.h"

namespace kvmail::demo {
namespace {

// The console prompt of the run, made and installed when another prompt is in use.
std::shared_ptr<ConsolePrompt> consolePrompt() {
  if (auto console = std::dynamic_pointer_cast<ConsolePrompt>(installedPrompt())) return console;
  auto console = std::make_shared<ConsolePrompt>();
  setPrompt(console);
  return console;
}

bool press(QWidget& window, const char* key, QTextStream& out) {
  auto* action = window.findChild<QAction*>(QLatin1String(key));
  if (!action) {
    out << "写邮件窗口没有 " << key << " 命令。" << Qt::endl;
    return false;
  }
  action->trigger();
  return true;
}

bool fill(QWidget& window, const char* key, const QString& text) {
  auto* field = window.findChild<QLineEdit*>(QLatin1String(key));
  if (field) field->setText(text);
  return field != nullptr;
}

}  // namespace

int runCompose(MainWindow& window, const ComposeOptions& options, int timeoutSeconds,
               QTextStream& out) {
  const QStringList files = QStringList(options.attachments) << options.bodyFile;
  for (const QString& file : files) {
    if (file.isEmpty() || QFileInfo(file).isFile()) continue;
    out << "找不到文件：" << file << Qt::endl;
    return ExitUsage;
  }
  clsMail& mail = window.mail();
  QWidget* compose = mail.composeWidget();
  if (!window.newMail() || !compose || !compose->isVisible()) {
    out << "写邮件窗口无法打开。" << Qt::endl;
    return ExitTaskFailed;
  }
  QStringList stored;
  bool ended = false;
  bool ok = false;
  QObject::connect(&mail, &clsMail::EvReturn, compose, [&](const QString& ids, long type) {
    out << "EvReturn " << ids << ' ' << type << Qt::endl;
    if (type == 1) stored << ids;
  });
  QObject::connect(&mail, &clsMail::EvTransferEnded, compose, [&](bool result) {
    ended = true;
    ok = result;
  });

  if (!fill(*compose, "Txt(1)", options.to) || !fill(*compose, "Txt(3)", options.subject))
    return ExitTaskFailed;
  const std::shared_ptr<ConsolePrompt> console = consolePrompt();
  if (!options.bodyFile.isEmpty()) {
    console->answerOpenFiles({options.bodyFile});
    if (!press(*compose, "mnuFileAddHtml", out)) return ExitTaskFailed;
  }
  for (const QString& file : options.attachments) {
    console->answerOpenFiles({file});
    if (!press(*compose, "TBTattach", out)) return ExitTaskFailed;
  }

  // Sending stores first; closing asks whether to save, and the console answers yes.
  if (!press(*compose, options.send ? "TBSend" : "TBClose", out)) return ExitTaskFailed;
  if (stored.isEmpty()) {
    out << "结果：失败（邮件没有保存）" << Qt::endl;
    // The window still holds the mail: it closes without storing, so nothing asks again later.
    console->answerMessageBox(PromptAnswer::No);
    if (compose->isVisible()) press(*compose, "TBClose", out);
    return ExitTaskFailed;
  }
  out << "已保存到待发队列：邮件ID " << stored.join(QLatin1Char(';')) << Qt::endl;
  window.refresh();
  if (!options.send) return ExitOk;

  const bool inTime = waitForEnd(mail, ended, timeoutSeconds, out);
  printTransfer(*mail.transferWidget(), out);
  window.refresh();
  const bool success = inTime && ok;
  out << (success ? "结果：成功" : "结果：失败") << "（列表中共 " << window.rowCount()
      << " 封邮件）" << Qt::endl;
  return success ? ExitOk : ExitTaskFailed;
}

}  // namespace kvmail::demo
