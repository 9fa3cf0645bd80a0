#pragma once
// The formatting strip above the body editor ("ToolSet"): toggle and action buttons keyed
// "jiacu", "qinxie", ... as their objectName, and the font name and size lists ("FontName",
// "FontSize"). Each button sends its command identifier to the editor; the strip follows the
// caret, so bold text shows the bold button pressed and the lists show the font in force.
#include <QHash>
#include <QToolBar>

class QAction;
class QComboBox;

namespace kvmail {

class BodyEditor;

class FormatStrip : public QToolBar {
  Q_OBJECT
 public:
  FormatStrip(BodyEditor* editor, QWidget* parent = nullptr);

  // A button's command by its key; a failure is shown as "ToolSet_ButtonClick:" and its cause.
  void ToolSet_ButtonClick(const QString& key);
  // Buttons and lists brought up to date with the editor at its caret.
  void refresh();

  QAction* button(const QString& key) const { return buttons_.value(key); }
  QComboBox* fontNames() const { return names_; }
  QComboBox* fontSizes() const { return sizes_; }

 private:
  void runButton(const QString& key);
  void chooseFontName(int index);
  void chooseFontSize(int index);
  bool editorReady() const;
  void showFailure(const QString& description);

  BodyEditor* editor_;
  QComboBox* names_;
  QComboBox* sizes_;
  QHash<QString, QAction*> buttons_;
  QHash<QString, int> commands_;
};

}  // namespace kvmail
