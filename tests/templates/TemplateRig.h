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
    seed.userId = u"7"_s;
    seed.name = u"公司邮箱"_s;
    seed.fromName = u"销售部"_s;
    seed.fromAddress = u"sales@kvmail.test"_s;
    seedAccount(seed);
    seedProgram(kProgram, u"客户关怀"_s);
    account->lProgID = kProgram;
  }

  // The mail being composed.
  kvmail::MessagePtr message(const QString& priority = u"3"_s,
                             const QStringList& attachments = {}) const {
    auto m = std::make_shared<kvmail::clsMessage>();
    m->From()->setName(u"销售部"_s);
    m->From()->setAddress(u"sales@kvmail.test"_s);
    m->TOs()->Parser(u"[邮箱]"_s);
    m->Cc()->Parser(u"boss@kvmail.test"_s);
    m->setSubject(u"致[名]：新品目录"_s);
    m->setBodyText(u"<p>[名]您好！附件是本季的新品目录。</p>"_s);
    m->setPriority(priority);
    for (const QString& a : attachments) m->Attachments()->Add(a);
    return m;
  }

  // The program's template row, its column values joined by "|".
  QString row(long progId = kProgram) const {
    return StoreRig::row(
               u"select [to],cc,bcc,subject,bcc is null as nobcc from MailTemplet "
               "where progID=%1"_s.arg(progId))
        .join(u'|');
  }
  long rows() const { return count(u"MailTemplet"_s); }
  // The stored template file's bytes; empty when the row has none.
  QByteArray storedFile(long progId = kProgram) const {
    const QString out = path(u"stored-%1.eml"_s.arg(progId));
    QFile::remove(out);
    if (!kvmail::columnToFile(progId, out, u"EMail"_s, *host, u"MailTemplet"_s, u"progID"_s))
      return {};
    return readAll(out);
  }
  void seedRow(const QString& to, const QString& bcc) const {
    host->executeBound(u"insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"_s,
                       {qlonglong(kProgram), to, QString(), bcc, u"旧主题"_s});
  }
};

}  // namespace kvtest
