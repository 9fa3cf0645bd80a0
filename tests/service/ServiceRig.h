#pragma once
// A service object over a fresh SQLite store in a private temp folder, with the scripted prompt.
#include <QTemporaryDir>

#include <memory>

#include "HostStore.h"
#include "ScriptedPrompt.h"
#include "service/clsMail.h"
#include "support/mime/MimeMail.h"

namespace kvtest {

class ServiceRig {
 public:
  ServiceRig();
  ~ServiceRig();

  std::shared_ptr<kvmail::host::SqlHostSystem> host;
  std::unique_ptr<kvmail::clsMail> mail;
  ScopedPrompt prompt;

  QString path(const QString& name) const { return dir_.filePath(name); }
  // The demo account for user 7 (per-user row) or as the default account.
  void seedAccount(bool perUser, bool asDefault, const QString& name = QStringLiteral("公司邮箱"));
  // A template for a program: the MailTemplet row and its stored message file.
  void seedTemplate(long progId, const QString& to, const QString& cc, const QString& bcc,
                    const QString& subject, const kvmail::OutgoingMail& file);
  // A queued outgoing mail as the composer stores it; answers its key.
  long queueMail(const kvmail::OutgoingMail& mail, const QString& sentTime, int del = 0,
                 int active = 1);

 private:
  QTemporaryDir dir_;
  QByteArray oldTmp_;
};

}  // namespace kvtest
