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
  // The formatting strip's commands.
  CmdBold = 5000,
  CmdItalic = 5023,
  CmdUnderline = 5048,
  CmdForeColor = 5046,
  CmdBackColor = 5042,
  CmdAlignLeft = 5025,
  CmdAlignCenter = 5024,
  CmdAlignRight = 5026,
  CmdNumberedList = 5030,
  CmdBulletedList = 5051,
  CmdOutdent = 5031,
  CmdIndent = 5018,
  CmdHyperlink = 5016,
  CmdPicture = 5017,
  CmdGetFontName = 5013,
  CmdSetFontName = 5044,
  CmdGetFontSize = 5014,
  CmdSetFontSize = 5045,
};

// A command's status as the strip reads it back.
enum CommandStatus : int {
  StatusNotSupported = 0,
  StatusDisabled = 1,
  StatusEnabled = 3,
  StatusLatched = 7,
  StatusNinched = 11,
};

// The formatting strip in order: each key with its command; "-" keys are separators.
struct StripEntry {
  QString key;
  int command = 0;
  QString tip;
  bool toggle = false;  // shows the command's latched status as a pressed button
};
QList<StripEntry> stripEntries();

// Texts of the priority indicator.
QString highPriorityText();
QString lowPriorityText();

// File dialogs of the window: the filters exactly as users have always seen them.
QString addBodyFilter();
QString saveBodyFilter();
QString attachmentFilter();

}  // namespace kvmail::compose
