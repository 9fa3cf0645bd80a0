#include "transfer/TransferRun.h"

#include <QCoreApplication>
#include <QDateTime>

#include "model/IBundle.h"
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
    closeWhenDone();
  }
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
  if (how == Pop3End::Stalled) FailReceive(reason);
  receiving_ = false;
  if (how != Pop3End::Finished || !view_.isStopEnabled()) runOk_ = false;
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
  closeWhenDone();
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
  Q_EMIT TasksEnded(runOk_);
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
