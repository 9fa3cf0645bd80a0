#pragma once
// The loopback mail servers of the "mailservers" fixture, as tests see them: ports, users and
// the Maildirs behind the POP3 server, with helpers to empty, fill and read a user's mailbox.
// Each test program uses its own user (t01..t40) so no two programs share a mailbox.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace kvtest {

struct LoopbackServers {
  QString host = u"127.0.0.1"_s;
  quint16 pop3Port = 0;
  quint16 smtpPort = 0;
  QString maildirRoot;
  QStringList users;
  QString password;
  QString error;  // why the servers could not be found; empty when they can
  bool ok() const { return error.isEmpty(); }
};

// Read once from <KV_BUILD_DIR>/servers/mail/env (KV_MAILSERVERS_DIR overrides the folder).
const LoopbackServers& loopbackServers();
// Read afresh from a fixture's folder, whatever loopbackServers() holds.
LoopbackServers loopbackServersIn(const QString& dir);

// The "tlsservers" fixture: Dovecot (STLS required, and TLS) and the sink (STARTTLS required, and
// TLS) with a certificate of the test CA, and sinks with a wrong-name and an expired certificate.
struct TlsServers {
  QString caFile, otherCaFile, goodCertFile;  // the test CA, an unrelated CA, the good leaf
  QString dir;                                // the good pair's folder, for KV_MAILSERVERS_DIR
  quint16 pop3Port = 0, pop3sPort = 0, smtpPort = 0, smtpsPort = 0;
  quint16 wrongNameStarttlsPort = 0, wrongNameTlsPort = 0;
  quint16 expiredStarttlsPort = 0, expiredTlsPort = 0;
  QString error;
  bool ok() const { return error.isEmpty(); }
};
// Read once from <KV_BUILD_DIR>/servers/tls/env and the good pair's env.
const TlsServers& tlsServers();

// A port on 127.0.0.1 on which nothing listens: taken and given back at once.
quint16 closedPort();

// An address the SMTP sink delivers into the user's mailbox.
QString addressOf(const QString& user);
QString maildirOf(const QString& user);

// Empties the user's Maildir and forgets the server's state for it (UIDs start afresh).
bool clearMailbox(const QString& user);
// Where a test on the servers starts: the servers found and the user's mailbox emptied.
::testing::AssertionResult serversWithEmptyMailbox(const QString& user);
// Drops a message into new/ with an owner the POP3 server can read; answers its path or empty.
QString dropMail(const QString& user, const QByteArray& bytes);
// The user's mails in new/ and cur/, oldest delivery first.
QStringList listMails(const QString& user);
QByteArray readMail(const QString& path);
// Waits (pumping events) until the user holds at least count mails; false when time ran out.
bool waitForMail(const QString& user, int count, int timeoutMs = 10000);

}  // namespace kvtest
