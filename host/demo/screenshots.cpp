// Renders every window of the demo into PNG files for the README, each under a drawn title bar
// (grabbing a widget shows no frame). Run by scripts/screenshots.sh against the loopback servers.
//   kvhost_screenshots <store> <output folder>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QTextStream>
#include <QTimer>

#include "AccountDialog.h"
#include "ConsolePrompt.h"
#include "DemoStore.h"
#include "MainWindow.h"
#include "ScriptedRun.h"
#include "store/HostSystem.h"

using namespace kvmail;
using namespace kvmail::demo;

namespace {

bool save(QWidget* window, const QString& path) {
  window->show();
  QApplication::processEvents();
  const QPixmap body = window->grab();
  const int bar = 28;
  QPixmap shot(body.width() + 2, body.height() + bar + 1);
  shot.fill(QColor(0x5b, 0x6b, 0x7f));
  QPainter painter(&shot);
  painter.drawPixmap(1, bar, body);
  painter.setPen(Qt::white);
  QFont font = painter.font();
  font.setPointSize(10);
  painter.setFont(font);
  painter.drawText(QRect(10, 0, shot.width() - 20, bar), Qt::AlignVCenter | Qt::AlignLeft,
                   window->windowTitle());
  painter.end();
  return shot.save(path);
}

// The viewer on the Chinese HTML mail with an inline picture and two attachments that the
// script drops into the mailbox (any mail when that one is missing).
bool saveViewer(MainWindow& window, IHostSystem& host, const QString& path) {
  const auto rs = host.openQuery(
      QStringLiteral("select 邮件ID from msgmail where 主题='第二季度报价单及合同'"));
  const long id = rs && !rs->atEnd() ? rs->text(0).toLong() : window.currentMailId();
  window.displayMail(id);
  QWidget* viewer = window.mail().viewerWidget();
  viewer->resize(760, 620);
  return save(viewer, path);
}

void press(QWidget* window, const char* key) {
  if (auto* action = window->findChild<QAction*>(QLatin1String(key))) action->trigger();
}

// The compose window with a mail a user might write: recipients, subject, body, two attachments
// and high priority.
void fillCompose(QWidget* compose, ConsolePrompt& console, const QString& folder) {
  compose->findChild<QLineEdit*>(QStringLiteral("Txt(1)"))
      ->setText(QStringLiteral("王经理<wang@customer.example>"));
  compose->findChild<QLineEdit*>(QStringLiteral("Txt(2)"))
      ->setText(QStringLiteral("finance@kvmail.test"));
  compose->findChild<QLineEdit*>(QStringLiteral("Txt(3)"))
      ->setText(QStringLiteral("十一月对账单及报价"));
  compose->findChild<QTextEdit*>(QStringLiteral("Body"))
      ->setHtml(QStringLiteral(
          "<p>王经理：您好！</p><p>附件是贵公司十一月的<b>对账单</b>和新产品的报价单，"
          "请查收。如有疑问，请随时与我联系。</p><p>此致<br>敬礼</p><p>销售部 李四</p>"));
  for (const char* name : {"十一月对账单.xlsx", "产品报价单.pdf"}) {
    const QString path = folder + u'/' + QString::fromUtf8(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) file.write(QByteArray(2048, 'x'));
    console.answerOpenFiles({path});
    press(compose, "TBTattach");
  }
  press(compose, "mnuTool_H");
}

void closeWithoutSaving(QWidget* compose, ConsolePrompt& console) {
  console.answerMessageBox(PromptAnswer::No);
  press(compose, "TBClose");
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QTextStream out(stdout);
  if (argc < 3) {
    out << "usage: kvhost_screenshots <store> <output folder>" << Qt::endl;
    return 2;
  }
  const QString dir = QString::fromLocal8Bit(argv[2]);
  QDir().mkpath(dir);
  auto console = std::make_shared<ConsolePrompt>();
  setPrompt(console);
  auto options = host::HostOptions::sqlite(QString::fromLocal8Bit(argv[1]));
  options.userId = QStringLiteral("1");
  options.operatorName = QStringLiteral("演示用户");
  auto host = std::make_shared<host::SqlHostSystem>(options);
  if (const QString error = openDemoStore(*host); !error.isEmpty()) {
    out << error << Qt::endl;
    return 3;
  }
  MainWindow window(host, kDemoProgId);
  const int code = runScripted(window, QStringLiteral("send-receive"), 120, out);
  QWidget* transfer = window.mail().transferWidget();
  bool ok = save(transfer, dir + QStringLiteral("/transfer.png"));
  transfer->hide();
  window.refresh();
  ok = save(&window, dir + QStringLiteral("/main.png")) && ok;

  AccountDialog dialog(*host, &window);
  ok = save(&dialog, dir + QStringLiteral("/account.png")) && ok;
  dialog.hide();

  QWidget* compose = window.mail().composeWidget();
  window.newMail();
  fillCompose(compose, *console, QDir::tempPath());
  compose->resize(760, 560);
  ok = save(compose, dir + QStringLiteral("/compose.png")) && ok;
  closeWithoutSaving(compose, *console);
  window.batchNew();
  press(compose, "TBNext");
  ok = save(compose, dir + QStringLiteral("/compose-batch.png")) && ok;
  closeWithoutSaving(compose, *console);
  ok = saveViewer(window, *host, dir + QStringLiteral("/viewer.png")) && ok;
  out << (ok ? "screenshots written to " : "could not write every screenshot to ") << dir
      << Qt::endl;
  return ok && code == ExitOk ? 0 : 1;
}
