#pragma once
// Printing a text or HTML file with Qt's print support.
#include <QString>

class QWidget;

namespace kvmail {

// Prints into a PDF beside the file (path + ".pdf"); answers the PDF's path, or "" on failure.
QString printFileToPdf(const QString& path);
// Shows the print dialog and prints to the chosen printer; its name, or "" when cancelled.
QString printFileWithDialog(const QString& path, QWidget* parent);
// Whether the application runs without a screen (offscreen or minimal platform).
bool runsWithoutDisplay();

}  // namespace kvmail
