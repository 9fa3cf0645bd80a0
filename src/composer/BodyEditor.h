#pragma once
// The body editor: a rich-text editor that takes the editing control's command identifiers, so the
// window's commands and the formatting strip speak one vocabulary. The strip attaches here.
#include <QTextEdit>
#include <QTextListFormat>
#include <QVariant>

namespace kvmail {

class BodyEditor : public QTextEdit {
  Q_OBJECT
 public:
  explicit BodyEditor(QWidget* parent = nullptr);

  // How a command that needs something from the user gets it: given with the command, or asked
  // for by the editor itself (the link's address, the picture's file).
  enum class ExecOption { Default, PromptUser };

  // Runs an editing command by its identifier (ComposeCommands.h): clipboard, undo and select
  // all, and the formatting strip's commands with their value (a QColor for the colours, a
  // name for the font name, an HTML size 1..7 for the size, a URL or a file for a link or a
  // picture). False for a command this editor does not know or a prompt the user cancelled.
  // Raises MailError when a picture file is not an image.
  bool ExecCommand(int command, const QVariant& value = {},
                   ExecOption option = ExecOption::Default);
  // The command's status at the caret (compose::CommandStatus): latched for a format in force.
  int QueryStatus(int command) const;
  // The font name (5013) or HTML size (5014, 1..7) at the caret.
  QVariant QueryValue(int command) const;

  // Inserts the picture at the caret, shown from its file; MailError when it is not an image.
  void insertPicture(const QString& path);
  // Makes the selection (or, without one, the address itself) a link to url.
  void insertLink(const QString& url);

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
  // A command reached the document (the strip sends none when nothing would change).
  void CommandSent(int command, const QVariant& value);

 private:
  bool runCommand(int command, const QVariant& value, ExecOption option);
  bool runEditCommand(int command);
  void toggleList(QTextListFormat::Style style);
  void shiftIndent(int step);
};

}  // namespace kvmail
