#include "transfer/SmtpSession.h"

#include <curl/curl.h>

#include <QUrl>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <utility>

#include "transfer/SmtpText.h"
#include "transfer/TlsTrust.h"

namespace kvmail::smtp {

namespace {

struct SlistFree {
  void operator()(curl_slist* l) const { curl_slist_free_all(l); }
};
using Slist = std::unique_ptr<curl_slist, SlistFree>;

// Everything the callbacks of one transfer touch; lives on the worker's stack.
struct Transfer {
  const QByteArray* payload = nullptr;
  qsizetype offset = 0;
  const std::atomic<bool>* cancel = nullptr;
  int logLevel = 0;
  const Session::LineFn* line = nullptr;
  const Session::ProgressFn* progress = nullptr;
  const Session::ContentGate* gate = nullptr;  // asked before the first byte of the content
  ProtocolLog* log = nullptr;
};

size_t readPayload(char* buffer, size_t size, size_t items, void* user) {
  auto* t = static_cast<Transfer*>(user);
  if (t->cancel->load()) return CURL_READFUNC_ABORT;
  if (t->gate) {
    const Session::ContentGate* gate = std::exchange(t->gate, nullptr);
    if (*gate && !(*gate)()) return CURL_READFUNC_ABORT;
  }
  const qsizetype n = std::min<qsizetype>(qsizetype(size * items), t->payload->size() - t->offset);
  std::memcpy(buffer, t->payload->constData() + t->offset, size_t(n));
  t->offset += n;
  return size_t(n);
}

int onProgress(void* user, curl_off_t, curl_off_t, curl_off_t ulTotal, curl_off_t ulNow) {
  auto* t = static_cast<Transfer*>(user);
  if (t->cancel->load()) return 1;  // ends the transfer with CURLE_ABORTED_BY_CALLBACK
  if (ulTotal > 0) (*t->progress)(qint64(ulNow), qint64(ulTotal));
  return 0;
}

int onDebug(CURL*, curl_infotype type, char* data, size_t size, void* user) {
  auto* t = static_cast<Transfer*>(user);
  if (type != CURLINFO_TEXT && type != CURLINFO_HEADER_IN && type != CURLINFO_HEADER_OUT) return 0;
  const QByteArray chunk(data, qsizetype(size));
  for (QByteArray l : chunk.split('\n')) {
    if (l.endsWith('\r')) l.chop(1);
    if (l.isEmpty()) continue;
    QString shown;
    int level = 1;
    if (type == CURLINFO_HEADER_OUT) {
      shown = t->log->outgoing(l);
    } else if (type == CURLINFO_HEADER_IN) {
      shown = t->log->incoming(l);
    } else {
      shown = t->log->note(l);
      level = 2;
    }
    if (t->logLevel >= level) (*t->line)(shown);
  }
  return 0;
}

// Every TLS failure happens before the login: the password stays at home.
const QString kNotSent = QStringLiteral("为保护密码，没有登录，邮件也没有发出。");

QString endpoint(const Job& job) {
  return QStringLiteral("%1:%2").arg(job.host).arg(job.port);
}

QString withReply(QString text, const ProtocolLog& log) {
  if (log.errorCode() >= 400 && !log.errorReply().isEmpty())
    text += QStringLiteral("服务器回复：") + log.errorReply();
  return text;
}

// What the server refused, told from the command its error reply answered.
QString refusal(const Job& job, const ProtocolLog& log) {
  const QString cmd = log.errorCommand().toUpper();
  const QString arg = log.errorCommand().section(u':', 1).trimmed();
  QString text;
  if (cmd.startsWith(QLatin1String("RCPT")))
    text = QStringLiteral("SMTP服务器拒绝了收件人%1，请检查收件人地址是否正确。").arg(arg);
  else if (cmd.startsWith(QLatin1String("MAIL")))
    text = QStringLiteral(
               "SMTP服务器拒绝了发件人%1，请检查帐户中的发件人地址，"
               "以及该服务器是否要求先登录。")
               .arg(arg);
  else if (cmd.startsWith(QLatin1String("DATA")))
    text = QStringLiteral("SMTP服务器拒绝接收这封邮件，请检查邮件的大小和内容。");
  else if (cmd.startsWith(QLatin1String("STARTTLS")))
    text = QStringLiteral("SMTP服务器 %1 无法建立加密连接。").arg(endpoint(job));
  else
    text = QStringLiteral("SMTP服务器 %1 拒绝了会话，请检查服务器设置。").arg(endpoint(job));
  if (log.errorCode() < 500) text += QStringLiteral("（服务器暂时无法处理，请稍后重试。）");
  return withReply(text, log);
}

QString failureReason(CURLcode code, const Job& job, const ProtocolLog& log, const char* detail) {
  switch (code) {
    case CURLE_ABORTED_BY_CALLBACK:
      return QStringLiteral("邮件发送已被取消。");
    case CURLE_COULDNT_RESOLVE_HOST:
      return QStringLiteral("找不到SMTP服务器“%1”，请检查帐户中的服务器名称。").arg(job.host);
    case CURLE_COULDNT_CONNECT:
      return QStringLiteral(
                 "无法连接到SMTP服务器 %1，请检查服务器名称、端口和网络，"
                 "并确认服务器已经启动。")
          .arg(endpoint(job));
    case CURLE_OPERATION_TIMEDOUT:
      if (!log.greeted())
        return QStringLiteral("连接SMTP服务器 %1 超时，请检查服务器名称、端口和网络。")
            .arg(endpoint(job));
      return QStringLiteral("SMTP服务器 %1 长时间没有响应，发送已中止，请稍后重试。")
          .arg(endpoint(job));
    case CURLE_LOGIN_DENIED:
      return withReply(QStringLiteral("SMTP服务器拒绝了登录，请检查帐户的用户名和密码。"), log);
    case CURLE_USE_SSL_FAILED:
      return withReply(
          QStringLiteral("SMTP服务器 %1 不支持 STARTTLS 加密。").arg(endpoint(job)) + kNotSent +
              QStringLiteral("请向服务器管理员确认加密方式，或改用 SSL/TLS（端口 465）。"),
          log);
    case CURLE_PEER_FAILED_VERIFICATION:
      return QStringLiteral("无法验证SMTP服务器 %1 的证书：%2。")
                 .arg(endpoint(job), tls::problemOfText(QString::fromUtf8(detail), job.host,
                                                        !job.trustedPem.isEmpty())) +
             kNotSent;
    case CURLE_SSL_CACERT_BADFILE:
      return QStringLiteral("无法使用帐户指定的证书文件。") + kNotSent;
    case CURLE_SSL_CONNECT_ERROR:
      return QStringLiteral("无法与SMTP服务器 %1 建立加密连接（%2），请检查端口和加密方式。")
                 .arg(endpoint(job),
                      log.note(QByteArray(detail && *detail ? detail : curl_easy_strerror(code)))) +
             kNotSent;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_WEIRD_SERVER_REPLY:
      if (log.errorCode() >= 400) return refusal(job, log);
      return QStringLiteral("与SMTP服务器 %1 的连接意外中断，请稍后重试。").arg(endpoint(job));
    default:
      break;
  }
  QString text = QStringLiteral("发送邮件失败（%1）。")
                     .arg(QString::fromUtf8(detail && *detail ? detail : curl_easy_strerror(code)));
  return withReply(log.note(text.toUtf8()), log);
}

QByteArray bracketed(const QString& address) {
  return '<' + address.toUtf8() + '>';
}

}  // namespace

struct Session::Impl {
  CURL* easy = nullptr;
  char error[CURL_ERROR_SIZE] = {};
};

Session::Session() : d_(std::make_unique<Impl>()) {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  d_->easy = curl_easy_init();
}

Session::~Session() {
  // Guard the QUIT that cleanup says on a kept connection, so a dead server cannot hold us up.
  if (d_->easy) {
    curl_easy_setopt(d_->easy, CURLOPT_TIMEOUT, 5L);
    curl_easy_setopt(d_->easy, CURLOPT_SERVER_RESPONSE_TIMEOUT, 5L);
    curl_easy_cleanup(d_->easy);
  }
}

Outcome Session::perform(const Job& job, const std::atomic<bool>& cancel, int logLevel,
                         const LineFn& line, const ProgressFn& progress, const ContentGate& gate) {
  Outcome out;
  CURL* c = d_->easy;
  if (!c) {
    out.reason = QStringLiteral("发送组件无法初始化，请重新启动程序后再试。");
    return out;
  }
  // Reset keeps the live connection, so the next transaction goes out on the same session.
  curl_easy_reset(c);
  d_->error[0] = '\0';

  // An account that asks for nothing keeps the old rule: 465 is TLS, others upgrade when offered.
  const bool implicitTls = job.security == long(tls::Mode::Implicit) ||
                           (job.security == long(tls::Mode::None) && job.port == 465);
  const QString host = job.host.contains(u':') ? u'[' + job.host + u']' : job.host;
  const QByteArray url = QStringLiteral("%1://%2:%3/")
                             .arg(implicitTls ? QStringLiteral("smtps") : QStringLiteral("smtp"))
                             .arg(host)
                             .arg(job.port)
                             .toUtf8() +
                         QUrl::toPercentEncoding(job.heloDomain);
  const QByteArray from = bracketed(job.mailFrom);
  Slist rcpts;
  for (const QString& r : job.recipients) {
    curl_slist* next = curl_slist_append(rcpts.get(), bracketed(r).constData());
    if (!next) {
      out.reason = QStringLiteral("内存不足，无法发送邮件。");
      return out;
    }
    (void)rcpts.release();
    rcpts.reset(next);
  }
  const QByteArray user = job.userName.toUtf8();
  const QByteArray pass = job.password.toUtf8();

  ProtocolLog log(job.userName, job.password);
  Transfer t;
  t.payload = &job.payload;
  t.cancel = &cancel;
  t.logLevel = logLevel;
  t.line = &line;
  t.progress = &progress;
  t.gate = &gate;
  t.log = &log;

  curl_easy_setopt(c, CURLOPT_URL, url.constData());
  curl_easy_setopt(c, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(c, CURLOPT_ERRORBUFFER, d_->error);
  if (!implicitTls)
    curl_easy_setopt(
        c, CURLOPT_USE_SSL,
        long(job.security == long(tls::Mode::Upgrade) ? CURLUSESSL_ALL : CURLUSESSL_TRY));
  curl_easy_setopt(c, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(c, CURLOPT_SSL_VERIFYHOST, 2L);
  if (!job.trustedPem.isEmpty()) {
    curl_blob trusted{const_cast<char*>(job.trustedPem.constData()), size_t(job.trustedPem.size()),
                      CURL_BLOB_COPY};
    curl_easy_setopt(c, CURLOPT_CAINFO_BLOB, &trusted);
    curl_easy_setopt(c, CURLOPT_CAPATH, nullptr);  // the pinned file alone, not the system folder
  }
  curl_easy_setopt(c, CURLOPT_MAIL_FROM, from.constData());
  curl_easy_setopt(c, CURLOPT_MAIL_RCPT, rcpts.get());
  if (!user.isEmpty()) {
    curl_easy_setopt(c, CURLOPT_USERNAME, user.constData());
    curl_easy_setopt(c, CURLOPT_PASSWORD, pass.constData());
  }
  curl_easy_setopt(c, CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(c, CURLOPT_READFUNCTION, readPayload);
  curl_easy_setopt(c, CURLOPT_READDATA, &t);
  curl_easy_setopt(c, CURLOPT_INFILESIZE_LARGE, curl_off_t(job.payload.size()));
  curl_easy_setopt(c, CURLOPT_UPLOAD_BUFFERSIZE, 256L * 1024L);
  curl_easy_setopt(c, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(c, CURLOPT_XFERINFOFUNCTION, onProgress);
  curl_easy_setopt(c, CURLOPT_XFERINFODATA, &t);
  // The debug hook sees every command and reply; it needs verbose mode but prints nothing itself.
  curl_easy_setopt(c, CURLOPT_VERBOSE, 1L);
  curl_easy_setopt(c, CURLOPT_DEBUGFUNCTION, onDebug);
  curl_easy_setopt(c, CURLOPT_DEBUGDATA, &t);
  curl_easy_setopt(c, CURLOPT_CONNECTTIMEOUT, long(std::max(1, job.connectTimeoutSeconds)));
  curl_easy_setopt(c, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(c, CURLOPT_LOW_SPEED_TIME, long(std::max(1, job.stallTimeoutSeconds)));
  // Waiting for a reply moves no bytes either: the same limit bounds every wait for the server.
  curl_easy_setopt(c, CURLOPT_SERVER_RESPONSE_TIMEOUT, long(std::max(1, job.stallTimeoutSeconds)));

  const CURLcode code = curl_easy_perform(c);
  long connects = 0;
  curl_easy_getinfo(c, CURLINFO_NUM_CONNECTS, &connects);
  // The callbacks point into this frame: none may outlive it (the connection stays).
  curl_easy_reset(c);

  if (code == CURLE_OK) {
    out.ok = true;
    out.reusedConnection = connects == 0;
    return out;
  }
  out.cancelled = code == CURLE_ABORTED_BY_CALLBACK || (code == CURLE_READ_ERROR && cancel.load());
  out.reason = failureReason(out.cancelled ? CURLE_ABORTED_BY_CALLBACK : code, job, log, d_->error);
  return out;
}

}  // namespace kvmail::smtp
