#pragma once
// Copying a stored-file column of one row to a file and back, in chunks of 16384 bytes,
// through the host's recordsets. The file side is always a temporary file.
#include <QByteArray>
#include <QString>

namespace kvmail {

class IHostSystem;

inline constexpr qint64 kStoredFileChunk = 16384;

// Writes the column of the row whose keyColumn equals key into path. False, with the file
// untouched, when the row is missing or the column is null or empty. The file is not emptied
// first: bytes of a longer older file stay behind the new content.
bool columnToFile(long key, const QString& path, const QString& column, IHostSystem& host,
                  const QString& table, const QString& keyColumn);

// Stores the file at path into the column of that row: the remainder chunk first, then the
// full chunks. False when the row or the file is missing, or the row could not be saved.
bool fileToColumn(long key, const QString& path, const QString& column, IHostSystem& host,
                  const QString& table, const QString& keyColumn);

// The same for bytes already in memory, stored exactly as fileToColumn stores a file of them.
bool bytesToColumn(long key, const QByteArray& bytes, const QString& column, IHostSystem& host,
                   const QString& table, const QString& keyColumn);

}  // namespace kvmail
