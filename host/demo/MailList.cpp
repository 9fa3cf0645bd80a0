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

QList<MailRow> readMailList(IHostSystem& host, QString* error) {
  QList<MailRow> list;
  const auto rs = host.openQuery(
      QStringLiteral("select 邮件ID,CshgnsID,发件人,发件人邮箱,收件人,收件人邮箱,主题,发送时间,"
                     "接收时间,附件,是否已读,messageID from msgmail where del is null or del<>1 "
                     "order by 邮件ID desc"),
      error);
  if (!rs) return list;
  for (; !rs->atEnd(); rs->moveNext()) {
    MailRow row;
    row.id = rs->text(QStringLiteral("邮件ID")).toLong();
    row.direction = rs->text(QStringLiteral("CshgnsID")).toInt();
    row.from = person(rs->text(QStringLiteral("发件人")), rs->text(QStringLiteral("发件人邮箱")));
    const QString toText = rs->text(QStringLiteral("收件人"));
    row.to = toText.isEmpty() ? rs->text(QStringLiteral("收件人邮箱")) : toText;
    row.subject = rs->text(QStringLiteral("主题"));
    row.sentTime = rs->text(QStringLiteral("发送时间"));
    row.receivedTime = rs->text(QStringLiteral("接收时间"));
    row.attachment = rs->text(QStringLiteral("附件")).toInt() != 0;
    row.read = rs->text(QStringLiteral("是否已读")).toInt() != 0;
    row.queued = row.direction == 2 && rs->text(QStringLiteral("messageID")).isEmpty();
    list.append(row);
  }
  return list;
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

QStringList mailListTexts(const MailRow& row) {
  return {QString::number(row.id),
          directionText(row),
          row.from,
          row.to,
          row.subject,
          row.sentTime,
          row.receivedTime,
          row.attachment ? QStringLiteral("有") : QString(),
          row.read ? QStringLiteral("已读") : QStringLiteral("未读")};
}

}  // namespace kvmail::demo
