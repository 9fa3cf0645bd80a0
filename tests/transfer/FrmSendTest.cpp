// The transfer window's seam: it shows what its run reports in the controls callers find by name,
// and a second opening during a run leaves the run alone. The run itself is TransferRunTest's.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>
#include <QTreeWidget>

#include "FakePop3Server.h"
#include "TransferRig.h"
#include "transfer/FrmSend.h"

using kvtest::FakePop3Server;
using kvtest::TransferRig;

namespace {

struct WindowRun {
  TransferRig rig;
  kvmail::FrmSend window;

  bool receive() {
    QSignalSpy ended(&window, &kvmail::FrmSend::TasksEnded);
    window.py_Init(nullptr, rig.host.get(), rig.accountPtr(), false, u"邮件接收"_s);
    return !ended.isEmpty() || ended.wait(10000);
  }
  template <typename T>
  T* control(const char* name) {
    return window.findChild<T*>(QLatin1String(name));
  }
};

}  // namespace

TEST(FrmSend, ShowsTheRunInItsNamedControls) {
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({kvtest::sampleMail(u"窗口"_s)}, {"w1"}));
  WindowRun w;
  w.rig.usePop3(server.port(), u"u"_s, u"p"_s);
  ASSERT_TRUE(w.receive());
  EXPECT_EQ(w.window.windowTitle(), u"邮件接收"_s);

  auto* tasks = w.control<QTreeWidget>("LV(0)");
  ASSERT_EQ(tasks->topLevelItemCount(), 1);
  QStringList row;
  for (int c = 0; c < 5; ++c) row << tasks->topLevelItem(0)->text(c);
  EXPECT_EQ(row,
            (QStringList{"检查测试帐户上的新邮件:共 1 (0 KB) 封。", "已完成", "局域网", "1", "1"}));
  EXPECT_EQ(w.control<QLabel>("lblMessage")->text(), u"已完成 1 项任务(共 1 项)"_s);
  EXPECT_EQ(w.control<QLabel>("lblCaption")->text(), u"请求的任务已成功完成。"_s);
  const QString log = w.control<QPlainTextEdit>("Txt")->toPlainText();
  EXPECT_TRUE(log.contains(u"\nUSER u\nPASS ***** \nSTAT\n"_s));
  EXPECT_FALSE(w.control<QPushButton>("Cmd(1)")->isEnabled());
  EXPECT_EQ(w.control<QTreeWidget>("LV(1)")->topLevelItemCount(), 0);
  // The details button hides the lists and shows them again.
  auto* tabs = w.control<QTabWidget>("XTab");
  w.control<QPushButton>("Cmd(2)")->click();
  EXPECT_FALSE(tabs->isVisible());
  w.control<QPushButton>("Cmd(2)")->click();
  EXPECT_TRUE(tabs->isVisible());
}

TEST(FrmSend, TickedCloseWhenDoneClosesTheWindowAfterReceiving) {
  FakePop3Server server;
  server.setHandler(FakePop3Server::mailbox({kvtest::sampleMail(u"关"_s)}, {"c1"}));
  WindowRun w;
  w.rig.usePop3(server.port(), u"u"_s, u"p"_s);
  w.control<QCheckBox>("Chk")->setChecked(true);
  ASSERT_TRUE(w.receive());
  EXPECT_TRUE(w.window.lastRunOk());
  EXPECT_FALSE(w.window.isVisible());
}

TEST(FrmSend, OpeningAgainDuringARunWaitsForTheRun) {
  FakePop3Server server;
  const QByteArray mail = kvtest::sampleMail(u"慢"_s, QByteArray(6000, 'y') + "\r\n");
  const auto mailbox = FakePop3Server::mailbox({mail, mail}, {"s1", "s2"});
  server.setHandler([&](const QByteArray& command) -> QList<QByteArray> {
    // The message arrives in pieces, so the session yields while it is being handled.
    if (command.startsWith("RETR")) {
      const QByteArray all = mailbox(command).first();
      return {all.left(2000), all.mid(2000, 2000), all.mid(4000)};
    }
    return mailbox(command);
  });
  WindowRun w;
  w.rig.usePop3(server.port(), u"u"_s, u"p"_s);
  const auto during = QObject::connect(&w.window, &kvmail::FrmSend::EvMailRead, &w.window, [&] {
    w.window.py_Init(nullptr, w.rig.host.get(), w.rig.accountPtr(), false, u"again"_s);
  });
  QSignalSpy ended(&w.window, &kvmail::FrmSend::TasksEnded);
  ASSERT_TRUE(w.receive());
  QObject::disconnect(during);
  EXPECT_EQ(w.window.windowTitle(), u"邮件接收"_s);  // a busy window keeps its caption
  // The two requests made meanwhile were joined into one run, which started after the first.
  ASSERT_TRUE(ended.size() >= 2 || ended.wait(10000));
  EXPECT_EQ(ended.size(), 2);
  EXPECT_EQ(w.rig.count(), 2);  // nothing was fetched twice
}
