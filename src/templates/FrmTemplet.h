#pragma once
// The template editor: saves the mail being composed as the current host program's template
// (to, cc and subject from "Txt(0)".."Txt(2)", the message itself as the stored file), or
// deletes that template with Ctrl+Delete. "lblMessage" says whether the program has one;
// "Cmd(0)" saves, "Cmd(1)" closes. The compose window opens it modally.
#include <QDialog>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace kvmail {

class IHostSystem;

class FrmTemplet : public QDialog {
  Q_OBJECT
 public:
  explicit FrmTemplet(QWidget* parent = nullptr);
  ~FrmTemplet() override;

  // Keeps the three, fills the boxes from the message and shows the window modally; returns
  // when it is closed.
  void py_Init(const MessagePtr& message, IHostSystem* system, const AccountPtr& account);
  // The same without showing: keeps the three, fills the boxes and the label.
  void prepare(const MessagePtr& message, IHostSystem* system, const AccountPtr& account);

  // Saves the template (Cmd(0)); true when every step succeeded. Failures are shown.
  bool save();
  // Asks, then deletes the program's template (Ctrl+Delete).
  void deleteTemplate();
  // Reads the program's name and whether it has a template into lblMessage.
  void refreshStatus();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool isDeleteKey(const QKeyEvent* event) const;
  long progId() const;

  MessagePtr message_;
  IHostSystem* system_ = nullptr;
  AccountPtr account_;
  QLineEdit* txt_[3];
  QLabel* lblMessage_;
  QPushButton* cmd_[2];
};

}  // namespace kvmail
