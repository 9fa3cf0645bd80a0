#include "transfer/SendEngine.h"

#include <QCoreApplication>
#include <QDateTime>

#include "model/IAttachment.h"
#include "model/IAttachments.h"
#include "model/IBundle.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/MailError.h"
#include "store/FieldText.h"
#include "store/MailStore.h"
#include "store/QueuedBundle.h"
#include "transfer/SmtpSender.h"
#include "transfer/TransferView.h"

namespace kvmail {

namespace {
const QString kCrLf = QStringLiteral("\r\n");
QString now() {
  return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}
}  // namespace

SendEngine::SendEngine(ITransferView& view, IHostSystem& host, const clsAccount& account,
                       QObject* parent)
    : QObject(parent),
      view_(view),
      store_(std::make_unique<MailStore>(host)),
      account_(account),
      poSendMail_(std::make_unique<SmtpSender>()) {
  SmtpSender* sender = poSendMail_.get();
  connect(sender, &SmtpSender::Progress, this, [this](const QString& text, int percent) {
    if (!text.isEmpty()) view_.WriteLog(text, 1);
    view_.setProgressValue(percent);
    QCoreApplication::processEvents();
  });
  connect(sender, &SmtpSender::SendFailed, this, [this](const QString& reason) {
    view_.addErrorRow(reason);
    view_.WriteLog(QStringLiteral("发送邮件时失败，错误原因: ") + reason + kCrLf, 1);
    success_ = false;
    view_.WriteLog(QStringLiteral("邮件发送失败"), 1);
  });
  connect(sender, &SmtpSender::SendSuccesful, this, [this] {
    success_ = true;
    view_.WriteLog(QStringLiteral("邮件发送成功"), 1);
  });
  connect(sender, &SmtpSender::Status, this,
          [this](const QString& text) { view_.WriteLog(text, 1); });
}

SendEngine::~SendEngine() = default;

int SendEngine::headerPriority(long priority) {
  if (priority == 1) return 1;
  if (priority == 2) return 5;
  return 3;
}

bool SendEngine::SendQueue(const BundlePtr& bundle) {
  const int row = 1;  // the send task is always the first row
  view_.setTaskState(row, QStringLiteral("正在执行"));
  view_.startAnimation(QStringLiteral("SendMail"));
  view_.WriteLog(QStringLiteral("开始发送邮件:") + now(), 1);
  view_.setCaption(QStringLiteral("正在使用“") + account_.sName + QStringLiteral("”发送邮件...") +
                   kCrLf + kCrLf);
  // The queue's next mail is read from the store while this one is on the wire. Nothing read or
  // written ahead by an earlier run carries over.
  const auto* queue = dynamic_cast<const QueuedBundle*>(bundle.get());
  poSendMail_->setWhileSending({});
  poSendMail_->setPrepared({});
  ahead_.reset();
  try {
    const long n = bundle ? bundle->Count() : 0;
    for (long i = 1; i <= n; ++i) {
      // Sturdier than the original, which sent on regardless: stop ends the run between mails.
      if (!view_.isStopEnabled()) break;
      MessagePtr message = bundle->Item(IndexKey(i));
      // Written ahead for another message (read afresh since, or gone): nothing of it goes out.
      if (message != ahead_) poSendMail_->setPrepared({});
      ahead_.reset();
      if (!message) {  // deleted or unreadable since the queue was read: it stays where it is
        ++failed_;
        const QString reason = QStringLiteral("第%1封邮件无法从数据库读取，未发送。").arg(i);
        view_.addErrorRow(reason);
        view_.WriteLog(reason, 1);
        continue;
      }
      const QString attachments = attachmentList(*message);

      view_.WriteLog(QStringLiteral("发送邮件:") + now(), 1);
      view_.WriteLog(QStringLiteral("第") + QString::number(i) + QStringLiteral("封邮件：") +
                         message->Subject(),
                     1);
      view_.setCaption(QStringLiteral("正在发送邮件...") + kCrLf + kCrLf +
                       QStringLiteral("正在发送第") + QString::number(i) +
                       QStringLiteral("封邮件（共") + QString::number(n) +
                       QStringLiteral("封）..."));
      view_.setProgressRange(0, 100);
      view_.setProgressValue(1);

      if (queue && i < n)
        poSendMail_->setWhileSending([this, queue, i] { prepareNext(*queue, i + 1); });
      // Only the To list goes to the sender; Cc and Bcc stay behind, as they always have.
      SendOne(message->TOs()->ToString(), message->Subject(), message->BodyText(), attachments,
              vbLong(message->Priority()));
      poSendMail_->setWhileSending({});

      if (success_) {
        message->setMessageID(account_.sSmtp);  // the column records the server it went through
        const QString error = store_->markSent(account_.sSmtp, message->ID());
        if (!error.isEmpty()) {
          // The store refused the mark: no more mail goes out. The mail that went out is still
          // queued and goes again next time, so it counts as failed, like the rest not sent now.
          view_.WriteLog(error, 1);
          failed_ += int(n - i + 1);
          const QString reason = QStringLiteral(
                                     "第%1封邮件已发出，但无法标记为已发送（%2），"
                                     "下次发送时会再次发出；其余%3封邮件未发送。")
                                     .arg(i)
                                     .arg(error.trimmed())
                                     .arg(n - i);
          view_.addErrorRow(reason);
          view_.WriteLog(reason, 1);
          break;
        }
        ++sent_;
        view_.setTaskInfo(row, QStringLiteral("已发送 ") + QString::number(sent_) +
                                   QStringLiteral("/") + QString::number(n));
        Q_EMIT ReturnData(message->ID());
      } else {
        ++failed_;
      }
      message.reset();
      QCoreApplication::processEvents();
    }
  } catch (const MailError& e) {
    poSendMail_->setWhileSending({});  // it points into this run's queue
    poSendMail_->setPrepared({});      // and the next message's transaction stops unsent
    view_.ask(e.description(), QStringLiteral("错误："), PromptIcon::Critical);
    return false;
  }
  poSendMail_->closeSession();  // the session is kept only across the messages of one run
  view_.stopAnimation();
  view_.WriteLog(QStringLiteral("发送邮件结束:") + now() + kCrLf + kCrLf, 1);
  return true;
}

QString SendEngine::attachmentList(const IMessage& message) {
  QStringList files;
  for (const AttachmentPtr& a : message.Attachments()->NewEnum()) files << a->FileName();
  return files.join(QLatin1Char(';'));
}

void SendEngine::prepareNext(const QueuedBundle& queue, long index) {
  try {
    ahead_ = queue.readAhead(IndexKey(index));
    if (!ahead_) return;
    SmtpSender next;
    configure(next, ahead_->TOs()->ToString(), ahead_->Subject(), ahead_->BodyText(),
              attachmentList(*ahead_), vbLong(ahead_->Priority()));
    poSendMail_->setPrepared(next.prepare());
  } catch (...) {
    ahead_.reset();  // its turn reads and writes it the ordinary way
  }
}

void SendEngine::SendOne(const QString& to, const QString& subject, const QString& body,
                         const QString& attachments, long priority) {
  success_ = false;
  configure(*poSendMail_, to, subject, body, attachments, priority);
  poSendMail_->Send();
}

void SendEngine::configure(SmtpSender& s, const QString& to, const QString& subject,
                           const QString& body, const QString& attachments, long priority) const {
  s.setLogLevel(0);
  s.setKeepSession(1);
  s.setListDelimiter(QStringLiteral(";"));
  s.setServer(account_.sSmtp);
  s.setAuthenticate(true);
  s.setUserName(account_.sUserName);
  s.setPassword(account_.sPassword);
  s.setFromAddress(account_.sFromAddress);
  s.setFromName(account_.sFrom);
  s.setRecipients(to);
  s.setReplyTo(account_.sReplyTo);
  s.setSubject(subject.trimmed());
  s.setBody(body);
  s.setHtmlBody(true);
  s.setAttachments(attachments.trimmed());
  s.setHeaderPriority(headerPriority(priority));
  s.setAuthenticate(true);
  s.setPort(int(account_.lSmtpPort));
  s.setSecurity(account_.lSmtpSecurity);
  s.setCertificateFile(account_.sCertFile);
}

void SendEngine::Stop() {
  poSendMail_->Cancel();
}

}  // namespace kvmail
