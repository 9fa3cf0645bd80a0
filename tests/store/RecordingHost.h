#pragma once
// A real host system object with a log of the chunk calls made on its recordsets, so tests
// can see how a stored file was moved, not only that it arrived.
#include "store/HostSystem.h"

#include <QStringList>

namespace kvtest {

class RecordingHost : public kvmail::IHostSystem {
 public:
  explicit RecordingHost(kvmail::IHostSystem& real) : real_(real) {}

  // "get 16384", "set ''", "append 100", "update" in call order.
  QStringList calls;

  std::shared_ptr<kvmail::IRecordset> openQuery(const QString& sql, QString* error) override;
  QString execute(const QString& sql) override { return real_.execute(sql); }
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
