#pragma once
// The print file of a composed mail: its header lines and body, written under the "selfPrint"
// folder of the temporary folder for the service to print.
#include <QString>

namespace kvmail {

class IMessage;

namespace compose {

// The folder print files go to (made when missing), with its trailing separator.
QString printFolder();

// Writes the mail to printFolder() + name + ".txt" as an HTML page; answers the path, or "" when
// the file could not be written.
QString writePrintFile(const IMessage& message, const QString& name);

}  // namespace compose
}  // namespace kvmail
