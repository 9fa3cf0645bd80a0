#include "MainWindow.h"

#include <QAction>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QToolBar>

#include <functional>

#include "AccountDialog.h"
#include "DemoStore.h"
#include "MailList.h"
#include "MailListModel.h"
#include "service/IclsError.h"
#include "support/Prompt.h"

namespace kvmail::demo {
namespace {

const QString kErrorTitle = QStringLiteral("错误：");
const QString kInfoTitle = QStringLiteral("提示：");
// Separates the mail-merge records; customer names and addresses never hold it.
const QString kRecordSeparator = QStringLiteral("|");

}  // namespace

MainWindow::MainWindow(std::shared_ptr<host::SqlHostSystem> host, long progId, QWidget* parent)
    : QMainWindow(parent),
      host_(std::move(host)),
      progId_(progId),
      mail_(std::make_unique<clsMail>()) {
  setObjectName(QStringLiteral("MainWindow"));
  setWindowTitle(QStringLiteral("kvHost 业务系统 — 邮件"));

  model_ = new MailListModel(*host_, this);
  list_ = new QTableView(this);
  list_->setObjectName(QStringLiteral("mailList"));
  list_->setModel(model_);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  list_->verticalHeader()->hide();
  list_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  list_->setWordWrap(false);
  // Fixed widths: measuring the contents would read every row of a large store.
  const int widths[] = {70, 50, 220, 220, 0, 140, 140, 40, 50};
  for (int c = 0; c < model_->columnCount(); ++c)
    if (widths[c] > 0) list_->setColumnWidth(c, widths[c]);
  list_->horizontalHeader()->setSectionResizeMode(4, QHeaderView::Stretch);
  setCentralWidget(list_);
  connect(list_, &QTableView::doubleClicked, this, [this] { displayMail(); });
  connect(model_, &MailListModel::totalsChanged, this, &MainWindow::showTotals);
  changes_ = new QTimer(this);
  changes_->setSingleShot(true);
  changes_->setInterval(100);
  connect(changes_, &QTimer::timeout, this, &MainWindow::applyChanges);

  status_ = new QLabel(this);
  status_->setObjectName(QStringLiteral("lblStatus"));
  statusBar()->addWidget(status_, 1);
  buildActions();

  // The module reports back only through these events.
  connect(mail_.get(), &clsMail::EvReturn, this, [this](const QString& ids, long type) {
    if (type != 2) return noteChanged(0);  // stored: new rows on top
    for (const QString& id : ids.split(u',', Qt::SkipEmptyParts)) noteChanged(id.toLong());
  });
  connect(mail_.get(), &clsMail::EvMailRead, this, [this](long) { noteChanged(0); });
  connect(mail_.get(), &clsMail::EvRecordMove, this, &MainWindow::onRecordMove);
  connect(mail_.get(), &clsMail::EvDelete, this, &MainWindow::onDelete);
  resize(1100, 520);
  refresh();
}

MainWindow::~MainWindow() = default;

void MainWindow::closeEvent(QCloseEvent* event) {
  QMainWindow::closeEvent(event);
  Q_EMIT closed();  // the host ends here, whatever module windows are still open
}

void MainWindow::buildActions() {
  struct Entry {
    const char* name;
    QString text;
    std::function<void()> run;
  };
  const QList<Entry> mailEntries = {
      {"actNewMail", QStringLiteral("新邮件"), [this] { newMail(); }},
      {"actBatchNew", QStringLiteral("批量新建"), [this] { batchNew(); }},
      {"actSend", QStringLiteral("发送"), [this] { sendMail(); }},
      {"actReceive", QStringLiteral("接收"), [this] { receiveMail(); }},
      {"actSendReceive", QStringLiteral("发送/接收"), [this] { sendReceiveMail(); }},
      {"actDisplay", QStringLiteral("显示"), [this] { displayMail(); }},
      {"actReply", QStringLiteral("答复"), [this] { replyMail(); }},
      {"actTransmit", QStringLiteral("转发"), [this] { transmitMail(); }},
  };
  QMenu* fileMenu = menuBar()->addMenu(QStringLiteral("文件(&F)"));
  fileMenu->setObjectName(QStringLiteral("mnuFile"));
  QMenu* mailMenu = menuBar()->addMenu(QStringLiteral("邮件(&M)"));
  mailMenu->setObjectName(QStringLiteral("mnuMail"));
  QToolBar* bar = addToolBar(QStringLiteral("邮件"));
  bar->setObjectName(QStringLiteral("tbMain"));
  bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
  fileMenu->menuAction()->setObjectName(QStringLiteral("mnuFile"));
  mailMenu->menuAction()->setObjectName(QStringLiteral("mnuMail"));
  bar->toggleViewAction()->setObjectName(QStringLiteral("actShowToolbar"));

  const auto make = [this](const char* name, const QString& text, std::function<void()> run) {
    auto* action = new QAction(text, this);
    action->setObjectName(QLatin1String(name));
    connect(action, &QAction::triggered, this, [run = std::move(run)] { run(); });
    return action;
  };
  for (const Entry& e : mailEntries) {
    QAction* action = make(e.name, e.text, e.run);
    mailMenu->addAction(action);
    bar->addAction(action);
    if (QLatin1String(e.name) == QLatin1String("actBatchNew") ||
        QLatin1String(e.name) == QLatin1String("actSendReceive"))
      bar->addSeparator();
  }
  QAction* account = make("actAccount", QStringLiteral("帐户设置..."), [this] { editAccount(); });
  QAction* reload = make("actRefresh", QStringLiteral("刷新"), [this] { refresh(); });
  QAction* quit = make("actQuit", QStringLiteral("退出"), [this] { close(); });
  reload->setShortcut(QKeySequence::Refresh);
  fileMenu->addAction(account);
  fileMenu->addAction(reload);
  fileMenu->addSeparator();
  fileMenu->addAction(quit);
  bar->addSeparator();
  bar->addAction(account);
}

bool MainWindow::startMail(QString* error) {
  started_ = mail_->Init(host_, progId_);
  if (!started_ && error) *error = mail_->Error()->Description();
  return started_;
}

bool MainWindow::ready() {
  QString error;
  if (started_ || startMail(&error)) return true;
  showError(error);
  return false;
}

void MainWindow::showError(const QString& text) {
  prompt().messageBox(text, kErrorTitle, PromptIcon::Critical, PromptButtons::Ok, this);
}

void MainWindow::refresh() {
  const long keep = currentMailId();
  changes_->stop();
  changed_.clear();
  model_->reload();
  if (!selectMail(keep) && model_->rowCount() > 0) list_->selectRow(0);
  Q_EMIT listRefreshed();
}

void MainWindow::noteChanged(long mailId) {
  if (!changed_.contains(mailId)) changed_.append(mailId);
  if (!changes_->isActive()) changes_->start();
}

void MainWindow::applyChanges() {
  QList<long> changed = std::exchange(changed_, {});
  if (changed.removeAll(0) > 0) model_->addNewer();
  if (!changed.isEmpty()) model_->refreshMails(changed);
  if (!list_->selectionModel()->hasSelection() && model_->rowCount() > 0) list_->selectRow(0);
}

void MainWindow::showTotals() {
  status_->setText(
      model_->error().isEmpty()
          ? QStringLiteral("共 %1 封邮件，%2 封待发").arg(model_->total()).arg(model_->queued())
          : model_->error());
}

long MainWindow::currentMailId() const {
  const auto selected = list_->selectionModel()->selectedRows();
  return selected.isEmpty() ? 0 : model_->mailId(selected.first().row());
}

bool MainWindow::selectMail(long mailId) {
  const int row = model_->rowOf(mailId);
  if (row < 0) return false;
  list_->selectRow(row);
  return true;
}

int MainWindow::rowCount() const {
  return model_->total();
}

void MainWindow::onRecordMove(long direction, long* mailId) {
  const int row = model_->rowOf(*mailId);
  const int target = row + (direction < 0 ? -1 : 1);
  if (target >= model_->rowCount() && model_->canFetchMore({})) model_->fetchMore({});
  if (row < 0 || target < 0 || target >= model_->rowCount()) return;  // stays on the shown mail
  list_->selectRow(target);
  *mailId = currentMailId();
  markRead(*mailId);  // the viewer shows it next
}

void MainWindow::onDelete(long* mailId) {
  const int row = qMax(model_->rowOf(*mailId), 0);
  const QString error = host_->executeBound(
      QStringLiteral("update msgmail set del=1 where 邮件ID=?"), {qlonglong(*mailId)});
  if (!error.isEmpty()) {
    showError(error);
    return;  // the mail stays shown
  }
  list_->clearSelection();
  model_->refreshMail(*mailId);
  if (row >= model_->rowCount() && model_->canFetchMore({})) model_->fetchMore({});
  if (model_->rowCount() == 0) {
    *mailId = 0;
    return;
  }
  list_->selectRow(qMin(row, model_->rowCount() - 1));
  *mailId = currentMailId();
  markRead(*mailId);
}

long MainWindow::selectedOrAsk() {
  const long id = currentMailId();
  if (id <= 0)
    prompt().messageBox(QStringLiteral("请先在列表中选择一封邮件！"), kInfoTitle,
                        PromptIcon::Information, PromptButtons::Ok, this);
  return id;
}

bool MainWindow::newMail() {
  return ready() && mail_->NewMail();
}

bool MainWindow::batchNew() {
  if (!ready()) return false;
  QString error;
  const QList<Customer> customers = readCustomers(*host_, &error);
  if (!error.isEmpty()) {
    showError(error);
    return false;
  }
  if (mail_->CreateNew(mergeRecords(customers, kRecordSeparator), kRecordSeparator)) return true;
  showError(mail_->Error()->Description());
  return false;
}

bool MainWindow::sendMail() {
  return ready() && mail_->SendMail(0);
}

bool MainWindow::receiveMail() {
  return ready() && mail_->ReceiveMail();
}

bool MainWindow::sendReceiveMail() {
  return ready() && mail_->SendReceiveMail();
}

bool MainWindow::displayMail() {
  if (!ready()) return false;
  const long id = selectedOrAsk();
  return id > 0 && displayMail(id);
}

bool MainWindow::displayMail(long mailId) {
  if (!started_) startMail();  // viewing needs no account: the viewer exists either way
  markRead(mailId);
  return mail_->DisPlayMail(mailId, QStringLiteral("查看邮件"));
}

void MainWindow::markRead(long mailId) {
  if (mailId <= 0) return;
  const QString error = host_->executeBound(
      QStringLiteral(
          "update msgmail set 是否已读=1 where 邮件ID=? and (是否已读 is null or 是否已读<>1)"),
      {qlonglong(mailId)});
  if (!error.isEmpty()) return showError(error);
  model_->refreshMail(mailId);  // only that row changes; the selection stays where it is
}

bool MainWindow::replyMail() {
  if (!ready()) return false;
  const long id = selectedOrAsk();
  if (id > 0) mail_->ReplyMail(id);  // the module always answers false here
  return id > 0;
}

bool MainWindow::transmitMail() {
  if (!ready()) return false;
  const long id = selectedOrAsk();
  if (id > 0) mail_->TransmitMail(id);
  return id > 0;
}

void MainWindow::editAccount() {
  AccountDialog dialog(*host_, this);
  if (dialog.exec() != QDialog::Accepted) return;
  QString error;
  if (!startMail(&error)) showError(error);  // the module reads the account again
}

}  // namespace kvmail::demo
