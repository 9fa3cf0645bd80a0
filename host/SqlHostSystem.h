#pragma once
// The reference host system object on Qt SQL: an SQLite file by default, a PostgreSQL server
// when one is named. Creates the host tables it finds missing.
#include "SqlDialect.h"
#include "store/HostSystem.h"

#include <QString>
#include <QVariantList>

#include <memory>

namespace kvmail::host {

class WalCheckpointer;

struct HostOptions {
  SqlEngine engine = SqlEngine::Sqlite;
  QString sqlitePath;                          // the store file (SQLite)
  bool readOnly = false;                       // SQLite: open without write access
  int busyTimeoutMs = 5000;                    // SQLite: how long to wait for another writer
  QString host = QStringLiteral("127.0.0.1");  // PostgreSQL server
  int port = 5432;
  QString database;
  QString user;
  QString password;  // used to connect, never put into a text
  QString userId;    // the current host user
  QString operatorName;

  static HostOptions sqlite(const QString& path);
  static HostOptions postgres(const QString& host, int port, const QString& database,
                              const QString& user, const QString& password);
};

class SqlHostSystem : public IHostSystem {
 public:
  explicit SqlHostSystem(HostOptions options);
  ~SqlHostSystem() override;
  SqlHostSystem(const SqlHostSystem&) = delete;
  SqlHostSystem& operator=(const SqlHostSystem&) = delete;

  // Connects and creates missing tables; the error text, empty on success.
  QString open();
  void close();
  bool isOpen() const;
  SqlEngine engine() const { return options_.engine; }

  void setCurrentUser(const QString& userId, const QString& operatorName);

  // One statement with '?' values bound (host-side set-up and tests); the error text or "".
  QString executeBound(const QString& sql, const QVariantList& values);

  std::shared_ptr<IRecordset> openQuery(const QString& sql, QString* error = nullptr) override;
  QString execute(const QString& sql) override;
  long nextKey(const QString& table, const QString& keyColumn, QString* error) override;
  QString beginTransaction() override;
  QString commitTransaction() override;
  QString rollbackTransaction() override;
  QString currentUserId() const override;
  QString currentOperator() const override;

 private:
  QString runPlain(const QString& sql);
  long takeKey(const QString& table, const QString& keyColumn, QString* error);

  std::unique_ptr<WalCheckpointer> checkpointer_;  // SQLite stores written to only
  HostOptions options_;
  QString connection_;
  bool inTransaction_ = false;
};

}  // namespace kvmail::host
