#include "LoopbackServers.h"

#include "TestEnv.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTcpServer>
#include <QThread>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace kvtest {

namespace {

QString serversDir() {
  const QString over = qEnvironmentVariable("KV_MAILSERVERS_DIR");
  if (!over.isEmpty()) return over;
  const QString build = qEnvironmentVariable("KV_BUILD_DIR");
  return build.isEmpty() ? QString() : build + u"/servers/mail"_s;
}

QMap<QByteArray, QString> readEnv(const QString& path) {
  QMap<QByteArray, QString> env;
  for (const QByteArray& line : readAll(path).split('\n'))
    if (const qsizetype eq = line.indexOf('='); eq > 0)
      env.insert(line.left(eq).trimmed(), QString::fromUtf8(line.mid(eq + 1).trimmed()));
  return env;
}

// Name sort within a folder follows delivery; ":2,S" flags added in cur/ do not change it.
QString deliveryKey(const QString& path) {
  return QFileInfo(path).fileName().section(u':', 0, 0);
}

TlsServers loadTls() {
  TlsServers s;
  const QString dir = qEnvironmentVariable("KV_BUILD_DIR") + u"/servers/tls"_s;
  const auto tls = readEnv(dir + u"/env"_s);
  s.dir = tls.value("KV_TLS_GOOD_DIR");
  const auto good = readEnv(s.dir + u"/env"_s);
  s.caFile = tls.value("KV_TLS_CA");
  s.otherCaFile = tls.value("KV_TLS_OTHER_CA");
  s.goodCertFile = tls.value("KV_TLS_GOOD_CERT");
  s.pop3Port = good.value("KV_POP3_PORT").toUShort();
  s.pop3sPort = good.value("KV_POP3S_PORT").toUShort();
  s.smtpPort = good.value("KV_SMTP_PORT").toUShort();
  s.smtpsPort = good.value("KV_SMTPS_PORT").toUShort();
  s.wrongNameStarttlsPort = tls.value("KV_TLS_WRONGNAME_STARTTLS_PORT").toUShort();
  s.wrongNameTlsPort = tls.value("KV_TLS_WRONGNAME_TLS_PORT").toUShort();
  s.expiredStarttlsPort = tls.value("KV_TLS_EXPIRED_STARTTLS_PORT").toUShort();
  s.expiredTlsPort = tls.value("KV_TLS_EXPIRED_TLS_PORT").toUShort();
  if (s.caFile.isEmpty() || !s.pop3sPort || !s.smtpsPort || !s.expiredTlsPort)
    s.error = u"no complete %1/env: the tlsservers fixture did not start"_s.arg(dir);
  return s;
}

}  // namespace

const TlsServers& tlsServers() {
  static const TlsServers servers = loadTls();
  return servers;
}

LoopbackServers loopbackServersIn(const QString& dir) {
  LoopbackServers s;
  if (dir.isEmpty()) {
    s.error = u"KV_BUILD_DIR is not set: run this test through ctest"_s;
    return s;
  }
  const auto env = readEnv(dir + u"/env"_s);
  s.pop3Port = env.value("KV_POP3_PORT").toUShort();
  s.smtpPort = env.value("KV_SMTP_PORT").toUShort();
  s.maildirRoot = env.value("KV_MAILDIR_ROOT");
  s.users = env.value("KV_MAIL_USERS").split(u',', Qt::SkipEmptyParts);
  s.password = env.value("KV_MAIL_PASSWORD");
  if (!s.pop3Port || !s.smtpPort || s.maildirRoot.isEmpty() || s.users.isEmpty())
    s.error = u"no complete %1/env: the mailservers fixture did not start"_s.arg(dir);
  return s;
}

const LoopbackServers& loopbackServers() {
  static const LoopbackServers servers = loopbackServersIn(serversDir());
  return servers;
}

quint16 closedPort() {
  QTcpServer probe;
  probe.listen(QHostAddress::LocalHost, 0);
  return probe.serverPort();
}

QString addressOf(const QString& user) {
  return user + u"@kvmail.localhost"_s;
}

QString maildirOf(const QString& user) {
  return loopbackServers().maildirRoot + u'/' + user;
}

bool clearMailbox(const QString& user) {
  const QString base = maildirOf(user);
  QDir dir(base);
  if (!dir.exists()) return false;
  bool ok = true;
  const auto entries = dir.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
  for (const QFileInfo& e : entries) {
    const QString name = e.fileName();
    if (name == u"new" || name == u"cur" || name == u"tmp") {
      QDir sub(e.absoluteFilePath());
      for (const QString& f : sub.entryList(QDir::Files | QDir::Hidden)) ok = sub.remove(f) && ok;
    } else if (e.isDir()) {
      ok = QDir(e.absoluteFilePath()).removeRecursively() && ok;
    } else {
      ok = QFile::remove(e.absoluteFilePath()) && ok;  // dovecot-uidlist, indexes, uidvalidity
    }
  }
  return ok;
}

::testing::AssertionResult serversWithEmptyMailbox(const QString& user) {
  if (!loopbackServers().ok())
    return ::testing::AssertionFailure() << loopbackServers().error.toStdString();
  if (!clearMailbox(user))
    return ::testing::AssertionFailure() << "cannot empty the mailbox of " << user.toStdString();
  return ::testing::AssertionSuccess();
}

QString dropMail(const QString& user, const QByteArray& bytes) {
  static std::atomic<int> counter{0};
  const QString base = maildirOf(user);
  const QString name = u"%1.T%2Q%3.kvtest,S=%4"_s.arg(QDateTime::currentMSecsSinceEpoch() * 1000000)
                           .arg(::getpid())
                           .arg(++counter, 6, 10, QLatin1Char('0'))
                           .arg(bytes.size());
  const QString tmp = base + u"/tmp/"_s + name;
  const QString dest = base + u"/new/"_s + name;
  if (!writeAll(tmp, bytes)) return {};
  const QByteArray tmpPath = QFile::encodeName(tmp);
  ::chmod(tmpPath.constData(), 0644);
  struct stat owner {};
  // The POP3 server reads mail as the Maildir's owner, never as root.
  if (::geteuid() == 0 && ::stat(QFile::encodeName(base).constData(), &owner) == 0)
    if (::chown(tmpPath.constData(), owner.st_uid, owner.st_gid) != 0) return {};
  if (!QFile::rename(tmp, dest)) return {};
  return dest;
}

QStringList listMails(const QString& user) {
  QStringList paths;
  for (const char* sub : {"new", "cur"}) {
    QDir dir(maildirOf(user) + u'/' + QLatin1String(sub));
    for (const QString& f : dir.entryList(QDir::Files)) paths << dir.filePath(f);
  }
  std::sort(paths.begin(), paths.end(),
            [](const QString& a, const QString& b) { return deliveryKey(a) < deliveryKey(b); });
  return paths;
}

QByteArray readMail(const QString& path) {
  QByteArray bytes = readAll(path);
  // A POP3 session may have moved the file from new/ to cur/ meanwhile.
  if (bytes.isEmpty() && path.contains(u"/new/"_s)) {
    const QFileInfo info(path);
    const QDir cur(info.absolutePath() + u"/../cur"_s);
    const QStringList moved = cur.entryList({info.fileName() + u":*"_s}, QDir::Files);
    if (!moved.isEmpty()) bytes = readAll(cur.filePath(moved.first()));
  }
  return bytes;
}

bool waitForMail(const QString& user, int count, int timeoutMs) {
  const QDeadlineTimer deadline(timeoutMs);
  while (listMails(user).size() < count) {
    if (deadline.hasExpired()) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    QThread::msleep(10);
  }
  return true;
}

}  // namespace kvtest
