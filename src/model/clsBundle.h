#pragma once
// Messages travelling together, kept without keys in the ordered keyed collection.
#include "model/CollectionX.h"
#include "model/IBundle.h"

namespace kvmail {

class clsBundle : public IBundle {
 public:
  MessagePtr AddMessage(const MessagePtr& pcMessage) override;
  void Remove(const IndexKey& vntIndexKey) override { messages_.Remove(vntIndexKey); }
  MessagePtr Item(const IndexKey& vntIndexKey) const override {
    return messages_.Item(vntIndexKey);
  }
  void setItem(const IndexKey& vntIndexKey, const MessagePtr& pcMessage) override {
    messages_.setItem(vntIndexKey, pcMessage);
  }
  long Count() const override { return messages_.Count(); }
  void Clear() override;

 private:
  CollectionX<MessagePtr> messages_;
};

}  // namespace kvmail
