#pragma once
// The mail service object over a fresh store (StoreRig), with the scripted prompt: what the
// service, viewer and compose tests drive.
#include <memory>

#include "ScriptedPrompt.h"
#include "StoreRig.h"
#include "service/clsMail.h"
#include "support/mime/MimeMail.h"

namespace kvtest {

class ServiceRig : public StoreRig {
 public:
  ServiceRig();
  ~ServiceRig();

  std::unique_ptr<kvmail::clsMail> mail;
  ScopedPrompt prompt;

  using StoreRig::seedAccount;
  // The demo account for user 7 (per-user row) or as the default account.
  void seedAccount(bool perUser, bool asDefault, const QString& name = u"公司邮箱"_s);
  // Points the seeded account at the loopback servers, logging in as the user and sending from
  // the user's address.
  void useLoopback(const QString& user);
  // A template for a program: the MailTemplet row and its stored message file.
  void seedTemplate(long progId, const QString& to, const QString& cc, const QString& bcc,
                    const QString& subject, const kvmail::OutgoingMail& file);
  // A queued outgoing mail as the composer stores it; answers its key.
  long queueMail(const kvmail::OutgoingMail& mail, const QString& sentTime);
  // Stores a message as the receive session does (row and stored file in one go); its key.
  long storeReceived(const QByteArray& message);
};

}  // namespace kvtest
