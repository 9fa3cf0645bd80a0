#pragma once
// The compose window as the service opens it, over a fresh SQLite store, with the scripted
// prompt; the host can be told to fail its key service, and keeps every statement it ran.
#include <QAction>
#include <QLineEdit>
#include <QStringList>

#include <memory>

#include "ServiceRig.h"
#include "TestEnv.h"
#include "composer/FrmNewMail.h"
#include "store/HostSystem.h"

namespace kvtest {

class FaultHost : public kvmail::IHostSystem {
 public:
  explicit FaultHost(kvmail::IHostSystem& real) : real_(real) {}

  QStringList statements;  // every statement run, in order
  int failKeyAt = 0;       // the n-th key asked for fails (0: none does)
  int keyCalls = 0;

  std::shared_ptr<kvmail::IRecordset> openQuery(const QString& sql, QString* error) override {
    return real_.openQuery(sql, error);
  }
  QString execute(const QString& sql) override {
    statements << sql;
    return real_.execute(sql);
  }
  long nextKey(const QString& table, const QString& column, QString* error) override {
    if (++keyCalls == failKeyAt) {
      *error = QStringLiteral("编号服务不可用");
      return 0;
    }
    return real_.nextKey(table, column, error);
  }
  QString beginTransaction() override { return real_.beginTransaction(); }
  QString commitTransaction() override { return real_.commitTransaction(); }
  QString rollbackTransaction() override { return real_.rollbackTransaction(); }
  QString currentUserId() const override { return real_.currentUserId(); }
  QString currentOperator() const override { return real_.currentOperator(); }

 private:
  kvmail::IHostSystem& real_;
};

class ComposeRig : public ServiceRig {
 public:
  // The account of user 7 (sender 销售部<sales@kvmail.test>), the service started on it.
  explicit ComposeRig(bool start = true);
  ~ComposeRig();

  std::shared_ptr<FaultHost> faults;

  bool start() { return mail->Init(faults, 1); }
  kvmail::FrmNewMail* window() const { return mail->composeWindow(); }
  QLineEdit* field(int index) const {
    return window()->findChild<QLineEdit*>(QStringLiteral("Txt(%1)").arg(index));
  }
  QAction* action(const QString& key) const { return window()->findChild<QAction*>(key); }
  // Triggers a menu item or toolbar button by its key.
  void trigger(const QString& key) const;
  // Answers the insert dialog with the file and presses the attachment button.
  void attach(const QString& path) {
    prompt->answerOpenFiles({path});
    trigger(QStringLiteral("TBTattach"));
  }
  // A file in the rig's folder with the given bytes.
  QString file(const QString& name, const QByteArray& bytes) const {
    writeAll(path(name), bytes);
    return path(name);
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
