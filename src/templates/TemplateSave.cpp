#include "templates/TemplateSave.h"

#include <QFile>

#include "model/IMessage.h"
#include "store/MailStore.h"
#include "support/SpecialFolders.h"
#include "support/mime/MimeMail.h"

namespace kvmail {

int templateHeaderPriority(const QString& priority) {
  if (priority == QLatin1String("1")) return 1;
  if (priority == QLatin1String("2")) return 5;
  return 3;
}

TemplateStatus templateStatus(const MailStore& store, long progId) {
  return {store.programName(progId), store.templateExists(progId)};
}

QString templateStatusText(long progId, const TemplateStatus& status) {
  const QString program = status.programName.trimmed().isEmpty()
                              ? QStringLiteral("程序 %1").arg(progId)
                              : QStringLiteral("“%1”").arg(status.programName.trimmed());
  if (status.exists)
    return program + QStringLiteral("已有邮件模板，保存将替换它；按 Ctrl+Delete 删除该模板。");
  return program + QStringLiteral("还没有邮件模板，保存后批量新建的邮件将以它为准。");
}

QString saveTemplate(const MailStore& store, long progId, const QString& to, const QString& cc,
                     const QString& subject, const IMessage& message) {
  QString error = store.deleteTemplate(progId);
  if (!error.isEmpty()) return error;
  error = store.insertTemplate(progId, to, cc, subject);
  if (!error.isEmpty()) return error;

  const QString path =
      tempFilePath(QStringLiteral("temp") + QString::number(progId) + QStringLiteral(".eml"));
  OutgoingMail file = outgoingMail(message, templateHeaderPriority(message.Priority()));
  QFile::remove(path);  // an older, longer file must not leave its tail behind
  if (!writeMailFile(file, path, &error)) {
    QFile::remove(path);
    return QStringLiteral("写模板文件时出错：") + error;
  }
  const bool stored = store.templateFileToColumn(progId, path);
  QFile::remove(path);
  if (!stored) return QStringLiteral("模板文件没有存入数据库。");
  return {};
}

}  // namespace kvmail
