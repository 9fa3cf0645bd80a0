// A host application in thirty lines: hand the host's database to the mail module, listen to its
// events and receive mail. Usage: host_example [store.db]
#include <QApplication>
#include <QDebug>

#include "SqlHostSystem.h"  // the reference host system object (kvmail::kvhost); or your own
#include "service/IclsError.h"
#include "service/clsMail.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  auto options = kvmail::host::HostOptions::sqlite(argc > 1 ? argv[1] : "host.db");
  options.userId = QStringLiteral("1");  // the current host user: selects the mail account
  options.operatorName = QStringLiteral("example");
  auto system = std::make_shared<kvmail::host::SqlHostSystem>(options);
  if (const QString error = system->open(); !error.isEmpty())
    return qCritical().noquote() << error, 1;

  kvmail::clsMail mail;
  QObject::connect(&mail, &kvmail::clsMail::EvMailRead,
                   [](long id) { qInfo() << "received" << id; });
  QObject::connect(&mail, &kvmail::clsMail::EvReturn,
                   [](const QString& ids, long kind) { qInfo() << "stored" << ids << kind; });
  if (!mail.Init(system, 1)) return qCritical().noquote() << mail.Error()->Description(), 1;

  QObject::connect(&mail, &kvmail::clsMail::EvTransferEnded, &app,
                   [](bool ok) { QCoreApplication::exit(ok ? 0 : 1); });
  mail.ReceiveMail();  // opens the transfer window; the events above report each stored mail
  return app.exec();
}
