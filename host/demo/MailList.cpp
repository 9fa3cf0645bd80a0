#include "MailList.h"

#include <QStringList>

#include "store/HostSystem.h"

namespace kvmail::demo {
namespace {

QString person(const QString& name, const QString& address) {
  if (name.isEmpty() || name == address) return address;
  return address.isEmpty() ? name : name + QStringLiteral(" <") + address + u'>';
}

}  // namespace

QList<MailRow> readMailRows(IHostSystem& host, const QString& condition, int limit,
                            QString* error) {
  QList<MailRow> list;
  QString sql = QStringLiteral(
      "select 邮件ID,CshgnsID,发件人,发件人邮箱,收件人,收件人邮箱,主题,发送时间,接收时间,附件,"
      "是否已读,messageID from msgmail where (del is null or del<>1)");
  if (!condition.isEmpty()) sql += QStringLiteral(" and ") + condition;
  sql += QStringLiteral(" order by 邮件ID desc");
  if (limit > 0) sql += QStringLiteral(" limit %1").arg(limit);
  const auto rs = host.openQuery(sql, error);
  if (!rs) return list;
  for (; !rs->atEnd(); rs->moveNext()) {
    MailRow row;
    row.id = rs->text(0).toLong();
    row.direction = rs->text(1).toInt();
    row.from = person(rs->text(2), rs->text(3));
    const QString toText = rs->text(4);
    row.to = toText.isEmpty() ? rs->text(5) : toText;
    row.subject = rs->text(6);
    row.sentTime = rs->text(7);
    row.receivedTime = rs->text(8);
    row.attachment = rs->text(9).toInt() != 0;
    row.read = rs->text(10).toInt() != 0;
    row.queued = row.direction == 2 && rs->text(11).isEmpty();
    list.append(row);
  }
  return list;
}

QList<MailRow> readMailList(IHostSystem& host, QString* error) {
  return readMailRows(host, {}, 0, error);
}

MailTotals readMailTotals(IHostSystem& host, QString* error) {
  const auto rs = host.openQuery(
      QStringLiteral("select count(*), sum(case when CshgnsID=2 and (messageID is null or "
                     "messageID='') then 1 else 0 end) from msgmail where del is null or del<>1"),
      error);
  if (!rs || rs->atEnd()) return {};
  return {rs->text(0).toInt(), rs->text(1).toInt()};
}

QString directionText(const MailRow& row) {
  if (row.direction == 1) return QStringLiteral("收件");
  return row.queued ? QStringLiteral("待发") : QStringLiteral("已发");
}

QStringList mailListHeaders() {
  return {QStringLiteral("编号"),     QStringLiteral("类别"), QStringLiteral("发件人"),
          QStringLiteral("收件人"),   QStringLiteral("主题"), QStringLiteral("发送时间"),
          QStringLiteral("接收时间"), QStringLiteral("附件"), QStringLiteral("已读")};
}

QString mailListText(const MailRow& row, int column) {
  switch (column) {
    case 0:
      return QString::number(row.id);
    case 1:
      return directionText(row);
    case 2:
      return row.from;
    case 3:
      return row.to;
    case 4:
      return row.subject;
    case 5:
      return row.sentTime;
    case 6:
      return row.receivedTime;
    case 7:
      return row.attachment ? QStringLiteral("有") : QString();
    case 8:
      return row.read ? QStringLiteral("已读") : QStringLiteral("未读");
    default:
      return {};
  }
}

QStringList mailListTexts(const MailRow& row) {
  QStringList texts;
  for (int c = 0; c < kMailListColumns; ++c) texts << mailListText(row, c);
  return texts;
}

}  // namespace kvmail::demo
