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
    sender.setServer(u"127.0.0.1"_s);
    sender.setFromAddress(u"a@kvmail.localhost"_s);
    sender.setRecipients(u"b@kvmail.localhost"_s);
    sender.setSubject(u"故障"_s);
    sender.setBody(u"<p>x</p>"_s);
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
      {FakeSmtpServer::Fault::SilentAfterGreeting, u"长时间没有响应"_s},
      {FakeSmtpServer::Fault::SilentAfterData, u"长时间没有响应"_s},  // unconfirmed
      {FakeSmtpServer::Fault::CloseAfterEhlo, u"连接意外中断"_s},
  };
  sender.Cancel();  // when idle, it must not spoil the next send
  for (const auto& [fault, text] : cases) {
    FakeSmtpServer server(fault);
    const QString reason = sendTo(server);
    EXPECT_TRUE(reason.contains(text) && !reason.contains(u"取消"_s)) << reason.toStdString();
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

  sender.setRecipients(u" ; "_s);
  EXPECT_FALSE(sender.Send());
  sender.setRecipients(u"b@x>\r\nRCPT TO:<evil@x"_s);
  EXPECT_FALSE(sender.Send());
  sender.setRecipients(u"b@kvmail.localhost"_s);
  sender.setFromAddress(u"a b@x"_s);
  EXPECT_FALSE(sender.Send());
  sender.setFromAddress(u"a@kvmail.localhost"_s);
  sender.setAttachments(u"/no/such/folder/报价.xls"_s);
  EXPECT_FALSE(sender.Send());
  sender.setAttachments(QString());
  sender.setServer(u"  "_s);
  EXPECT_FALSE(sender.Send());

  ASSERT_EQ(probe.failures.size(), 5);
  EXPECT_TRUE(probe.failures[0].contains(u"没有收件人"_s));
  EXPECT_TRUE(probe.failures[1].contains(u"收件人地址"_s));
  EXPECT_TRUE(probe.failures[2].contains(u"发件人地址"_s));
  EXPECT_TRUE(probe.failures[3].contains(u"无法生成要发送的邮件"_s));
  EXPECT_TRUE(probe.failures[4].contains(u"SMTP服务器"_s));
  EXPECT_EQ(probe.successes, 0);
  EXPECT_TRUE(watcher.commands.isEmpty()) << "nothing may reach a server";
}

}  // namespace
