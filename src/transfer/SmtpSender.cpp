#include "transfer/SmtpSender.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <QSysInfo>

#include <utility>

#include "support/mime/MimeMail.h"
#include "transfer/SmtpFlight.h"
#include "transfer/SmtpSession.h"
#include "transfer/SmtpText.h"
#include "transfer/TlsTrust.h"

namespace kvmail {

namespace {

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

SmtpSender::SmtpSender(QObject* parent)
    : QObject(parent), worker_(std::make_shared<smtp::SerialWorker>()) {}

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
  QString reason;
  prepared.job = job(prepared.mail, nullptr, &reason);
  if (!prepared.job) return {};  // Send builds it again and reports what fails
  prepared.sessionKey = sessionKey();
  return prepared;
}

void SmtpSender::setPrepared(Prepared prepared) {
  dropStaged();
  prepared_ = std::move(prepared);
  // Only on the session in use, and only when its transcript is not shown: the commands of the
  // next message must not appear among the lines of this one.
  if (prepared_.job && QCoreApplication::instance() && keepSession_ && logLevel_ == 0 && session_ &&
      prepared_.sessionKey == sessionKey_)
    staged_ = launch(*prepared_.job, true);
}

void SmtpSender::dropStaged() {
  if (staged_) std::exchange(staged_, nullptr)->drop();
}

SmtpSender::~SmtpSender() {
  dropStaged();
  worker_->waitIdle();  // a transaction points at this sender and its session
}

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

std::optional<smtp::Job> SmtpSender::job(const OutgoingMail& mail, const Prepared* ahead,
                                         QString* reason) const {
  smtp::Job job;
  job.host = server_.trimmed();
  if (job.host.isEmpty()) {
    *reason = QStringLiteral("没有设置SMTP服务器，请在邮件帐户中填写SMTP服务器。");
    return std::nullopt;
  }
  if (!tls::isKnownMode(security_)) {
    *reason = tls::unknownModeReason(QStringLiteral("SMTP"), security_);
    return std::nullopt;
  }
  job.security = security_;
  job.port = port_ > 0 ? port_ : tls::smtpPort(security_);
  if (!certificateFile_.trimmed().isEmpty()) {
    QString error;
    job.trustedPem = tls::toPem(tls::loadPinned(certificateFile_.trimmed(), &error));
    if (!error.isEmpty()) {
      *reason = error + QStringLiteral("邮件没有发出。");
      return std::nullopt;
    }
  }
  if (mail.to.isEmpty()) {
    *reason = QStringLiteral("没有收件人，邮件无法发送。");
    return std::nullopt;
  }
  for (const MimeAddress& a : mail.to) {
    if (!smtp::isSafeAddress(a.address)) {
      *reason = QStringLiteral("收件人地址“%1”无效，请检查收件人。").arg(a.address);
      return std::nullopt;
    }
    job.recipients << a.address;
  }
  job.mailFrom = fromAddress_.trimmed();
  if (!job.mailFrom.isEmpty() && !smtp::isSafeAddress(job.mailFrom)) {
    *reason =
        QStringLiteral("发件人地址“%1”无效，请检查邮件帐户中的发件人地址。").arg(job.mailFrom);
    return std::nullopt;
  }
  // Bytes written ahead are used when they are of this message (neither side has a date or id
  // yet: both are taken when the bytes are written).
  QString error;
  if (ahead && ahead->job && ahead->mail == mail) {
    job.payload = ahead->job->payload;
  } else if (!writeMailBytes(mail, &job.payload, &error)) {
    *reason = QStringLiteral("无法生成要发送的邮件：%1").arg(error);
    return std::nullopt;
  }
  if (authenticate_ && !userName_.isEmpty()) {
    job.userName = userName_;
    job.password = password_;
  }
  job.heloDomain = QSysInfo::machineHostName();
  if (job.heloDomain.isEmpty()) job.heloDomain = QStringLiteral("localhost");
  job.connectTimeoutSeconds = connectTimeout_;
  job.stallTimeoutSeconds = stallTimeout_;
  return job;
}

std::shared_ptr<smtp::Flight> SmtpSender::launch(smtp::Job job, bool held) {
  const smtp::Session::LineFn line = [this](const QString& text) {
    QMetaObject::invokeMethod(
        this, [this, text] { Q_EMIT Status(text); }, Qt::QueuedConnection);
  };
  // Worker side only: a tenth of the upload at a time, at most every 100 ms, and the end;
  // each Progress wakes the UI thread, which costs small messages more than it shows.
  smtp::Session::ProgressFn progress = [this, lastStep = 0, sinceLast = QElapsedTimer()](
                                           qint64 sent, qint64 total) mutable {
    if (!sinceLast.isValid()) sinceLast.start();
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
  auto flight =
      std::make_shared<smtp::Flight>(std::move(job), logLevel_, line, std::move(progress));
  if (held) flight->hold();
  smtp::Session* session = session_.get();
  worker_->post([flight, session] { flight->fly(*session); });
  return flight;
}

bool SmtpSender::Send() {
  if (sending_) return fail(QStringLiteral("上一封邮件还在发送中，请稍候再试。"));
  reused_ = false;
  // The transaction started ahead goes on only if it is this message's; else nothing of it is sent.
  std::shared_ptr<smtp::Flight> ahead = std::exchange(staged_, nullptr);
  const auto dropAhead = qScopeGuard([&] {
    if (ahead) ahead->drop();
  });

  const Prepared prepared = std::exchange(prepared_, Prepared{});
  QString reason;
  std::optional<smtp::Job> job = this->job(outgoingMail(), &prepared, &reason);
  if (!job) return fail(reason);

  // Another server or login cannot use the kept session.
  const QString key = sessionKey();
  std::shared_ptr<smtp::Flight> flight;
  if (ahead && session_ && key == sessionKey_ && keepSession_ && logLevel_ == ahead->logLevel() &&
      ahead->job() == *job && ahead->claim())
    flight = std::exchange(ahead, nullptr);
  if (ahead) std::exchange(ahead, nullptr)->drop();  // before anything queues behind it
  if (session_ && key != sessionKey_) closeSession();
  if (!session_) session_ = std::make_unique<smtp::Session>();
  sessionKey_ = key;

  Q_EMIT Progress(QStringLiteral("正在连接SMTP服务器 %1:%2...").arg(job->host).arg(job->port), 0);
  sending_ = true;
  if (!flight) flight = launch(std::move(*job), false);
  active_ = flight;
  flight->task().wait(whileSending_);
  active_.reset();
  sending_ = false;
  if (!keepSession_) closeSession();

  const smtp::Outcome& outcome = flight->outcome();
  if (!outcome.ok) return fail(outcome.reason);
  reused_ = outcome.reusedConnection;
  Q_EMIT SendSuccesful();
  return true;
}

void SmtpSender::Cancel() {
  if (sending_ && active_) active_->cancel();
}

void SmtpSender::closeSession() {
  dropStaged();
  if (!session_ || sending_) return;
  // Said on the worker, after anything still queued there for this session.
  smtp::Session* ending = session_.release();
  sessionKey_.clear();
  auto done = std::make_shared<smtp::Task>();
  worker_->post([ending, done] {
    delete ending;
    done->finish();
  });
  done->wait();
}

}  // namespace kvmail
