#include "SqlHostSystem.h"

#include "HostTables.h"
#include "SqlRecordset.h"
#include "SqlRun.h"
#include "WalCheckpointer.h"
#include "WalGatherVfs.h"

#include <QAtomicInt>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUrl>

namespace kvmail::host {
namespace {

QAtomicInt connectionCounter;

// A store file is opened through the layer that writes each commit's log frames at once.
QString gatheringUri(const QString& path) {
  const QString vfs = QLatin1String(walGatherVfsName());
  if (vfs.isEmpty()) return {};
  const QByteArray where = QUrl::toPercentEncoding(QFileInfo(path).absoluteFilePath(), "/");
  return QStringLiteral("file:") + QLatin1String(where) + QStringLiteral("?vfs=") + vfs;
}

// An SQLite store in a file of its own that this connection writes.
bool isStoreFile(const HostOptions& o) {
  return o.engine == SqlEngine::Sqlite && !o.readOnly && !o.sqlitePath.isEmpty() &&
         o.sqlitePath != QLatin1String(":memory:");
}

QString notOpenText() {
  return QStringLiteral("数据库错误：数据库尚未打开。");
}

// The table and WHERE of a "select ... from T where ..." query, which can write its rows back.
bool updateTarget(const QString& sql, QString* table, QString* where) {
  static const QRegularExpression shape(
      QStringLiteral("^\\s*select\\s+.+?\\s+from\\s+([^\\s,()]+)\\s+where\\s+(.+)$"),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption |
          QRegularExpression::UseUnicodePropertiesOption);
  const auto match = shape.match(sql);
  if (!match.hasMatch()) return false;
  *table = match.captured(1);
  *where = match.captured(2);
  return true;
}

}  // namespace

HostOptions HostOptions::sqlite(const QString& path) {
  HostOptions o;
  o.engine = SqlEngine::Sqlite;
  o.sqlitePath = path;
  return o;
}

HostOptions HostOptions::postgres(const QString& host, int port, const QString& database,
                                  const QString& user, const QString& password) {
  HostOptions o;
  o.engine = SqlEngine::Postgres;
  o.host = host;
  o.port = port;
  o.database = database;
  o.user = user;
  o.password = password;
  return o;
}

SqlHostSystem::SqlHostSystem(HostOptions options)
    : options_(std::move(options)),
      connection_(QStringLiteral("kvhost-%1").arg(connectionCounter.fetchAndAddRelaxed(1))) {}

SqlHostSystem::~SqlHostSystem() {
  close();
}

QString SqlHostSystem::open() {
  close();
  const bool pg = options_.engine == SqlEngine::Postgres;
  {
    QSqlDatabase db = QSqlDatabase::addDatabase(
        pg ? QStringLiteral("QPSQL") : QStringLiteral("QSQLITE"), connection_);
    if (!db.isValid()) return QStringLiteral("数据库错误：缺少 Qt 数据库驱动。");
    if (pg) {
      db.setHostName(options_.host);
      db.setPort(options_.port);
      db.setDatabaseName(options_.database);
      db.setUserName(options_.user);
      db.setPassword(options_.password);
      db.setConnectOptions(QStringLiteral("connect_timeout=10"));
    } else {
      QString connect = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(options_.busyTimeoutMs);
      const QString uri = isStoreFile(options_) ? gatheringUri(options_.sqlitePath) : QString();
      db.setDatabaseName(uri.isEmpty() ? options_.sqlitePath : uri);
      if (!uri.isEmpty()) connect += QStringLiteral(";QSQLITE_OPEN_URI");
      if (options_.readOnly) connect += QStringLiteral(";QSQLITE_OPEN_READONLY");
      db.setConnectOptions(connect);
    }
    if (!db.open()) {
      const QString error = QStringLiteral("无法打开数据库：") + dbErrorText(db.lastError());
      db = QSqlDatabase();
      QSqlDatabase::removeDatabase(connection_);
      return error;
    }
  }
  if (!pg) keepStatements(connection_);
  QStringList setup;
  if (!pg) {
    if (!options_.readOnly) setup << QStringLiteral("pragma journal_mode=wal");
    setup << QStringLiteral("pragma synchronous=normal");
    setup << QStringLiteral("pragma temp_store=memory");  // sorting for DISTINCT and UNION
  }
  const bool checkpointApart = !pg && isStoreFile(options_);
  // The checkpointer below does the copying; the writer's own only if it falls far behind.
  if (checkpointApart) setup << QStringLiteral("pragma wal_autocheckpoint=10000");
  if (!options_.readOnly) setup << hostTableStatements(options_.engine);
  for (const QString& statement : setup) {
    const QString error = runPlain(statement);
    if (!error.isEmpty()) {
      close();
      return error;
    }
  }
  if (checkpointApart) checkpointer_ = std::make_unique<WalCheckpointer>(options_.sqlitePath);
  if (!options_.readOnly) {
    // A store made by an earlier version gets the settings columns added since.
    const QSqlDatabase db = QSqlDatabase::database(connection_);
    for (const OptionalColumn& c : hostOptionalColumns()) {
      if (db.record(QLatin1String(c.table)).contains(QLatin1String(c.column))) continue;
      const QString error = runPlain(
          QStringLiteral("alter table %1 add column %2 %3")
              .arg(QLatin1String(c.table), QLatin1String(c.column), QLatin1String(c.type)));
      if (!error.isEmpty()) {
        close();
        return error;
      }
    }
  }
  return {};
}

void SqlHostSystem::close() {
  checkpointer_.reset();
  if (!QSqlDatabase::contains(connection_)) return;
  forgetStatements(connection_);
  {
    QSqlDatabase db = QSqlDatabase::database(connection_, false);
    if (db.isOpen()) {
      if (inTransaction_) QSqlQuery(QStringLiteral("rollback"), db);
      db.close();
    }
  }
  QSqlDatabase::removeDatabase(connection_);
  inTransaction_ = false;
}

bool SqlHostSystem::isOpen() const {
  return QSqlDatabase::contains(connection_) && QSqlDatabase::database(connection_, false).isOpen();
}

void SqlHostSystem::setCurrentUser(const QString& userId, const QString& operatorName) {
  options_.userId = userId;
  options_.operatorName = operatorName;
}

QString SqlHostSystem::runPlain(const QString& sql) {
  if (!isOpen()) return notOpenText();
  return runLiteral(connection_, sql);
}

QString SqlHostSystem::executeBound(const QString& sql, const QVariantList& values) {
  QString error;
  const QString text = toEngineSql(sql, &error);
  if (!error.isEmpty()) return error;
  if (!isOpen()) return notOpenText();
  return runBound(connection_, text, values);
}

std::shared_ptr<IRecordset> SqlHostSystem::openQuery(const QString& sql, QString* error) {
  QString problem;
  const QString text = toEngineSql(sql, &problem);
  if (problem.isEmpty() && !isOpen()) problem = notOpenText();
  if (!problem.isEmpty()) {
    if (error) *error = problem;
    return nullptr;
  }
  SqlRows answer;
  problem = runLiteral(connection_, text, &answer);
  if (!problem.isEmpty()) {
    if (error) *error = problem;
    return nullptr;
  }
  QString table, where;
  updateTarget(text, &table, &where);
  if (error) error->clear();
  return std::make_shared<SqlRecordset>(connection_, answer.columns, answer.rows, table, where);
}

QString SqlHostSystem::execute(const QString& sql) {
  QString error;
  const QString text = toEngineSql(sql, &error);
  if (!error.isEmpty()) return error;
  return runPlain(text);
}

long SqlHostSystem::nextKey(const QString& table, const QString& keyColumn, QString* error) {
  QString problem;
  long key = 0;
  if (!isPlainName(table) || !isPlainName(keyColumn)) {
    problem = QStringLiteral("取新编号失败：表名或列名无效。");
  } else if (!isOpen()) {
    problem = notOpenText();
  } else if (options_.engine == SqlEngine::Postgres || inTransaction_) {
    key = takeKey(table, keyColumn, &problem);
  } else {
    // On its own, SQLite takes the write lock first so two processes never read the same mark.
    problem = runPlain(QStringLiteral("begin immediate"));
    if (problem.isEmpty()) {
      key = takeKey(table, keyColumn, &problem);
      if (problem.isEmpty()) problem = runPlain(QStringLiteral("commit"));
      if (!problem.isEmpty()) runPlain(QStringLiteral("rollback"));
    }
  }
  if (!problem.isEmpty()) {
    if (error) *error = problem;
    return 0;
  }
  if (error) error->clear();
  return key;
}

long SqlHostSystem::takeKey(const QString& table, const QString& keyColumn, QString* error) {
  const QString highest =
      QStringLiteral("(select coalesce(max(%1),0)+1 from %2)").arg(keyColumn, table);
  const bool pg = options_.engine == SqlEngine::Postgres;
  // One upsert that changes the mark in place: the row lock on it serialises concurrent callers
  // on PostgreSQL, and on SQLite the key's index page is not rewritten for every mail.
  const QString sql = QStringLiteral(
                          "insert into %1(tablename,keycolumn,lastkey) values (?,?,%2) "
                          "on conflict (tablename,keycolumn) do update set lastkey="
                          "%3(%1.lastkey+1,excluded.lastkey) returning lastkey")
                          .arg(QLatin1String(kKeyTable), highest,
                               pg ? QStringLiteral("greatest") : QStringLiteral("max"));
  SqlRows answer;
  *error = runBound(connection_, sql, {table.toLower(), keyColumn.toLower()}, &answer);
  if (!error->isEmpty()) return 0;
  if (answer.rows.isEmpty()) {
    *error = QStringLiteral("数据库错误：取新编号没有结果。");
    return 0;
  }
  return static_cast<long>(answer.rows.first().value(0).toLongLong());
}

QString SqlHostSystem::beginTransaction() {
  if (inTransaction_) return QStringLiteral("数据库错误：事务已经开始。");
  const QString error =
      runPlain(options_.engine == SqlEngine::Sqlite ? QStringLiteral("begin immediate")
                                                    : QStringLiteral("begin"));
  if (error.isEmpty()) inTransaction_ = true;
  return error;
}

QString SqlHostSystem::commitTransaction() {
  if (!inTransaction_) return QStringLiteral("数据库错误：没有进行中的事务。");
  const QString error = runPlain(QStringLiteral("commit"));
  if (error.isEmpty()) inTransaction_ = false;
  return error;
}

QString SqlHostSystem::rollbackTransaction() {
  if (!inTransaction_) return QStringLiteral("数据库错误：没有进行中的事务。");
  inTransaction_ = false;
  return runPlain(QStringLiteral("rollback"));
}

QString SqlHostSystem::currentUserId() const {
  return options_.userId;
}
QString SqlHostSystem::currentOperator() const {
  return options_.operatorName;
}

}  // namespace kvmail::host
