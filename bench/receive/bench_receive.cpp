// Receiving N mails of about 20 KB from the loopback Dovecot into a fresh SQLite store through
// the real transfer window (offscreen), against a bare poplib loop on the same server; and the
// peak memory of receiving one large mail. Run by bench/run.sh, which starts the servers.
//
//   bench_receive --count 1000 --user t39          timing against the poplib loop
//   bench_receive --big-mb 50 --user t40           peak memory for one large mail
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
#include "support/mime/MimeMail.h"
#include "transfer/FrmSend.h"

namespace {

long rssKb(const char* field) {
  QFile f(QStringLiteral("/proc/self/status"));
  f.open(QIODevice::ReadOnly);
  for (const QByteArray& line : f.readAll().split('\n'))
    if (line.startsWith(field))
      return line.mid(qstrlen(field)).trimmed().split(' ').first().toLong();
  return 0;
}

double cpuSeconds(bool system = false) {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  const timeval& t = system ? u.ru_stime : u.ru_utime;
  return t.tv_sec + t.tv_usec / 1e6;
}
double lastCpu = 0, lastSys = 0;

void resetPeak() {
  QFile f(QStringLiteral("/proc/self/clear_refs"));
  if (f.open(QIODevice::WriteOnly)) f.write("5");
}

QByteArray realisticMail(int i, int bytes) {
  kvmail::OutgoingMail m;
  m.from = {QStringLiteral("客户%1").arg(i), QStringLiteral("c%1@kvmail.test").arg(i)};
  m.to = {{QStringLiteral("销售部"), QStringLiteral("sales@kvmail.test")}};
  m.subject = QStringLiteral("订单确认 第%1号").arg(i);
  QString body = QStringLiteral("<p>您好，附件是本月的订单明细，请查收。</p>");
  while (body.size() * 2 < bytes)
    body += QStringLiteral("<p>订单明细：产品 %1 数量 12 单价 35.50 元</p>").arg(i);
  m.htmlBody = body;
  QByteArray out;
  QString error;
  kvmail::writeMailBytes(m, &out, &error);
  return out;
}

// One receive through the window; answers seconds, or a negative value on failure.
double receiveOnce(const QString& user, int expected) {
  kvbench::BenchStore store;
  const auto& servers = kvtest::loopbackServers();
  auto account = std::make_shared<kvmail::clsAccount>();
  account->lPop3Port = servers.pop3Port;
  account->sName = QStringLiteral("基准");
  account->sPop3 = QStringLiteral("127.0.0.1");
  account->sUserName = user;
  account->sPassword = servers.password;
  account->bIsDelete = false;  // the same mails serve every run
  kvmail::FrmSend window;
  QSignalSpy ended(&window, &kvmail::FrmSend::TasksEnded);
  QElapsedTimer t;
  const double cpu0 = cpuSeconds(), sys0 = cpuSeconds(true);
  t.start();
  window.py_Init(nullptr, store.host.get(), account, false, QStringLiteral("接收"));
  if (ended.isEmpty() && !ended.wait(600000)) return -1;
  const double seconds = t.nsecsElapsed() / 1e9;
  lastCpu = cpuSeconds() - cpu0;
  lastSys = cpuSeconds(true) - sys0;
  const auto rs = store.host->openQuery(QStringLiteral("select count(*) from msgmail"));
  const int stored = rs && !rs->atEnd() ? rs->text(0).toInt() : 0;
  if (stored != expected) {
    std::fprintf(stderr, "stored %d of %d\n", stored, expected);
    return -1;
  }
  return seconds;
}

// The bare poplib loop; with store, the same loop storing each mail in SQLite before the next.
double referenceOnce(const QString& user, int count, bool store) {
  const auto& servers = kvtest::loopbackServers();
  QTemporaryDir out;
  QStringList args{QStringLiteral("--port"),     QString::number(servers.pop3Port),
                   QStringLiteral("--user"),     user,
                   QStringLiteral("--password"), servers.password,
                   QStringLiteral("--out"),      out.path(),
                   QStringLiteral("--count"),    QString::number(count)};
  if (store) args << QStringLiteral("--store");
  return kvbench::runReference(QStringLiteral("pop3_reference.py"), args);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  QCommandLineParser cli;
  cli.addOptions(kvbench::transferOptions(1000, QStringLiteral("t39")));
  cli.addOption({QStringLiteral("big-mb"), QStringLiteral("one large mail instead"),
                 QStringLiteral("mb"), QStringLiteral("0")});
  cli.process(app);
  const QString user = cli.value(QStringLiteral("user"));
  const auto& servers = kvtest::loopbackServers();
  if (!servers.ok()) {
    std::fprintf(stderr, "%s\n", qPrintable(servers.error));
    return 2;
  }
  kvtest::clearMailbox(user);

  const int bigMb = cli.value(QStringLiteral("big-mb")).toInt();
  if (bigMb > 0) {
    QByteArray big = realisticMail(0, 1000);
    const qsizetype headerEnd = big.indexOf("\r\n\r\n");
    QByteArray mail = big.left(headerEnd);
    mail.replace("text/html", "text/plain");
    mail += "\r\n\r\n";
    const QByteArray line = QByteArray(76, 'Q') + "\r\n";
    mail.reserve(qsizetype(bigMb) * 1024 * 1024 + 100);
    while (mail.size() < qsizetype(bigMb) * 1024 * 1024) mail += line;
    const qsizetype size = mail.size();
    kvtest::dropMail(user, mail);
    mail = QByteArray();
    big = QByteArray();
    const long before = rssKb("VmRSS:");
    resetPeak();
    const double s = receiveOnce(user, 1);
    const long peak = rssKb("VmHWM:");
    if (s < 0) return 1;
    const double grew = (peak - before) / 1024.0;
    std::printf(
        "large mail: %.1f MB received in %.2f s; resident %.1f MB before, peak %.1f MB, "
        "growth %.1f MB = %.2f x the mail (target < 3.0)\n",
        size / 1048576.0, s, before / 1024.0, peak / 1024.0, grew, grew * 1048576.0 / size);
    kvtest::clearMailbox(user);
    return 0;
  }

  const int count = cli.value(QStringLiteral("count")).toInt();
  const int bytes = cli.value(QStringLiteral("size")).toInt();
  qint64 total = 0;
  for (int i = 1; i <= count; ++i) {
    const QByteArray m = realisticMail(i, bytes);
    total += m.size();
    kvtest::dropMail(user, m);
  }
  std::printf("%d mails, %.1f KB each on average\n", count, total / 1024.0 / count);
  double ours = 1e9, theirs = 1e9, floor = 1e9;
  const int rounds = cli.value(QStringLiteral("rounds")).toInt();
  for (int r = 0; r < rounds; ++r) {
    const double ref = referenceOnce(user, count, false);
    const double stored = referenceOnce(user, count, true);
    const double kv = receiveOnce(user, count);
    if (ref < 0 || stored < 0 || kv < 0) return 1;
    std::printf(
        "round %d: kvMail %.3f s (user %.3f s, system %.3f s), poplib %.3f s, "
        "poplib storing each mail %.3f s\n",
        r + 1, kv, lastCpu, lastSys, ref, stored);
    ours = qMin(ours, kv);
    theirs = qMin(theirs, ref);
    floor = qMin(floor, stored);
  }
  std::printf("receive %d mails: kvMail %.3f s, poplib loop %.3f s, ratio %.2f (target <= 1.0)\n",
              count, ours, theirs, ours / theirs);
  std::printf("  against poplib storing each mail in SQLite before the next: %.3f s, ratio %.2f\n",
              floor, ours / floor);
  kvtest::clearMailbox(user);
  return 0;
}
