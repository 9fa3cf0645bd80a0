#pragma once
// The scripted "show" command: one mail opened in the module's viewer (offscreen without a
// display), and what the viewer shows printed as a reader would see it.
#include <QString>
#include <QTextStream>

namespace kvmail::demo {

class MainWindow;

// Opens mailId and prints each header box, the priority text, the body's text and the
// attachment rows (key, name, path, size). With saveFolder, every attachment is saved there
// through the viewer's save-as command, the console prompt answering its dialog. The exit code.
int runShow(MainWindow& window, long mailId, const QString& saveFolder, QTextStream& out);

}  // namespace kvmail::demo
