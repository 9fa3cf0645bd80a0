#include "store/StoredFile.h"

#include "store/HostSystem.h"
#include "store/Statements.h"

#include <QBuffer>
#include <QFile>

namespace kvmail {

bool columnToFile(long key, const QString& path, const QString& column, IHostSystem& host,
                  const QString& table, const QString& keyColumn) {
  const auto rs = host.openQuery(sql::columnToFileQuery(column, table, keyColumn, key));
  if (!rs || rs->isEmpty()) return false;
  if (rs->isNull(column)) return false;
  const qint64 size = rs->actualSize(column);
  if (size <= 0) return false;

  // ReadWrite keeps the old bytes: the file is deliberately not emptied first.
  QFile file(path);
  if (!file.open(QIODevice::ReadWrite)) return false;  // sturdier than writing nowhere
  for (qint64 i = 0; i < size / kStoredFileChunk; ++i)
    file.write(rs->getChunk(column, kStoredFileChunk));
  file.write(rs->getChunk(column, size % kStoredFileChunk));
  file.close();
  return true;
}

namespace {

// The remainder chunk first, then the full chunks: the order stored files were always written in.
bool deviceToColumn(IRecordset& rs, QIODevice& device, const QString& column) {
  const qint64 length = device.size();
  rs.setValue(column, QString(""));
  rs.expectChunks(column, length);
  rs.appendChunk(column, device.read(length % kStoredFileChunk));
  for (qint64 i = 0; i < length / kStoredFileChunk; ++i)
    rs.appendChunk(column, device.read(kStoredFileChunk));
  return rs.update().isEmpty();
}

}  // namespace

bool fileToColumn(long key, const QString& path, const QString& column, IHostSystem& host,
                  const QString& table, const QString& keyColumn) {
  const auto rs = host.openQuery(sql::fileToColumnQuery(column, table, keyColumn, key));
  if (!rs || rs->isEmpty()) return false;
  QFile file(path);
  if (!file.exists() || !file.open(QIODevice::ReadOnly)) return false;
  return deviceToColumn(*rs, file, column);
}

bool bytesToColumn(long key, const QByteArray& bytes, const QString& column, IHostSystem& host,
                   const QString& table, const QString& keyColumn) {
  const auto rs = host.openQuery(sql::fileToColumnQuery(column, table, keyColumn, key));
  if (!rs || rs->isEmpty()) return false;
  QBuffer buffer;
  buffer.setData(bytes);
  buffer.open(QIODevice::ReadOnly);
  return deviceToColumn(*rs, buffer, column);
}

}  // namespace kvmail
