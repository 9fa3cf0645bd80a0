#include "MailListModel.h"

#include <QFont>

#include <algorithm>

namespace kvmail::demo {
namespace {

// Enough rows to fill a tall window several times; the view asks for more as it scrolls.
constexpr int kPage = 200;

}  // namespace

MailListModel::MailListModel(IHostSystem& host, QObject* parent)
    : QAbstractTableModel(parent), host_(host) {}

void MailListModel::reload() {
  beginResetModel();
  error_.clear();
  rows_ = readMailRows(host_, {}, kPage, &error_);
  complete_ = rows_.size() < kPage || !error_.isEmpty();
  recount();
  endResetModel();
  Q_EMIT totalsChanged();
}

void MailListModel::count(const MailRow& row, int sign) {
  total_ += sign;
  if (row.queued) queued_ += sign;
}

void MailListModel::addNewer() {
  if (rows_.isEmpty()) return reload();  // also when the first page had not come yet
  QString error;
  const QList<MailRow> newer =
      readMailRows(host_, QStringLiteral("邮件ID>%1").arg(rows_.first().id), 0, &error);
  if (!error.isEmpty() || newer.isEmpty()) return;
  beginInsertRows({}, 0, int(newer.size()) - 1);
  // Prepended in place, so a refresh costs the new rows, not a copy of every row already shown.
  for (auto it = newer.crbegin(); it != newer.crend(); ++it) rows_.prepend(*it);
  endInsertRows();
  for (const MailRow& row : newer) count(row, 1);
  Q_EMIT totalsChanged();
}

void MailListModel::refreshMails(const QList<long>& mailIds) {
  bool recountNeeded = false;
  for (long id : mailIds) {
    if (!rows_.isEmpty() && id > rows_.first().id)
      addNewer();
    else if (!refreshLoaded(id))
      recountNeeded = true;
  }
  if (recountNeeded) recount();  // once, however many rows outside the read pages changed
  Q_EMIT totalsChanged();
}

bool MailListModel::refreshLoaded(long mailId) {
  const int row = loadedRow(mailId);
  if (row < 0) return false;
  QString error;
  const QList<MailRow> now =
      readMailRows(host_, QStringLiteral("邮件ID=%1").arg(mailId), 1, &error);
  if (!error.isEmpty()) return true;
  count(rows_[row], -1);
  if (now.isEmpty()) {  // deleted
    beginRemoveRows({}, row, row);
    rows_.removeAt(row);
    endRemoveRows();
  } else {
    rows_[row] = now.first();
    count(now.first(), 1);
    Q_EMIT dataChanged(index(row, 0), index(row, columnCount() - 1));
  }
  return true;
}

void MailListModel::recount() {
  const MailTotals totals = readMailTotals(host_, nullptr);
  total_ = totals.mails;
  queued_ = totals.queued;
}

long MailListModel::mailId(int row) const {
  return row >= 0 && row < rows_.size() ? rows_[row].id : 0;
}

int MailListModel::loadedRow(long mailId) const {
  const auto it = std::lower_bound(rows_.begin(), rows_.end(), mailId,
                                   [](const MailRow& row, long id) { return row.id > id; });
  return it != rows_.end() && it->id == mailId ? int(it - rows_.begin()) : -1;
}

int MailListModel::rowOf(long mailId) {
  if (mailId <= 0) return -1;
  int row = loadedRow(mailId);
  while (row < 0 && !complete_ && !rows_.isEmpty() && mailId < rows_.last().id) {
    fetchMore({});
    row = loadedRow(mailId);
  }
  return row;
}

int MailListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : int(rows_.size());
}

int MailListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kMailListColumns;
}

QVariant MailListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= rows_.size()) return {};
  const MailRow& row = rows_[index.row()];
  if (role == Qt::DisplayRole) return mailListText(row, index.column());
  if (role == Qt::UserRole) return qlonglong(row.id);
  if (role == Qt::FontRole && !row.read && row.direction == 1) {
    QFont bold;
    bold.setBold(true);
    return bold;
  }
  return {};
}

QVariant MailListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return mailListHeaders().value(section);
}

bool MailListModel::canFetchMore(const QModelIndex& parent) const {
  return !parent.isValid() && !complete_;
}

void MailListModel::fetchMore(const QModelIndex& parent) {
  if (parent.isValid() || complete_) return;
  QString error;
  const QString condition =
      rows_.isEmpty() ? QString() : QStringLiteral("邮件ID<%1").arg(rows_.last().id);
  const QList<MailRow> more = readMailRows(host_, condition, kPage, &error);
  complete_ = more.size() < kPage || !error.isEmpty();
  if (more.isEmpty()) return;
  beginInsertRows({}, int(rows_.size()), int(rows_.size() + more.size()) - 1);
  rows_ += more;
  endInsertRows();
}

}  // namespace kvmail::demo
