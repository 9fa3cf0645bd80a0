#pragma once
// Every address met in past mail, read once from the store, with the two look-ups typing needs:
// the address book's search (first row containing a text) and the To field's completion (first
// entry beginning with the field's text). Both ignore letter case. Shared, read-only, between
// the address book and the compose window.
#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <memory>

namespace kvmail {

class MailStore;

class AddressIndex {
 public:
  AddressIndex() = default;
  // The addresses in the order the store gave them (the history order).
  explicit AddressIndex(QStringList addresses);

  // The store's known addresses; an empty index and *error when they cannot be read.
  static std::shared_ptr<const AddressIndex> load(const MailStore& store, QString* error = nullptr);

  qsizetype size() const { return addresses_.size(); }
  bool isEmpty() const { return addresses_.isEmpty(); }
  const QString& at(qsizetype row) const { return addresses_.at(row); }
  const QStringList& addresses() const { return addresses_; }

  // The first row at or after from whose address contains text, ignoring case; -1 for none.
  // An empty text finds nothing, so clearing a search box moves nothing.
  qsizetype firstContaining(QStringView text, qsizetype from = 0) const;

  // The first entry in history order whose beginning equals the whole text, ignoring case; -1
  // for none. The text is not split at ";". An empty text completes nothing.
  qsizetype firstStartingWith(QStringView text) const;
  // That entry's address, or "" when there is none.
  QString completion(QStringView text) const;

 private:
  qsizetype rowAt(qsizetype offset) const;

  QStringList addresses_;
  // Every address case-folded in UTF-8, each followed by a character 0, searched in one pass;
  // starts_ holds where each row begins, and one more entry for the end.
  QByteArray folded_;
  QList<qsizetype> starts_;
};

}  // namespace kvmail
