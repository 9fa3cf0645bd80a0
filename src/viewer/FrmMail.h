#pragma once
// The mail viewer. For now it keeps what the service hands it and shows an empty window titled
// with the caption; showing the stored mail arrives with the viewer.
#include <QWidget>

namespace kvmail {

class IHostSystem;

class FrmMail : public QWidget {
  Q_OBJECT
 public:
  explicit FrmMail(QWidget* parent = nullptr);

  void py_Init(long mailId, IHostSystem* system, const QString& caption);

  long mailId() const { return mailId_; }
  QString caption() const { return caption_; }

 Q_SIGNALS:
  void Delete(long* mailId);
  void DoPrint(const QString& path);
  void ErrMessage(const QString& message, long kind, const QString& title);
  void RecordMove(long direction, long* mailId);
  void RevertMail(long mailId);
  void TransmitMail(long mailId);
  void Unload();

 private:
  long mailId_ = 0;
  IHostSystem* system_ = nullptr;
  QString caption_;
};

}  // namespace kvmail
