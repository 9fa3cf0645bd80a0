#pragma once
// A real host system object that keeps the text of every query and statement it is handed, so
// a test can hold the template editor to the exact statements and their order.
#include "store/HostSystem.h"

#include <QStringList>

namespace kvtest {

class StatementLog : public kvmail::IHostSystem {
 public:
  explicit StatementLog(kvmail::IHostSystem& real) : real_(real) {}

  QStringList texts;

  std::shared_ptr<kvmail::IRecordset> openQuery(const QString& sql, QString* error) override {
    texts << sql;
    return real_.openQuery(sql, error);
  }
  QString execute(const QString& sql) override {
    texts << sql;
    return real_.execute(sql);
  }
  long nextKey(const QString& t, const QString& k, QString* e) override {
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
