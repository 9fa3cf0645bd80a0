#include "templates/FrmTemplet.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "model/IMailAddresses.h"
#include "model/IMessage.h"
#include "model/clsMessage.h"
#include "store/MailStore.h"
#include "support/Prompt.h"
#include "templates/TemplateSave.h"

namespace kvmail {

FrmTemplet::FrmTemplet(QWidget* parent) : QDialog(parent), lblMessage_(new QLabel(this)) {
  setObjectName(QStringLiteral("FrmTemplet"));
  setWindowTitle(QStringLiteral("保存为邮件模板"));

  lblMessage_->setObjectName(QStringLiteral("lblMessage"));
  lblMessage_->setWordWrap(true);
  lblMessage_->setMinimumHeight(lblMessage_->fontMetrics().height() * 2 + 4);

  auto* form = new QFormLayout;
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  const QString captions[3] = {QStringLiteral("收件人(&T)："), QStringLiteral("抄送(&C)："),
                               QStringLiteral("主题(&U)：")};
  for (int i = 0; i < 3; ++i) {
    txt_[i] = new QLineEdit(this);
    txt_[i]->setObjectName(QStringLiteral("Txt(%1)").arg(i));
    txt_[i]->installEventFilter(this);
    auto* label = new QLabel(captions[i], this);
    label->setBuddy(txt_[i]);
    form->addRow(label, txt_[i]);
  }
  auto* hint = new QLabel(
      QStringLiteral("正文、优先级和附件取自正在编写的邮件。收件人、抄送和主题里可以写 [名] "
                     "这样的占位符，批量新建邮件时按每条记录替换。"),
      this);
  hint->setWordWrap(true);
  hint->setForegroundRole(QPalette::PlaceholderText);

  cmd_[0] = new QPushButton(QStringLiteral("保存(&S)"), this);
  cmd_[1] = new QPushButton(QStringLiteral("关闭"), this);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  for (int i = 0; i < 2; ++i) {
    cmd_[i]->setObjectName(QStringLiteral("Cmd(%1)").arg(i));
    cmd_[i]->installEventFilter(this);
    buttons->addWidget(cmd_[i]);
  }
  cmd_[0]->setDefault(true);
  cmd_[1]->setAutoDefault(false);
  connect(cmd_[0], &QPushButton::clicked, this, [this] {
    if (save()) accept();
  });
  connect(cmd_[1], &QPushButton::clicked, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(12, 12, 12, 12);
  layout->setSpacing(8);
  layout->addWidget(lblMessage_);
  layout->addLayout(form);
  layout->addWidget(hint);
  layout->addStretch(1);
  layout->addLayout(buttons);
  resize(460, sizeHint().height());
}

FrmTemplet::~FrmTemplet() = default;

void FrmTemplet::prepare(const MessagePtr& message, IHostSystem* system,
                         const AccountPtr& account) {
  message_ = message;
  system_ = system;
  account_ = account;
  txt_[0]->setText(message_ ? message_->TOs()->ToString() : QString());
  txt_[1]->setText(message_ ? message_->Cc()->ToString() : QString());
  txt_[2]->setText(message_ ? message_->Subject() : QString());
  refreshStatus();
}

void FrmTemplet::py_Init(const MessagePtr& message, IHostSystem* system,
                         const AccountPtr& account) {
  prepare(message, system, account);
  txt_[0]->setFocus();
  exec();
}

long FrmTemplet::progId() const {
  return account_ ? account_->lProgID : 0;
}

void FrmTemplet::refreshStatus() {
  if (!system_) {
    lblMessage_->clear();
    return;
  }
  const MailStore store(*system_);
  lblMessage_->setText(templateStatusText(progId(), templateStatus(store, progId())));
}

bool FrmTemplet::save() {
  if (!system_) return false;
  const MessagePtr message = message_ ? message_ : std::make_shared<clsMessage>();
  const QString error = saveTemplate(MailStore(*system_), progId(), txt_[0]->text(),
                                     txt_[1]->text(), txt_[2]->text(), *message);
  if (!error.isEmpty())
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical, PromptButtons::Ok,
                        this);
  refreshStatus();  // after a failed insert the old template is already gone: say so
  return error.isEmpty();
}

void FrmTemplet::deleteTemplate() {
  if (!system_) return;
  if (prompt().messageBox(QStringLiteral("是否删除当前已存在的模板！"), QStringLiteral("提示："),
                          PromptIcon::Question, PromptButtons::YesNo, this) != PromptAnswer::Yes)
    return;
  const QString error = MailStore(*system_).deleteTemplate(progId());
  if (!error.isEmpty())
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical, PromptButtons::Ok,
                        this);
  refreshStatus();
}

bool FrmTemplet::isDeleteKey(const QKeyEvent* event) const {
  return event->key() == Qt::Key_Delete &&
         (event->modifiers() & Qt::ControlModifier) == Qt::ControlModifier;
}

// The text boxes take Ctrl+Delete for deleting a word; the window gets it first, in every box.
bool FrmTemplet::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && isDeleteKey(static_cast<QKeyEvent*>(event))) {
    deleteTemplate();
    return true;
  }
  if (event->type() == QEvent::ShortcutOverride && isDeleteKey(static_cast<QKeyEvent*>(event))) {
    event->accept();  // deliver it as a key press, to the filter above
    return true;
  }
  return QDialog::eventFilter(watched, event);
}

void FrmTemplet::keyPressEvent(QKeyEvent* event) {
  if (isDeleteKey(event)) {
    deleteTemplate();
    return;
  }
  QDialog::keyPressEvent(event);
}

}  // namespace kvmail
