#pragma once
// The module's ordered keyed collection: items in insertion order by 1-based position, optional
// keys kept in ascending character-code order and found by binary search, a cursor over each order,
// and an error regime that either raises or only records. Objects (T = shared_ptr) are kept as
// counted references; other values are copied.
#include <QList>
#include <QString>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "model/IndexKey.h"
#include "model/MailError.h"

namespace kvmail {

// Every collection failure carries this number: the object-error base plus 513 (0x80040201).
inline constexpr long kCollectionErrorNumber = -2147220991L;

// AddAt places: each is Add with a fixed neighbour and side. Any other value appends.
enum class AddAtPosition : int {
  First = 1,       // before position 1
  AfterFirst = 2,  // after position 1
  BeforeLast = 3,  // before the last item
  Last = 4,        // plain append
};

template <typename T>
class CollectionX {
 public:
  CollectionX() = default;
  CollectionX(const CollectionX&) = delete;
  CollectionX& operator=(const CollectionX&) = delete;
  ~CollectionX() { destroyNodes(); }

  // --- settings and error record (reading them never clears the record) ---
  bool ErrorsAllowed() const { return errorsAllowed_; }
  void setErrorsAllowed(bool blnErrors) { errorsAllowed_ = blnErrors; }
  bool ErrorAutoClear() const { return errorAutoClear_; }
  void setErrorAutoClear(bool blnErrAutoClear) { errorAutoClear_ = blnErrAutoClear; }
  long ErrorNumber() const { return errorNumber_; }
  QString ErrorSource() const { return errorSource_; }
  QString ErrorDescription() const { return errorDescription_; }
  void ErrorClear() const {
    errorNumber_ = 0;
    errorSource_.clear();
    errorDescription_.clear();
  }

  // --- counters and cursor flags ---
  long Count() const { return static_cast<long>(rows_.size()); }
  long CountKey() const { return static_cast<long>(keys_.size()); }
  // Cursor before the first item (or no items).
  bool BOC() const { return rows_.empty() || cur_ < 1; }
  // Cursor past the last item (or no items).
  bool EOC() const { return rows_.empty() || cur_ > Count(); }
  bool BOCKey() const { return keys_.empty() || keyCur_ < 1; }
  bool EOCKey() const { return keys_.empty() || keyCur_ > CountKey(); }

  // --- adding ---
  // Inserts item beside the neighbour vntIndex names (position or key; absent or 0, or an empty
  // collection: at the end). Returns the item stored, or T{} after a recorded failure.
  T Add(const T& item, const QString& strKeyToAdd = {}, const IndexKey& vntIndex = {},
        bool blnBefore = false, bool blnMoveCurrent = false) {
    begin();
    static const QString src = QStringLiteral("Collectn.Add");
    size_t keyAt = 0;
    if (!strKeyToAdd.isEmpty()) {
      keyAt = lowerBound(strKeyToAdd);
      if (keyAt < keys_.size() && keys_[keyAt]->key == strKeyToAdd)
        return fail(src, QStringLiteral("Invalid key, key already in use"));
    }
    size_t at = rows_.size();
    const bool toEnd =
        rows_.empty() || vntIndex.isEmpty() || (vntIndex.isPosition() && vntIndex.position() == 0);
    if (!toEnd) {
      long neighbour = 0;  // 1-based
      if (vntIndex.isPosition()) {
        neighbour = vntIndex.position();
        if (neighbour < 1 || neighbour > Count())
          return fail(src, QStringLiteral("Index position out of range"));
      } else if (vntIndex.isKey()) {
        neighbour = positionOfKey(vntIndex.key());
        if (neighbour == 0) return fail(src, kInvalidIndex());
      } else {
        return fail(src, kInvalidIndex());
      }
      at = static_cast<size_t>(blnBefore ? neighbour - 1 : neighbour);
    }
    insertRow(at, item, strKeyToAdd, keyAt);
    if (blnMoveCurrent) {
      cur_ = static_cast<long>(at) + 1;
      if (!strKeyToAdd.isEmpty()) keyCur_ = static_cast<long>(keyAt) + 1;
    }
    return item;
  }

  T AddAt(const T& item, const QString& strKey, AddAtPosition enmPos, bool blnMoveCurrent = false) {
    switch (enmPos) {
      case AddAtPosition::First:
        return Add(item, strKey, IndexKey(1), true, blnMoveCurrent);
      case AddAtPosition::AfterFirst:
        return Add(item, strKey, IndexKey(1), false, blnMoveCurrent);
      case AddAtPosition::BeforeLast:
        return Add(item, strKey, IndexKey(Count()), true, blnMoveCurrent);
      default:
        return Add(item, strKey, IndexKey(), false, blnMoveCurrent);
    }
  }

  // --- direct access ---
  T Item(const IndexKey& vntIndexKey) const {
    begin();
    const Node* node = nodeAt(vntIndexKey);
    if (!node) return fail(QStringLiteral("Collectn.Item"), kInvalidIndex());
    return node->item;
  }
  // Replaces the item in place (the platform's let and set alike); its key stays.
  void setItem(const IndexKey& vntIndexKey, const T& item) {
    begin();
    Node* node = nodeAt(vntIndexKey);
    if (!node) {
      fail(QStringLiteral("Collectn.Item"), kInvalidIndex());
      return;
    }
    node->item = item;
  }

  // --- walking in position order: move, then hand back the item under the cursor ---
  T ItemFirst() {
    begin();
    if (rows_.empty()) return fail(QStringLiteral("Collectn.ItemFirst"), kNoItems());
    cur_ = 1;
    return current();
  }
  T ItemLast() {
    begin();
    if (rows_.empty()) return fail(QStringLiteral("Collectn.ItemLast"), kNoItems());
    cur_ = Count();
    return current();
  }
  T ItemNext() {
    begin();
    static const QString src = QStringLiteral("Collectn.ItemNext");
    if (rows_.empty()) return fail(src, kNoItems());
    if (cur_ >= Count()) {
      cur_ = Count() + 1;
      return fail(src, QStringLiteral("End of collection has been reached"));
    }
    ++cur_;
    return current();
  }
  T ItemPrevious() {
    begin();
    static const QString src = QStringLiteral("Collectn.ItemPrevious");
    if (rows_.empty()) return fail(src, kNoItems());
    if (cur_ <= 1) {
      cur_ = 0;
      return fail(src, QStringLiteral("Start of collection has been reached"));
    }
    --cur_;
    return current();
  }

  // --- walking in key order ---
  T ItemFirstKey() {
    begin();
    if (keys_.empty()) return fail(QStringLiteral("Collectn.ItemFirstKey"), kNoKeys());
    keyCur_ = 1;
    return currentByKey();
  }
  T ItemLastKey() {
    begin();
    if (keys_.empty()) return fail(QStringLiteral("Collectn.ItemLastKey"), kNoKeys());
    keyCur_ = CountKey();
    return currentByKey();
  }
  T ItemNextKey() {
    begin();
    static const QString src = QStringLiteral("Collectn.ItemNextKey");
    if (keys_.empty()) return fail(src, kNoKeys());
    if (keyCur_ >= CountKey()) {
      keyCur_ = CountKey() + 1;
      return fail(src, QStringLiteral("End of ASCII ordered keys has been reached"));
    }
    ++keyCur_;
    return currentByKey();
  }
  T ItemPreviousKey() {
    begin();
    static const QString src = QStringLiteral("Collectn.ItemPreviousKey");
    if (keys_.empty()) return fail(src, kNoKeys());
    if (keyCur_ <= 1) {
      keyCur_ = 0;
      return fail(src, QStringLiteral("Start of ASCII ordered keys has been reached"));
    }
    --keyCur_;
    return currentByKey();
  }

  // --- moving without reading: never fails, stops just outside either end ---
  void MoveFirst() {
    begin();
    cur_ = rows_.empty() ? 0 : 1;
  }
  void MoveLast() {
    begin();
    cur_ = Count();
  }
  void MoveNext() {
    begin();
    cur_ = rows_.empty() ? 0 : std::min(cur_ + 1, Count() + 1);
  }
  void MovePrevious() {
    begin();
    cur_ = std::max(cur_ - 1, 0L);
  }
  void MoveFirstKey() {
    begin();
    keyCur_ = keys_.empty() ? 0 : 1;
  }
  void MoveLastKey() {
    begin();
    keyCur_ = CountKey();
  }
  void MoveNextKey() {
    begin();
    keyCur_ = keys_.empty() ? 0 : std::min(keyCur_ + 1, CountKey() + 1);
  }
  void MovePreviousKey() {
    begin();
    keyCur_ = std::max(keyCur_ - 1, 0L);
  }
  // Puts the position cursor on the item at a position or under a key.
  void Move(const IndexKey& vntIndexKey) {
    begin();
    const long pos = resolve(vntIndexKey);
    if (pos == 0) {
      fail(QStringLiteral("Collectn.Move"), kInvalidIndex());
      return;
    }
    cur_ = pos;
  }

  // --- positions and keys ---
  // Position of the item under the cursor; 0 when the cursor is outside the items.
  long ItemPosition() const {
    begin();
    return BOC() || EOC() ? 0 : cur_;
  }
  // Position of the item registered under strKey; 0 when no such key.
  long KeyPosition(const QString& strKey) const {
    begin();
    return positionOfKey(strKey);
  }
  // Key of the item at a position; empty when it has none or the position is out of range.
  QString Key(long vntIndex) const {
    begin();
    return vntIndex >= 1 && vntIndex <= Count() ? rows_[vntIndex - 1]->key : QString();
  }
  // How many registered keys sort before strKey: the key-order place it is (or would be) put after.
  long KeyInsertAfterPos(const QString& strKey) const {
    begin();
    return static_cast<long>(lowerBound(strKey));
  }
  // 1-based place of strKey in key order; 0 when not registered.
  long ItemIndex(const QString& strKey) const {
    begin();
    const size_t at = lowerBound(strKey);
    return at < keys_.size() && keys_[at]->key == strKey ? static_cast<long>(at) + 1 : 0;
  }

  // --- removing ---
  // Removes the item and its key. A cursor on it then stands just before the item that followed.
  void Remove(const IndexKey& vntIndexKey) {
    begin();
    const long pos = resolve(vntIndexKey);
    if (pos == 0) {
      fail(QStringLiteral("Collectn.Remove"), kInvalidIndex());
      return;
    }
    Node* node = rows_[static_cast<size_t>(pos - 1)];
    if (!node->key.isEmpty()) {
      const size_t keyAt = lowerBound(node->key);
      keys_.erase(keys_.begin() + static_cast<std::ptrdiff_t>(keyAt));
      if (keyCur_ > static_cast<long>(keyAt)) --keyCur_;
    }
    rows_.erase(rows_.begin() + (pos - 1));
    delete node;
    if (cur_ >= pos) --cur_;
    if (rows_.empty()) cur_ = 0;
    if (keys_.empty()) keyCur_ = 0;
  }

  // Back to the initial empty state; the two settings keep their values.
  void Clear() {
    begin();
    destroyNodes();
    cur_ = keyCur_ = 0;
  }

  // A snapshot of the items in position order, for range-for.
  QList<T> Items() const {
    QList<T> out;
    out.reserve(static_cast<qsizetype>(rows_.size()));
    for (const Node* node : rows_) out.append(node->item);
    return out;
  }

 private:
  // Rows live on the heap so both tables hold plain pointers and move by memmove.
  struct Node {
    T item;
    QString key;
  };

  static QString kInvalidIndex() { return QStringLiteral("Invalid index reference"); }
  static QString kNoItems() { return QStringLiteral("There are no items in the collection"); }
  static QString kNoKeys() {
    return QStringLiteral("There are no keys registered in the collection");
  }

  void begin() const {
    if (errorAutoClear_) ErrorClear();
  }

  // The one failure path: record, then raise when allowed; otherwise hand back an empty result.
  T fail(const QString& source, const QString& description) const {
    errorNumber_ = kCollectionErrorNumber;
    errorSource_ = source;
    errorDescription_ = description;
    if (errorsAllowed_) throw MailError(kCollectionErrorNumber, source, description);
    return T{};
  }

  // Binary search: the first key not below strKey (exact, case-sensitive code order).
  size_t lowerBound(const QString& key) const {
    size_t low = 0;
    size_t high = keys_.size();
    while (low < high) {
      const size_t mid = low + (high - low) / 2;
      if (keys_[mid]->key < key)
        low = mid + 1;
      else
        high = mid;
    }
    return low;
  }

  Node* keyed(const QString& key) const {
    if (key.isEmpty()) return nullptr;
    const size_t at = lowerBound(key);
    return at < keys_.size() && keys_[at]->key == key ? keys_[at] : nullptr;
  }

  // Nodes do not know their place: a keyed node's position is found by a scan of the pointers.
  long positionOfKey(const QString& key) const {
    const Node* node = keyed(key);
    if (!node) return 0;
    return static_cast<long>(std::find(rows_.begin(), rows_.end(), node) - rows_.begin()) + 1;
  }

  Node* nodeAt(const IndexKey& index) const {
    if (index.isPosition())
      return index.position() >= 1 && index.position() <= Count() ? rows_[index.position() - 1]
                                                                  : nullptr;
    return index.isKey() ? keyed(index.key()) : nullptr;
  }

  // The 1-based position an index names; 0 when it names nothing.
  long resolve(const IndexKey& index) const {
    if (index.isPosition())
      return index.position() >= 1 && index.position() <= Count() ? index.position() : 0;
    if (index.isKey()) return positionOfKey(index.key());
    return 0;
  }

  void insertRow(size_t at, const T& item, const QString& key, size_t keyAt) {
    auto node = std::make_unique<Node>(Node{item, key});
    const auto row = rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(at), node.get());
    if (!key.isEmpty()) {
      try {
        keys_.insert(keys_.begin() + static_cast<std::ptrdiff_t>(keyAt), node.get());
      } catch (...) {
        rows_.erase(row);
        throw;
      }
      if (keyCur_ > static_cast<long>(keyAt)) ++keyCur_;
    }
    node.release();
    if (cur_ > static_cast<long>(at)) ++cur_;
  }

  T current() const { return rows_[static_cast<size_t>(cur_ - 1)]->item; }
  T currentByKey() const { return keys_[static_cast<size_t>(keyCur_ - 1)]->item; }

  void destroyNodes() {
    for (Node* node : rows_) delete node;
    rows_.clear();
    keys_.clear();
  }

  std::vector<Node*> rows_;  // position order; owns the nodes
  std::vector<Node*> keys_;  // the keyed nodes, sorted by key
  long cur_ = 0;             // 0 before the first item, Count()+1 past the last
  long keyCur_ = 0;          // the same over the sorted keys
  bool errorsAllowed_ = true;
  bool errorAutoClear_ = true;
  mutable long errorNumber_ = 0;
  mutable QString errorSource_;
  mutable QString errorDescription_;
};

}  // namespace kvmail
