#include "ComposeRig.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>

#include "store/MailStore.h"

namespace kvtest {

ComposeRig::ComposeRig(bool startNow) {
  faults = std::make_shared<FaultHost>(*host);
  seedAccount(true, false);
  if (startNow) start();
}

ComposeRig::~ComposeRig() {
  // The tests decide what happens to unsaved mail; tearing down asks nothing.
  if (window() && window()->isVisible()) {
    prompt->answer(kvmail::PromptAnswer::No);
    window()->close();
  }
}

bool ComposeRig::start() {
  return mail->Init(faults, 1);
}

QLineEdit* ComposeRig::field(int index) const {
  return window()->findChild<QLineEdit*>(QStringLiteral("Txt(%1)").arg(index));
}

QAction* ComposeRig::action(const QString& key) const {
  return window()->findChild<QAction*>(key);
}

void ComposeRig::trigger(const QString& key) const {
  QAction* a = action(key);
  if (!a)
    ADD_FAILURE() << "no action " << key.toStdString();
  else
    a->trigger();
}

void ComposeRig::attach(const QString& path) {
  prompt->answerOpenFiles({path});
  trigger(QStringLiteral("TBTattach"));
}

QString ComposeRig::value(const QString& sql) const {
  const auto rs = host->openQuery(sql);
  return rs && !rs->atEnd() ? rs->text(0) : QString();
}

int ComposeRig::mailRows() const {
  return value(QStringLiteral("select count(*) from msgmail")).toInt();
}

QString ComposeRig::file(const QString& name, const QByteArray& bytes) const {
  const QString p = path(name);
  QFile f(p);
  f.open(QIODevice::WriteOnly | QIODevice::Truncate);
  f.write(bytes);
  return p;
}

long ComposeRig::storeReceived(const kvmail::OutgoingMail& m) const {
  QByteArray bytes;
  QString error;
  kvmail::writeMailBytes(m, &bytes, &error);
  kvmail::ReceivedMail received;
  received.header = kvmail::readMailBytes(bytes, QString(), kvmail::MimeParts::StructureOnly);
  received.uidl = QStringLiteral("uid-") + m.subject;
  received.pop3Server = QStringLiteral("127.0.0.1");
  received.bytes = bytes;
  received.size = bytes.size();
  kvmail::StoreFailure failure;
  return kvmail::MailStore(*host).storeReceived(received, &failure);
}

void ComposeRig::refuseSubject(const QString& subject) const {
  // A trigger is several statements: it goes in over a connection of the test's own.
  {
    QSqlDatabase db =
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("refuse"));
    db.setDatabaseName(path(QStringLiteral("store.db")));
    db.open();
    QSqlQuery q(db);
    q.exec(QStringLiteral("create trigger refuse_subject before insert on msgmail when "
                          "new.主题='%1' begin select raise(abort, '数据库拒绝了这封邮件'); end")
               .arg(subject));
  }
  QSqlDatabase::removeDatabase(QStringLiteral("refuse"));
}

}  // namespace kvtest
