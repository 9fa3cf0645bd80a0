#pragma once
// The address book: every address met in past mail in a grid ("Vs"), a search box ("kvTxt")
// that moves to the first address containing what is typed, and picking by double click or
// Enter, reported through EvHasReturn. The compose window keeps one instance and shows it
// modally; closing only hides it, so the list and the search text stay for the next time.
#include <QDialog>

#include <memory>

class QLineEdit;
class QTableView;

namespace kvmail {

class AddressIndex;
class AddressListModel;
class IHostSystem;

class FrmDxb : public QDialog {
  Q_OBJECT
 public:
  explicit FrmDxb(QWidget* parent = nullptr);
  ~FrmDxb() override;

  // Keeps the system object and loads the list from the store; a second call reloads it.
  void py_Init(IHostSystem* system);
  // Shows the window modally and returns when it is hidden again.
  void showModal();

  // The loaded addresses; the compose window may share them for its completion.
  std::shared_ptr<const AddressIndex> addressIndex() const;
  // The current address row (0-based), or -1 when the grid has none.
  int currentRow() const;

 Q_SIGNALS:
  void EvHasReturn(const QString& address);

 protected:
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void load();
  void search(const QString& text);
  void pick();

  IHostSystem* system_ = nullptr;
  AddressListModel* model_;
  QTableView* grid_;
  QLineEdit* searchBox_;
};

}  // namespace kvmail
