// Encrypted transport against real TLS servers on loopback (the "tlsservers" fixture): Dovecot
// with ssl = required and the SMTP sink with STARTTLS required, both with a certificate of a
// private test CA, and sinks presenting a wrong-name and an expired certificate. A refused
// certificate or a server without STLS/STARTTLS fails the task with the reason, and nothing is
// sent in clear.
#include <gtest/gtest.h>

#include <QFile>

#include "FakePop3Server.h"
#include "LoopbackServers.h"
#include "SenderProbe.h"
#include "TestEnv.h"
#include "TransferRig.h"
#include "transfer/SmtpSender.h"

using namespace kvtest;

namespace {

const QString kUser = QStringLiteral("t05");
constexpr long kNone = 0, kUpgrade = 1, kImplicit = 2;

// The fixture's env files: KEY=value lines.
QMap<QString, QString> readEnv(const QString& path) {
  QMap<QString, QString> env;
  for (const QByteArray& line : readAll(path).split('\n'))
    if (const int eq = line.indexOf('='); eq > 0)
      env.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
  return env;
}

struct TlsServers {
  QMap<QString, QString> tls, good, plain;
  quint16 port(const QMap<QString, QString>& env, const char* key) const {
    return env.value(QLatin1String(key)).toUShort();
  }
};

const TlsServers& servers() {
  static const TlsServers s = [] {
    const QString build = qEnvironmentVariable("KV_BUILD_DIR");
    TlsServers s;
    s.tls = readEnv(build + QStringLiteral("/servers/tls/env"));
    s.good = readEnv(s.tls.value(QStringLiteral("KV_TLS_GOOD_DIR")) + QStringLiteral("/env"));
    s.plain = readEnv(build + QStringLiteral("/servers/mail/env"));
    return s;
  }();
  return s;
}

QString file(const char* key) {
  return servers().tls.value(QLatin1String(key));
}
quint16 goodPort(const char* key) {
  return servers().port(servers().good, key);
}
quint16 tlsPort(const char* key) {
  return servers().port(servers().tls, key);
}
quint16 plainPort(const char* key) {
  return servers().port(servers().plain, key);
}

class Tls : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The mailbox helpers work on the TLS Dovecot's Maildirs.
    qputenv("KV_MAILSERVERS_DIR", file("KV_TLS_GOOD_DIR").toUtf8());
  }
  void SetUp() override {
    ASSERT_TRUE(goodPort("KV_POP3S_PORT") && tlsPort("KV_TLS_EXPIRED_TLS_PORT") &&
                plainPort("KV_POP3_PORT"))
        << "the tlsservers or mailservers fixture did not start";
    ASSERT_TRUE(loopbackServers().ok()) << loopbackServers().error.toStdString();
    ASSERT_TRUE(clearMailbox(kUser));
  }
};

// Set on the account; the rig otherwise keeps the account as the receive tests use it.
void secure(kvmail::clsAccount& a, long mode, quint16 port, const QString& pinned) {
  a.lPop3Security = mode;
  a.lPop3Port = port;
  a.sCertFile = pinned;
}

struct Pop3Case {
  const char* what;
  long mode;
  quint16 port;
  QString pinned;
};

TEST_F(Tls, Pop3ReceivesOverStlsAndImplicitTls) {
  const Pop3Case cases[] = {
      {"STLS, the CA pinned", kUpgrade, goodPort("KV_POP3_PORT"), file("KV_TLS_CA")},
      {"TLS, the CA pinned", kImplicit, goodPort("KV_POP3S_PORT"), file("KV_TLS_CA")},
      {"TLS, the server's own certificate pinned", kImplicit, goodPort("KV_POP3S_PORT"),
       file("KV_TLS_GOOD_CERT")},
  };
  for (const Pop3Case& c : cases) {
    ASSERT_TRUE(clearMailbox(kUser));
    ASSERT_FALSE(dropMail(kUser, sampleMail(QStringLiteral("加密"))).isEmpty());
    TransferRig rig;
    rig.usePop3(0, kUser, loopbackServers().password);
    secure(rig.account(), c.mode, c.port, c.pinned);
    ASSERT_TRUE(rig.receive()) << c.what;
    EXPECT_TRUE(rig.lastOk()) << c.what << "\n" << rig.log().toStdString();
    EXPECT_EQ(rig.count(), 1) << c.what;
    EXPECT_TRUE(rig.log().contains(QStringLiteral("服务器证书已验证"))) << c.what;
    EXPECT_EQ(rig.logLines().contains(QStringLiteral("STLS")), c.mode == kUpgrade) << c.what;
    // The session's own steps are the plain ones: the login follows the encrypted greeting.
    EXPECT_LT(rig.log().indexOf(QStringLiteral("服务器证书已验证")),
              rig.log().indexOf(QStringLiteral("USER ")))
        << c.what;
  }
}

struct Pop3Refusal {
  const char* what;
  long mode;
  quint16 port;
  QString pinned;
  QString reason;  // a part of the task's error
};

TEST_F(Tls, Pop3RefusalsFailTheTaskBeforeTheLogin) {
  const QString ca = file("KV_TLS_CA");
  const Pop3Refusal cases[] = {
      {"the system's store does not know the test CA",
       kImplicit,
       goodPort("KV_POP3S_PORT"),
       {},
       QStringLiteral("服务器证书不是由本机信任的证书机构签发的")},
      {"another CA pinned, after STLS", kUpgrade, goodPort("KV_POP3_PORT"), file("KV_TLS_OTHER_CA"),
       QStringLiteral("服务器证书与帐户指定的证书文件不符")},
      {"certificate for another host", kImplicit, tlsPort("KV_TLS_WRONGNAME_TLS_PORT"), ca,
       QStringLiteral("服务器证书不是签发给“127.0.0.1”的")},
      {"expired certificate", kImplicit, tlsPort("KV_TLS_EXPIRED_TLS_PORT"), ca,
       QStringLiteral("服务器证书已过期")},
      {"server without STLS", kUpgrade, plainPort("KV_POP3_PORT"), ca,
       QStringLiteral("不支持 STLS 加密")},
      {"a server in clear on the TLS port", kImplicit, plainPort("KV_POP3_PORT"), ca,
       QStringLiteral("建立加密连接")},
      {"pinned file missing", kUpgrade, goodPort("KV_POP3_PORT"), ca + QStringLiteral(".gone"),
       QStringLiteral("文件不存在")},
      {"unknown mode", 7, goodPort("KV_POP3_PORT"), ca, QStringLiteral("无法识别")},
  };
  ASSERT_FALSE(dropMail(kUser, sampleMail(QStringLiteral("留在服务器上"))).isEmpty());
  for (const Pop3Refusal& c : cases) {
    TransferRig rig;
    rig.usePop3(0, kUser, loopbackServers().password);
    secure(rig.account(), c.mode, c.port, c.pinned);
    ASSERT_TRUE(rig.receive(15000)) << c.what;
    EXPECT_FALSE(rig.lastOk()) << c.what;
    EXPECT_EQ(rig.taskState(1), QStringLiteral("失败")) << c.what;
    ASSERT_EQ(rig.view().errors.size(), 1) << c.what << "\n" << rig.log().toStdString();
    EXPECT_TRUE(rig.view().errors.first().contains(c.reason))
        << c.what << ": " << rig.view().errors.first().toStdString();
    EXPECT_FALSE(rig.log().contains(QStringLiteral("USER "))) << c.what;
    EXPECT_FALSE(rig.log().contains(loopbackServers().password)) << c.what;
    EXPECT_EQ(rig.count(), 0) << c.what;
  }
  EXPECT_EQ(listMails(kUser).size(), 1);  // every refusal left the mail on the server
}

// Bytes after the STLS answer would be read as the encrypted server's: someone on the way put them.
TEST(TlsScripted, BytesInjectedBeforeTheHandshakeEndTheSession) {
  FakePop3Server server;
  server.setHandler([](const QByteArray& command) -> QList<QByteArray> {
    if (command == "STLS") return {QByteArrayLiteral("+OK Begin TLS\r\n+OK mailbox ready\r\n")};
    return {QByteArrayLiteral("+OK\r\n")};
  });
  TransferRig rig;
  rig.usePop3(server.port(), kUser, QStringLiteral("secret-pass"));
  rig.account().lPop3Security = kUpgrade;
  ASSERT_TRUE(rig.receive(15000));
  EXPECT_EQ(rig.taskState(1), QStringLiteral("失败"));
  ASSERT_EQ(rig.view().errors.size(), 1);
  EXPECT_TRUE(rig.view().errors.first().contains(QStringLiteral("多发送了数据")));
  EXPECT_EQ(server.commands(), QList<QByteArray>{"STLS"});
}

struct SmtpCase {
  const char* what;
  long mode;
  quint16 port;
  QString pinned;
  QString reason;  // empty: delivered
};

TEST_F(Tls, SmtpSendsOnlyOverAVerifiedConnection) {
  const QString ca = file("KV_TLS_CA");
  const SmtpCase cases[] = {
      {"STARTTLS, the CA pinned", kUpgrade, goodPort("KV_SMTP_PORT"), ca, {}},
      {"TLS, the CA pinned", kImplicit, goodPort("KV_SMTPS_PORT"), ca, {}},
      {"TLS, the server's own certificate pinned",
       kImplicit,
       goodPort("KV_SMTPS_PORT"),
       file("KV_TLS_GOOD_CERT"),
       {}},
      {"no mode: STARTTLS because the server offers it", kNone, goodPort("KV_SMTP_PORT"), ca, {}},
      {"the system's store does not know the test CA",
       kImplicit,
       goodPort("KV_SMTPS_PORT"),
       {},
       QStringLiteral("服务器证书不是由本机信任的证书机构签发的")},
      {"another CA pinned", kUpgrade, goodPort("KV_SMTP_PORT"), file("KV_TLS_OTHER_CA"),
       QStringLiteral("服务器证书与帐户指定的证书文件不符")},
      {"certificate for another host", kUpgrade, tlsPort("KV_TLS_WRONGNAME_STARTTLS_PORT"), ca,
       QStringLiteral("服务器证书不是签发给“127.0.0.1”的")},
      {"expired certificate", kImplicit, tlsPort("KV_TLS_EXPIRED_TLS_PORT"), ca,
       QStringLiteral("服务器证书已过期")},
      {"server without STARTTLS", kUpgrade, plainPort("KV_SMTP_PORT"), ca,
       QStringLiteral("不支持 STARTTLS 加密")},
      {"a server in clear on the TLS port", kImplicit, plainPort("KV_SMTP_PORT"), ca,
       QStringLiteral("建立加密连接")},
      {"pinned file missing", kUpgrade, goodPort("KV_SMTP_PORT"), ca + QStringLiteral(".gone"),
       QStringLiteral("文件不存在")},
      {"unknown mode", 3, goodPort("KV_SMTP_PORT"), ca, QStringLiteral("无法识别")},
  };
  for (const SmtpCase& c : cases) {
    ASSERT_TRUE(clearMailbox(kUser));
    kvmail::SmtpSender sender;
    SenderProbe probe(sender);
    sender.setServer(QStringLiteral("127.0.0.1"));
    sender.setPort(c.port);
    sender.setSecurity(c.mode);
    sender.setCertificateFile(c.pinned);
    sender.setAuthenticate(true);
    sender.setUserName(kUser);
    sender.setPassword(loopbackServers().password);
    sender.setFromAddress(QStringLiteral("sales@kvmail.localhost"));
    sender.setRecipients(addressOf(kUser));
    sender.setSubject(QStringLiteral("加密发送"));
    sender.setBody(QStringLiteral("<p>您好</p>"));
    const bool sent = sender.Send();
    EXPECT_FALSE(probe.shown().contains(loopbackServers().password)) << c.what;
    if (c.reason.isEmpty()) {
      EXPECT_TRUE(sent) << c.what << ": " << probe.failures.join(u'\n').toStdString();
      EXPECT_TRUE(waitForMail(kUser, 1, 5000)) << c.what;
      continue;
    }
    EXPECT_FALSE(sent) << c.what;
    ASSERT_EQ(probe.failures.size(), 1) << c.what;
    EXPECT_TRUE(probe.failures.first().contains(c.reason))
        << c.what << ": " << probe.failures.first().toStdString();
    EXPECT_TRUE(listMails(kUser).isEmpty()) << c.what;
  }
}

}  // namespace
