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
    : StoreRig(Engine::Sqlite, u"7"_s, u"李四"_s), mail(std::make_unique<kvmail::clsMail>()) {}

ServiceRig::~ServiceRig() {
  mail.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void ServiceRig::seedAccount(bool perUser, bool asDefault, const QString& name) {
  kvmail::host::AccountSeed seed;
  seed.maid = perUser ? 1 : 2;
  seed.userId = perUser ? u"7"_s : QString();
  seed.isDefault = asDefault;
  seed.name = name;
  seed.userName = u"t20"_s;
  seed.password = u"kvpass"_s;
  seed.smtp = u"127.0.0.1"_s;
  seed.smtpPort = 1;  // nothing listens there unless a test says so
  seed.fromName = u"销售部"_s;
  seed.fromAddress = u"sales@kvmail.test"_s;
  seed.pop3 = u"127.0.0.1"_s;
  kvmail::host::seedAccount(*host, seed);
}

void ServiceRig::useLoopback(const QString& user) {
  const LoopbackServers& servers = loopbackServers();
  host->executeBound(
      u"update mailaccount set masmtpport=?, mapop3servername=?, "
      "mapop3port=?, mausername=?, mapassword=?, mafromemailaddress=?"_s,
      {servers.smtpPort, servers.host, servers.pop3Port, user, servers.password, addressOf(user)});
}

void ServiceRig::seedTemplate(long progId, const QString& to, const QString& cc, const QString& bcc,
                              const QString& subject, const kvmail::OutgoingMail& file) {
  host->executeBound(u"insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"_s,
                     {qlonglong(progId), to, cc, bcc, subject});
  const QString eml = path(u"template-%1.eml"_s.arg(progId));
  QString error;
  kvmail::writeMailFile(file, eml, &error);
  kvmail::fileToColumn(progId, eml, u"EMail"_s, *host, u"MailTemplet"_s, u"progID"_s);
}

long ServiceRig::queueMail(const kvmail::OutgoingMail& m, const QString& sentTime) {
  QString error;
  const long id = host->nextKey(u"msgmail"_s, u"邮件ID"_s, &error);
  kvmail::sql::ComposedRow row;
  row.mailId = id;
  row.fromName = m.from.name;
  row.subject = m.subject;
  row.sentTime = QDateTime::fromString(sentTime, u"yyyy-MM-dd HH:mm:ss"_s);
  row.toAddresses = kvmail::joinAddresses(m.to);
  row.fromAddress = m.from.address;
  row.toNames = kvmail::joinDisplay(m.to);
  row.email = u"-1"_s;
  row.replyId = id;
  host->execute(kvmail::sql::insertComposed(row));
  const QString eml = path(u"queued-%1.eml"_s.arg(id));
  kvmail::writeMailFile(m, eml, &error);
  kvmail::fileToColumn(id, eml, u"消息"_s, *host, u"msgmail"_s, u"邮件ID"_s);
  return id;
}

long ServiceRig::storeReceived(const QByteArray& message) {
  static int uidl = 0;
  kvmail::ReceivedMail received;
  received.header = kvmail::readMailBytes(message, u"gb2312"_s, kvmail::MimeParts::StructureOnly);
  received.uidl = u"uidl-%1"_s.arg(++uidl);
  received.pop3Server = u"127.0.0.1"_s;
  received.bytes = message;
  received.size = message.size();
  kvmail::StoreFailure failure;
  return kvmail::MailStore(*host).storeReceived(received, &failure);
}

}  // namespace kvtest
