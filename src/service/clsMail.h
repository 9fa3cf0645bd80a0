#pragma once
// The mail service object the host creates: it holds the host's system object, the account and
// the last error, opens the three windows and turns their notifications into its own events.
#include <QObject>
#include <QWidget>

#include <memory>

#include "model/ModelTypes.h"
#include "model/clsAccount.h"
#include "service/IMail.h"

namespace kvmail {

class FrmMail;
class FrmNewMail;
class FrmSend;
class clsError;

class clsMail : public QObject, public IMail {
  Q_OBJECT
 public:
  explicit clsMail(QObject* parent = nullptr);
  ~clsMail() override;

  bool Init(const std::shared_ptr<IHostSystem>& pcSystem, long plProgID) override;
  // Releases the three windows without unloading them; always answers false.
  bool Clear() override;
  bool CreateNew(const QString& psMails, const QString& psSeparator) override;
  // The argument is accepted and deliberately not used: the whole queue is sent.
  bool SendMail(long plmails) override;
  bool ReceiveMail() override;
  bool SendReceiveMail() override;
  std::shared_ptr<IclsError> Error() const override;
  long ProgID() const override;
  bool DisPlayMail(long plMailID, const QString& psCaption) override;
  bool NewMail() override;
  // Open the compose window on a stored mail; both always answer false.
  bool ReplyMail(long plMailID) override;
  bool TransmitMail(long plMailID) override;

  // The windows as widgets, for hosts that place them or read their controls by objectName.
  QWidget* composeWidget() const;
  QWidget* transferWidget() const;
  QWidget* viewerWidget() const;
  // The windows themselves, for the module's own code and its tests.
  FrmNewMail* composeWindow() const { return mFrmNewMail.get(); }
  FrmSend* transferWindow() const { return mFrmSend.get(); }
  FrmMail* viewerWindow() const { return mFrmMail.get(); }
  AccountPtr account() const { return mAccount; }

 Q_SIGNALS:
  // A mail was saved (type 1, from the compose window) or sent (type 2, from the transfer window).
  void EvReturn(const QString& psMailIDs, long pMailType);
  void EvMailRead(long mailId);
  // The viewer asks for the previous (-1) or next (1) mail; the host writes its id back.
  void EvRecordMove(long direction, long* mailId);
  void EvDelete(long* mailId);
  // Every task of a send/receive run has ended (ok: none failed and none was stopped).
  void EvTransferEnded(bool ok);

 private:
  BundlePtr GetSendMail();
  BundlePtr ReplyBundle(long mailId, bool reply);
  void openSend(const BundlePtr& bundle, bool sendOnly, const QString& caption);
  void openCompose(const BundlePtr& bundle, const QString& caption, long mailId,
                   bool forward = false);
  void showErrMessage(const QString& message, long kind, const QString& title);
  void releaseWindows(bool unload);
  void connectWindows();

  std::shared_ptr<IHostSystem> mSystem;
  AccountPtr mAccount;
  std::shared_ptr<clsError> mError;
  std::unique_ptr<FrmNewMail> mFrmNewMail;
  std::unique_ptr<FrmSend> mFrmSend;
  std::unique_ptr<FrmMail> mFrmMail;
};

}  // namespace kvmail
