#pragma once
// A fresh store (StoreRig) with mail rows reduced to what the address book
// reads: the key, the direction, the sender and the recipients.
#include "StoreRig.h"

namespace kvtest {

enum class Direction { Received = 1, Composed = 2 };

struct AddressStore : StoreRig {
  long nextId = 1;

  void mail(Direction direction, const QString& from, const QString& to) {
    host->executeBound(
        u"insert into msgmail(邮件ID,CshgnsID,发件人邮箱,收件人邮箱) values(?,?,?,?)"_s,
        {qlonglong(nextId++), int(direction), from, to});
  }
  void received(const QString& from) { mail(Direction::Received, from, u"me@kvmail.test"_s); }
  void composed(const QString& to) { mail(Direction::Composed, u"me@kvmail.test"_s, to); }
};

}  // namespace kvtest
