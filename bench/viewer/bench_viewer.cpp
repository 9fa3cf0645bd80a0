// Showing stored mail in the viewer, on a fresh SQLite store, through the service as a host
// calls it: from DisPlayMail until the window has laid out and painted the body. Targets on the
// project's machine: a 20 KB mail under 50 ms; a 10 MB mail with five attachments under 500 ms;
// previous/next over 1,000 stored mails no slower at the end of the list than at its start.
//   bench_viewer [--mails 1000] [--rounds 20]
#include <QAction>
#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cstdio>

#include "BenchStore.h"
#include "service/clsMail.h"
#include "store/MailStore.h"
#include "support/mime/MimeMail.h"
#include "viewer/FrmMail.h"

namespace {

// A received mail as the receive session stores it; its key.
long storeMail(kvmail::IHostSystem& host, const QByteArray& bytes, int n) {
  kvmail::ReceivedMail mail;
  mail.header =
      kvmail::readMailBytes(bytes, QStringLiteral("gb2312"), kvmail::MimeParts::StructureOnly);
  mail.uidl = QStringLiteral("bench-%1").arg(n);
  mail.pop3Server = QStringLiteral("127.0.0.1");
  mail.bytes = bytes;
  mail.size = bytes.size();
  kvmail::StoreFailure failure;
  return kvmail::MailStore(host).storeReceived(mail, &failure);
}

// A Chinese HTML mail in gb2312 of about `size` bytes, with the given attachment files.
QByteArray chineseMail(const QString& subject, int size, const QStringList& attachments = {}) {
  kvmail::OutgoingMail m;
  m.from = {QStringLiteral("陈丽"), QStringLiteral("chenli@example.cn")};
  m.to = {{QStringLiteral("王经理"), QStringLiteral("wang@kvmail.test")}};
  m.subject = subject;
  QString html = QStringLiteral("<html><body><p>王经理：</p>");
  // base64 of two-byte characters: about 2.7 bytes of mail per character
  while (html.size() * 2.7 < size)
    html += QStringLiteral(
        "<p>您好！附件是第二季度的报价单和合同草案，请查收。如有问题请随时联系。</p>");
  m.htmlBody = html + QStringLiteral("</body></html>");
  m.attachmentPaths = attachments;
  QByteArray bytes;
  QString error;
  if (!kvmail::writeMailBytes(m, &bytes, &error))
    std::fprintf(stderr, "writing the mail failed: %s\n", qPrintable(error));
  return bytes;
}

// The offscreen platform's notes about window calls it cannot honour would bury the figures.
void quietPlatformNotes(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  if (text.startsWith(QLatin1String("This plugin does not support"))) return;
  qt_message_output(type, context, text);
}

double median(QList<double> values) {
  std::sort(values.begin(), values.end());
  return values.isEmpty() ? 0 : values[values.size() / 2];
}

// DisPlayMail until the body is laid out and painted, in milliseconds.
double showOnce(kvmail::clsMail& mail, long id) {
  QElapsedTimer t;
  t.start();
  mail.DisPlayMail(id, QStringLiteral("查看邮件"));
  mail.viewerWidget()->grab();
  return t.nsecsElapsed() / 1e6;
}

void reportShow(const char* what, kvmail::clsMail& mail, long id, int rounds, double target) {
  QList<double> times;
  for (int r = 0; r < rounds; ++r) times << showOnce(mail, id);
  std::printf("%s: median %.1f ms, best %.1f ms over %d showings (target < %.0f ms)\n", what,
              median(times), *std::min_element(times.begin(), times.end()), rounds, target);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(quietPlatformNotes);
  QApplication app(argc, argv);
  QCommandLineParser cli;
  cli.addOptions({{QStringLiteral("mails"), QStringLiteral("mails to walk"), QStringLiteral("n"),
                   QStringLiteral("1000")},
                  {QStringLiteral("rounds"), QStringLiteral("showings of each"),
                   QStringLiteral("n"), QStringLiteral("20")}});
  cli.process(app);
  const int count = cli.value(QStringLiteral("mails")).toInt();
  const int rounds = cli.value(QStringLiteral("rounds")).toInt();

  kvmail::host::AccountSeed seed;
  seed.fromAddress = QStringLiteral("bench@kvmail.test");
  kvbench::BenchStore store(seed);
  auto& host = *store.host;

  // The small mail, and the large one: five attachments that make it 10 MB in base64.
  const QByteArray small = chineseMail(QStringLiteral("报价单"), 20000);
  const long smallId = storeMail(host, small, 0);
  QStringList files;
  for (int i = 1; i <= 5; ++i) {
    const QString path = store.dir.filePath(QStringLiteral("附件%1.bin").arg(i));
    QByteArray data(1500 * 1024, Qt::Uninitialized);
    QRandomGenerator gen(i);
    gen.fillRange(reinterpret_cast<quint32*>(data.data()), data.size() / 4);
    QFile f(path);
    f.open(QIODevice::WriteOnly);
    f.write(data);
    files << path;
  }
  const QByteArray large = chineseMail(QStringLiteral("大邮件"), 20000, files);
  const long largeId = storeMail(host, large, 1);

  kvmail::clsMail mail;
  if (!mail.Init(store.host, 1)) {
    std::fprintf(stderr, "Init failed\n");
    return 1;
  }
  showOnce(mail, smallId);  // the first window build and font loading are not the mail's
  std::printf("mail sizes: %.1f KB and %.1f MB\n", small.size() / 1024.0, large.size() / 1048576.0);
  reportShow("show a 20 KB mail", mail, smallId, rounds, 50);
  reportShow("show a 10 MB mail with five attachments", mail, largeId, std::max(3, rounds / 4),
             500);

  // Previous/next: the host keeps its list and answers each move from it.
  QList<long> ids;
  for (int i = 0; i < count; ++i)
    ids << storeMail(host, chineseMail(QStringLiteral("第%1封").arg(i + 1), 20000), i + 2);
  QHash<long, int> position;
  for (int i = 0; i < ids.size(); ++i) position.insert(ids[i], i);
  QObject::connect(&mail, &kvmail::clsMail::EvRecordMove, [&](long direction, long* id) {
    const int at = position.value(*id, -1) + int(direction);
    if (at >= 0 && at < ids.size()) *id = ids[at];
  });
  mail.DisPlayMail(ids.first(), QStringLiteral("查看邮件"));
  QAction* next = mail.viewerWindow()->findChild<QAction*>(QStringLiteral("TBNext"));
  QList<double> moves;
  for (int i = 1; i < ids.size(); ++i) {
    QElapsedTimer t;
    t.start();
    next->trigger();
    mail.viewerWidget()->grab();
    moves << t.nsecsElapsed() / 1e6;
    QCoreApplication::processEvents();  // the replaced documents go
  }
  if (mail.viewerWindow()->mailId() != ids.last()) {
    std::fprintf(stderr, "the walk ended on %ld, not on the last mail\n",
                 mail.viewerWindow()->mailId());
    return 1;
  }
  const int edge = std::min<int>(100, int(moves.size()) / 2);
  const double first = median(moves.mid(0, edge));
  const double last = median(moves.mid(moves.size() - edge));
  std::printf(
      "next over %d stored mails: median of the first %d moves %.1f ms, of the last %d "
      "%.1f ms (last/first %.2f)\n",
      count, edge, first, edge, last, last / first);
  return 0;
}
