// The demo host's main window on a store of 100,000 mails: the time from creating the window to
// its first painted page, then scrolling page by page through the first 10,000 rows (the list
// reads further pages as the scroll bar reaches its end). Each row carries an 8 KB message file,
// so a query that touched the files instead of the index would show.
//
//   bench_mainlist [--mails 100000] [--scroll 10000]
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTableView>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

#include "DemoStore.h"
#include "MainWindow.h"
#include "SqlHostSystem.h"

using namespace kvmail;

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QCommandLineParser cli;
  cli.addOptions({{QStringLiteral("mails"), QStringLiteral("mails in the store"),
                   QStringLiteral("n"), QStringLiteral("100000")},
                  {QStringLiteral("scroll"), QStringLiteral("rows to scroll through"),
                   QStringLiteral("n"), QStringLiteral("10000")}});
  cli.process(app);
  const int mails = cli.value(QStringLiteral("mails")).toInt();
  QTemporaryDir dir;
  auto options = host::HostOptions::sqlite(dir.filePath(QStringLiteral("list.db")));
  options.userId = QStringLiteral("1");
  auto store = std::make_shared<host::SqlHostSystem>(options);
  if (const QString error = demo::openDemoStore(*store); !error.isEmpty()) {
    std::fprintf(stderr, "%s\n", qPrintable(error));
    return 1;
  }
  QElapsedTimer fill;
  fill.start();
  const QString error = store->execute(
      QStringLiteral(
          "with recursive n(i) as (select 1 union all select i+1 from n where i<%1) "
          "insert into msgmail(邮件ID,CshgnsID,发件人,发件人邮箱,收件人邮箱,主题,发送时间,"
          "接收时间,附件,是否已读,messageID,uidl,消息) select i,1+(i%5=0),'客户'||i,"
          "'c'||i||'@kvmail.test','sales@kvmail.test','订单确认 第'||i||'号',"
          "'2026-11-20 09:00:00','2026-11-20 09:01:00',i%3=0,i%2,"
          "case when i%5=0 then '' else 'x' end,'u'||i,randomblob(8192) from n")
          .arg(mails));
  if (!error.isEmpty()) {
    std::fprintf(stderr, "%s\n", qPrintable(error));
    return 1;
  }
  std::printf("%d mails stored in %.1f s\n", mails, fill.elapsed() / 1000.0);

  QElapsedTimer open;
  open.start();
  demo::MainWindow window(store, demo::kDemoProgId);
  window.show();
  QApplication::processEvents();
  const double openMs = open.nsecsElapsed() / 1e6;
  auto* list = window.findChild<QTableView*>(QStringLiteral("mailList"));
  std::printf("window open with its first page: %.1f ms (target < 1000), %d of %d mails listed\n",
              openMs, list->model()->rowCount(), window.rowCount());

  const int target = cli.value(QStringLiteral("scroll")).toInt();
  QScrollBar* bar = list->verticalScrollBar();
  QList<double> steps;
  while (list->model()->rowCount() < qMin(target, mails) && steps.size() < 100000) {
    QElapsedTimer step;
    step.start();
    bar->setValue(bar->value() + bar->pageStep());
    list->viewport()->repaint();
    QApplication::processEvents();
    steps << step.nsecsElapsed() / 1e6;
  }
  std::sort(steps.begin(), steps.end());
  const auto at = [&](double q) {
    return steps.at(qMin(steps.size() - 1, qsizetype(q * steps.size())));
  };
  std::printf(
      "scrolled %d rows in %lld page steps: median %.2f ms, p95 %.2f ms, worst %.2f ms "
      "(a frame is 16 ms)\n",
      list->model()->rowCount(), qlonglong(steps.size()), at(0.5), at(0.95), steps.last());
  return 0;
}
