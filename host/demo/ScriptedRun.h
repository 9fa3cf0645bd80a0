#pragma once
// A scripted run of the demo: one command on the same windows, the transfer log and a summary
// printed, and an exit code that says whether every task went well.
#include <QString>
#include <QTextStream>

namespace kvmail::demo {

class MainWindow;

enum ExitCode { ExitOk = 0, ExitTaskFailed = 1, ExitUsage = 2, ExitNoStore = 3, ExitNoAccount = 4 };

// Runs list, queue, send, receive or send-receive; waits at most timeoutSeconds for the tasks.
int runScripted(MainWindow& window, const QString& command, int timeoutSeconds, QTextStream& out);

// Prints the list as the main window shows it.
void printMailList(MainWindow& window, QTextStream& out);

}  // namespace kvmail::demo
