#include "ServiceRig.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>

#include "LoopbackServers.h"
#include "store/MailStore.h"
#include "store/Statements.h"
#include "store/StoredFile.h"

namespace kvtest {

// Operator 李四, as the compose tests expect to see in the rows they write.
ServiceRig::ServiceRig()
    : StoreRig(Engine::Sqlite, QStringLiteral("7"), QStringLiteral("李四")),
      mail(std::make_unique<kvmail::clsMail>()) {}

ServiceRig::~ServiceRig() {
  mail.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void ServiceRig::seedAccount(bool perUser, bool asDefault, const QString& name) {
  kvmail::host::AccountSeed seed;
  seed.maid = perUser ? 1 : 2;
  seed.userId = perUser ? QStringLiteral("7") : QString();
  seed.isDefault = asDefault;
  seed.name = name;
  seed.userName = QStringLiteral("t20");
  seed.password = QStringLiteral("kvpass");
  seed.smtp = QStringLiteral("127.0.0.1");
  seed.smtpPort = 1;  // nothing listens there unless a test says so
  seed.fromName = QStringLiteral("销售部");
  seed.fromAddress = QStringLiteral("sales@kvmail.test");
  seed.pop3 = QStringLiteral("127.0.0.1");
  kvmail::host::seedAccount(*host, seed);
}

void ServiceRig::useLoopback(const QString& user) {
  const LoopbackServers& servers = loopbackServers();
  host->executeBound(
      QStringLiteral("update mailaccount set masmtpport=?, mapop3servername=?, "
                     "mapop3port=?, mausername=?, mapassword=?, mafromemailaddress=?"),
      {servers.smtpPort, servers.host, servers.pop3Port, user, servers.password, addressOf(user)});
}

void ServiceRig::seedTemplate(long progId, const QString& to, const QString& cc, const QString& bcc,
                              const QString& subject, const kvmail::OutgoingMail& file) {
  host->executeBound(
      QStringLiteral("insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"),
      {qlonglong(progId), to, cc, bcc, subject});
  const QString eml = path(QStringLiteral("template-%1.eml").arg(progId));
  QString error;
  kvmail::writeMailFile(file, eml, &error);
  kvmail::fileToColumn(progId, eml, QStringLiteral("EMail"), *host, QStringLiteral("MailTemplet"),
                       QStringLiteral("progID"));
}

long ServiceRig::queueMail(const kvmail::OutgoingMail& m, const QString& sentTime, int del,
                           int active) {
  QString error;
  const long id = host->nextKey(QStringLiteral("msgmail"), QStringLiteral("邮件ID"), &error);
  kvmail::sql::ComposedRow row;
  row.mailId = id;
  row.fromName = m.from.name;
  row.subject = m.subject;
  row.sentTime = QDateTime::fromString(sentTime, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
  row.toAddresses = kvmail::joinAddresses(m.to);
  row.fromAddress = m.from.address;
  row.toNames = kvmail::joinDisplay(m.to);
  row.email = QStringLiteral("-1");
  row.replyId = id;
  host->execute(kvmail::sql::insertComposed(row));
  host->executeBound(QStringLiteral("update msgmail set del=?, active=? where 邮件ID=?"),
                     {del, active, qlonglong(id)});
  const QString eml = path(QStringLiteral("queued-%1.eml").arg(id));
  kvmail::writeMailFile(m, eml, &error);
  kvmail::fileToColumn(id, eml, QStringLiteral("消息"), *host, QStringLiteral("msgmail"),
                       QStringLiteral("邮件ID"));
  return id;
}

long ServiceRig::storeReceived(const QByteArray& message) {
  static int uidl = 0;
  kvmail::ReceivedMail received;
  received.header =
      kvmail::readMailBytes(message, QStringLiteral("gb2312"), kvmail::MimeParts::StructureOnly);
  received.uidl = QStringLiteral("uidl-%1").arg(++uidl);
  received.pop3Server = QStringLiteral("127.0.0.1");
  received.bytes = message;
  received.size = message.size();
  kvmail::StoreFailure failure;
  return kvmail::MailStore(*host).storeReceived(received, &failure);
}

}  // namespace kvtest
