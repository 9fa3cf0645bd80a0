#include "SqlRecordset.h"

#include "SqlRun.h"
#include "model/MailError.h"

namespace kvmail::host {
namespace {

const QString kSource = QStringLiteral("kvhost.Recordset");

constexpr qint64 kDirectWriteFrom = 1024 * 1024;  // stored files from this size skip the copy

QString quotedName(const QString& name) {
  QString inner = name;
  inner.replace(u'"', QStringLiteral("\"\""));
  return u'"' + inner + u'"';
}

}  // namespace

SqlRecordset::SqlRecordset(QString connection, QStringList columns, QList<QVariantList> rows,
                           QString updateTable, QString updateWhere)
    : connection_(std::move(connection)),
      columns_(std::move(columns)),
      rows_(std::move(rows)),
      updateTable_(std::move(updateTable)),
      updateWhere_(std::move(updateWhere)) {}

// Reading forward never moves before the first row, so only an empty result is at its start.
bool SqlRecordset::atStart() const {
  return rows_.isEmpty();
}
bool SqlRecordset::atEnd() const {
  return pos_ >= rows_.size();
}

void SqlRecordset::moveNext() {
  if (atEnd()) return;
  ++pos_;
  readOffsets_.clear();
  pending_.clear();
  appended_.clear();
  writers_.clear();
  writeError_.clear();
}

int SqlRecordset::fieldCount() const {
  return static_cast<int>(columns_.size());
}

QString SqlRecordset::fieldName(int index) const {
  if (index < 0 || index >= columns_.size())
    throw MailError(3265, kSource,
                    QStringLiteral("Item cannot be found in the collection "
                                   "corresponding to the requested name or ordinal."));
  return columns_.at(index);
}

bool SqlRecordset::hasField(const QString& column) const {
  for (const QString& name : columns_)
    if (name.compare(column, Qt::CaseInsensitive) == 0) return true;
  return false;
}

int SqlRecordset::indexOf(const QString& column) const {
  for (int i = 0; i < columns_.size(); ++i)
    if (columns_.at(i).compare(column, Qt::CaseInsensitive) == 0) return i;
  throw MailError(3265, kSource,
                  QStringLiteral("Item cannot be found in the collection corresponding to the "
                                 "requested name or ordinal."));
}

const QVariantList& SqlRecordset::currentRow() const {
  if (atEnd())
    throw MailError(3021, kSource,
                    QStringLiteral("Either BOF or EOF is True, or the current record has been "
                                   "deleted. Requested operation requires a current record."));
  return rows_.at(pos_);
}

QString SqlRecordset::asText(const QVariant& value) {
  if (value.isNull()) return {};
  if (value.typeId() == QMetaType::QByteArray) return QString::fromUtf8(value.toByteArray());
  return value.toString();
}

bool SqlRecordset::isNull(const QString& column) const {
  const int index = indexOf(column);
  return currentRow().at(index).isNull();
}

QVariant SqlRecordset::value(const QString& column) const {
  const int index = indexOf(column);
  return currentRow().at(index);
}

QString SqlRecordset::text(const QString& column) const {
  return asText(value(column));
}

QString SqlRecordset::text(int index) const {
  fieldName(index);
  return asText(currentRow().at(index));
}

qint64 SqlRecordset::actualSize(const QString& column) const {
  const QVariant v = value(column);
  if (v.isNull()) return 0;
  return v.typeId() == QMetaType::QByteArray ? v.toByteArray().size()
                                             : v.toString().toUtf8().size();
}

QByteArray SqlRecordset::getChunk(const QString& column, qint64 length) {
  const int index = indexOf(column);
  const QVariant v = currentRow().at(index);
  const QByteArray bytes =
      v.typeId() == QMetaType::QByteArray ? v.toByteArray() : v.toString().toUtf8();
  qint64& offset = readOffsets_[index];
  if (length <= 0 || offset >= bytes.size()) return QByteArray("");
  const QByteArray chunk = bytes.mid(offset, length);
  offset += chunk.size();
  return chunk;
}

void SqlRecordset::setValue(const QString& column, const QVariant& value) {
  const int index = indexOf(column);
  currentRow();
  appended_.remove(index);
  pending_[index] = value;
}

void SqlRecordset::appendChunk(const QString& column, const QByteArray& bytes) {
  const int index = indexOf(column);
  currentRow();
  // With a large size announced, SQLite takes the chunks straight into the row; a small file
  // goes in with the row's update, which is one statement instead of three.
  if (auto w = writers_.find(index); w != writers_.end()) {
    if (writeError_.isEmpty()) writeError_ = w->second->write(bytes);
    return;
  }
  if (expected_.value(index) >= kDirectWriteFrom && !appended_.contains(index) &&
      !updateTable_.isEmpty() && SqliteBlobWriter::isSqlite(connection_)) {
    pending_.remove(index);  // the chunks replace whatever value was set before
    auto writer = std::make_unique<SqliteBlobWriter>();
    writeError_ = writer->open(connection_, updateTable_, columns_.at(index), updateWhere_,
                               expected_.take(index));
    if (writeError_.isEmpty()) writeError_ = writer->write(bytes);
    writers_[index] = std::move(writer);
    return;
  }
  // The first append of an edit replaces the stored value, later ones add to it in place
  // (a copy per chunk would make a large stored file cost quadratic time).
  auto it = appended_.find(index);
  if (it == appended_.end()) {
    const auto set = pending_.constFind(index);
    QByteArray start = set == pending_.constEnd()               ? QByteArray("")
                       : set->typeId() == QMetaType::QByteArray ? set->toByteArray()
                                                                : set->toString().toUtf8();
    pending_.remove(index);
    start.reserve(qMax<qsizetype>(start.size(), qsizetype(expected_.take(index))));
    it = appended_.insert(index, start);
  }
  it->append(bytes);
}

void SqlRecordset::expectChunks(const QString& column, qint64 totalBytes) {
  const int index = indexOf(column);
  currentRow();
  if (totalBytes > 0 && totalBytes < (qint64(1) << 31)) expected_[index] = totalBytes;
}

QString SqlRecordset::update() {
  if (atEnd()) return QStringLiteral("数据库错误：没有当前记录可以保存。");
  for (auto& [index, writer] : writers_) {
    const QString finished = writer->finish();
    if (writeError_.isEmpty()) writeError_ = finished;
    rows_[pos_][index] = QVariant();  // written in place; read it again through a new query
  }
  writers_.clear();
  if (!writeError_.isEmpty()) return std::exchange(writeError_, QString());
  for (auto it = appended_.begin(); it != appended_.end(); ++it)
    pending_[it.key()] = QVariant(std::move(it.value()));
  appended_.clear();
  if (pending_.isEmpty()) return {};
  if (updateTable_.isEmpty())
    return QStringLiteral("数据库错误：只有单表且带条件的查询才能保存修改。");
  QStringList sets;
  QVariantList values;
  for (auto it = pending_.constBegin(); it != pending_.constEnd(); ++it) {
    sets << quotedName(columns_.at(it.key())) + QStringLiteral("=?");
    values << it.value();
  }
  const QString sql = QStringLiteral("update ") + updateTable_ + QStringLiteral(" set ") +
                      sets.join(u',') + QStringLiteral(" where ") + updateWhere_;
  const QString error = runBound(connection_, sql, values);
  if (!error.isEmpty()) return error;
  QVariantList& row = rows_[pos_];
  for (auto it = pending_.constBegin(); it != pending_.constEnd(); ++it) row[it.key()] = it.value();
  pending_.clear();
  return {};
}

void SqlRecordset::close() {
  rows_.clear();
  pos_ = 0;
  readOffsets_.clear();
  pending_.clear();
  appended_.clear();
  writers_.clear();
  writeError_.clear();
}

}  // namespace kvmail::host
