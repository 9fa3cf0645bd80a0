// Renders every window of the demo into PNG files for the README, each under a drawn title bar
// (grabbing a widget shows no frame). Run by scripts/screenshots.sh against the loopback servers.
//   kvhost_screenshots <store> <output folder>
#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPlainTextEdit>
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
  setPrompt(std::make_shared<ConsolePrompt>());
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

  window.newMail();
  window.mail().composeWidget()->resize(640, 420);
  ok = save(window.mail().composeWidget(), dir + QStringLiteral("/compose.png")) && ok;
  window.mail().composeWidget()->hide();
  ok = saveViewer(window, *host, dir + QStringLiteral("/viewer.png")) && ok;
  out << (ok ? "screenshots written to " : "could not write every screenshot to ") << dir
      << Qt::endl;
  return ok && code == ExitOk ? 0 : 1;
}
