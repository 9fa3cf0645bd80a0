#pragma once
// The account dialog: edits the mailaccount row the module will use and the current user's
// mailaccountuser row. The password field shows dots for a stored password and only writes a
// new one when typed into.
#include <QDialog>

#include "AccountRecord.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLineEdit;
class QSpinBox;

namespace kvmail::demo {

class AccountDialog : public QDialog {
  Q_OBJECT
 public:
  AccountDialog(host::SqlHostSystem& host, QWidget* parent = nullptr);

  // The fields as they stand in the controls.
  AccountRecord record() const;
  // Validates and saves; on a problem shows it and keeps the dialog open.
  void accept() override;

 private:
  void fill(const AccountRecord& record);
  QLineEdit* addLine(const QString& name, const QString& label);
  QComboBox* addSecurity(const QString& name, const QString& label, const QStringList& modes,
                         QSpinBox* port, QList<int> standardPorts);

  host::SqlHostSystem& host_;
  AccountRecord loaded_;
  QLineEdit* name_ = nullptr;
  QLineEdit* fromName_ = nullptr;
  QLineEdit* fromAddress_ = nullptr;
  QLineEdit* replyTo_ = nullptr;
  QLineEdit* smtp_ = nullptr;
  QSpinBox* smtpPort_ = nullptr;
  QLineEdit* pop3_ = nullptr;
  QSpinBox* pop3Port_ = nullptr;
  QComboBox* smtpSecurity_ = nullptr;
  QComboBox* pop3Security_ = nullptr;
  QLineEdit* certFile_ = nullptr;
  QLineEdit* userName_ = nullptr;
  QLineEdit* password_ = nullptr;
  QCheckBox* keepOnServer_ = nullptr;
  QCheckBox* deleteAfterDays_ = nullptr;
  QSpinBox* deleteDays_ = nullptr;
  QCheckBox* isOut_ = nullptr;
  QCheckBox* isDefault_ = nullptr;
  QCheckBox* forUser_ = nullptr;
  QFormLayout* form_ = nullptr;
};

}  // namespace kvmail::demo
