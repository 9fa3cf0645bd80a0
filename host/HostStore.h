#pragma once
// Making a ready store for the demo and for tests: the tables, an account, a program.
#include "SqlHostSystem.h"

#include <QVariant>

namespace kvmail::host {

// An SQLite store file with every host table; the error text, empty on success.
QString createStore(const QString& path);

// One mailaccount row, and a mailaccountuser row when userId is given. A null QVariant writes
// a null column.
struct AccountSeed {
  long maid = 1;
  long smtpType = 0;
  QString userId;  // empty: no mailaccountuser row
  bool isDefault = false;
  QString name;
  QString userName;
  QString password;
  QString smtp;
  QString replyTo;
  QVariant smtpPort = 25;
  QString fromName;
  QString fromAddress;
  QString pop3;
  QVariant pop3Port;  // null: the standard port
  QVariant notDelete = 0;
  QVariant afterDayDelete = 0;
  QVariant deleteDay = 0;
  QVariant isOut = 0;
};
QString seedAccount(SqlHostSystem& host, const AccountSeed& seed);

// A row of the host's program table.
QString seedProgram(SqlHostSystem& host, long progId, const QString& name);

}  // namespace kvmail::host
