#pragma once
// A real host system object that keeps the text of every query and statement it is handed, so
// a test can hold a window to the exact statements and their order, and the chunk calls made on
// its recordsets, so a test sees how a stored file was moved, not only that it arrived. It can
// also be told to fail one request for a key, as a host's key service may.
#include <QStringList>

#include "store/HostSystem.h"

namespace kvtest {

class RecordingHost : public kvmail::IHostSystem {
 public:
  explicit RecordingHost(kvmail::IHostSystem& real) : real_(real) {}

  QStringList queries;     // the queries, in order
  QStringList statements;  // the statements, in order, "nextKey" for each key taken
  QStringList calls;       // "get 16384", "set ''", "append 100", "update" in call order
  int failKeyAt = 0;       // the n-th key asked for fails (0: none does)
  int keyCalls = 0;

  std::shared_ptr<kvmail::IRecordset> openQuery(const QString& sql, QString* error) override {
    queries << sql;
    auto rs = real_.openQuery(sql, error);
    return rs ? std::make_shared<Recordset>(rs, calls) : rs;
  }
  QString execute(const QString& sql) override {
    statements << sql;
    return real_.execute(sql);
  }
  long nextKey(const QString& t, const QString& k, QString* e) override {
    statements << u"nextKey"_s;
    if (++keyCalls == failKeyAt) {
      *e = u"编号服务不可用"_s;
      return 0;
    }
    return real_.nextKey(t, k, e);
  }
  QString beginTransaction() override { return real_.beginTransaction(); }
  QString commitTransaction() override { return real_.commitTransaction(); }
  QString rollbackTransaction() override { return real_.rollbackTransaction(); }
  QString currentUserId() const override { return real_.currentUserId(); }
  QString currentOperator() const override { return real_.currentOperator(); }

 private:
  class Recordset : public kvmail::IRecordset {
   public:
    Recordset(std::shared_ptr<kvmail::IRecordset> real, QStringList& calls)
        : real_(std::move(real)), calls_(calls) {}
    bool atStart() const override { return real_->atStart(); }
    bool atEnd() const override { return real_->atEnd(); }
    void moveNext() override { real_->moveNext(); }
    int fieldCount() const override { return real_->fieldCount(); }
    QString fieldName(int i) const override { return real_->fieldName(i); }
    bool hasField(const QString& c) const override { return real_->hasField(c); }
    bool isNull(const QString& c) const override { return real_->isNull(c); }
    QVariant value(const QString& c) const override { return real_->value(c); }
    QString text(const QString& c) const override { return real_->text(c); }
    QString text(int i) const override { return real_->text(i); }
    qint64 actualSize(const QString& c) const override { return real_->actualSize(c); }
    QByteArray getChunk(const QString& c, qint64 length) override {
      calls_ << u"get %1"_s.arg(length);
      return real_->getChunk(c, length);
    }
    void setValue(const QString& c, const QVariant& v) override {
      calls_ << u"set '%1'"_s.arg(v.toString());
      real_->setValue(c, v);
    }
    void appendChunk(const QString& c, const QByteArray& bytes) override {
      calls_ << u"append %1"_s.arg(bytes.size());
      real_->appendChunk(c, bytes);
    }
    void expectChunks(const QString& c, qint64 total) override { real_->expectChunks(c, total); }
    QString update() override {
      calls_ << u"update"_s;
      return real_->update();
    }
    void close() override { real_->close(); }

   private:
    std::shared_ptr<kvmail::IRecordset> real_;
    QStringList& calls_;
  };

  kvmail::IHostSystem& real_;
};

}  // namespace kvtest
