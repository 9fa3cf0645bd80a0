#pragma once
// A fresh SQLite store in a scratch folder that is also the temp folder, an account for user 7,
// program 12 "客户关怀" and a message being composed, for the template editor.
#include <QFile>

#include <memory>

#include "ScriptedPrompt.h"
#include "StoreRig.h"
#include "model/IAttachments.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/clsAccount.h"
#include "model/clsMessage.h"
#include "store/StoredFile.h"
#include "support/mime/MimeMail.h"

namespace kvtest {

struct TemplateRig : StoreRig {
  static constexpr long kProgram = 12;

  kvmail::AccountPtr account = std::make_shared<kvmail::clsAccount>();
  ScopedPrompt prompt;

  TemplateRig() {
    kvmail::host::AccountSeed seed;
    seed.userId = QStringLiteral("7");
    seed.name = QStringLiteral("公司邮箱");
    seed.fromName = QStringLiteral("销售部");
    seed.fromAddress = QStringLiteral("sales@kvmail.test");
    seedAccount(seed);
    seedProgram(kProgram, QStringLiteral("客户关怀"));
    account->lProgID = kProgram;
  }

  // The mail being composed.
  kvmail::MessagePtr message(const QString& priority = QStringLiteral("3"),
                             const QStringList& attachments = {}) const {
    auto m = std::make_shared<kvmail::clsMessage>();
    m->From()->setName(QStringLiteral("销售部"));
    m->From()->setAddress(QStringLiteral("sales@kvmail.test"));
    m->TOs()->Parser(QStringLiteral("[邮箱]"));
    m->Cc()->Parser(QStringLiteral("boss@kvmail.test"));
    m->setSubject(QStringLiteral("致[名]：新品目录"));
    m->setBodyText(QStringLiteral("<p>[名]您好！附件是本季的新品目录。</p>"));
    m->setPriority(priority);
    for (const QString& a : attachments) m->Attachments()->Add(a);
    return m;
  }

  // The program's template row, "" for a missing one; column values joined by "|".
  QString row(long progId = kProgram) const {
    const auto rs = host->openQuery(
        QStringLiteral("select [to],cc,bcc,subject,bcc is null as nobcc from MailTemplet "
                       "where progID=%1")
            .arg(progId));
    if (!rs || rs->atEnd()) return {};
    return QStringList{rs->text(0), rs->text(1), rs->text(2), rs->text(3), rs->text(4)}.join(u'|');
  }
  long rows() const { return count(QStringLiteral("MailTemplet")); }
  // The stored template file's bytes; empty when the row has none.
  QByteArray storedFile(long progId = kProgram) const {
    const QString out = path(QStringLiteral("stored-%1.eml").arg(progId));
    QFile::remove(out);
    if (!kvmail::columnToFile(progId, out, QStringLiteral("EMail"), *host,
                              QStringLiteral("MailTemplet"), QStringLiteral("progID")))
      return {};
    return readAll(out);
  }
  void seedRow(const QString& to, const QString& bcc) const {
    host->executeBound(
        QStringLiteral("insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"),
        {qlonglong(kProgram), to, QString(), bcc, QStringLiteral("旧主题")});
  }
};

}  // namespace kvtest
