#include "addressbook/AddressListModel.h"

namespace kvmail {

AddressListModel::AddressListModel(QObject* parent)
    : QAbstractTableModel(parent), addresses_(std::make_shared<const AddressIndex>()) {}

void AddressListModel::setAddresses(std::shared_ptr<const AddressIndex> addresses) {
  beginResetModel();
  addresses_ = addresses ? std::move(addresses) : std::make_shared<const AddressIndex>();
  endResetModel();
}

int AddressListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : int(addresses_->size());
}

int AddressListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : 1;
}

QVariant AddressListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= addresses_->size()) return {};
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return addresses_->at(index.row());
  return {};
}

QVariant AddressListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (role != Qt::DisplayRole) return {};
  if (orientation == Qt::Horizontal) return section == 0 ? QStringLiteral("邮箱地址") : QVariant();
  return QString();  // the fixed column stays blank
}

Qt::ItemFlags AddressListModel::flags(const QModelIndex& index) const {
  return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

}  // namespace kvmail
