#pragma once
// The send queue as a bundle that holds the keys of the queued mail and reads each message from
// the store only when it is asked for, so a queue of 10,000 mails never sits in memory at once.
// Messages added to it later (a request joined during a run) are held as given.
#include <QList>

#include "model/IBundle.h"
#include "store/MailStore.h"

namespace kvmail {

class QueuedBundle : public IBundle {
 public:
  // The store's host system must outlive the bundle, as it outlives the transfer run.
  QueuedBundle(const MailStore& store, const QList<long>& mailIds);

  MessagePtr AddMessage(const MessagePtr& pcMessage) override;
  void Remove(const IndexKey& vntIndexKey) override;
  // A queued mail read afresh from its stored file; nothing when the store cannot give it.
  // A mail read ahead is handed out instead while its stored file is still the one read.
  MessagePtr Item(const IndexKey& vntIndexKey) const override;
  // Reads the mail at the key now (while another is on the wire), so that its turn need not wait
  // for the store. The message read, or nothing for a key out of range, an added message or a
  // mail the store cannot give; never throws.
  MessagePtr readAhead(const IndexKey& key) const;
  void setItem(const IndexKey& vntIndexKey, const MessagePtr& pcMessage) override;
  long Count() const override { return long(slots_.size()); }
  // Like every bundle: raises the type mismatch and keeps its messages.
  void Clear() override;

 private:
  struct Slot {
    long mailId = 0;
    MessagePtr message;  // set for added messages only
  };
  qsizetype position(const IndexKey& key) const;

  struct Ahead {
    long mailId = 0;
    qint64 length = -1;
    MessagePtr message;
  };

  MailStore store_;
  QList<Slot> slots_;
  mutable Ahead ahead_;
};

}  // namespace kvmail
