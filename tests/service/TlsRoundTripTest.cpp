// The service's round trip, on a company's account on servers that insist on TLS: the security
// columns of its mailaccount row take a queued mail out over STARTTLS and back in over POP3 with
// TLS, through the service and the transfer window, trusting the private CA the row names.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include "LoopbackServers.h"
#include "ServiceRig.h"
#include "transfer/FrmSend.h"

namespace {

const QString kUser = u"t06"_s;

TEST(TlsRoundTrip, TheAccountsSecurityColumnsCarryTheMailOutAndBack) {
  const kvtest::TlsServers& tls = kvtest::tlsServers();
  ASSERT_TRUE(tls.ok()) << tls.error.toStdString();
  qputenv("KV_MAILSERVERS_DIR", tls.dir.toUtf8());  // the mailbox helpers on the TLS Dovecot
  ASSERT_TRUE(kvtest::clearMailbox(kUser));
  kvtest::ServiceRig rig;
  rig.seedAccount(true, false, u"加密帐户"_s);
  ASSERT_EQ(rig.host->executeBound(u"update mailaccount set masmtpport=?, masmtpsecurity=1, "
                                   "mapop3port=?, mapop3security=2, macertfile=?, mausername=?"_s,
                                   {tls.smtpPort, tls.pop3sPort, tls.caFile, kUser}),
            QString());
  ASSERT_TRUE(rig.mail->Init(rig.host, 1));
  kvmail::OutgoingMail mail;
  mail.from = {u"销售部"_s, u"sales@kvmail.test"_s};
  mail.to = {{u"客户"_s, kvtest::addressOf(kUser)}};
  mail.subject = u"加密往返"_s;
  mail.htmlBody = u"<p>您好</p>"_s;
  rig.queueMail(mail, u"2026-11-20 08:00:00"_s);

  QSignalSpy ended(rig.mail->transferWindow(), &kvmail::FrmSend::TasksEnded);
  ASSERT_TRUE(rig.mail->SendReceiveMail());
  ASSERT_TRUE(!ended.isEmpty() || ended.wait(60000));
  EXPECT_TRUE(ended.first().first().toBool());
  // Sent over STARTTLS and marked so, received over TLS.
  EXPECT_EQ(rig.value(u"select messageID||是否已读 from msgmail where CshgnsID=2"_s),
            u"127.0.0.11"_s);
  EXPECT_EQ(rig.count(u"msgmail"_s, u"CshgnsID=1 and 主题='加密往返'"_s), 1);
}

}  // namespace
