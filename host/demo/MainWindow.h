#pragma once
// The demo host's main window: its mail list over msgmail and a menu and toolbar that call every
// operation of the mail module. It answers the module's events the way a host application does.
#include <QMainWindow>

#include <memory>

#include "SqlHostSystem.h"
#include "service/clsMail.h"

class QLabel;
class QTableView;
class QTimer;

namespace kvmail::demo {

class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  MainWindow(std::shared_ptr<host::SqlHostSystem> host, long progId, QWidget* parent = nullptr);
  ~MainWindow() override;

  // Binds the module to the store; false with the module's error text when there is no account.
  bool startMail(QString* error = nullptr);
  clsMail& mail() { return *mail_; }
  host::SqlHostSystem& host() { return *host_; }

  // Reads the list again from its first page.
  void refresh();
  // The mail identifier of the selected row, or 0.
  long currentMailId() const;
  bool selectMail(long mailId);
  // Mails in the list, including the rows not read yet.
  int rowCount() const;

  // The module's events, answered as a host does (public so scripted runs and tests reach them).
  // A move: direction -1 previous, 1 next; *mailId holds the shown mail and gets the one to show.
  void onRecordMove(long direction, long* mailId);
  // Marks the mail deleted (del=1) and writes the mail now shown into *mailId, 0 when none is left.
  void onDelete(long* mailId);

  // The operations behind the menu and toolbar; each answers what the module answered.
  bool newMail();
  bool batchNew();
  bool sendMail();
  bool receiveMail();
  bool sendReceiveMail();
  bool displayMail();
  // Shows one mail in the module's viewer and marks it read in the host's own table.
  bool displayMail(long mailId);
  bool replyMail();
  bool transmitMail();
  void editAccount();

 Q_SIGNALS:
  void listRefreshed();
  void closed();

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void buildActions();
  bool ready();
  long selectedOrAsk();
  void showError(const QString& text);
  // The host's own bookkeeping of a mail its user has seen.
  void markRead(long mailId);
  // The module's per-mail events are applied together, so a run of 1,000 mails costs a few
  // small reads rather than one per mail.
  void noteChanged(long mailId);
  void applyChanges();
  void showTotals();

  std::shared_ptr<host::SqlHostSystem> host_;
  long progId_;
  std::unique_ptr<clsMail> mail_;
  bool started_ = false;
  QTableView* list_ = nullptr;
  class MailListModel* model_ = nullptr;
  QTimer* changes_ = nullptr;
  QList<long> changed_;  // 0 stands for "mails newer than the list"
  QLabel* status_ = nullptr;
};

}  // namespace kvmail::demo
