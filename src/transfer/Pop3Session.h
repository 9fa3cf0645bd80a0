#pragma once
// One POP3 receive session for one account, driven by the data arrivals of its link: log in,
// STAT, then for each message UIDL, RETR when not yet stored, DELE by the mailbox policy, and
// QUIT. One command is outstanding at a time and one message is in flight.
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include "model/clsAccount.h"

namespace kvmail {

class IMailboxPolicy;
class ITransferView;
class Pop3Link;

// The session's stages, numbered as the receive handler always numbered them.
enum class Pop3Stage : int {
  Greeting = 0,     // waits for the greeting; sends USER
  User = 1,         // reply to USER; sends PASS
  Pass = 2,         // reply to PASS; sends STAT
  Stat = 3,         // reply to STAT; sends UIDL 1 or QUIT
  Uidl = 4,         // reply to UIDL; sends RETR, DELE, the next UIDL or QUIT
  Unused = 5,       // never entered
  MessageText = 6,  // the RETR reply, in pieces; any first character
  Dele = 7,         // reply to DELE; the next UIDL or QUIT
  Quit = 8,         // reply to QUIT; the session is over
};

// The mailbox counters; 16-bit like the protocol handler they come from.
struct MailboxState {
  qint16 iCount = 0;
  qint16 iIndex = 0;
  QByteArray sBuffer;
  qint32 lTotalSize = 0;
};

// How a session ended.
enum class Pop3End {
  Finished,     // QUIT answered
  Refused,      // a negative reply outside the message text
  SocketError,  // the connection failed or broke
  Stalled,      // the server was silent too long
  Insecure,     // the encrypted connection asked for could not be made; nothing went out in clear
};

class Pop3Session : public QObject {
  Q_OBJECT
 public:
  Pop3Session(ITransferView& view, IMailboxPolicy& mailbox, const clsAccount& account,
              QObject* parent = nullptr);
  ~Pop3Session() override;

  // A retrieval silent this long ends the session as failed (0 turns the guard off).
  void setStallTimeout(int milliseconds) { stallMs_ = milliseconds; }
  // The task row (1-based) whose text shows the mailbox totals.
  void setTaskRow(int row) { taskRow_ = row; }

  void ConnectPop3();
  bool isRunning() const { return running_; }
  Pop3Stage stage() const { return plStage_; }
  int plStage() const { return int(plStage_); }
  const MailboxState& box() const { return ptBox_; }
  Pop3Link& link() const { return *link_; }

 Q_SIGNALS:
  // The session is over; reason says why when it did not finish (for the error list).
  void ended(kvmail::Pop3End how, const QString& reason);

 private:
  void handleArrival(const QByteArray& reply);
  void onLinkFailed(int number, const QString& description);
  void onStalled();
  void onEncrypted();
  void onTlsFailed(const QString& reason);
  // Checks the account's security settings and readies the link; the reason when they cannot
  // be used.
  QString prepareSecurity();
  void pauseStallGuard();
  // Why a silent session ended, by what had happened: a refused retrieval, a message that
  // stopped half-way, or no answer at all.
  QString stallReason() const;
  void setStage(Pop3Stage stage);

  void stageGreeting();
  void stageStat(const QByteArray& reply);
  void stageUidl(const QByteArray& reply);
  void stageMessageText(const QByteArray& reply);
  void nextMessage(bool yield);
  void sendDele();
  void sendQuit();
  void send(const QString& command);
  void endSession(Pop3End how, const QString& reason = {});

  ITransferView& view_;
  IMailboxPolicy& mailbox_;
  const clsAccount& account_;
  Pop3Link* link_;
  QTimer stallTimer_;
  int stallMs_ = 120000;
  int taskRow_ = 1;

  Pop3Stage plStage_ = Pop3Stage::Greeting;
  MailboxState ptBox_;
  QString psUIDL_;
  QString psRecvTime_;
  qsizetype markerFrom_ = 0;  // where the next end-marker search starts in sBuffer
  bool running_ = false;
};

}  // namespace kvmail
