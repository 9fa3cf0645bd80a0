#include "RecordingHost.h"

namespace kvtest {
namespace {

class RecordingRecordset : public kvmail::IRecordset {
 public:
  RecordingRecordset(std::shared_ptr<kvmail::IRecordset> real, QStringList& calls)
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
    calls_ << QStringLiteral("get %1").arg(length);
    return real_->getChunk(c, length);
  }
  void setValue(const QString& c, const QVariant& v) override {
    calls_ << QStringLiteral("set '%1'").arg(v.toString());
    real_->setValue(c, v);
  }
  void appendChunk(const QString& c, const QByteArray& bytes) override {
    calls_ << QStringLiteral("append %1").arg(bytes.size());
    real_->appendChunk(c, bytes);
  }
  QString update() override {
    calls_ << QStringLiteral("update");
    return real_->update();
  }
  void close() override { real_->close(); }

 private:
  std::shared_ptr<kvmail::IRecordset> real_;
  QStringList& calls_;
};

}  // namespace

std::shared_ptr<kvmail::IRecordset> RecordingHost::openQuery(const QString& sql, QString* error) {
  auto rs = real_.openQuery(sql, error);
  if (!rs) return rs;
  return std::make_shared<RecordingRecordset>(rs, calls);
}

}  // namespace kvtest
