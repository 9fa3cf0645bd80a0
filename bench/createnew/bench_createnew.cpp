// CreateNew of many records against one template, on a fresh SQLite store. Target on the
// project's machine: 1,000 records in under one second.
#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

#include <cstdio>

#include "BenchStore.h"
#include "composer/FrmNewMail.h"
#include "model/IBundle.h"
#include "service/clsMail.h"
#include "store/StoredFile.h"
#include "support/mime/MimeMail.h"

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  const int records = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 1000;
  const int rounds = 5;

  kvmail::host::AccountSeed seed;
  seed.fromAddress = QStringLiteral("bench@kvmail.test");
  kvbench::BenchStore store(seed);
  const QTemporaryDir& dir = store.dir;
  const auto& host = store.host;

  // A template with a body, a placeholder subject and recipients, and one attachment.
  const QString attachment = dir.filePath(QStringLiteral("产品目录.txt"));
  QFile f(attachment);
  f.open(QIODevice::WriteOnly);
  f.write(QByteArray(30000, 'c'));
  f.close();
  kvmail::OutgoingMail tpl;
  tpl.from = {QStringLiteral("销售部"), QStringLiteral("sales@kvmail.test")};
  tpl.subject = QStringLiteral("致[名]");
  tpl.htmlBody = QStringLiteral("<p>[名]您好！</p>").repeated(40);
  tpl.attachmentPaths = {attachment};
  QString error;
  kvmail::writeMailFile(tpl, dir.filePath(QStringLiteral("tpl.eml")), &error);
  host->executeBound(
      QStringLiteral("insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"),
      {7, QStringLiteral("[邮箱]"), QString(), QString(), QStringLiteral("致[名]经理")});
  kvmail::fileToColumn(7, dir.filePath(QStringLiteral("tpl.eml")), QStringLiteral("EMail"), *host,
                       QStringLiteral("MailTemplet"), QStringLiteral("progID"));

  QStringList list;
  for (int i = 0; i < records; ++i)
    list << QStringLiteral("客户%1").arg(i) + QChar(0) + QStringLiteral("[名]王%1").arg(i) +
                QChar(0) + QStringLiteral("[邮箱]c%1@kvmail.test").arg(i);
  const QString psMails = list.join(QLatin1Char('\n'));

  kvmail::clsMail mail;
  if (!mail.Init(host, 7)) {
    std::fprintf(stderr, "Init failed\n");
    return 1;
  }
  double best = 1e9;
  for (int r = 0; r < rounds; ++r) {
    QElapsedTimer t;
    t.start();
    const bool ok = mail.CreateNew(psMails, QStringLiteral("\n"));
    const double s = t.nsecsElapsed() / 1e9;
    if (!ok || mail.composeWindow()->bundle()->Count() != records) {
      std::fprintf(stderr, "CreateNew failed\n");
      return 1;
    }
    best = qMin(best, s);
    std::printf("round %d: %d records in %.3f s\n", r + 1, records, s);
  }
  std::printf("CreateNew best of %d: %d records in %.3f s (target < 1.0 s)\n", rounds, records,
              best);
  return 0;
}
