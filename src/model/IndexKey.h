#pragma once
// A collection index as callers pass it: a 1-based position, a string key, or nothing.
#include <QString>

namespace kvmail {

class IndexKey {
 public:
  enum class Kind { Empty, Position, Key, Other };

  IndexKey() = default;
  IndexKey(int position) : kind_(Kind::Position), position_(position) {}
  IndexKey(long position) : kind_(Kind::Position), position_(position) {}
  IndexKey(long long position) : kind_(Kind::Position), position_(static_cast<long>(position)) {}
  IndexKey(const QString& key) : kind_(Kind::Key), key_(key) {}
  IndexKey(const char* key) : kind_(Kind::Key), key_(QString::fromUtf8(key)) {}
  // A value that is neither a number nor a text (a date, an object): every lookup rejects it.
  static IndexKey other() {
    IndexKey k;
    k.kind_ = Kind::Other;
    return k;
  }

  Kind kind() const { return kind_; }
  bool isEmpty() const { return kind_ == Kind::Empty; }
  bool isPosition() const { return kind_ == Kind::Position; }
  bool isKey() const { return kind_ == Kind::Key; }
  long position() const { return position_; }
  const QString& key() const { return key_; }

 private:
  Kind kind_ = Kind::Empty;
  long position_ = 0;
  QString key_;
};

}  // namespace kvmail
