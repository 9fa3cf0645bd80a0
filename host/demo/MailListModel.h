#pragma once
// The host's mail list as a model that reads msgmail a page at a time, newest first: a store of
// 100,000 mails opens with one page, and the module's events add or change single rows instead
// of reloading the table.
#include <QAbstractTableModel>
#include <QList>

#include "MailList.h"

namespace kvmail::demo {

class MailListModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  explicit MailListModel(IHostSystem& host, QObject* parent = nullptr);

  // Drops what was read and reads the first page and the totals again.
  void reload();
  // Reads the mails stored since the newest row shown (received or composed) and puts them on top.
  void addNewer();
  // Reads mails again (sent, read, deleted) and changes, inserts or removes their rows.
  void refreshMails(const QList<long>& mailIds);
  void refreshMail(long mailId) { refreshMails({mailId}); }

  long mailId(int row) const;
  // The row of a mail, reading further pages when it is older than what was read; -1 if absent.
  int rowOf(long mailId);
  // Mails in the list (all of them, not only the rows read so far) and those still queued.
  int total() const { return total_; }
  int queued() const { return queued_; }
  const QString& error() const { return error_; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;

 Q_SIGNALS:
  void totalsChanged();

 private:
  // Position of a mail among the rows read (they are sorted by descending identifier).
  int loadedRow(long mailId) const;
  void count(const MailRow& row, int sign);
  // False when the mail's row is not read yet, so the totals must be counted again.
  bool refreshLoaded(long mailId);
  void recount();

  IHostSystem& host_;
  QList<MailRow> rows_;
  bool complete_ = false;
  int total_ = 0;
  int queued_ = 0;
  QString error_;
};

}  // namespace kvmail::demo
