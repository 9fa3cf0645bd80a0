#pragma once
// Fills a stored-file column of one SQLite row in place, chunk by chunk, through SQLite's
// incremental blob I/O: a large message never has to sit in memory whole, nor be copied into
// one record by the engine.
#include <QString>

struct sqlite3_blob;

namespace kvmail::host {

class SqliteBlobWriter {
 public:
  SqliteBlobWriter() = default;
  ~SqliteBlobWriter();
  SqliteBlobWriter(const SqliteBlobWriter&) = delete;
  SqliteBlobWriter& operator=(const SqliteBlobWriter&) = delete;

  // Sizes the column of the row that `where` selects to totalBytes and opens it for writing.
  QString open(const QString& connection, const QString& table, const QString& column,
               const QString& where, qint64 totalBytes);
  // Writes at the end of what was written so far; more than announced is refused.
  QString write(const QByteArray& bytes);
  // Closes the handle; an error when fewer bytes came than were announced.
  QString finish();

  static bool isSqlite(const QString& connection);

 private:
  sqlite3_blob* blob_ = nullptr;
  qint64 size_ = 0;
  qint64 offset_ = 0;
};

}  // namespace kvmail::host
