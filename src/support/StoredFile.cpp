#include "support/StoredFile.h"

#include "store/HostSystem.h"
#include "store/Statements.h"

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

bool fileToColumn(long key, const QString& path, const QString& column, IHostSystem& host,
                  const QString& table, const QString& keyColumn) {
  const auto rs = host.openQuery(sql::fileToColumnQuery(column, table, keyColumn, key));
  if (!rs || rs->isEmpty()) return false;
  QFile file(path);
  if (!file.exists() || !file.open(QIODevice::ReadOnly)) return false;

  const qint64 length = file.size();
  rs->setValue(column, QString(""));
  rs->expectChunks(column, length);
  rs->appendChunk(column, file.read(length % kStoredFileChunk));
  for (qint64 i = 0; i < length / kStoredFileChunk; ++i)
    rs->appendChunk(column, file.read(kStoredFileChunk));
  file.close();
  return rs->update().isEmpty();
}

}  // namespace kvmail
