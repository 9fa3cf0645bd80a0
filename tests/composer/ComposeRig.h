#pragma once
// The compose window as the service opens it, over a fresh SQLite store, with the scripted
// prompt; the host keeps every statement it ran and can be told to fail its key service.
#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QStringList>

#include <memory>

#include "RecordingHost.h"
#include "ServiceRig.h"
#include "TestEnv.h"
#include "composer/FrmNewMail.h"

namespace kvtest {

class ComposeRig : public ServiceRig {
 public:
  // The account of user 7 (sender 销售部<sales@kvmail.test>), the service started on it.
  explicit ComposeRig(bool start = true);
  ~ComposeRig();

  std::shared_ptr<RecordingHost> faults;  // the host the service runs on

  bool start() { return mail->Init(faults, 1); }
  kvmail::FrmNewMail* window() const { return mail->composeWindow(); }
  QLineEdit* field(int index) const {
    return window()->findChild<QLineEdit*>(u"Txt(%1)"_s.arg(index));
  }
  QAction* action(const QString& key) const { return window()->findChild<QAction*>(key); }
  QString label(const char* name) const {
    return window()->findChild<QLabel*>(QLatin1String(name))->text();
  }
  bool shown(const char* name) const {
    return !window()->findChild<QWidget*>(QLatin1String(name))->isHidden();
  }
  // Triggers a menu item or toolbar button by its key.
  void trigger(const QString& key) const;
  // Answers the insert dialog with the file and presses the attachment button.
  void attach(const QString& path) {
    prompt->answerOpenFiles({path});
    trigger(u"TBTattach"_s);
  }
  // One mail per address through CreateNew from the program's template: subject 致甲, 致乙, …
  // (致[名]), Bcc boss@kvmail.test; an empty address gives a mail with an empty To field.
  void openBatch(const QStringList& tos);
  // Sends the shown window's mails; the first key handed back, 0 when none was.
  long send();
  // A stored received mail, as the transfer window keeps one; answers its key.
  using ServiceRig::storeReceived;
  long storeReceived(const kvmail::OutgoingMail& mail);
};

}  // namespace kvtest
