#pragma once
// The body editor: a rich-text editor that takes the editing control's command identifiers, so the
// window's commands and the formatting strip speak one vocabulary. The strip attaches here.
#include <QTextEdit>

namespace kvmail {

class BodyEditor : public QTextEdit {
  Q_OBJECT
 public:
  explicit BodyEditor(QWidget* parent = nullptr);

  // Runs an editing command by its identifier (5002 copy, 5003 cut, 5032 paste, 5035 select
  // all, 5049 undo); false for one this editor does not know.
  bool ExecCommand(int command);

  // The starting content: an empty document in the starting font ("宋体", size 3).
  void resetDocument();
  QString documentHtml() const { return toHtml(); }
  void setDocumentHtml(const QString& html);

  // Loads a file as the document: HTML when it looks like HTML, else plain text; UTF-8, or
  // GB18030 for the files Chinese editors write. Saves the document as UTF-8 HTML.
  bool loadDocument(const QString& path, QString* error);
  bool saveDocument(const QString& path, QString* error) const;

 Q_SIGNALS:
  // The caret moved or the selection changed: the formatting strip follows it.
  void DisplayChanged();
};

}  // namespace kvmail
