// Sending N queued mails of about 20 KB through the service and the transfer window (offscreen)
// to the loopback SMTP sink, against Python's smtplib sending the same messages over one session.
// Run by bench/run.sh, which starts the servers.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <cstdio>

#include "BenchStore.h"
#include "LoopbackServers.h"
#include "model/IBundle.h"
#include "service/clsMail.h"
#include "store/MailStore.h"
#include "support/mime/MimeMail.h"
#include "transfer/FrmSend.h"

namespace {

double cpu(bool system) {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  const timeval& t = system ? u.ru_stime : u.ru_utime;
  return t.tv_sec + t.tv_usec / 1e6;
}

kvmail::OutgoingMail benchMail(int i, const QString& to, int bytes) {
  kvmail::OutgoingMail m;
  m.from = {QStringLiteral("销售部"), QStringLiteral("sales@kvmail.test")};
  m.to = {{QStringLiteral("客户%1").arg(i), to}};
  m.subject = QStringLiteral("月度对账单 %1").arg(i);
  QString body = QStringLiteral("<p>尊敬的客户：附上本月对账单。</p>");
  while (body.size() * 2 < bytes)
    body += QStringLiteral("<p>明细：第 %1 项 金额 1,280.00 元</p>").arg(i);
  m.htmlBody = body;
  return m;
}

// smtplib over one session; with a store file, it sends each mail from that SQLite queue and
// marks it sent before the next. Seconds, or a negative value on failure.
double smtplibOnce(const kvtest::LoopbackServers& servers, const QString& to, const QString& user,
                   const QStringList& paths, const QString& store) {
  kvtest::clearMailbox(user);
  QStringList args{QStringLiteral("--port"),     QString::number(servers.smtpPort),
                   QStringLiteral("--from"),     QStringLiteral("sales@kvmail.test"),
                   QStringLiteral("--to"),       to,
                   QStringLiteral("--user"),     user,
                   QStringLiteral("--password"), servers.password};
  if (!store.isEmpty()) args << QStringLiteral("--store") << store;
  return kvbench::runReference(QStringLiteral("smtp_reference.py"), args + paths);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QCommandLineParser cli;
  cli.addOptions(kvbench::transferOptions(500, QStringLiteral("t38")));
  cli.process(app);
  const auto& servers = kvtest::loopbackServers();
  if (!servers.ok()) {
    std::fprintf(stderr, "%s\n", qPrintable(servers.error));
    return 2;
  }
  const QString user = cli.value(QStringLiteral("user"));
  const QString to = kvtest::addressOf(user);
  const int count = cli.value(QStringLiteral("count")).toInt();
  const int bytes = cli.value(QStringLiteral("size")).toInt();

  QTemporaryDir files;
  QStringList paths;
  qint64 total = 0;
  for (int i = 1; i <= count; ++i) {
    const QString path = files.filePath(QStringLiteral("%1.eml").arg(i));
    QString error;
    kvmail::writeMailFile(benchMail(i, to, bytes), path, &error);
    total += QFileInfo(path).size();
    paths << path;
  }
  std::printf("%d mails, %.1f KB each on average\n", count, total / 1024.0 / count);

  double ours = 1e9, theirs = 1e9, floor = 1e9;
  const int rounds = cli.value(QStringLiteral("rounds")).toInt();
  for (int r = 0; r < rounds; ++r) {
    const double theirsNow = smtplibOnce(servers, to, user, paths, QString());
    QTemporaryDir queueDir;
    const double floorNow =
        smtplibOnce(servers, to, user, paths, queueDir.filePath(QStringLiteral("queue.db")));
    if (theirsNow < 0 || floorNow < 0) return 1;

    // A fresh store with the same messages queued, sent through the service.
    kvtest::clearMailbox(user);
    kvmail::host::AccountSeed seed;
    seed.smtp = QStringLiteral("127.0.0.1");
    seed.smtpPort = servers.smtpPort;
    seed.userName = user;
    seed.password = servers.password;
    seed.fromAddress = QStringLiteral("sales@kvmail.test");
    kvbench::BenchStore store(seed);
    const auto& host = store.host;
    QList<kvmail::ComposedMail> queue;
    for (int i = 1; i <= count; ++i)
      queue.append(kvmail::composedMail(benchMail(i, to, bytes),
                                        queueDir.filePath(QStringLiteral("q%1.eml").arg(i))));
    kvmail::StoreFailure failure;
    if (kvmail::MailStore(*host).storeComposed(queue, &failure).size() != count) return 1;

    kvmail::clsMail mail;
    mail.Init(host, 1);
    QSignalSpy ended(mail.transferWindow(), &kvmail::FrmSend::TasksEnded);
    QElapsedTimer t;
    const double user0 = cpu(false), sys0 = cpu(true);
    t.start();
    mail.SendMail(0);
    if (ended.isEmpty() && !ended.wait(600000)) return 1;
    const double oursNow = t.nsecsElapsed() / 1e9;
    if (!ended.first().first().toBool() || !kvtest::waitForMail(user, count, 30000)) {
      std::fprintf(stderr, "not every mail went out\n");
      return 1;
    }
    std::printf(
        "round %d: kvMail %.3f s (user %.3f s, system %.3f s), smtplib %.3f s, "
        "smtplib sending from SQLite %.3f s\n",
        r + 1, oursNow, cpu(false) - user0, cpu(true) - sys0, theirsNow, floorNow);
    ours = qMin(ours, oursNow);
    theirs = qMin(theirs, theirsNow);
    floor = qMin(floor, floorNow);
  }
  std::printf(
      "send %d mails: kvMail %.3f s, smtplib one session %.3f s, ratio %.2f (target <= 1.0)\n",
      count, ours, theirs, ours / theirs);
  std::printf(
      "  against smtplib reading each mail from SQLite and marking it sent: %.3f s, ratio %.2f\n",
      floor, ours / floor);
  kvtest::clearMailbox(user);
  return 0;
}
