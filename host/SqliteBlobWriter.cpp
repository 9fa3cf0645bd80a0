#include "SqliteBlobWriter.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlQuery>

#include <sqlite3.h>

#include "SqlRun.h"

namespace kvmail::host {

namespace {
QString engineError(sqlite3* db) {
  return QStringLiteral("数据库错误：") + QString::fromUtf8(sqlite3_errmsg(db));
}
}  // namespace

bool SqliteBlobWriter::isSqlite(const QString& connection) {
  return QSqlDatabase::database(connection, false).driverName() == QLatin1String("QSQLITE");
}

SqliteBlobWriter::~SqliteBlobWriter() {
  if (blob_) sqlite3_blob_close(blob_);
}

QString SqliteBlobWriter::open(const QString& connection, const QString& table,
                               const QString& column, const QString& where, qint64 totalBytes) {
  QSqlDatabase db = QSqlDatabase::database(connection, false);
  const QVariant handle = db.driver()->handle();
  if (qstrcmp(handle.typeName(), "sqlite3*") != 0)
    return QStringLiteral("数据库错误：不是 SQLite 连接。");
  sqlite3* sqlite = *static_cast<sqlite3* const*>(handle.constData());

  const QString quoted = u'"' + QString(column).replace(u'"', QStringLiteral("\"\"")) + u'"';
  QString error = runBound(connection,
                           QStringLiteral("update ") + table + QStringLiteral(" set ") + quoted +
                               QStringLiteral("=zeroblob(?) where ") + where,
                           {totalBytes});
  if (!error.isEmpty()) return error;
  SqlRows rowid;
  error = runLiteral(
      connection, QStringLiteral("select rowid from ") + table + QStringLiteral(" where ") + where,
      &rowid);
  if (!error.isEmpty()) return error;
  if (rowid.rows.isEmpty()) return QStringLiteral("数据库错误：要保存的记录已不存在。");
  const qint64 id = rowid.rows.first().value(0).toLongLong();

  QString bareTable = table;
  bareTable.remove(u'"');
  if (sqlite3_blob_open(sqlite, "main", bareTable.toUtf8().constData(), column.toUtf8().constData(),
                        id, 1, &blob_) != SQLITE_OK) {
    blob_ = nullptr;
    return engineError(sqlite);
  }
  size_ = totalBytes;
  offset_ = 0;
  return {};
}

QString SqliteBlobWriter::write(const QByteArray& bytes) {
  if (!blob_) return QStringLiteral("数据库错误：存储文件未打开。");
  if (offset_ + bytes.size() > size_) return QStringLiteral("数据库错误：文件比预告的大。");
  if (!bytes.isEmpty() &&
      sqlite3_blob_write(blob_, bytes.constData(), int(bytes.size()), int(offset_)) != SQLITE_OK)
    return QStringLiteral("数据库错误：写入存储文件失败。");
  offset_ += bytes.size();
  return {};
}

QString SqliteBlobWriter::finish() {
  if (!blob_) return {};
  const int rc = sqlite3_blob_close(blob_);
  blob_ = nullptr;
  if (rc != SQLITE_OK) return QStringLiteral("数据库错误：保存存储文件失败。");
  if (offset_ != size_) return QStringLiteral("数据库错误：文件比预告的小。");
  return {};
}

}  // namespace kvmail::host
