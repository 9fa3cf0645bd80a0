#include "transfer/SmtpSender.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QSysInfo>
#include <QThreadPool>

#include <functional>
#include <future>

#include "support/mime/MimeMail.h"
#include "transfer/SmtpSession.h"
#include "transfer/SmtpText.h"
#include "transfer/TlsTrust.h"

namespace kvmail {

namespace {

// Blocking work off the UI thread; the local loop keeps delivering events (and the stop button).
// meanwhile runs on the UI thread once the worker has started.
void runOnWorker(const std::function<void()>& work, const std::function<void()>& meanwhile = {}) {
  if (!QCoreApplication::instance()) {
    work();
    if (meanwhile) meanwhile();
    return;
  }
  // A pooled thread: a new thread per message cost more than a small message's transfer.
  QEventLoop loop;
  std::promise<void> done;
  std::future<void> finished = done.get_future();
  QThreadPool::globalInstance()->start([&] {
    work();
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    done.set_value();
  });
  if (meanwhile) meanwhile();
  loop.exec();
  finished.wait();
}

QString plainToHtml(QString text) {
  text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
  return QStringLiteral("<html><body>") +
         text.toHtmlEscaped().replace(u'\n', QLatin1String("<br>\r\n")) +
         QStringLiteral("</body></html>");
}

QStringList splitList(const QString& list, const QString& delimiter) {
  QStringList out;
  for (const QString& item : list.split(delimiter.isEmpty() ? QStringLiteral(";") : delimiter))
    if (!item.trimmed().isEmpty()) out << item.trimmed();
  return out;
}

}  // namespace

SmtpSender::SmtpSender(QObject* parent) : QObject(parent) {}

OutgoingMail SmtpSender::outgoingMail() const {
  OutgoingMail mail;
  mail.to = smtp::parseRecipients(recipients_, delimiter_);
  mail.from = {fromName_.trimmed(), fromAddress_.trimmed()};
  mail.replyTo = {QString(), replyTo_.trimmed()};
  mail.subject = subject_;
  mail.htmlBody = htmlBody_ ? body_ : plainToHtml(body_);
  mail.headerPriority = headerPriority_;
  mail.attachmentPaths = splitList(attachments_, delimiter_);
  return mail;
}

SmtpSender::Prepared SmtpSender::prepare() const {
  Prepared prepared;
  prepared.mail = outgoingMail();
  QString error;
  if (prepared.mail.to.isEmpty() || !writeMailBytes(prepared.mail, &prepared.bytes, &error))
    return {};  // Send builds it again and reports what fails
  return prepared;
}

SmtpSender::~SmtpSender() = default;

bool SmtpSender::fail(const QString& reason) {
  Q_EMIT SendFailed(reason);
  return false;
}

QString SmtpSender::sessionKey() const {
  const QByteArray secret =
      QCryptographicHash::hash(password_.toUtf8(), QCryptographicHash::Sha256);
  return QStringList{server_.trimmed().toLower(),
                     QString::number(port_),
                     QString::number(security_),
                     certificateFile_,
                     authenticate_ ? userName_ : QString(),
                     QString::fromLatin1(secret.toHex())}
      .join(u'\n');
}

bool SmtpSender::Send() {
  if (sending_) return fail(QStringLiteral("上一封邮件还在发送中，请稍候再试。"));
  cancel_ = false;
  reused_ = false;

  smtp::Job job;
  job.host = server_.trimmed();
  if (job.host.isEmpty())
    return fail(QStringLiteral("没有设置SMTP服务器，请在邮件帐户中填写SMTP服务器。"));
  if (!tls::isKnownMode(security_))
    return fail(tls::unknownModeReason(QStringLiteral("SMTP"), security_));
  job.security = security_;
  job.port = port_ > 0 ? port_ : tls::smtpPort(security_);
  if (!certificateFile_.trimmed().isEmpty()) {
    QString error;
    job.trustedPem = tls::toPem(tls::loadPinned(certificateFile_.trimmed(), &error));
    if (!error.isEmpty()) return fail(error + QStringLiteral("邮件没有发出。"));
  }

  OutgoingMail mail = outgoingMail();
  if (mail.to.isEmpty()) return fail(QStringLiteral("没有收件人，邮件无法发送。"));
  for (const MimeAddress& a : mail.to) {
    if (!smtp::isSafeAddress(a.address))
      return fail(QStringLiteral("收件人地址“%1”无效，请检查收件人。").arg(a.address));
    job.recipients << a.address;
  }
  job.mailFrom = fromAddress_.trimmed();
  if (!job.mailFrom.isEmpty() && !smtp::isSafeAddress(job.mailFrom))
    return fail(
        QStringLiteral("发件人地址“%1”无效，请检查邮件帐户中的发件人地址。").arg(job.mailFrom));

  // Bytes prepared while the previous message was on the wire, when they are of this message
  // (neither side has a date or id yet: both are taken when the bytes are written).
  const Prepared prepared = std::exchange(prepared_, Prepared{});
  QString error;
  if (!prepared.bytes.isEmpty() && prepared.mail == mail)
    job.payload = prepared.bytes;
  else if (!writeMailBytes(mail, &job.payload, &error))
    return fail(QStringLiteral("无法生成要发送的邮件：%1").arg(error));

  if (authenticate_ && !userName_.isEmpty()) {
    job.userName = userName_;
    job.password = password_;
  }
  job.heloDomain = QSysInfo::machineHostName();
  if (job.heloDomain.isEmpty()) job.heloDomain = QStringLiteral("localhost");
  job.connectTimeoutSeconds = connectTimeout_;
  job.stallTimeoutSeconds = stallTimeout_;

  // Another server or login cannot use the kept session.
  const QString key = sessionKey();
  if (session_ && key != sessionKey_) closeSession();
  if (!session_) session_ = std::make_unique<smtp::Session>();
  sessionKey_ = key;

  Q_EMIT Progress(QStringLiteral("正在连接SMTP服务器 %1:%2...").arg(job.host).arg(job.port), 0);
  sending_ = true;
  // Worker side only: a tenth of the upload at a time, at most every 100 ms, and the end;
  // each Progress wakes the UI thread, which costs small messages more than it shows.
  int lastStep = 0;
  QElapsedTimer sinceLast;
  sinceLast.start();
  const smtp::Session::LineFn line = [this](const QString& text) {
    QMetaObject::invokeMethod(
        this, [this, text] { Q_EMIT Status(text); }, Qt::QueuedConnection);
  };
  const smtp::Session::ProgressFn progress = [&, this](qint64 sent, qint64 total) {
    const int step = int(sent * 10 / total);
    if (step == lastStep || (step < 10 && sinceLast.elapsed() < 100)) return;
    lastStep = step;
    sinceLast.restart();
    const QString text = QStringLiteral("正在发送邮件：已发送 %1%（%2 KB/%3 KB）")
                             .arg(step * 10)
                             .arg((sent + 1023) / 1024)
                             .arg((total + 1023) / 1024);
    QMetaObject::invokeMethod(
        this, [this, text, step] { Q_EMIT Progress(text, step * 10); }, Qt::QueuedConnection);
  };
  smtp::Outcome outcome;
  runOnWorker([&] { outcome = session_->perform(job, cancel_, logLevel_, line, progress); },
              whileSending_);
  sending_ = false;
  if (!keepSession_) closeSession();

  if (!outcome.ok) return fail(outcome.reason);
  reused_ = outcome.reusedConnection;
  Q_EMIT SendSuccesful();
  return true;
}

void SmtpSender::Cancel() {
  if (sending_) cancel_ = true;
}

void SmtpSender::closeSession() {
  if (!session_ || sending_) return;
  std::unique_ptr<smtp::Session> ending = std::move(session_);
  sessionKey_.clear();
  runOnWorker([&] { ending.reset(); });
}

}  // namespace kvmail
