#include "transfer/TlsTrust.h"

#include <QFile>
#include <QFileInfo>

namespace kvmail::tls {

namespace {

// A certificate file is small; anything this big is not one.
constexpr qint64 kMaxPinnedBytes = 4 * 1024 * 1024;

enum class Problem { NameMismatch, Expired, NotYetValid, Revoked, Untrusted, Other };

Problem classify(QSslError::SslError error) {
  switch (error) {
    case QSslError::HostNameMismatch:
      return Problem::NameMismatch;
    case QSslError::CertificateExpired:
      return Problem::Expired;
    case QSslError::CertificateNotYetValid:
      return Problem::NotYetValid;
    case QSslError::CertificateRevoked:
      return Problem::Revoked;
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::SelfSignedCertificate:
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::CertificateUntrusted:
    case QSslError::UnableToVerifyFirstCertificate:
      return Problem::Untrusted;
    default:
      return Problem::Other;
  }
}

QString phrase(Problem problem, const QString& host, bool pinned) {
  switch (problem) {
    case Problem::NameMismatch:
      return QStringLiteral("服务器证书不是签发给“%1”的").arg(host);
    case Problem::Expired:
      return QStringLiteral("服务器证书已过期");
    case Problem::NotYetValid:
      return QStringLiteral("服务器证书尚未生效（请检查本机的日期和时间）");
    case Problem::Revoked:
      return QStringLiteral("服务器证书已被吊销");
    case Problem::Untrusted:
      return pinned ? QStringLiteral("服务器证书与帐户指定的证书文件不符")
                    : QStringLiteral("服务器证书不是由本机信任的证书机构签发的");
    case Problem::Other:
      break;
  }
  return {};
}

}  // namespace

bool isKnownMode(long mode) {
  return mode >= long(Mode::None) && mode <= long(Mode::Implicit);
}

int pop3Port(long mode) {
  return mode == long(Mode::Implicit) ? 995 : 110;
}

int smtpPort(long mode) {
  if (mode == long(Mode::Implicit)) return 465;
  return mode == long(Mode::Upgrade) ? 587 : 25;
}

QString pop3ModeName(long mode) {
  if (mode == long(Mode::Upgrade)) return QStringLiteral("STLS");
  if (mode == long(Mode::Implicit)) return QStringLiteral("SSL/TLS");
  return QStringLiteral("不加密");
}

QString smtpModeName(long mode) {
  if (mode == long(Mode::Upgrade)) return QStringLiteral("STARTTLS");
  if (mode == long(Mode::Implicit)) return QStringLiteral("SSL/TLS");
  return QStringLiteral("按端口自动");
}

QString unknownModeReason(const QString& protocol, long mode) {
  if (isKnownMode(mode)) return {};
  const bool pop3 = protocol == QLatin1String("POP3");
  const auto name = [pop3](Mode m) { return pop3 ? pop3ModeName(long(m)) : smtpModeName(long(m)); };
  return QStringLiteral(
             "帐户的%1加密方式（%2）无法识别，应为 0（%3）、1（%4）或 2（%5）；"
             "没有连接服务器。")
      .arg(protocol)
      .arg(mode)
      .arg(name(Mode::None), name(Mode::Upgrade), name(Mode::Implicit));
}

QList<QSslCertificate> loadPinned(const QString& path, QString* error) {
  const auto fail = [&](const QString& why) {
    if (error) *error = QStringLiteral("无法使用帐户指定的证书文件“%1”：%2").arg(path, why);
    return QList<QSslCertificate>();
  };
  const QFileInfo info(path);
  if (!info.exists()) return fail(QStringLiteral("文件不存在。"));
  if (!info.isFile() || info.size() > kMaxPinnedBytes)
    return fail(QStringLiteral("这不是一个证书文件。"));
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return fail(QStringLiteral("无法打开文件。"));
  const QByteArray data = file.readAll();
  QList<QSslCertificate> certificates = QSslCertificate::fromData(data, QSsl::Pem);
  if (certificates.isEmpty()) certificates = QSslCertificate::fromData(data, QSsl::Der);
  certificates.removeIf([](const QSslCertificate& c) { return c.isNull(); });
  if (certificates.isEmpty()) return fail(QStringLiteral("文件中没有 PEM 或 DER 格式的证书。"));
  return certificates;
}

QByteArray toPem(const QList<QSslCertificate>& certificates) {
  QByteArray pem;
  for (const QSslCertificate& c : certificates) pem += c.toPem();
  return pem;
}

bool pinnedLeafAccepted(const QList<QSslError>& errors, const QSslCertificate& leaf,
                        const QList<QSslCertificate>& pinned) {
  if (errors.isEmpty() || leaf.isNull() || !pinned.contains(leaf)) return false;
  for (const QSslError& e : errors)
    if (classify(e.error()) != Problem::Untrusted) return false;
  return true;
}

QString problemOf(const QList<QSslError>& errors, const QString& host, bool pinned) {
  QStringList phrases;
  for (Problem p : {Problem::NameMismatch, Problem::Expired, Problem::NotYetValid, Problem::Revoked,
                    Problem::Untrusted}) {
    for (const QSslError& e : errors) {
      if (classify(e.error()) != p) continue;
      phrases << phrase(p, host, pinned);
      break;
    }
  }
  if (phrases.isEmpty())
    for (const QSslError& e : errors)
      if (!phrases.contains(e.errorString())) phrases << e.errorString();
  if (phrases.isEmpty()) phrases << QStringLiteral("服务器证书无效");
  return phrases.join(QStringLiteral("；"));
}

QString problemOfText(const QString& libraryText, const QString& host, bool pinned) {
  const QString t = libraryText.toLower();
  const auto has = [&t](const char* words) { return t.contains(QLatin1String(words)); };
  if (has("subject name") || has("host name") || has("hostname"))
    return phrase(Problem::NameMismatch, host, pinned);
  if (has("expired")) return phrase(Problem::Expired, host, pinned);
  if (has("not yet valid")) return phrase(Problem::NotYetValid, host, pinned);
  if (has("revoked")) return phrase(Problem::Revoked, host, pinned);
  if (has("issuer") || has("self-signed") || has("self signed") || has("first certificate") ||
      has("untrusted") || has("unknown ca"))
    return phrase(Problem::Untrusted, host, pinned);
  return libraryText.trimmed().isEmpty() ? QStringLiteral("服务器证书无效") : libraryText.trimmed();
}

}  // namespace kvmail::tls
