#include "composer/ComposeStore.h"

#include "model/IBundle.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"

namespace kvmail::compose {
namespace {

const QString kInfoTitle = QStringLiteral("提示：");
const QString kErrorTitle = QStringLiteral("错误：");

QString mailNumber(long index) {
  return QStringLiteral("第") + QString::number(index) + QStringLiteral("封邮件,");
}

StoreOutcome failed(const QString& error, const QString& title) {
  StoreOutcome out;
  out.error = error;
  out.title = title;
  out.kind = title == kInfoTitle ? 2 : 8;
  return out;
}

// The failing step in the words users see; the host's own text where it gave one.
StoreOutcome worded(const StoreFailure& f) {
  const QString which = mailNumber(f.index);
  switch (f.step) {
    case StoreStep::Key:
      return failed(f.error.isEmpty() ? which + QStringLiteral("无法取得新的邮件编号") : f.error,
                    kInfoTitle);
    case StoreStep::Insert:
      return failed(f.error, kErrorTitle);
    case StoreStep::Write:
      return failed(which + f.error, kErrorTitle);
    case StoreStep::File:
      return failed(which + QStringLiteral("邮件文件无法存入数据库"), kErrorTitle);
    case StoreStep::Begin:
    case StoreStep::Commit:
    case StoreStep::None:
      break;
  }
  return failed(f.error, kErrorTitle);
}

}  // namespace

QString checkMail(const IMessage& message, long index) {
  const QString which = mailNumber(index);
  const MailAddressesPtr to = message.TOs();
  if (!to || to->Count() == 0 || to->ToString().isEmpty())
    return which + QStringLiteral("收件人为空");
  if (!to->IsValid()) return which + QStringLiteral("收件人地址有错误，请检查");
  const MailAddressPtr from = message.From();
  if (!from || from->Address().trimmed().isEmpty()) return which + QStringLiteral("发件人为空");
  if (!from->IsValid()) return which + QStringLiteral("发件人地址错误,请检查");
  return {};
}

QString checkMails(const IBundle& bundle) {
  for (long i = 1; i <= bundle.Count(); ++i) {
    const MessagePtr message = bundle.Item(IndexKey(i));
    if (!message) return mailNumber(i) + QStringLiteral("收件人为空");
    if (QString problem = checkMail(*message, i); !problem.isEmpty()) return problem;
  }
  return {};
}

QString storedPriority(const QString& priority) {
  const QString p = priority.trimmed();
  return p == QLatin1String("1") || p == QLatin1String("2") ? p : QStringLiteral("3");
}

int headerPriority(const QString& stored) {
  if (stored == QLatin1String("1")) return 1;
  if (stored == QLatin1String("2")) return 5;
  return 3;
}

StoreOutcome storeBundle(IHostSystem& host, IBundle& bundle, long replyKey) {
  QList<ComposedMail> mails;
  for (long i = 1; i <= bundle.Count(); ++i) {
    const MessagePtr message = bundle.Item(IndexKey(i));
    const QString priority = storedPriority(message->Priority());
    const QString path =
        tempFilePath(QStringLiteral("temp") + QString::number(i) + QStringLiteral(".eml"));
    mails << composedMail(outgoingMail(*message, headerPriority(priority)), path, priority,
                          replyKey);
  }
  StoreFailure failure;
  const QList<long> keys = MailStore(host).storeComposed(mails, &failure);
  if (failure.failed() || keys.size() != mails.size()) return worded(failure);

  StoreOutcome out;
  out.ok = true;
  QStringList texts;
  for (long i = 1; i <= bundle.Count(); ++i) {
    const long key = keys.at(i - 1);
    bundle.Item(IndexKey(i))->setID(key);
    texts << QString::number(key);
  }
  out.keys = texts.join(QLatin1Char(';'));
  return out;
}

}  // namespace kvmail::compose
