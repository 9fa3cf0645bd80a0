#include "ScriptedRun.h"

#include <QEventLoop>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

#include "DemoStore.h"
#include "MailList.h"
#include "MainWindow.h"

namespace kvmail::demo {
namespace {

void printTree(const QWidget& window, const QString& name, const QString& heading,
               QTextStream& out) {
  const auto* tree = window.findChild<QTreeWidget*>(name);
  if (!tree || tree->topLevelItemCount() == 0) return;
  out << heading << Qt::endl;
  for (int i = 0; i < tree->topLevelItemCount(); ++i)
    out << "  " << tree->topLevelItem(i)->text(0) << "  [" << tree->topLevelItem(i)->text(1) << ']'
        << Qt::endl;
}

}  // namespace

void printTransfer(const QWidget& window, QTextStream& out) {
  out << "---- 传输日志 ----" << Qt::endl;
  if (const auto* log = window.findChild<QPlainTextEdit*>(QStringLiteral("Txt")))
    out << log->toPlainText().trimmed() << Qt::endl;
  out << "------------------" << Qt::endl;
  printTree(window, QStringLiteral("LV(0)"), QStringLiteral("任务："), out);
  printTree(window, QStringLiteral("LV(1)"), QStringLiteral("错误："), out);
  if (const auto* summary = window.findChild<QLabel*>(QStringLiteral("lblMessage")))
    out << summary->text() << Qt::endl;
  if (const auto* caption = window.findChild<QLabel*>(QStringLiteral("lblCaption")))
    out << caption->text().trimmed() << Qt::endl;
}

// Waits for the end of the run; on time-out presses stop and gives the engines a bounded while.
bool waitForEnd(clsMail& mail, const bool& ended, int timeoutSeconds, QTextStream& out) {
  QEventLoop loop;
  QTimer deadline;
  deadline.setSingleShot(true);
  QObject::connect(&mail, &clsMail::EvTransferEnded, &loop, &QEventLoop::quit);
  QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
  deadline.start(timeoutSeconds * 1000);
  if (!ended) loop.exec();
  if (ended) return true;
  out << "超时：" << timeoutSeconds << " 秒内任务没有结束，正在停止。" << Qt::endl;
  if (auto* stop = mail.transferWidget()->findChild<QPushButton*>(QStringLiteral("Cmd(1)")))
    stop->click();
  deadline.start(30000);
  if (!ended) loop.exec();
  return false;
}

namespace {

int runTransfer(MainWindow& window, const QString& command, int timeoutSeconds, QTextStream& out) {
  QWidget* transfer = window.mail().transferWidget();
  bool ended = false;
  bool ok = false;
  QObject::connect(&window.mail(), &clsMail::EvTransferEnded, transfer, [&](bool result) {
    ended = true;
    ok = result;
  });
  QObject::connect(&window.mail(), &clsMail::EvReturn, transfer,
                   [&out](const QString& ids, long type) {
                     out << "EvReturn " << ids << ' ' << type << Qt::endl;
                   });
  QObject::connect(&window.mail(), &clsMail::EvMailRead, transfer,
                   [&out](long id) { out << "EvMailRead " << id << Qt::endl; });

  bool opened = false;
  if (command == QLatin1String("send"))
    opened = window.sendMail();
  else if (command == QLatin1String("receive"))
    opened = window.receiveMail();
  else
    opened = window.sendReceiveMail();
  if (!opened && !ended && !transfer->isVisible()) {
    out << "没有要执行的任务。" << Qt::endl;
    return ExitOk;
  }
  const bool inTime = waitForEnd(window.mail(), ended, timeoutSeconds, out);
  printTransfer(*transfer, out);
  window.refresh();
  const bool success = inTime && ok;
  out << (success ? "结果：成功" : "结果：失败") << "（列表中共 " << window.rowCount()
      << " 封邮件）" << Qt::endl;
  return success ? ExitOk : ExitTaskFailed;
}

int queueDemoMail(MainWindow& window, QTextStream& out) {
  const AccountPtr account = window.mail().account();
  QString error;
  const long id =
      queueMail(window.host(), demoOutgoingMail(account->sFrom, account->sFromAddress), &error);
  if (id <= 0) {
    out << "无法放入待发队列：" << error << Qt::endl;
    return ExitTaskFailed;
  }
  out << "已放入待发队列：邮件ID " << id << Qt::endl;
  return ExitOk;
}

}  // namespace

void printMailList(MainWindow& window, QTextStream& out) {
  QString error;
  const QList<MailRow> rows = readMailList(window.host(), &error);
  out << mailListHeaders().join(u'\t') << Qt::endl;
  for (const MailRow& row : rows) out << mailListTexts(row).join(u'\t') << Qt::endl;
  if (!error.isEmpty()) out << error << Qt::endl;
  out << "共 " << rows.size() << " 封邮件" << Qt::endl;
}

int runScripted(MainWindow& window, const QString& command, int timeoutSeconds, QTextStream& out,
                const ComposeOptions& compose) {
  if (command == QLatin1String("list")) {
    printMailList(window, out);
    return ExitOk;
  }
  QString error;
  if (!window.startMail(&error)) {
    out << "邮件模块无法启动：" << error << Qt::endl;
    return ExitNoAccount;
  }
  if (command == QLatin1String("queue")) return queueDemoMail(window, out);
  if (command == QLatin1String("compose")) return runCompose(window, compose, timeoutSeconds, out);
  return runTransfer(window, command, timeoutSeconds, out);
}

}  // namespace kvmail::demo
