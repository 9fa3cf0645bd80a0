#include "DemoStore.h"

#include <QTemporaryDir>

#include "HostStore.h"
#include "store/MailStore.h"

namespace kvmail::demo {
namespace {

const QString kServersPassword = QStringLiteral("kvpass");  // the loopback servers' one password

bool hasRows(IHostSystem& host, const QString& sql, QString* error) {
  const auto rs = host.openQuery(sql, error);
  return rs && !rs->isEmpty();
}

QString seedAccountRow(host::SqlHostSystem& host) {
  host::AccountSeed seed;
  seed.maid = 1;
  seed.userId = host.currentUserId();
  seed.isDefault = true;
  seed.name = QStringLiteral("演示邮箱");
  seed.userName = QStringLiteral("demo");
  seed.password = kServersPassword;
  seed.smtp = QStringLiteral("127.0.0.1");
  seed.smtpPort = 2525;
  seed.replyTo = QStringLiteral("demo@kvmail.test");
  seed.fromName = QStringLiteral("kvMail 演示");
  seed.fromAddress = QStringLiteral("demo@kvmail.test");
  seed.pop3 = QStringLiteral("127.0.0.1");
  return host::seedAccount(host, seed);
}

QString seedTemplate(host::SqlHostSystem& host) {
  QString error = host.executeBound(
      QStringLiteral("insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"),
      {qlonglong(kDemoProgId), QStringLiteral("[名] <[邮箱]>"), QString(), QString(),
       QStringLiteral("致[名]：本月对账单")});
  if (!error.isEmpty()) return error;
  OutgoingMail file;
  file.from = {QStringLiteral("kvMail 演示"), QStringLiteral("demo@kvmail.test")};
  file.subject = QStringLiteral("本月对账单");
  file.htmlBody = QStringLiteral(
      "<html><body><p>尊敬的客户：</p><p>附上贵公司本月的对账单，请查收核对。"
      "如有疑问，请直接回复本邮件。</p><p>此致<br>敬礼</p></body></html>");
  file.headerPriority = 3;
  QTemporaryDir dir;
  const QString path = dir.filePath(QStringLiteral("template.eml"));
  if (!writeMailFile(file, path, &error)) return error;
  if (!MailStore(host).templateFileToColumn(kDemoProgId, path))
    return QStringLiteral("无法保存邮件模板。");
  return {};
}

QString seedCustomers(host::SqlHostSystem& host) {
  const QString table = QLatin1String(kCustomerTable);
  QString error = host.executeBound(QStringLiteral("create table if not exists %1 (编号 integer "
                                                   "primary key, 名 text, 邮箱 text)")
                                        .arg(table),
                                    {});
  if (!error.isEmpty() || hasRows(host, QStringLiteral("select 编号 from %1").arg(table), &error))
    return error;
  const QList<Customer> customers = {
      {QStringLiteral("王经理"), QStringLiteral("wang@kvmail.localhost")},
      {QStringLiteral("李会计"), QStringLiteral("li@kvmail.localhost")},
      {QStringLiteral("张总"), QStringLiteral("zhang@kvmail.localhost")},
  };
  for (qsizetype i = 0; i < customers.size() && error.isEmpty(); ++i)
    error =
        host.executeBound(QStringLiteral("insert into %1(编号,名,邮箱) values (?,?,?)").arg(table),
                          {qlonglong(i + 1), customers[i].name, customers[i].email});
  return error;
}

}  // namespace

QString openDemoStore(host::SqlHostSystem& host) {
  const QString error = host.open();
  return error.isEmpty() ? seedDemoData(host) : error;
}

QString seedDemoData(host::SqlHostSystem& host) {
  QString error;
  if (!hasRows(host, QStringLiteral("select maid from mailaccount"), &error) && error.isEmpty())
    error = seedAccountRow(host);
  const MailStore store(host);
  if (error.isEmpty() && store.programName(kDemoProgId).isEmpty())
    error = host::seedProgram(host, kDemoProgId, QStringLiteral("客户对账"));
  if (error.isEmpty() && !store.templateExists(kDemoProgId)) error = seedTemplate(host);
  if (error.isEmpty()) error = seedCustomers(host);
  return error;
}

QList<Customer> readCustomers(IHostSystem& host, QString* error) {
  QList<Customer> list;
  const auto rs = host.openQuery(
      QStringLiteral("select 名,邮箱 from %1 order by 编号").arg(QLatin1String(kCustomerTable)),
      error);
  if (!rs) return list;
  for (; !rs->atEnd(); rs->moveNext())
    list.append({rs->text(QStringLiteral("名")), rs->text(QStringLiteral("邮箱"))});
  return list;
}

QString mergeRecords(const QList<Customer>& customers, const QString& separator) {
  QStringList records;
  for (const Customer& c : customers)
    records.append(QStringLiteral("[名]") + c.name + QChar(0) + QStringLiteral("[邮箱]") + c.email);
  return records.join(separator);
}

long queueMail(IHostSystem& host, const OutgoingMail& mail, QString* error) {
  QTemporaryDir dir;
  StoreFailure failure;
  const QList<long> keys = MailStore(host).storeComposed(
      {composedMail(mail, dir.filePath(QStringLiteral("queued.eml")))}, &failure);
  if (keys.isEmpty()) {
    *error = failure.error.isEmpty() ? QStringLiteral("无法保存邮件内容。") : failure.error;
    return 0;
  }
  return keys.first();
}

OutgoingMail demoOutgoingMail(const QString& fromName, const QString& fromAddress) {
  OutgoingMail mail;
  mail.from = {fromName, fromAddress};
  mail.to = {{QStringLiteral("演示收件箱"), QStringLiteral("demo@kvmail.localhost")}};
  mail.subject = QStringLiteral("kvMail 演示：发货通知");
  mail.htmlBody = QStringLiteral(
      "<html><body><p>您好：</p><p>您订购的货物已于今日发出，预计三日内送达。</p>"
      "<p>这封邮件由演示程序放入待发队列，经 SMTP 发出后又由 POP3 收回。</p></body></html>");
  mail.headerPriority = 3;
  return mail;
}

}  // namespace kvmail::demo
