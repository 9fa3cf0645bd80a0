#pragma once
// The host's view of its msgmail table: the rows its mail list shows, newest first.
#include <QList>
#include <QString>

namespace kvmail {
class IHostSystem;
}

namespace kvmail::demo {

struct MailRow {
  long id = 0;
  int direction = 0;  // CshgnsID: 1 received, 2 written here
  QString from;       // "name <address>", or the address alone
  QString to;
  QString subject;
  QString sentTime;
  QString receivedTime;
  bool attachment = false;
  bool read = false;
  bool queued = false;  // outgoing and not yet sent (empty messageID)
};

// The rows that are not deleted (del not 1), highest mail identifier first.
QList<MailRow> readMailList(IHostSystem& host, QString* error);
// The same rows narrowed by an SQL condition on msgmail, at most limit of them (0: all).
QList<MailRow> readMailRows(IHostSystem& host, const QString& condition, int limit, QString* error);

struct MailTotals {
  int mails = 0;
  int queued = 0;
};
MailTotals readMailTotals(IHostSystem& host, QString* error);

// "收件", "待发" or "已发".
QString directionText(const MailRow& row);

// The list's columns, in order, and one row as those texts.
QStringList mailListHeaders();
inline constexpr int kMailListColumns = 9;
QStringList mailListTexts(const MailRow& row);
QString mailListText(const MailRow& row, int column);

}  // namespace kvmail::demo
