#pragma once
// A scripted run of the demo: one command on the same windows, the transfer log and a summary
// printed, and an exit code that says whether every task went well.
#include <QString>
#include <QTextStream>

#include "DemoOptions.h"

class QWidget;

namespace kvmail {
class clsMail;
}

namespace kvmail::demo {

class MainWindow;

enum ExitCode { ExitOk = 0, ExitTaskFailed = 1, ExitUsage = 2, ExitNoStore = 3, ExitNoAccount = 4 };

// Runs list, queue, send, receive, send-receive or compose; waits at most timeoutSeconds for the
// tasks.
int runScripted(MainWindow& window, const QString& command, int timeoutSeconds, QTextStream& out,
                const ComposeOptions& compose = {});

// Fills the compose window from the options and presses its buttons (ComposeRun.cpp).
int runCompose(MainWindow& window, const ComposeOptions& options, int timeoutSeconds,
               QTextStream& out);

// Waits for the end of the run; on time-out presses stop and gives the engines a bounded while.
bool waitForEnd(clsMail& mail, const bool& ended, int timeoutSeconds, QTextStream& out);
// Prints the transfer window's log, tasks, errors and summary.
void printTransfer(const QWidget& window, QTextStream& out);

// Prints the list as the main window shows it.
void printMailList(MainWindow& window, QTextStream& out);

}  // namespace kvmail::demo
