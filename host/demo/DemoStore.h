#pragma once
// The demo's data: on the first run the store gets a demo account pointing at the loopback mail
// servers, a demo program with its mail-merge template, and a small customer table.
#include <QList>
#include <QString>

#include "SqlHostSystem.h"
#include "support/mime/MimeMail.h"

namespace kvmail::demo {

// The host program the demo calls the module for.
inline constexpr long kDemoProgId = 101;
// The host's own customer table that a mail-merge batch is drawn from.
inline constexpr const char* kCustomerTable = "kvdemo_customers";

// Opens the store (creating the file and tables when missing) and fills what a first run
// needs; the error text, empty on success.
QString openDemoStore(host::SqlHostSystem& host);

// Adds whatever of the demo data is missing: account, program, template, customers.
QString seedDemoData(host::SqlHostSystem& host);

struct Customer {
  QString name;
  QString email;
};
QList<Customer> readCustomers(IHostSystem& host, QString* error);

// One mail-merge record per customer ("[名]value", character 0, "[邮箱]value"), joined by
// separator: the text the module's CreateNew takes.
QString mergeRecords(const QList<Customer>& customers, const QString& separator);

// Stores an outgoing mail in the queue the way the compose window does: a msgmail row with
// CshgnsID 2 and an empty messageID, and the message file, in one transaction. Answers its key,
// or 0 with *error set.
long queueMail(IHostSystem& host, const OutgoingMail& mail, QString* error);

// The mail a scripted "queue" puts into the queue: to the demo mailbox, in Chinese.
OutgoingMail demoOutgoingMail(const QString& fromName, const QString& fromAddress);

}  // namespace kvmail::demo
