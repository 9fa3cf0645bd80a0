#pragma once
// The local side of a receive session: the account's deletion policy and storing each retrieved
// message (a temporary file, its headers parsed, then its row and file in the store).
#include <QObject>

#include "model/clsAccount.h"
#include "store/MailStore.h"
#include "support/Prompt.h"
#include "transfer/MailboxPolicy.h"

namespace kvmail {

class IHostSystem;
class ITransferView;

class ReceiveMailbox : public QObject, public IMailboxPolicy {
  Q_OBJECT
 public:
  ReceiveMailbox(ITransferView& view, IHostSystem& host, const clsAccount& account,
                 QObject* parent = nullptr);

  QString storedReceiveTime(const QString& uidl) override;
  bool isStored(const QString& receiveTime) const override;
  double storedSize(const QString& uidl) override;
  bool deleteStoredNow(const QString& receiveTime) const override;
  bool deleteAfterStore() const override { return account_.bIsDelete; }
  bool store(QByteArray text, const QString& uidl) override;

  // The storing step under its own name: true only when the row and its file were both stored.
  bool SaveReceivedMail(QByteArray text, const QString& uidl) {
    return store(std::move(text), uidl);
  }
  // How many retrieved mails the store could not take this session.
  int refusedCount() const { return refused_; }

 Q_SIGNALS:
  void EvMailRead(long mailId);

 private:
  void tell(const QString& error, const QString& title, PromptIcon icon);

  ITransferView& view_;
  MailStore store_;
  const clsAccount& account_;
  bool told_ = false;
  int refused_ = 0;
};

}  // namespace kvmail
