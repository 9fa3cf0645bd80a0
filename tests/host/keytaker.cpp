// Child process for the key test: takes keys from a store and inserts a row for each.
//   kv_keytaker sqlite <file> <count>   |   kv_keytaker postgres <port> <count>
// Waits for a line on stdin, then prints each key on its own line; exits 1 with the error text on
// stderr at the first failure.
#include "SqlHostSystem.h"
#include "store/Statements.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QThread>

using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  const QStringList args = app.arguments();
  if (args.size() != 4) return 2;
  HostOptions o = args.at(1) == QStringLiteral("postgres")
                      ? HostOptions::postgres(QStringLiteral("127.0.0.1"), args.at(2).toInt(),
                                              QStringLiteral("kvmail"), QStringLiteral("kvmail"),
                                              QStringLiteral("kvtest"))
                      : HostOptions::sqlite(args.at(2));
  o.busyTimeoutMs = 30000;
  SqlHostSystem host(o);
  QTextStream out(stdout), err(stderr);
  if (const QString e = host.open(); !e.isEmpty()) {
    err << e << Qt::endl;
    return 1;
  }
  const int count = args.at(3).toInt();
  // Both takers connect first, then start together when told on stdin.
  QTextStream in(stdin);
  in.readLine();
  for (int i = 0; i < count; ++i) {
    // Every other key is taken inside the caller's own transaction, the others on their own.
    const bool inTransaction = i % 2 == 0;
    QString error;
    if (inTransaction) error = host.beginTransaction();
    long key = 0;
    if (error.isEmpty())
      key = host.nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error);
    if (error.isEmpty()) {
      kvmail::sql::ComposedRow row;
      row.mailId = key;
      row.replyId = key;
      row.subject = QStringLiteral("key %1").arg(key);
      error = host.execute(kvmail::sql::insertComposed(row));
    }
    if (error.isEmpty() && inTransaction) error = host.commitTransaction();
    if (!error.isEmpty()) {
      err << error << Qt::endl;
      return 1;
    }
    out << key << Qt::endl;
    // A short pause hands the lock to the other taker, so their keys interleave.
    QThread::usleep(500);
  }
  return 0;
}
