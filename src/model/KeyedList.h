#pragma once
// The platform's plain keyed collection: 1-based positions, optional keys compared without regard
// to case, insertion order. Errors: duplicate key 457, bad position 9, unknown key 5, a
// non-index 13.
#include <QList>
#include <QString>

#include <utility>

#include "model/IndexKey.h"
#include "model/MailError.h"

namespace kvmail {

// Where the platform's own errors say they came from.
inline const QString kPlatformErrorSource = QStringLiteral("kvMail");

template <typename T>
class KeyedList {
 public:
  // An empty key adds without a key.
  void add(T item, const QString& key = {}) {
    if (!key.isEmpty() && find(key) >= 0) throw MailError::duplicateKey(kPlatformErrorSource);
    rows_.append({std::move(item), key});
  }

  const T& item(const IndexKey& index) const { return rows_.at(resolve(index)).item; }

  void remove(const IndexKey& index) { rows_.removeAt(resolve(index)); }

  long count() const { return static_cast<long>(rows_.size()); }

  void clear() { rows_.clear(); }

  QList<T> items() const {
    QList<T> out;
    out.reserve(rows_.size());
    for (const Row& row : rows_) out.append(row.item);
    return out;
  }

 private:
  struct Row {
    T item;
    QString key;
  };

  qsizetype find(const QString& key) const {
    for (qsizetype i = 0; i < rows_.size(); ++i)
      if (!rows_[i].key.isEmpty() && rows_[i].key.compare(key, Qt::CaseInsensitive) == 0) return i;
    return -1;
  }

  // The 0-based row an index names, or the platform error for it.
  qsizetype resolve(const IndexKey& index) const {
    switch (index.kind()) {
      case IndexKey::Kind::Position:
        if (index.position() < 1 || index.position() > count())
          throw MailError::subscriptOutOfRange(kPlatformErrorSource);
        return index.position() - 1;
      case IndexKey::Kind::Key: {
        const qsizetype row = index.key().isEmpty() ? -1 : find(index.key());
        if (row < 0) throw MailError::invalidArgument(kPlatformErrorSource);
        return row;
      }
      case IndexKey::Kind::Empty:
        throw MailError::invalidArgument(kPlatformErrorSource);
      case IndexKey::Kind::Other:
        break;
    }
    throw MailError::typeMismatch(kPlatformErrorSource);
  }

  QList<Row> rows_;
};

}  // namespace kvmail
