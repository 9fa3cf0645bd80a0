#pragma once
// The compose window's vocabulary: menu items, toolbar buttons and the priority drop-down, each
// with the key that is its objectName and the caption users see.
#include <QList>
#include <QString>

namespace kvmail::compose {

struct CommandEntry {
  QString key;
  QString caption;    // "-" for a separator; menus show the text after a tab as the shortcut
  QString tip;        // tool tip, when the button has one
  bool menu = false;  // a top-level menu of the menu bar; the entries after it belong to it
};

// The menu bar in order: each top-level menu followed by its items.
QList<CommandEntry> menuEntries();
// The toolbar in order; TBs1..TBs6 are separators.
QList<CommandEntry> toolbarEntries();
// The priority drop-down under TBType.
QList<CommandEntry> priorityEntries();

// The editing control's command identifiers the window and the formatting strip send.
enum EditCommand : int {
  CmdCopy = 5002,
  CmdCut = 5003,
  CmdPaste = 5032,
  CmdSelectAll = 5035,
  CmdUndo = 5049,
};

// Texts of the priority indicator.
QString highPriorityText();
QString lowPriorityText();

// File dialogs of the window: the filters exactly as users have always seen them.
QString addBodyFilter();
QString saveBodyFilter();
QString attachmentFilter();

}  // namespace kvmail::compose
