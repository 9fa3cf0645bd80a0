#include "composer/FormatStrip.h"

#include <QAction>
#include <QComboBox>
#include <QTextCharFormat>

#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "composer/FormatStripIcons.h"
#include "model/MailError.h"
#include "support/Prompt.h"

namespace kvmail {
namespace {

// The names offered; a font met in a loaded mail is added when the caret stands in it.
const QStringList kFontNames = {
    QStringLiteral("宋体"),        QStringLiteral("黑体"),     QStringLiteral("楷体"),
    QStringLiteral("仿宋"),        QStringLiteral("微软雅黑"), QStringLiteral("隶书"),
    QStringLiteral("幼圆"),        QStringLiteral("Arial"),    QStringLiteral("Times New Roman"),
    QStringLiteral("Courier New"), QStringLiteral("Verdana"),  QStringLiteral("Tahoma")};

}  // namespace

FormatStrip::FormatStrip(BodyEditor* editor, QWidget* parent)
    : QToolBar(parent), editor_(editor), names_(new QComboBox(this)), sizes_(new QComboBox(this)) {
  setObjectName(QStringLiteral("ToolSet"));
  setMovable(false);
  setIconSize(QSize(16, 16));
  setToolButtonStyle(Qt::ToolButtonIconOnly);

  names_->setObjectName(QStringLiteral("FontName"));
  names_->addItems(kFontNames);
  names_->setMinimumContentsLength(7);
  names_->setToolTip(QStringLiteral("字体"));
  sizes_->setObjectName(QStringLiteral("FontSize"));
  for (int size = 1; size <= 7; ++size) sizes_->addItem(QString::number(size), size);
  sizes_->setToolTip(QStringLiteral("字号"));
  addWidget(names_);
  addWidget(sizes_);
  addSeparator();
  // activated, not currentIndexChanged: only the user's choice sends a command.
  connect(names_, &QComboBox::activated, this, &FormatStrip::chooseFontName);
  connect(sizes_, &QComboBox::activated, this, &FormatStrip::chooseFontSize);

  for (const compose::StripEntry& e : compose::stripEntries()) {
    if (e.key == QLatin1String("-")) {
      addSeparator();
      continue;
    }
    QAction* action = addAction(stripIcon(e.key), e.tip);
    action->setObjectName(e.key);
    action->setCheckable(e.toggle);
    const QString key = e.key;
    connect(action, &QAction::triggered, this, [this, key] { ToolSet_ButtonClick(key); });
    buttons_.insert(e.key, action);
    commands_.insert(e.key, e.command);
  }
  connect(editor_, &BodyEditor::DisplayChanged, this, &FormatStrip::refresh);
  connect(editor_, &QTextEdit::currentCharFormatChanged, this, &FormatStrip::refresh);
  refresh();
}

void FormatStrip::ToolSet_ButtonClick(const QString& key) {
  try {
    runButton(key);
  } catch (const MailError& e) {
    showFailure(e.description());
  } catch (const std::exception& e) {
    showFailure(QString::fromLocal8Bit(e.what()));
  }
  refresh();
}

void FormatStrip::runButton(const QString& key) {
  // The keys are compared as they stand.
  const int command = commands_.value(key);
  if (command == 0) return;
  if (command == compose::CmdForeColor || command == compose::CmdBackColor) {
    const QTextCharFormat format = editor_->currentCharFormat();
    const QColor current = command == compose::CmdForeColor ? format.foreground().color()
                                                            : format.background().color();
    const std::optional<QColor> chosen = prompt().pickColour(current, window());
    if (!chosen) return;  // cancelled: nothing changes
    editor_->ExecCommand(command, *chosen);
  } else if (command == compose::CmdHyperlink || command == compose::CmdPicture) {
    editor_->ExecCommand(command, {}, BodyEditor::ExecOption::PromptUser);
  } else {
    editor_->ExecCommand(command);
  }
  editor_->setFocus();
}

void FormatStrip::refresh() {
  for (auto it = buttons_.cbegin(); it != buttons_.cend(); ++it) {
    const int status = editor_->QueryStatus(commands_.value(it.key()));
    it.value()->setEnabled(status != compose::StatusDisabled &&
                           status != compose::StatusNotSupported);
    if (it.value()->isCheckable()) it.value()->setChecked(status == compose::StatusLatched);
  }
  const int size = editor_->QueryValue(compose::CmdGetFontSize).toInt();
  sizes_->setCurrentIndex(sizes_->findData(size));
  const QString name = editor_->QueryValue(compose::CmdGetFontName).toString();
  int index = names_->findText(name);
  if (index < 0 && !name.isEmpty()) {
    names_->addItem(name);
    index = names_->count() - 1;
  }
  names_->setCurrentIndex(index);
}

bool FormatStrip::editorReady() const {
  return editor_->isEnabled() && !editor_->isReadOnly();
}

void FormatStrip::chooseFontName(int index) {
  const QString chosen = names_->itemText(index);
  // The font already in force is not sent again.
  if (!editorReady() || chosen == editor_->QueryValue(compose::CmdGetFontName).toString()) return;
  editor_->ExecCommand(compose::CmdSetFontName, chosen);
  editor_->setFocus();
}

void FormatStrip::chooseFontSize(int index) {
  const int chosen = sizes_->itemData(index).toInt();
  if (!editorReady() || chosen == editor_->QueryValue(compose::CmdGetFontSize).toInt()) return;
  editor_->ExecCommand(compose::CmdSetFontSize, chosen);
  editor_->setFocus();
}

void FormatStrip::showFailure(const QString& description) {
  prompt().messageBox(QStringLiteral("ToolSet_ButtonClick:") + description,
                      QStringLiteral("错误："), PromptIcon::Critical, PromptButtons::Ok, window());
}

}  // namespace kvmail
