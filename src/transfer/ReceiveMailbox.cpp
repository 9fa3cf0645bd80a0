#include "transfer/ReceiveMailbox.h"

#include <QDate>
#include <QFile>
#include <QFileInfo>

#include "store/FieldText.h"
#include "support/SpecialFolders.h"
#include "transfer/TransferView.h"

namespace kvmail {
namespace {
constexpr qsizetype kInMemoryLimit = 4 * 1024 * 1024;
}  // namespace

ReceiveMailbox::ReceiveMailbox(ITransferView& view, IHostSystem& host, const clsAccount& account,
                               QObject* parent)
    : QObject(parent), view_(view), store_(host), account_(account) {}

QString ReceiveMailbox::storedReceiveTime(const QString& uidl) {
  return store_.receivedTime(uidl);
}

bool ReceiveMailbox::isStored(const QString& receiveTime) const {
  return isValidDateText(receiveTime);
}

double ReceiveMailbox::storedSize(const QString& uidl) {
  return store_.storedSize(uidl);
}

bool ReceiveMailbox::deleteStoredNow(const QString& receiveTime) const {
  if (account_.bIsDelete || !account_.bIsAfterdayDelete) return false;
  // Days from now to the receive time: zero or negative for mail received in the past, so any
  // positive day count deletes at once. The direction is kept as the original had it.
  const long days = QDate::currentDate().daysTo(dateFromText(receiveTime).date());
  return account_.lDeleteDay > days;
}

void ReceiveMailbox::tell(const QString& error, const QString& title, PromptIcon icon) {
  ++refused_;
  view_.addErrorRow(QStringLiteral("无法保存收到的邮件：") + error.trimmed());
  // One box per session: a store that refuses every mail must not bury the user in boxes.
  if (told_) {
    view_.WriteLog(title + error, 1);
    return;
  }
  told_ = true;
  view_.ask(error, title, icon);
}

bool ReceiveMailbox::store(QByteArray text, const QString& uidl) {
  const QString path = tempFilePath(QStringLiteral("temp.eml"));
  view_.WriteLog(QStringLiteral("正在写文件:") + path, 1);
  // A usual mail is read and stored from the bytes in hand, which saves reading the file back
  // twice; a large one only from the file, so that it is never held in memory twice.
  const bool inMemory = text.size() < kInMemoryLimit;
  // The bytes as the server sent them, and the line break the file always ended with: in one
  // write for a usual mail, apart for a large one so that it is never copied to grow.
  if (inMemory) text.append("\r\n", 2);
  {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
    if (file.write(text) != text.size() || (!inMemory && file.write("\r\n", 2) != 2)) return false;
  }
  ReceivedMail mail;
  mail.uidl = uidl;
  mail.pop3Server = account_.sPop3;  // never empty, so never taken for queued mail
  mail.path = path;
  if (inMemory) {
    mail.size = text.size();
    mail.header = readMailBytes(text, QStringLiteral("gb2312"), MimeParts::StructureOnly);
    mail.bytes = std::move(text);
  } else {
    text = QByteArray();
    mail.size = QFileInfo(path).size();
    mail.header = readMailFile(path, QStringLiteral("gb2312"), MimeParts::StructureOnly);
  }

  StoreFailure failure;
  const long id = store_.storeReceived(mail, &failure);
  switch (failure.step) {
    case StoreStep::None:
      break;
    case StoreStep::File:
      ++refused_;
      view_.WriteLog(QStringLiteral("保存邮件内容失败:") + path, 1);
      view_.addErrorRow(QStringLiteral("保存邮件内容失败:") + path);
      return false;
    case StoreStep::Key:
      tell(failure.error, QStringLiteral("提示："), PromptIcon::Information);
      return false;
    default:
      tell(failure.error, QStringLiteral("错误："), PromptIcon::Critical);
      return false;
  }
  QFile::remove(path);
  Q_EMIT EvMailRead(id);
  return true;
}

}  // namespace kvmail
