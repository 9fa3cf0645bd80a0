// Test entry point: a QApplication (offscreen unless told otherwise) around GoogleTest.
#include <gtest/gtest.h>

#include <QApplication>

namespace {
// The offscreen platform reports every window call it cannot honour; that is noise in tests.
void quietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  if (message.startsWith("This plugin does not support"_L1)) return;
  qt_message_output(type, context, message);
}
}  // namespace

int main(int argc, char** argv) {
  qInstallMessageHandler(quietHandler);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
