#pragma once
// The compose window's attachment list: a caption label and a two-column list ("文件名",
// "文件路径"), both hidden while the list is empty. The pop-up menu's items 0, 3 and 4 open,
// insert and remove; item 2 copies the selected file's path.
#include <QStringList>
#include <QWidget>

class QLabel;
class QMenu;
class QTreeWidget;

namespace kvmail {

class AttachmentList : public QWidget {
  Q_OBJECT
 public:
  explicit AttachmentList(QWidget* parent = nullptr);

  QStringList paths() const;
  // Replaces every row by the given files (a mail being shown).
  void setPaths(const QStringList& paths);
  // Adds a row for the file; the list and its label appear with the first row.
  void addFile(const QString& path);
  // Removes the selected row; false when none is selected. The list hides with its last row.
  bool removeSelected();
  // The selected row's path, or "".
  QString selectedPath() const;
  int rowCount() const;

  QTreeWidget* list() const { return list_; }
  QMenu* popupMenu() const { return popup_; }

 Q_SIGNALS:
  // A pop-up item was chosen (0 open, 2 copy path, 3 insert, 4 remove).
  void ItemChosen(int index);
  // A row was double-clicked: open it.
  void OpenRequested();

 private:
  void syncVisibility();

  QLabel* label_ = nullptr;
  QTreeWidget* list_ = nullptr;
  QMenu* popup_ = nullptr;
};

}  // namespace kvmail
