#pragma once
// The address book's grid rows: one address per row over a shared address index, so 100,000
// addresses cost no widget items. The heading is the blank fixed column (the vertical header,
// which shows no numbers) and the column 邮箱地址.
#include <QAbstractTableModel>

#include <memory>

#include "addressbook/AddressIndex.h"

namespace kvmail {

class AddressListModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  explicit AddressListModel(QObject* parent = nullptr);

  // Replaces every row at once.
  void setAddresses(std::shared_ptr<const AddressIndex> addresses);
  const AddressIndex& addresses() const { return *addresses_; }
  std::shared_ptr<const AddressIndex> sharedAddresses() const { return addresses_; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation,
                      int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  std::shared_ptr<const AddressIndex> addresses_;
};

}  // namespace kvmail
