#pragma once
// The compose window: one mail of its list at a time in the sender, To, Cc and subject fields,
// the body editor and the attachment list; moving between the mails, deleting one, priority,
// loading and saving the body, printing, and storing or sending the whole list. It reports to the
// service only through its signals. Controls carry their keys as objectName: "Txt(0)".."Txt(3)",
// "Body", "LView", "lblAttach", "PicType", "ImgType", "lblType", "lblPosition", the menu items
// ("mnu...") and toolbar buttons ("TB...").
#include <QHash>
#include <QWidget>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"

class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QToolBar;

namespace kvmail {

class AttachmentList;
class BodyEditor;
class IHostSystem;

class FrmNewMail : public QWidget {
  Q_OBJECT
 public:
  explicit FrmNewMail(QWidget* parent = nullptr);
  ~FrmNewMail() override;

  // Called by the service: the mails, the host, the account, the caption and the mail answered
  // (-1 for none). With forward set the window passes that mail on instead of answering it.
  void py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
               const QString& caption, long mailId, bool forward = false);

  // Moves mail n of the list into the fields.
  void ShowMail(long n);
  // Copies the fields into mail n of the list (a new message object in its place).
  void CollectForm(long n);
  // Shows the first failing check's message; true when every mail may be stored.
  bool CheckMails();
  // Collects, checks and stores every mail in one transaction; raises ReturnData on success.
  bool StoreAll();
  // The question before closing; false cancels the close.
  bool AskSaveOnClose();

  // The command handlers, by key (menu keys as they stand, toolbar keys in any case).
  void m_cMenu_Click(const QString& key);
  void cToolbar1_ButtonClick(const QString& key);
  void m_cMenu_Tool_Click(const QString& key);
  // The attachment list's pop-up menu, by item number.
  void mnu_Click(int index);

  BundlePtr bundle() const { return bundle_; }
  AccountPtr account() const { return account_; }
  QString caption() const { return caption_; }
  long mailId() const { return mailId_; }
  long position() const { return position_; }
  long mailCount() const { return count_; }
  bool isModified() const { return modified_; }
  BodyEditor* editor() const { return editor_; }
  // The text of the position panel: "第n封/共m封".
  QString positionText() const;

 Q_SIGNALS:
  void ReturnData(const QString& mailIds);
  void SendMail(const kvmail::BundlePtr& bundle);
  void ErrMessage(const QString& message, long kind, const QString& title);
  void DoPrint(const QString& path);
  void Unload();
  // The address book command: the address book window answers through setRecipients.
  void AddressBookRequested();

 public Q_SLOTS:
  // The address book's answer: the To field is replaced by it.
  void moFrmDxb_EvHasReturn(const QString& addresses);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void buildUi();
  void buildMenus(QLayout* layout);
  void buildToolbar(QLayout* layout);
  QAction* action(const QString& key) const { return actions_.value(key); }
  QString senderText() const;
  void runCommand(const QString& command);
  void showPriority(const QString& priority);
  QString collectedPriority() const;
  void setNavigationVisible(bool visible);
  void showPosition();
  void markModified();
  void reportFailure(const QString& prefix, const QString& description);

  void MoveNext();
  void MovePrior();
  void DeleteMail();
  void SendCommand();
  void PrintMail();
  void AddBody();
  void SaveBody();
  void InsertAttachment();
  void OpenAttachment();
  void RemoveAttachment();

  QLineEdit* txt_[4] = {};
  BodyEditor* editor_ = nullptr;
  AttachmentList* attachments_ = nullptr;
  QWidget* picType_ = nullptr;
  QLabel* imgType_ = nullptr;
  QLabel* lblType_ = nullptr;
  QLabel* lblPosition_ = nullptr;
  QMenu* priorityMenu_ = nullptr;
  QHash<QString, QAction*> actions_;

  BundlePtr bundle_;
  IHostSystem* system_ = nullptr;
  AccountPtr account_;
  QString caption_;
  long mailId_ = -1;
  long position_ = 0;
  long count_ = 0;
  bool modified_ = false;
  bool closing_ = false;
  bool loading_ = false;  // fields being filled by the window itself, not changed by the user
  int generation_ = 0;    // counts py_Init calls, so a send never closes a window opened since
};

}  // namespace kvmail
