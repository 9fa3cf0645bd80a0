#pragma once
// The compose window. For now it keeps what the service hands it and shows an empty window
// titled with the caption; editing, storing and sending arrive with the composer.
#include <QWidget>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"

namespace kvmail {

class IHostSystem;

class FrmNewMail : public QWidget {
  Q_OBJECT
 public:
  explicit FrmNewMail(QWidget* parent = nullptr);

  void py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
               const QString& caption, long mailId);

  BundlePtr bundle() const { return bundle_; }
  AccountPtr account() const { return account_; }
  QString caption() const { return caption_; }
  long mailId() const { return mailId_; }

 Q_SIGNALS:
  void ReturnData(const QString& mailIds);
  void SendMail(const kvmail::BundlePtr& bundle);
  void ErrMessage(const QString& message, long kind, const QString& title);
  void DoPrint(const QString& path);
  void Unload();

 private:
  BundlePtr bundle_;
  IHostSystem* system_ = nullptr;
  AccountPtr account_;
  QString caption_;
  long mailId_ = -1;
};

}  // namespace kvmail
