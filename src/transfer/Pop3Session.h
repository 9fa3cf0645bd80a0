#pragma once
// One POP3 receive session for one account, driven by the socket's data arrivals: log in, STAT,
// then for each message UIDL, RETR when not yet stored, DELE by the account's policy, and QUIT.
#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

#include "service/clsAccount.h"

class QTcpSocket;

namespace kvmail {

class IHostSystem;
class ITransferView;

// Field n of a text split at a delimiter; "NOT FOUND" when there is no such field.
QString GetField(const QString& text, int index, const QString& delimiter);

// The mailbox counters; 16-bit like the protocol handler they come from.
struct MailboxState {
  qint16 iCount = 0;
  qint16 iIndex = 0;
  QByteArray sBuffer;
  qint32 lTotalSize = 0;
};

class Pop3Session : public QObject {
  Q_OBJECT
 public:
  // Stores one retrieved message; true only when the row and its file are stored.
  using SaveFn = std::function<bool(QByteArray text, const QString& uidl)>;

  Pop3Session(ITransferView& view, IHostSystem& host, const clsAccount& account, SaveFn save,
              QObject* parent = nullptr);
  ~Pop3Session() override;

  // The server port: 110 unless KVMAIL_POP3_PORT or setPort says otherwise (tests, tunnels).
  void setPort(quint16 port) { port_ = port; }
  // A retrieval silent this long ends the session as failed (0 turns the guard off).
  void setStallTimeout(int milliseconds) { stallMs_ = milliseconds; }
  // The task row (1-based) whose text shows the mailbox totals.
  void setTaskRow(int row) { taskRow_ = row; }

  void ConnectPop3();
  bool isRunning() const { return running_; }
  int plStage() const { return plStage_; }
  const MailboxState& box() const { return ptBox_; }
  QTcpSocket* socket() const { return wskMail_; }

 Q_SIGNALS:
  // The session is over: normally after QUIT (ok), or by a failure or socket error (not ok).
  void ended(bool ok);

 private:
  void onReadyRead();
  void handleArrival(const QByteArray& reply);
  void onSocketError();
  void onStalled();

  void stageGreeting();
  void stageStat(const QByteArray& reply);
  void stageUidl(const QByteArray& reply);
  void stageMessageText(const QByteArray& reply);
  void nextMessage(bool yield);
  void sendDele();
  void sendQuit();
  void send(const QString& command);
  void endSession(bool ok);
  QString replyText(const QByteArray& reply) const;

  ITransferView& view_;
  IHostSystem& host_;
  const clsAccount& account_;
  SaveFn save_;
  QTcpSocket* wskMail_;
  QTimer stallTimer_;
  quint16 port_;
  int stallMs_ = 120000;
  int taskRow_ = 1;

  int plStage_ = 0;
  MailboxState ptBox_;
  QString psUIDL_;
  QString psRecvTime_;
  QByteArray pendingLine_;    // a reply line that has not yet reached its CR LF
  qsizetype markerFrom_ = 0;  // where the next end-marker search starts in sBuffer
  bool inHandler_ = false;
  bool running_ = false;
};

}  // namespace kvmail
