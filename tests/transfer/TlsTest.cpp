// Encrypted transport against real TLS servers on loopback (the "tlsservers" fixture): Dovecot
// with ssl = required and the SMTP sink with STARTTLS required, both with a certificate of a
// private test CA, and sinks presenting a wrong-name and an expired certificate. A refused
// certificate or a server without STLS/STARTTLS fails the task with the reason, and nothing is
// sent in clear.
#include <gtest/gtest.h>

#include "FakePop3Server.h"
#include "LoopbackServers.h"
#include "SenderProbe.h"
#include "TestEnv.h"
#include "TransferRig.h"
#include "transfer/SmtpSender.h"

using namespace kvtest;

namespace {

const QString kUser = u"t05"_s;
constexpr long kNone = 0, kUpgrade = 1, kImplicit = 2;

const TlsServers& tls() {
  return tlsServers();
}

// The plain servers of the "mailservers" fixture: no STLS, no STARTTLS. Only their ports are
// needed; the mailbox helpers are turned to the TLS Dovecot's Maildirs.
const LoopbackServers& plain() {
  static const LoopbackServers servers =
      loopbackServersIn(qEnvironmentVariable("KV_BUILD_DIR") + u"/servers/mail"_s);
  return servers;
}

// One way of connecting, tried for receiving and for sending where a port is given.
struct Case {
  const char* what;
  long mode;
  quint16 pop3, smtp;
  QString pinned;
  QString reason;  // a part of the task's error ("STLS" reads "STARTTLS" for SMTP); empty: works
};

class Tls : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The mailbox helpers work on the TLS Dovecot's Maildirs.
    qputenv("KV_MAILSERVERS_DIR", tls().dir.toUtf8());
  }
  void SetUp() override {
    ASSERT_TRUE(tls().ok()) << tls().error.toStdString();
    ASSERT_TRUE(plain().ok()) << plain().error.toStdString();
    ASSERT_TRUE(loopbackServers().ok()) << loopbackServers().error.toStdString();
  }

  // Receives only over a verified connection and never logs in before.
  static void receive(const Case& c) {
    ASSERT_TRUE(clearMailbox(kUser));
    ASSERT_FALSE(dropMail(kUser, sampleMail(u"加密"_s)).isEmpty());
    TransferRig rig;
    rig.usePop3(c.pop3, kUser, loopbackServers().password);
    rig.account().lPop3Security = c.mode;
    rig.account().sCertFile = c.pinned;
    ASSERT_TRUE(rig.receive(15000));
    const QString log = rig.log();
    EXPECT_FALSE(log.contains(loopbackServers().password));
    if (c.reason.isEmpty()) {
      EXPECT_TRUE(rig.lastOk()) << log.toStdString();
      EXPECT_EQ(rig.count(), 1);
      EXPECT_EQ(rig.logLines().contains(u"STLS"_s), c.mode == kUpgrade);
      // The session's own steps are the plain ones: the login follows the encrypted greeting.
      const qsizetype verified = log.indexOf(u"服务器证书已验证"_s);
      EXPECT_TRUE(verified >= 0 && verified < log.indexOf(u"USER "_s));
      return;
    }
    ASSERT_EQ(rig.view().errors.size(), 1) << log.toStdString();
    EXPECT_TRUE(rig.view().errors.first().contains(c.reason))
        << rig.view().errors.first().toStdString();
    EXPECT_FALSE(log.contains(u"USER "_s));  // never logged in, so nothing fetched or deleted
    EXPECT_EQ(rig.count(), 0);
  }

  // Sends only over a verified connection.
  static void send(const Case& c) {
    ASSERT_TRUE(clearMailbox(kUser));
    kvmail::SmtpSender sender;
    SenderProbe probe(sender);
    sender.setServer(u"127.0.0.1"_s);
    sender.setPort(c.smtp);
    sender.setSecurity(c.mode);
    sender.setCertificateFile(c.pinned);
    sender.setAuthenticate(true);
    sender.setUserName(kUser);
    sender.setPassword(loopbackServers().password);
    sender.setFromAddress(u"sales@kvmail.localhost"_s);
    sender.setRecipients(addressOf(kUser));
    sender.setSubject(u"加密发送"_s);
    sender.setBody(u"<p>您好</p>"_s);
    const bool sent = sender.Send();
    EXPECT_FALSE(probe.shown().contains(loopbackServers().password));
    if (c.reason.isEmpty()) {
      EXPECT_TRUE(sent) << probe.failures.join(u'\n').toStdString();
      EXPECT_TRUE(waitForMail(kUser, 1, 5000));
      return;
    }
    EXPECT_FALSE(sent);
    ASSERT_EQ(probe.failures.size(), 1);
    EXPECT_TRUE(probe.failures.first().contains(QString(c.reason).replace("STLS", "STARTTLS")))
        << probe.failures.first().toStdString();
    EXPECT_TRUE(listMails(kUser).isEmpty());
  }
};

TEST_F(Tls, ReceivesAndSendsOnlyOverAVerifiedConnection) {
  const QString ca = tls().caFile;
  const Case cases[] = {
      {"upgraded, the CA pinned", kUpgrade, tls().pop3Port, tls().smtpPort, ca, ""},
      {"TLS, the CA pinned", kImplicit, tls().pop3sPort, tls().smtpsPort, ca, ""},
      {"TLS, own certificate pinned", kImplicit, tls().pop3sPort, tls().smtpsPort,
       tls().goodCertFile, ""},
      {"no mode: STARTTLS because the server offers it", kNone, 0, tls().smtpPort, ca, ""},
      {"the system's store does not know the test CA", kImplicit, tls().pop3sPort, tls().smtpsPort,
       "", u"服务器证书不是由本机信任的证书机构签发的"_s},
      {"another CA pinned, after the upgrade", kUpgrade, tls().pop3Port, tls().smtpPort,
       tls().otherCaFile, u"服务器证书与帐户指定的证书文件不符"_s},
      {"certificate for another host", kImplicit, tls().wrongNameTlsPort, tls().wrongNameTlsPort,
       ca, u"服务器证书不是签发给“127.0.0.1”的"_s},
      {"expired certificate", kImplicit, tls().expiredTlsPort, tls().expiredTlsPort, ca,
       u"服务器证书已过期"_s},
      {"server without the upgrade", kUpgrade, plain().pop3Port, plain().smtpPort, ca,
       u"不支持 STLS 加密"_s},
      {"a server in clear on the TLS port", kImplicit, plain().pop3Port, plain().smtpPort, ca,
       u"建立加密连接"_s},
      {"pinned file missing", kUpgrade, tls().pop3Port, tls().smtpPort, ca + u".gone"_s,
       u"文件不存在"_s},
      {"unknown mode", 3, tls().pop3Port, tls().smtpPort, ca, u"无法识别"_s},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.pop3) receive(c);
    if (c.smtp) send(c);
  }
}

// Bytes after the STLS answer would be read as the encrypted server's: someone on the way put them.
TEST(TlsScripted, BytesInjectedBeforeTheHandshakeEndTheSession) {
  FakePop3Server server;
  server.setHandler([](const QByteArray& command) -> QList<QByteArray> {
    if (command == "STLS") return {QByteArrayLiteral("+OK Begin TLS\r\n+OK mailbox ready\r\n")};
    return {QByteArrayLiteral("+OK\r\n")};
  });
  TransferRig rig;
  rig.usePop3(server.port(), kUser, u"secret-pass"_s);
  rig.account().lPop3Security = kUpgrade;
  ASSERT_TRUE(rig.receive(15000));
  EXPECT_EQ(rig.taskState(1), u"失败"_s);
  ASSERT_EQ(rig.view().errors.size(), 1);
  EXPECT_TRUE(rig.view().errors.first().contains(u"多发送了数据"_s));
  EXPECT_EQ(server.commands(), QList<QByteArray>{"STLS"});
}

}  // namespace
