#include "SqlRun.h"

#include <QSqlDatabase>
#include <QSqlQuery>

namespace kvmail::host {

QString dbErrorText(const QSqlError& error) {
  QString detail = error.databaseText().trimmed();
  const QString driver = error.driverText().trimmed();
  if (detail.isEmpty())
    detail = driver;
  else if (!driver.isEmpty() && !detail.contains(driver))
    detail += QStringLiteral(" (") + driver + u')';
  return QStringLiteral("数据库错误：") + detail;
}

QString runBound(const QString& connection, const QString& sql, const QVariantList& values) {
  QSqlDatabase db = QSqlDatabase::database(connection, false);
  if (!db.isOpen()) return QStringLiteral("数据库错误：连接已关闭。");
  QSqlQuery query(db);
  if (!query.prepare(sql)) return dbErrorText(query.lastError());
  for (const QVariant& value : values) query.addBindValue(value);
  if (!query.exec()) return dbErrorText(query.lastError());
  return {};
}

}  // namespace kvmail::host
