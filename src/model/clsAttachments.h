#pragma once
// The attachments of a message on the plain keyed collection.
#include "model/IAttachments.h"
#include "model/KeyedList.h"

namespace kvmail {

class clsAttachments : public IAttachments {
 public:
  AttachmentPtr Add(const QString& psFileName, const QString& psDescription = {}) override;
  AttachmentPtr Item(const IndexKey& vntIndexKey) const override {
    return items_.item(vntIndexKey);
  }
  long Count() const override { return items_.count(); }
  void Remove(const IndexKey& vntIndexKey) override { items_.remove(vntIndexKey); }
  QList<AttachmentPtr> NewEnum() const override { return items_.items(); }
  void Clear() override { items_ = KeyedList<AttachmentPtr>(); }

 private:
  KeyedList<AttachmentPtr> items_;
};

}  // namespace kvmail
