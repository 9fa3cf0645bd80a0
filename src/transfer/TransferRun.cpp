#include "transfer/TransferRun.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QSet>
#include <QTimer>

#include "model/IBundle.h"
#include "model/IMessage.h"
#include "model/clsBundle.h"
#include "store/MailStore.h"
#include "transfer/ReceiveMailbox.h"
#include "transfer/SendEngine.h"
#include "transfer/TransferView.h"

namespace kvmail {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QString kErrorCaption =
    QStringLiteral("处理请求的任务时出错。请复查下列错误列表以获取详细信息");
const QString kDoneCaption = QStringLiteral("请求的任务已成功完成。");

QString now() {
  return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

}  // namespace

TransferRun::TransferRun(ITransferView& view, QObject* parent) : QObject(parent), view_(view) {}

TransferRun::~TransferRun() = default;

void TransferRun::start(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
                        bool sendOnly) {
  if (isBusy()) {
    // The run's loop may be on the stack: the request waits for it instead of being dropped.
    wait(Request{bundle, system, account, sendOnly});
    view_.WriteLog(QStringLiteral("已有任务正在执行，新的请求将在其完成后开始。"), 1);
    return;
  }
  bundle_ = bundle;
  system_ = system;
  poAccount_ = account;
  sendOnly_ = sendOnly;
  StartTasks();
}

void TransferRun::StartTasks() {
  finished_ = false;
  runOk_ = true;
  view_.clearRun();  // a new run starts with empty task and error lists and an empty log
  view_.setProgressRange(0, 100);
  view_.setProgressValue(0);
  view_.setStopEnabled(true);

  const long n = bundle_ ? bundle_->Count() : 0;
  const QString name = poAccount_ ? poAccount_->sName : QString();
  const QString link = QStringLiteral("局域网");
  if (n > 0)
    view_.addTaskRow(QStringLiteral("发送") + QString::number(n) + QStringLiteral("封邮件(使用“") +
                         name + QStringLiteral("”)。"),
                     link);
  if (!sendOnly_)
    view_.addTaskRow(QStringLiteral("检查") + name + QStringLiteral("上的新邮件。"), link);
  updateSummary();

  sending_ = n > 0;
  receiving_ = !sendOnly_;
  if (n > 0) {
    plTaskRow_ = 1;
    sender_ = std::make_unique<SendEngine>(view_, *system_, *poAccount_);
    connect(sender_.get(), &SendEngine::ReturnData, this, &TransferRun::ReturnData);
    if (sender_->SendQueue(bundle_)) FinishSend(sender_->sentCount(), sender_->failedCount());
    sending_ = false;
    if (sender_->failedCount() > 0) runOk_ = false;
  }
  if (!sendOnly_) {
    plTaskRow_ = n > 0 ? 2 : 1;
    StartReceive();
  } else {
    endRun();
  }
}

void TransferRun::wait(Request request) {
  if (!waiting_) {
    waiting_ = std::move(request);
    return;
  }
  // Joined: every mail either asked to send, and a receive when either asked for one.
  Request& joined = *waiting_;
  joined.system = request.system;
  joined.account = request.account;
  joined.sendOnly = joined.sendOnly && request.sendOnly;
  if (!request.bundle || request.bundle->Count() == 0) return;
  if (!joined.bundle) {
    joined.bundle = request.bundle;
    return;
  }
  QSet<long> have;
  for (long i = 1; i <= joined.bundle->Count(); ++i)
    if (const MessagePtr m = joined.bundle->Item(IndexKey(i))) have.insert(m->ID());
  for (long i = 1; i <= request.bundle->Count(); ++i) {
    const MessagePtr m = request.bundle->Item(IndexKey(i));
    if (m && (m->ID() <= 0 || !have.contains(m->ID()))) joined.bundle->AddMessage(m);
  }
}

void TransferRun::startWaiting() {
  if (!waiting_ || isBusy()) return;
  Request request = std::move(*waiting_);
  waiting_.reset();
  // Mail sent by the run that just ended is no longer queued: it must not go out twice.
  BundlePtr bundle = std::make_shared<clsBundle>();
  if (request.bundle && request.bundle->Count() > 0 && request.system) {
    const QList<long> ids = MailStore(*request.system).queuedMailIds();
    const QSet<long> queued(ids.begin(), ids.end());
    for (long i = 1; i <= request.bundle->Count(); ++i) {
      const MessagePtr m = request.bundle->Item(IndexKey(i));
      if (m && (m->ID() <= 0 || queued.contains(m->ID()))) bundle->AddMessage(m);
    }
  }
  if (bundle->Count() == 0 && request.sendOnly) return;  // nothing left to do
  start(bundle, request.system, request.account, request.sendOnly);
}

void TransferRun::StartReceive() {
  view_.showErrorPage(false);
  view_.setTaskState(plTaskRow_, QStringLiteral("正在执行"));
  // The module carries its animations itself, so no file beside the program is needed.
  view_.startAnimation(QStringLiteral("ReceiveMail"));
  view_.WriteLog(QStringLiteral("开始邮件接收与检测服务:") + now(), 1);
  view_.setCaption(QStringLiteral("正在连接到") + poAccount_->sName + QStringLiteral("...") +
                   kCrLf + kCrLf);
  view_.WriteLog(QStringLiteral("启动服务正常!"), 1);

  receiving_ = true;
  mailbox_ = std::make_unique<ReceiveMailbox>(view_, *system_, *poAccount_);
  connect(mailbox_.get(), &ReceiveMailbox::EvMailRead, this, &TransferRun::EvMailRead);
  pop3_ = std::make_unique<Pop3Session>(view_, *mailbox_, *poAccount_);
  pop3_->setTaskRow(plTaskRow_);
  pop3_->setStallTimeout(stallMs_);
  connect(pop3_.get(), &Pop3Session::ended, this, &TransferRun::onReceiveEnded);
  pop3_->ConnectPop3();
}

void TransferRun::onReceiveEnded(Pop3End how, const QString& reason) {
  if (how == Pop3End::Finished) FinishReceive();
  if (how == Pop3End::Stalled || how == Pop3End::Insecure) FailReceive(reason);
  if (how == Pop3End::SocketError || how == Pop3End::Refused) showBrokenReceive(reason);
  receiving_ = false;
  // A mail the store refused stays on the server for next time, but this run did not get it.
  if (how != Pop3End::Finished || !view_.isStopEnabled() || mailbox_->refusedCount() > 0)
    runOk_ = false;
  endRun();
}

void TransferRun::FinishReceive() {
  view_.setCaption(QStringLiteral("正在检查") + poAccount_->sName +
                   QStringLiteral("上的新邮件...") + kCrLf + kCrLf +
                   QStringLiteral("正在断开连接..."));
  QCoreApplication::processEvents();
  if (finished_) return;
  view_.stopAnimation();
  view_.WriteLog(QStringLiteral("接收邮件结束:") + now() + kCrLf, 1);
  if (view_.errorCount() > 0) {
    view_.setCaption(kErrorCaption);
    view_.showErrorPage(true);
  } else {
    view_.setCaption(kDoneCaption);
  }
  setRowDone(plTaskRow_, !view_.isStopEnabled());
  updateSummary();
  view_.refresh();
  finished_ = true;
}

void TransferRun::FailReceive(const QString& reason) {
  if (finished_) return;
  view_.stopAnimation();
  view_.addErrorRow(reason);
  view_.setCaption(kErrorCaption);
  view_.showErrorPage(true);
  view_.setTaskState(plTaskRow_, QStringLiteral("失败"));
  updateSummary();
  view_.refresh();
  finished_ = true;
}

void TransferRun::showBrokenReceive(const QString& reason) {
  if (finished_) return;
  // The row keeps its "正在执行", as it always did; the rest of the window says what happened.
  view_.stopAnimation();
  view_.addErrorRow(reason.trimmed());
  view_.setCaption(kErrorCaption);
  view_.showErrorPage(true);
  updateSummary();
  view_.refresh();
  finished_ = true;
}

void TransferRun::FinishSend(int sent, int failed) {
  if (view_.errorCount() > 0) {
    view_.setCaption(kErrorCaption);
    view_.showErrorPage(true);
  } else {
    view_.setCaption(kDoneCaption);
  }
  const bool stopped = !view_.isStopEnabled();
  if (stopped || failed == 0) {
    setRowDone(plTaskRow_, stopped);
  } else {
    // Every message failed: "失败"; some went out: "警告", and the task still counts as done.
    const bool none = sent == 0;
    view_.setTaskState(plTaskRow_, none ? QStringLiteral("失败") : QStringLiteral("警告"));
    view_.setTaskIcon(plTaskRow_, none ? TaskIcon::Failed : TaskIcon::Warning);
    if (!none) view_.setTaskDone(plTaskRow_, QStringLiteral("1"));
  }
  if (stopped) runOk_ = false;
  updateSummary();
  view_.refresh();
}

void TransferRun::setRowDone(int row, bool cancelled) {
  if (row < 1 || row > view_.taskCount()) return;
  if (cancelled) {
    view_.setTaskIcon(row, TaskIcon::Cancelled);
    view_.setTaskState(row, QStringLiteral("取消"));
  } else {
    view_.setTaskIcon(row, TaskIcon::Done);
    view_.setTaskState(row, QStringLiteral("已完成"));
    view_.setTaskDone(row, QStringLiteral("1"));
  }
}

void TransferRun::updateSummary() {
  const int total = view_.taskCount();
  int done = 0;
  for (int row = 1; row <= total; ++row)
    if (view_.taskDone(row).toDouble() >= 1) ++done;
  view_.setSummary(QStringLiteral("已完成 ") + QString::number(done) +
                   QStringLiteral(" 项任务(共 ") + QString::number(total) + QStringLiteral(" 项)"));
}

void TransferRun::endRun() {
  if (isBusy()) return;
  view_.setStopEnabled(false);  // nothing left to stop
  view_.refresh();
  closeWhenDone();
  Q_EMIT TasksEnded(runOk_);
  // A request that waited starts once this run's loops are off the stack.
  if (waiting_) QTimer::singleShot(0, this, &TransferRun::startWaiting);
}

void TransferRun::closeWhenDone() {
  // Never while a task runs; only when the user asked for it and everything went well.
  if (view_.closeWhenDone() && !isBusy() && runOk_ && view_.errorCount() == 0) view_.hideWindow();
}

void TransferRun::stop() {
  view_.setStopEnabled(false);
  if (sender_ && view_.taskText(plTaskRow_).startsWith(QStringLiteral("发送"))) sender_->Stop();
}

void TransferRun::close() {
  if (isBusy() && view_.isStopEnabled()) stop();
  view_.hideWindow();
}

}  // namespace kvmail
