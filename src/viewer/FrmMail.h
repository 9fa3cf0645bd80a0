#pragma once
// The mail viewer: one stored mail read-only, its header boxes, the priority strip, the body
// (MailBrowser: nothing fetched, nothing run) and its attachments, which open with the desktop
// or are saved elsewhere. Every command that changes or leaves the mail (reply, reply to all,
// forward, delete, print, previous, next, close) goes back to the service as an event; the
// window never changes the mail table itself.
#include <QMainWindow>

#include "viewer/ViewedMail.h"

class QAction;
class QFrame;
class QLabel;
class QLineEdit;
class QTreeWidget;
class QWidget;

namespace kvmail {

class IHostSystem;
class MailBrowser;

class FrmMail : public QMainWindow {
  Q_OBJECT
 public:
  explicit FrmMail(QWidget* parent = nullptr);
  ~FrmMail() override;

  void py_Init(long mailId, IHostSystem* system, const QString& caption);

  long mailId() const { return mailId_; }
  QString caption() const { return caption_; }
  // What the window shows now (the parsed mail is kept until the next load).
  const ViewedMail& shown() const { return shown_; }

  // The toolbar's and the menu's click handlers: keys as the toolbar names them (any case),
  // menu items by name. Unknown keys do nothing.
  void toolbarClick(const QString& key);
  void menuClick(const QString& name);

 Q_SIGNALS:
  void ErrMessage(const QString& message, long kind, const QString& title);
  void Unload();
  // direction -1 previous, 1 next; the service writes the mail to show into *mailId.
  void RecordMove(long direction, long* mailId);
  // The service writes the mail to show next into *mailId (0: none, the window closes).
  void Delete(long* mailId);
  void DoPrint(const QString& path);
  void RevertMail(long mailId);
  void TransmitMail(long mailId);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  enum class Command { None, Revert, RevertAll, Transmit, Print, Delete, Prior, Next, Close };
  static Command commandForKey(const QString& lowerKey);
  static Command commandForMenu(const QString& name);

  void buildMenus();
  void buildToolbar();
  QWidget* buildHeader();
  QWidget* buildAttachments();
  void run(Command command, const QString& phrase);

  void loadMail();
  void clearShown();
  void showHeader();
  void showAttachments();
  void setStatus(const QString& text);
  void raiseError(const QString& text);

  void move(long direction);
  void deleteMail();
  void printMail();
  void openAttachment();
  void saveAttachmentAs();
  void openLink(const QUrl& url);
  QString selectedAttachmentPath() const;

  long mailId_ = 0;
  IHostSystem* system_ = nullptr;
  QString caption_;
  ViewedMail shown_;
  QString status_;

  QLineEdit* txt_[4] = {};  // Txt(0) recipients, Txt(1) sender, Txt(2) time sent, Txt(3) subject
  QFrame* picType_ = nullptr;
  QLabel* lblType_ = nullptr;
  MailBrowser* web_ = nullptr;
  QWidget* attachPanel_ = nullptr;
  QLabel* lblAttach_ = nullptr;
  QTreeWidget* lview_ = nullptr;
  QAction* attachOpen_ = nullptr;
  QAction* attachSaveAs_ = nullptr;
};

}  // namespace kvmail
