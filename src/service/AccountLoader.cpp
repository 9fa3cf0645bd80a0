#include "service/AccountLoader.h"

#include "store/FieldText.h"
#include "store/HostSystem.h"
#include "store/Statements.h"

namespace kvmail {

bool loadAccount(IHostSystem& host, clsAccount& account) {
  auto rs = host.openQuery(sql::accountForUser(host.currentUserId()));
  if (!rs || rs->isEmpty()) rs = host.openQuery(sql::defaultAccount());
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
  return true;
}

}  // namespace kvmail
