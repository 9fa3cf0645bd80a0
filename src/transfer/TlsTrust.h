#pragma once
// What the POP3 session and the SMTP sender share about encrypted connections: the account's
// modes, the certificate file an account may pin, and certificate problems in the user's words.
#include <QList>
#include <QSslCertificate>
#include <QSslError>
#include <QString>

namespace kvmail::tls {

// The values of the account's security settings.
enum class Mode : long {
  None = 0,      // POP3 in clear; SMTP as its port says (465 TLS, else STARTTLS when offered)
  Upgrade = 1,   // STLS / STARTTLS before anything else; refused when the server lacks it
  Implicit = 2,  // TLS from the first byte
};

bool isKnownMode(long mode);
// The standard port of a mode when the account gives none.
int pop3Port(long mode);
int smtpPort(long mode);
// The mode as the account dialog and the log name it ("不加密", "STLS", "SSL/TLS"...).
QString pop3ModeName(long mode);
QString smtpModeName(long mode);
// Why a number in the account cannot be used, or empty when it can.
QString unknownModeReason(const QString& protocol, long mode);

// The certificates of the pinned file (PEM, one or more, or one DER); on failure none, and why.
QList<QSslCertificate> loadPinned(const QString& path, QString* error);
// The pinned certificates again as PEM text, for a library that reads them from memory.
QByteArray toPem(const QList<QSslCertificate>& certificates);

// True when the only complaints are about the chain of trust and the server's own certificate is
// one of the pinned ones: an account may pin the server's certificate rather than its CA.
bool pinnedLeafAccepted(const QList<QSslError>& errors, const QSslCertificate& leaf,
                        const QList<QSslCertificate>& pinned);

// The first problem of a failed verification, as a phrase ("服务器证书已过期...").
QString problemOf(const QList<QSslError>& errors, const QString& host, bool pinned);
// The same for a TLS library's own message text; an unknown text is given as it stands.
QString problemOfText(const QString& libraryText, const QString& host, bool pinned);

}  // namespace kvmail::tls
