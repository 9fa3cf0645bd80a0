#pragma once
// Stores one message fetched by POP3 as a new msgmail row with its message file.
#include <QByteArray>
#include <QObject>
#include <QString>

#include "service/clsAccount.h"

namespace kvmail {

class IHostSystem;
class ITransferView;

class ReceivedMailStore : public QObject {
  Q_OBJECT
 public:
  ReceivedMailStore(ITransferView& view, IHostSystem& host, const clsAccount& account,
                    QObject* parent = nullptr);

  // True only when the row and its file were both stored; the server copy may then go.
  // The text is taken over (moved in) so that a large mail is not held twice.
  bool SaveReceivedMail(QByteArray text, const QString& uidl);

 Q_SIGNALS:
  void EvMailRead(long mailId);

 private:
  ITransferView& view_;
  IHostSystem& host_;
  const clsAccount& account_;
};

}  // namespace kvmail
