#pragma once
// Where temporary and other well-known folders are, and reading a file back as text.
#include <QString>

namespace kvmail {

// The folder for a name, compared with exact case: "Windows", "System", "Temp", "Desktop",
// "Sendto", "Mydocuments", "Programs", "Startup", "Startmenu", "Myfavorites", "Recent",
// "Nethood", "Fonts", "Cookies", "History", "Pagetemp", "Shellnew", "Application", "Printhood".
// Each maps to the nearest XDG/Linux folder; "Temp" ends with a separator; unknown names give "".
QString GetSystemPath(const QString& name);

// The temporary folder (TMPDIR when set) with its trailing separator.
QString tempFolder();

// A file in the temporary folder, with a separator put between when the folder lacks one.
QString tempFilePath(const QString& fileName);

// The file's content as text without its last byte, as callers have always read it. Raises
// MailError 53 for a missing file and 5 for an empty one.
QString fileToText(const QString& path);

}  // namespace kvmail
