// kvhost: the demo host application. Without a command it opens the main window; with one it
// runs that operation on the same windows and prints what happened.
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include "AccountRecord.h"
#include "ConsolePrompt.h"
#include "DemoOptions.h"
#include "DemoStore.h"
#include "MainWindow.h"
#include "ScriptedRun.h"
#include "ShowMail.h"
#include "support/Prompt.h"

using namespace kvmail;
using namespace kvmail::demo;

namespace {

// Qt's notes about the screenless platform would only bury the log of a scripted run.
void quietPlatformNotes(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (type == QtWarningMsg && (text.startsWith(QLatin1String("This plugin does not support")) ||
                               text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR"))))
    return;
  QTextStream(stderr) << qFormatLogMessage(type, context, text) << Qt::endl;
}

bool hasDisplay() {
  return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// --smtp-port and --pop3-port write the account's ports, as the account dialog would.
QString rewritePorts(host::SqlHostSystem& host, int smtpPort, int pop3Port) {
  QString error;
  AccountRecord record = loadAccountRecord(host, &error);
  if (!error.isEmpty()) return error;
  if (!record.exists) return QStringLiteral("没有可修改的邮件帐户。");
  if (smtpPort > 0) record.smtpPort = smtpPort;
  if (pop3Port > 0) record.pop3Port = pop3Port;
  return saveAccountRecord(host, record);
}

}  // namespace

int main(int argc, char** argv) {
  QTextStream out(stdout);
  QTextStream err(stderr);
  QStringList args;
  for (int i = 1; i < argc; ++i) args.append(QString::fromLocal8Bit(argv[i]));
  DemoOptions options;
  const QString usageError = parseOptions(args, &options);
  if (!usageError.isEmpty()) {
    err << usageError << "\n\n" << usageText();
    return ExitUsage;
  }
  if (options.help) {
    out << usageText();
    return ExitOk;
  }
  const bool scripted = !options.command.isEmpty();
  if (!hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    if (!scripted) {
      err << "没有图形显示（DISPLAY 和 WAYLAND_DISPLAY 都未设置）。请在桌面中运行，"
             "或者给出命令，例如：kvhost send-receive"
          << Qt::endl;
      return ExitUsage;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");  // a scripted run needs no screen
  }
  if (scripted) qInstallMessageHandler(quietPlatformNotes);
  // Without TZ, the C library looks at /etc/localtime's status on every local-time conversion,
  // twice for each stored mail; naming that same zone file once spares those calls.
  if (!qEnvironmentVariableIsSet("TZ") && QFileInfo::exists(QStringLiteral("/etc/localtime")))
    qputenv("TZ", ":/etc/localtime");

  QApplication app(argc, argv);
  QApplication::setApplicationName(QStringLiteral("kvhost"));
  if (scripted) setPrompt(std::make_shared<ConsolePrompt>());

  if (options.store.engine == host::SqlEngine::Sqlite)
    QDir().mkpath(QFileInfo(options.store.sqlitePath).absolutePath());
  auto host = std::make_shared<host::SqlHostSystem>(options.store);
  QString error = openDemoStore(*host);
  if (error.isEmpty() && (options.smtpPort > 0 || options.pop3Port > 0))
    error = rewritePorts(*host, options.smtpPort, options.pop3Port);
  if (!error.isEmpty()) {
    prompt().messageBox(QStringLiteral("无法打开数据库：") + error, QStringLiteral("错误："),
                        PromptIcon::Critical);
    return ExitNoStore;
  }

  MainWindow window(host, kDemoProgId);
  if (options.command == QLatin1String("show"))
    return runShow(window, options.showId, options.saveAttachmentsDir, out);
  if (scripted)
    return runScripted(window, options.command, options.timeoutSeconds, out, options.compose);

  QObject::connect(&window, &MainWindow::closed, &app, &QApplication::quit);
  window.show();
  QString initError;
  if (!window.startMail(&initError))
    prompt().messageBox(initError + QStringLiteral("\n请在“文件 → 帐户设置”中填写邮件帐户。"),
                        QStringLiteral("提示："), PromptIcon::Information);
  return app.exec();
}
