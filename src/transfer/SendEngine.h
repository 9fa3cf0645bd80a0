#pragma once
// The sending loop of a transfer run: every message of the bundle goes to the SMTP sender in
// turn, and each one that went out is marked sent in the store.
#include <QObject>
#include <QString>

#include <memory>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"

namespace kvmail {

class IHostSystem;
class ITransferView;
class IMessage;
class MailStore;
class QueuedBundle;
class SmtpSender;

class SendEngine : public QObject {
  Q_OBJECT
 public:
  SendEngine(ITransferView& view, IHostSystem& host, const clsAccount& account,
             QObject* parent = nullptr);
  ~SendEngine() override;

  // Returns when the whole bundle has been tried (or the user stopped, or the store failed);
  // false when a failure ended the loop before its finishing steps.
  bool SendQueue(const BundlePtr& bundle);
  // Hands one message to the sender; the success flag tells how it went.
  void SendOne(const QString& to, const QString& subject, const QString& body,
               const QString& attachments, long priority);
  // Cancels the send in progress; its own failure event ends it.
  void Stop();

  int sentCount() const { return sent_; }
  int failedCount() const { return failed_; }
  SmtpSender* sender() const { return poSendMail_.get(); }

  // The header priority for the module's own scale: 1 high → 1, 2 low → 5, anything else 3.
  static int headerPriority(long priority);

 Q_SIGNALS:
  void ReturnData(long mailId);

 private:
  // The sender's settings for one message, in the order the sender has always been given them.
  void configure(SmtpSender& s, const QString& to, const QString& subject, const QString& body,
                 const QString& attachments, long priority) const;
  static QString attachmentList(const IMessage& message);
  // While a message is on the wire: reads the next one and writes its bytes ahead.
  void prepareNext(const QueuedBundle& queue, long index);

  ITransferView& view_;
  std::unique_ptr<MailStore> store_;
  const clsAccount& account_;
  std::unique_ptr<SmtpSender> poSendMail_;
  MessagePtr ahead_;  // the message whose bytes were written ahead
  bool success_ = false;
  int sent_ = 0;
  int failed_ = 0;
};

}  // namespace kvmail
