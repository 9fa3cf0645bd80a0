#pragma once
// The mail account as the demo's account dialog edits it: every mailaccount column and the
// current user's mailaccountuser row. The stored password is never read back.
#include <QString>

#include "SqlHostSystem.h"

namespace kvmail::demo {

struct AccountRecord {
  bool exists = false;  // false: saving inserts a new account
  long maid = 0;
  long smtpType = 0;
  QString name;                  // maname
  QString smtp;                  // masmtpservername
  int smtpPort = 25;             // masmtpport
  QString fromName;              // mafromname
  QString fromAddress;           // mafromemailaddress
  QString userName;              // mausername
  QString replyTo;               // mareplyemailaddress
  QString pop3;                  // mapop3servername
  int pop3Port = 110;            // mapop3port
  int pop3Security = 0;          // mapop3security: 0 none, 1 STLS, 2 TLS from the first byte
  int smtpSecurity = 0;          // masmtpsecurity: 0 by the port, 1 STARTTLS, 2 TLS
  QString certFile;              // macertfile: trusted instead of the system's store
  bool keepOnServer = false;     // maisnotdelete = 1
  bool deleteAfterDays = false;  // maisafterdaydelete
  int deleteDays = 0;            // madeleteday
  bool isOut = false;            // maisout
  bool isDefault = false;        // maisdefault
  bool forCurrentUser = true;    // a mailaccountuser row for the current user

  bool hasPassword = false;      // a password is stored
  bool passwordChanged = false;  // write newPassword; otherwise the stored one stays
  QString newPassword;
};

// The account the current user gets from the module (own row first, else the default one);
// a fresh record when there is none.
AccountRecord loadAccountRecord(IHostSystem& host, QString* error);

// The first problem with the fields, in the words the dialog shows; empty when they are fine.
QString validateAccount(const AccountRecord& record);

// Writes the account and the current user's assignment in one transaction; the error text,
// empty on success. Nothing is written when the fields are not valid.
QString saveAccountRecord(host::SqlHostSystem& host, const AccountRecord& record);

}  // namespace kvmail::demo
