// Faults the real sink cannot produce (a server that stops answering, a dropped connection),
// and input the sender refuses before it connects anywhere.
#include <gtest/gtest.h>

#include "FakeSmtpServer.h"
#include "SenderProbe.h"
#include "transfer/SmtpSender.h"

using namespace kvmail;
using namespace kvtest;

namespace {

class SenderFaultTest : public ::testing::Test {
 protected:
  void SetUp() override {
    sender.setServer(QStringLiteral("127.0.0.1"));
    sender.setFromAddress(QStringLiteral("a@kvmail.localhost"));
    sender.setRecipients(QStringLiteral("b@kvmail.localhost"));
    sender.setSubject(QStringLiteral("故障"));
    sender.setBody(QStringLiteral("<p>x</p>"));
    sender.setStallTimeout(1);
    sender.setConnectTimeout(30);  // the stall limit, not this one, must end these sends
  }

  QString sendTo(FakeSmtpServer& server) {
    sender.setPort(server.port());
    SenderProbe probe(sender);
    EXPECT_FALSE(sender.Send());
    EXPECT_EQ(probe.successes, 0);
    EXPECT_EQ(probe.failures.size(), 1);
    return probe.failures.value(0);
  }

  SmtpSender sender;
};

TEST_F(SenderFaultTest, SilenceOrADroppedConnectionEndsTheSendWithItsReason) {
  const std::pair<FakeSmtpServer::Fault, QString> cases[] = {
      {FakeSmtpServer::Fault::SilentAfterGreeting, QStringLiteral("长时间没有响应")},
      {FakeSmtpServer::Fault::SilentAfterData, QStringLiteral("长时间没有响应")},  // unconfirmed
      {FakeSmtpServer::Fault::CloseAfterEhlo, QStringLiteral("连接意外中断")},
  };
  sender.Cancel();  // when idle, it must not spoil the next send
  for (const auto& [fault, text] : cases) {
    FakeSmtpServer server(fault);
    const QString reason = sendTo(server);
    EXPECT_TRUE(reason.contains(text) && !reason.contains(QStringLiteral("取消")))
        << reason.toStdString();
  }
}

TEST_F(SenderFaultTest, EndingAKeptSessionDoesNotWaitForeverOnQuit) {
  FakeSmtpServer mute(FakeSmtpServer::Fault::SilentOnQuit);
  sender.setPort(mute.port());
  sender.setKeepSession(1);
  ASSERT_TRUE(sender.Send());
  sender.closeSession();  // returns although QUIT is never answered
  EXPECT_TRUE(mute.commands.contains("QUIT"));
  EXPECT_TRUE(sender.Send());
  EXPECT_FALSE(sender.lastSendReusedSession());
}

TEST_F(SenderFaultTest, BadInputIsRefusedBeforeConnecting) {
  SenderProbe probe(sender);
  FakeSmtpServer watcher(FakeSmtpServer::Fault::SilentAfterGreeting);
  sender.setPort(watcher.port());

  sender.setRecipients(QStringLiteral(" ; "));
  EXPECT_FALSE(sender.Send());
  sender.setRecipients(QStringLiteral("b@x>\r\nRCPT TO:<evil@x"));
  EXPECT_FALSE(sender.Send());
  sender.setRecipients(QStringLiteral("b@kvmail.localhost"));
  sender.setFromAddress(QStringLiteral("a b@x"));
  EXPECT_FALSE(sender.Send());
  sender.setFromAddress(QStringLiteral("a@kvmail.localhost"));
  sender.setAttachments(QStringLiteral("/no/such/folder/报价.xls"));
  EXPECT_FALSE(sender.Send());
  sender.setAttachments(QString());
  sender.setServer(QStringLiteral("  "));
  EXPECT_FALSE(sender.Send());

  ASSERT_EQ(probe.failures.size(), 5);
  EXPECT_TRUE(probe.failures[0].contains(QStringLiteral("没有收件人")));
  EXPECT_TRUE(probe.failures[1].contains(QStringLiteral("收件人地址")));
  EXPECT_TRUE(probe.failures[2].contains(QStringLiteral("发件人地址")));
  EXPECT_TRUE(probe.failures[3].contains(QStringLiteral("无法生成要发送的邮件")));
  EXPECT_TRUE(probe.failures[4].contains(QStringLiteral("SMTP服务器")));
  EXPECT_EQ(probe.successes, 0);
  EXPECT_TRUE(watcher.commands.isEmpty()) << "nothing may reach a server";
}

}  // namespace
