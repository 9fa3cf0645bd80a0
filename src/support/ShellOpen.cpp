#include "support/ShellOpen.h"

#include <QDir>
#include <QFileInfo>

#include "support/Prompt.h"

namespace kvmail {
namespace {

constexpr long kStarted = 42;
constexpr long kNoAssociation = 31;

std::optional<MailError>& lastError() {
  static std::optional<MailError> error;
  return error;
}

}  // namespace

QString shellResultText(long code) {
  if (code > 32) return {};
  switch (code) {
    case 0:
    case 8:
      return QStringLiteral("Out of memory");
    case 2:
      return QStringLiteral("File not found");
    case 3:
      return QStringLiteral("Path not found");
    case 5:
      return QStringLiteral("Path/file access error");
    case 11:
      return QStringLiteral("The executable file is invalid or corrupt");
    case 26:
      return QStringLiteral("A sharing violation occurred.");
    case 27:
      return QStringLiteral("This file type does not have a valid file association.");
    case 28:
      return QStringLiteral(
          "The file could not be opened due to time out.  Please try again in a moment.");
    case 29:
      return QStringLiteral(
          "The file could not be opened because the DDE transaction failed.  Please try again in a "
          "moment.");
    case 30:
      return QStringLiteral(
          "The file could not be opened because the target application is busy.  Please try again "
          "in a "
          "moment.");
    case 31:
      return QStringLiteral("No application is associated with this file type.");
    case 32:
      return QStringLiteral("The specified dynamic-link library was not found.");
    default:
      break;
  }
  // The doubled "occurred" is the text users and hosts have always seen; it stays.
  return QStringLiteral(
      "An error occurred occurred whilst trying to open or print the selected file.");
}

long desktopLaunch(const ShellRequest& request) {
  const QFileInfo info(request.file);
  if (!info.exists()) return info.absoluteDir().exists() ? 2 : 3;
  return prompt().openWithDesktop(info.absoluteFilePath()) ? kStarted : kNoAssociation;
}

QString shellOpen(const ShellRequest& given, const ShellLaunch& launch) {
  ShellRequest request = given;
  // Programs are started hidden, deliberately.
  if (request.file.toUpper().contains(QLatin1String(".EXE"))) request.showCommand = ShowHidden;
  if (request.parameters.isEmpty() && request.folder.isEmpty())
    request.showCommand = ShowNormal;  // whatever the caller asked for
  long code = 0;
  try {
    code = launch ? launch(request) : desktopLaunch(request);
  } catch (...) {
    code = -1;  // a failing launch is answered with a text, never thrown
  }
  const QString text = shellResultText(code);
  if (text.isEmpty()) {
    lastError().reset();
  } else {
    lastError() = MailError(code, QStringLiteral("kvMail.GShell"), text);
  }
  return text;
}

QString shellOpen(const QString& file, int showCommand, const QString& parameters,
                  const QString& folder, const QString& operation) {
  return shellOpen(ShellRequest{operation, file, parameters, folder, showCommand}, desktopLaunch);
}

std::optional<MailError> lastShellError() {
  return lastError();
}

}  // namespace kvmail
