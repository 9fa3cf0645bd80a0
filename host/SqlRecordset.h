#pragma once
// A query's rows held in memory, read forward, with chunked stored-file columns and an update
// of the current row that is written back over the query's own WHERE.
#include "store/HostSystem.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <QVariantList>

#include <map>
#include <memory>

#include "SqliteBlobWriter.h"

namespace kvmail::host {

class SqlRecordset : public IRecordset {
 public:
  // updateTable/updateWhere come from a single-table "select ... from T where ..." query; when
  // empty, update() answers why the rows cannot be changed.
  SqlRecordset(QString connection, QStringList columns, QList<QVariantList> rows,
               QString updateTable, QString updateWhere);

  bool atStart() const override;
  bool atEnd() const override;
  void moveNext() override;

  int fieldCount() const override;
  QString fieldName(int index) const override;
  bool hasField(const QString& column) const override;
  bool isNull(const QString& column) const override;
  QVariant value(const QString& column) const override;
  QString text(const QString& column) const override;
  QString text(int index) const override;

  qint64 actualSize(const QString& column) const override;
  QByteArray getChunk(const QString& column, qint64 length) override;

  void setValue(const QString& column, const QVariant& value) override;
  void appendChunk(const QString& column, const QByteArray& bytes) override;
  void expectChunks(const QString& column, qint64 totalBytes) override;
  QString update() override;
  void close() override;

 private:
  int indexOf(const QString& column) const;  // raises 3265 for an unknown column
  const QVariantList& currentRow() const;    // raises 3021 when there is no current row
  static QString asText(const QVariant& value);

  QString connection_;
  QStringList columns_;
  QList<QVariantList> rows_;
  QString updateTable_;
  QString updateWhere_;
  qsizetype pos_ = 0;
  QHash<int, qint64> readOffsets_;
  QHash<int, QVariant> pending_;
  QHash<int, QByteArray> appended_;  // stored-file columns being filled chunk by chunk
  QHash<int, qint64> expected_;      // sizes announced by expectChunks
  std::map<int, std::unique_ptr<SqliteBlobWriter>> writers_;  // columns written in place
  QString writeError_;
};

}  // namespace kvmail::host
