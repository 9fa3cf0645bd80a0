#pragma once
// A real host system object that keeps the text of every query and statement it is handed, so
// a test can hold a window to the exact statements and their order.
#include <QStringList>

#include "store/HostSystem.h"

namespace kvtest {

class RecordingHost : public kvmail::IHostSystem {
 public:
  explicit RecordingHost(kvmail::IHostSystem& real) : real_(real) {}

  QStringList texts;       // queries and statements, in order
  QStringList queries;     // the queries alone
  QStringList statements;  // the statements alone, "nextKey" for each key taken

  std::shared_ptr<kvmail::IRecordset> openQuery(const QString& sql, QString* error) override {
    texts << sql;
    queries << sql;
    return real_.openQuery(sql, error);
  }
  QString execute(const QString& sql) override {
    texts << sql;
    statements << sql;
    return real_.execute(sql);
  }
  long nextKey(const QString& t, const QString& k, QString* e) override {
    statements << QStringLiteral("nextKey");
    return real_.nextKey(t, k, e);
  }
  QString beginTransaction() override { return real_.beginTransaction(); }
  QString commitTransaction() override { return real_.commitTransaction(); }
  QString rollbackTransaction() override { return real_.rollbackTransaction(); }
  QString currentUserId() const override { return real_.currentUserId(); }
  QString currentOperator() const override { return real_.currentOperator(); }

 private:
  kvmail::IHostSystem& real_;
};

}  // namespace kvtest
