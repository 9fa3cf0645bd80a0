#pragma once
// Opening a file with the program associated with its type, answering the classic shell texts.
#include <QString>

#include <functional>
#include <optional>

#include "model/MailError.h"

namespace kvmail {

enum ShowCommand : int { ShowHidden = 0, ShowNormal = 1, ShowDefault = 10 };

struct ShellRequest {
  QString operation;  // "open", "print", ...
  QString file;
  QString parameters;
  QString folder;
  int showCommand = ShowDefault;
};

// Carries out a request and answers the shell's result code: above 32 means started.
using ShellLaunch = std::function<long(const ShellRequest&)>;

// Answers "" when the file was opened, otherwise the text for the shell's result, which is also
// kept as the last shell error (number: the result code; source "kvMail.GShell").
QString shellOpen(const QString& file, int showCommand = ShowDefault,
                  const QString& parameters = {}, const QString& folder = {},
                  const QString& operation = QStringLiteral("open"));
// The same with another launch step (tests, hosts with their own shell).
QString shellOpen(const ShellRequest& request, const ShellLaunch& launch);

// The default launch: 2 or 3 for a missing file or folder, else the desktop's answer (42 or 31).
long desktopLaunch(const ShellRequest& request);

// The text for a shell result code ("" for success).
QString shellResultText(long code);

// The error recorded by the last failed shellOpen; cleared by a successful one.
std::optional<MailError> lastShellError();

}  // namespace kvmail
