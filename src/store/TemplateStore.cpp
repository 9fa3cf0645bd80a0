// Templates of the host programs, the account in use and the program names.
#include "model/MailError.h"
#include "model/clsAccount.h"
#include "store/FieldText.h"
#include "store/HostSystem.h"
#include "store/MailStore.h"
#include "store/Statements.h"
#include "store/StoredFile.h"
#include "support/SpecialFolders.h"

namespace kvmail {

bool MailStore::loadAccount(clsAccount& account) const {
  const QString user = host_.currentUserId();
  bool own = true;
  auto rs = host_.openQuery(sql::accountForUser(user));
  if (!rs || rs->isEmpty()) {
    own = false;
    rs = host_.openQuery(sql::defaultAccount());
  }
  if (!rs || rs->isEmpty()) return false;

  const auto field = [&rs](const char* column) { return rs->text(QString::fromLatin1(column)); };
  account.sName = field("maname");
  account.sSmtp = field("masmtpservername");
  account.sUserName = field("mausername");
  account.sPassword = field("mapassword");
  account.sReplyTo = field("mareplyemailaddress");
  account.lSmtpPort = vbLong(field("masmtpport"));
  account.sFrom = field("mafromname");
  account.sFromAddress = field("mafromemailaddress");
  account.sPop3 = field("mapop3servername");
  // Kept asymmetric on purpose: only an exact 1 keeps mail on the server; null means delete.
  account.bIsDelete = vbVal(field("maisnotdelete")) != 1;
  account.bIsAfterdayDelete = vbVal(field("maisafterdaydelete")) != 0;
  account.lDeleteDay = vbLong(field("madeleteday"));
  account.bIsOut = vbVal(field("maisout")) != 0;
  readOptionalSettings(own ? sql::accountSettingsForUser(user) : sql::defaultAccountSettings(),
                       account);
  return true;
}

void MailStore::readOptionalSettings(const QString& query, clsAccount& account) const {
  account.lPop3Port = 0;
  account.lPop3Security = 0;
  account.lSmtpSecurity = 0;
  account.sCertFile.clear();
  const auto rs = host_.openQuery(query);
  if (!rs || rs->isEmpty()) return;
  const auto text = [&rs](const char* column) {
    const QString name = QString::fromLatin1(column);
    return rs->hasField(name) ? rs->text(name) : QString();
  };
  const long port = vbLong(text("mapop3port"));
  account.lPop3Port = port > 0 && port < 65536 ? port : 0;
  // Kept as the host wrote them: a number the sessions do not know stops them, never weakens them.
  account.lPop3Security = vbLong(text("mapop3security"));
  account.lSmtpSecurity = vbLong(text("masmtpsecurity"));
  account.sCertFile = text("macertfile").trimmed();
}

TemplateContent MailStore::readTemplate(long progId) const {
  TemplateContent t;
  const QString path =
      tempFilePath(QStringLiteral("temp") + QString::number(progId) + QStringLiteral(".eml"));
  if (columnToFile(progId, path, sql::templateFileRead(), host_, sql::templateTable(),
                   sql::templateKey())) {
    const ParsedMail mail = readMailFile(path, QStringLiteral("gb2312"));
    t.hasFile = true;
    t.fileSubject = mail.subject;
    t.body = mail.htmlBody;
    t.priority = mail.priority == 0 ? 3 : mail.priority;
    t.attachmentPaths = saveAttachments(mail, tempFolder());
  }
  QString error;
  const auto rs = host_.openQuery(sql::templateFields(progId), &error);
  if (!rs) throw MailError(MailError::InvalidArgument, QString(), error);
  if (!rs->atEnd()) {
    t.to = rs->text(QStringLiteral("to"));
    t.cc = rs->text(QStringLiteral("cc"));
    t.bcc = rs->text(QStringLiteral("bcc"));
    t.subject = rs->text(QStringLiteral("subject"));
  }
  return t;
}

QString MailStore::deleteTemplate(long progId) const {
  return host_.execute(sql::deleteTemplate(progId));
}

QString MailStore::insertTemplate(long progId, const QString& to, const QString& cc,
                                  const QString& subject) const {
  return host_.execute(sql::insertTemplate(progId, to, cc, subject));
}

bool MailStore::templateFileToColumn(long progId, const QString& path) const {
  return fileToColumn(progId, path, sql::templateFileWrite(), host_, sql::templateTable(),
                      sql::templateKey());
}

QString MailStore::programName(long progId) const {
  return firstValue(host_, sql::programName(progId));
}

bool MailStore::templateExists(long progId) const {
  const auto rs = host_.openQuery(sql::templateExists(progId));
  return rs && !rs->isEmpty();
}

}  // namespace kvmail
