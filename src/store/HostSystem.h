#pragma once
// The host application's system object: the module's only way to the database, the key
// service and the current user. The host implements it (host/ holds one on Qt SQL).
#include <QByteArray>
#include <QString>
#include <QVariant>

#include <memory>

namespace kvmail {

// Rows of one query, read forward. Columns are found by name without regard to case.
class IRecordset {
 public:
  virtual ~IRecordset() = default;

  // An empty result is at its start and at its end at once.
  virtual bool atStart() const = 0;
  virtual bool atEnd() const = 0;
  bool isEmpty() const { return atStart() && atEnd(); }
  virtual void moveNext() = 0;

  virtual int fieldCount() const = 0;
  virtual QString fieldName(int index) const = 0;
  virtual bool hasField(const QString& column) const = 0;
  // Raise MailError 3265 for a column the row does not have.
  virtual bool isNull(const QString& column) const = 0;
  virtual QVariant value(const QString& column) const = 0;
  // The value as text; a null reads as the empty text.
  virtual QString text(const QString& column) const = 0;
  virtual QString text(int index) const = 0;

  // Stored-file columns: the size in bytes, then sequential chunks from the start.
  virtual qint64 actualSize(const QString& column) const = 0;
  virtual QByteArray getChunk(const QString& column, qint64 length) = 0;

  // Changing the current row: set fields, append chunks to a stored-file column, then save.
  virtual void setValue(const QString& column, const QVariant& value) = 0;
  virtual void appendChunk(const QString& column, const QByteArray& bytes) = 0;
  // A hint before appending: the stored file's full size, so a large file is not regrown.
  virtual void expectChunks(const QString& column, qint64 totalBytes) {
    Q_UNUSED(column);
    Q_UNUSED(totalBytes);
  }
  // Saves the current row; the error text, empty on success.
  virtual QString update() = 0;
  virtual void close() = 0;
};

class IHostSystem {
 public:
  virtual ~IHostSystem() = default;

  // Runs one query; on failure answers nullptr and puts the error text into *error.
  virtual std::shared_ptr<IRecordset> openQuery(const QString& sql, QString* error = nullptr) = 0;
  // Runs exactly one statement; the error text, empty on success.
  virtual QString execute(const QString& sql) = 0;
  // The next key for a table's key column; never the same key twice. 0 and *error on failure.
  virtual long nextKey(const QString& table, const QString& keyColumn, QString* error) = 0;

  // Transactions on the host connection; each answers an error text, empty on success.
  virtual QString beginTransaction() = 0;
  virtual QString commitTransaction() = 0;
  virtual QString rollbackTransaction() = 0;

  // The current user: the identifier used in account lookups, and the operator's name.
  virtual QString currentUserId() const = 0;
  virtual QString currentOperator() const = 0;
};

}  // namespace kvmail
