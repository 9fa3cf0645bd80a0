#include "SqlRun.h"

#include "SqlDialect.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>

#include <memory>
#include <unordered_map>

namespace kvmail::host {
namespace {

constexpr int kKeptStatements = 64;

// The prepared statements of one connection, the least recently used dropped first.
struct KeptStatements {
  struct Entry {
    std::unique_ptr<QSqlQuery> query;
    quint64 lastUse = 0;
  };
  QSqlDatabase db;
  std::unordered_map<QString, Entry> byText;
  quint64 clock = 0;

  QSqlQuery* find(const QString& sql) {
    const auto it = byText.find(sql);
    if (it == byText.end()) return nullptr;
    it->second.lastUse = ++clock;
    return it->second.query.get();
  }

  QSqlQuery* keep(const QString& sql, std::unique_ptr<QSqlQuery> query) {
    if (byText.size() >= kKeptStatements) {
      auto oldest = byText.begin();
      for (auto it = byText.begin(); it != byText.end(); ++it)
        if (it->second.lastUse < oldest->second.lastUse) oldest = it;
      byText.erase(oldest);
    }
    Entry& entry = byText[sql];
    entry.query = std::move(query);
    entry.lastUse = ++clock;
    return entry.query.get();
  }
};

// A connection belongs to the thread that opened it, and so do its statements. The table is
// never destroyed, so a host closed late in shutdown still finds it.
QHash<QString, std::shared_ptr<KeptStatements>>& keptStatements() {
  thread_local auto* table = new QHash<QString, std::shared_ptr<KeptStatements>>();
  return *table;
}

QString readAnswer(QSqlQuery& query, SqlRows* rows) {
  if (!rows) return {};
  const QSqlRecord record = query.record();
  const int count = record.count();
  for (int i = 0; i < count; ++i) rows->columns << record.fieldName(i);
  while (query.next()) {
    QVariantList row;
    row.reserve(count);
    for (int i = 0; i < count; ++i) row << query.value(i);
    rows->rows << std::move(row);
  }
  if (query.lastError().isValid()) return dbErrorText(query.lastError());
  return {};
}

// The answer of a statement that has just run (ran: whether it succeeded), then its release.
QString finishRun(QSqlQuery& query, bool ran, SqlRows* rows) {
  const QString error = ran ? readAnswer(query, rows) : dbErrorText(query.lastError());
  query.finish();  // a statement left open would hold its read lock
  return error;
}

QString execute(QSqlQuery& query, const QVariantList& values, SqlRows* rows) {
  for (int i = 0; i < values.size(); ++i) query.bindValue(i, values.at(i));
  return finishRun(query, query.exec(), rows);
}

// The prepared statement for sql, kept or made; null with *error when the engine refuses it.
// A statement made for an unkept connection is handed over in *owned.
QSqlQuery* prepared(const QString& connection, const QString& sql, QString* error,
                    std::unique_ptr<QSqlQuery>* owned) {
  const auto kept = keptStatements().value(connection);
  if (kept) {
    if (QSqlQuery* query = kept->find(sql)) return query;
  }
  QSqlDatabase db = kept ? kept->db : QSqlDatabase::database(connection, false);
  if (!db.isOpen()) {
    *error = QStringLiteral("数据库错误：连接已关闭。");
    return nullptr;
  }
  auto query = std::make_unique<QSqlQuery>(db);
  query->setForwardOnly(true);
  if (!query->prepare(sql)) {
    *error = dbErrorText(query->lastError());
    return nullptr;
  }
  if (kept) return kept->keep(sql, std::move(query));
  *owned = std::move(query);
  return owned->get();
}

}  // namespace

QString dbErrorText(const QSqlError& error) {
  QString detail = error.databaseText().trimmed();
  const QString driver = error.driverText().trimmed();
  if (detail.isEmpty())
    detail = driver;
  else if (!driver.isEmpty() && !detail.contains(driver))
    detail += QStringLiteral(" (") + driver + u')';
  return QStringLiteral("数据库错误：") + detail;
}

QString runBound(const QString& connection, const QString& sql, const QVariantList& values,
                 SqlRows* rows) {
  if (values.isEmpty() && !keptStatements().contains(connection)) {
    // Run as it stands: PostgreSQL cannot prepare every statement (table definitions).
    QSqlDatabase db = QSqlDatabase::database(connection, false);
    if (!db.isOpen()) return QStringLiteral("数据库错误：连接已关闭。");
    QSqlQuery query(db);
    query.setForwardOnly(true);
    return finishRun(query, query.exec(sql), rows);
  }
  QString error;
  std::unique_ptr<QSqlQuery> owned;
  QSqlQuery* query = prepared(connection, sql, &error, &owned);
  return query ? execute(*query, values, rows) : error;
}

QString runLiteral(const QString& connection, const QString& sql, SqlRows* rows) {
  if (keptStatements().contains(connection)) {
    QVariantList values;
    const QString shape = bindLiterals(sql, &values);
    QString error;
    std::unique_ptr<QSqlQuery> owned;
    // A shape the engine refuses is run as written below, so the error names the real text.
    if (!values.isEmpty())
      if (QSqlQuery* query = prepared(connection, shape, &error, &owned))
        return execute(*query, values, rows);
  }
  return runBound(connection, sql, {}, rows);
}

void keepStatements(const QString& connection) {
  auto kept = std::make_shared<KeptStatements>();
  kept->db = QSqlDatabase::database(connection, false);
  keptStatements().insert(connection, std::move(kept));
}

void forgetStatements(const QString& connection) {
  keptStatements().remove(connection);
}

}  // namespace kvmail::host
