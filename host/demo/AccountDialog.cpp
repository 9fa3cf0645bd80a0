#include "AccountDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <tuple>

#include "support/Prompt.h"

namespace kvmail::demo {
namespace {

// What the password field holds for a stored password: dots on screen, never the password.
const QString kPasswordMask(8, QLatin1Char('*'));

QCheckBox* addCheck(QWidget* parent, QFormLayout* form, const QString& name, const QString& text) {
  auto* box = new QCheckBox(text, parent);
  box->setObjectName(name);
  form->addRow(QString(), box);
  return box;
}

QSpinBox* addSpin(QWidget* parent, QFormLayout* form, const QString& name, const QString& label,
                  int maximum) {
  auto* spin = new QSpinBox(parent);
  spin->setObjectName(name);
  spin->setRange(0, maximum);
  form->addRow(label, spin);
  return spin;
}

}  // namespace

AccountDialog::AccountDialog(host::SqlHostSystem& host, QWidget* parent)
    : QDialog(parent), host_(host) {
  setObjectName(QStringLiteral("AccountDialog"));
  setWindowTitle(QStringLiteral("邮件帐户设置"));
  auto* top = new QVBoxLayout(this);
  form_ = new QFormLayout;
  top->addLayout(form_);

  name_ = addLine(QStringLiteral("txtName"), QStringLiteral("帐户名称："));
  fromName_ = addLine(QStringLiteral("txtFromName"), QStringLiteral("发件人姓名："));
  fromAddress_ = addLine(QStringLiteral("txtFromAddress"), QStringLiteral("发件人地址："));
  replyTo_ = addLine(QStringLiteral("txtReplyTo"), QStringLiteral("答复地址："));
  smtp_ = addLine(QStringLiteral("txtSmtp"), QStringLiteral("SMTP 服务器："));
  smtpPort_ =
      addSpin(this, form_, QStringLiteral("spnSmtpPort"), QStringLiteral("SMTP 端口："), 65535);
  smtpSecurity_ = addSecurity(
      QStringLiteral("cmbSmtpSecurity"), QStringLiteral("SMTP 加密："),
      {QStringLiteral("按端口自动"), QStringLiteral("STARTTLS"), QStringLiteral("SSL/TLS")},
      smtpPort_, {25, 587, 465});
  pop3_ = addLine(QStringLiteral("txtPop3"), QStringLiteral("POP3 服务器："));
  pop3Port_ =
      addSpin(this, form_, QStringLiteral("spnPop3Port"), QStringLiteral("POP3 端口："), 65535);
  pop3Security_ =
      addSecurity(QStringLiteral("cmbPop3Security"), QStringLiteral("POP3 加密："),
                  {QStringLiteral("不加密"), QStringLiteral("STLS"), QStringLiteral("SSL/TLS")},
                  pop3Port_, {110, 110, 995});
  certFile_ = addLine(QStringLiteral("txtCertFile"), QStringLiteral("信任的证书文件："));
  certFile_->setPlaceholderText(QStringLiteral("留空：使用系统信任的证书机构"));
  userName_ = addLine(QStringLiteral("txtUserName"), QStringLiteral("登录用户名："));
  password_ = addLine(QStringLiteral("txtPassword"), QStringLiteral("密码："));
  password_->setEchoMode(QLineEdit::Password);
  keepOnServer_ = addCheck(this, form_, QStringLiteral("chkKeepOnServer"),
                           QStringLiteral("在服务器上保留邮件副本"));
  deleteAfterDays_ = addCheck(this, form_, QStringLiteral("chkDeleteAfterDays"),
                              QStringLiteral("若干天后从服务器删除"));
  deleteDays_ =
      addSpin(this, form_, QStringLiteral("spnDeleteDays"), QStringLiteral("保留天数："), 3650);
  isOut_ = addCheck(this, form_, QStringLiteral("chkIsOut"), QStringLiteral("外部帐户"));
  isDefault_ = addCheck(this, form_, QStringLiteral("chkDefault"), QStringLiteral("设为默认帐户"));
  forUser_ = addCheck(this, form_, QStringLiteral("chkForUser"), QStringLiteral("用于当前用户"));

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdOk"));
  buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("确定"));
  buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cmdCancel"));
  buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("取消"));
  connect(buttons, &QDialogButtonBox::accepted, this, &AccountDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &AccountDialog::reject);
  top->addWidget(buttons);

  QString error;
  loaded_ = loadAccountRecord(host_, &error);
  if (!error.isEmpty())
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical, PromptButtons::Ok,
                        this);
  fill(loaded_);
  resize(420, sizeHint().height());
}

QLineEdit* AccountDialog::addLine(const QString& name, const QString& label) {
  auto* line = new QLineEdit(this);
  line->setObjectName(name);
  form_->addRow(label, line);
  return line;
}

QComboBox* AccountDialog::addSecurity(const QString& name, const QString& label,
                                      const QStringList& modes, QSpinBox* port,
                                      QList<int> standardPorts) {
  auto* box = new QComboBox(this);
  box->setObjectName(name);
  box->addItems(modes);
  form_->addRow(label, box);
  // A port left at the old mode's standard follows the mode; a port the user typed stays.
  connect(box, &QComboBox::currentIndexChanged, this,
          [port, standardPorts, previous = 0](int index) mutable {
            if (index < 0 || index >= standardPorts.size()) return;
            if (port->value() == standardPorts.value(previous))
              port->setValue(standardPorts[index]);
            previous = index;
          });
  return box;
}

void AccountDialog::fill(const AccountRecord& r) {
  name_->setText(r.name);
  fromName_->setText(r.fromName);
  fromAddress_->setText(r.fromAddress);
  replyTo_->setText(r.replyTo);
  smtp_->setText(r.smtp);
  smtpPort_->setValue(r.smtpPort);
  pop3_->setText(r.pop3);
  pop3Port_->setValue(r.pop3Port);
  // The ports as stored: the modes are set without moving them.
  for (auto [box, mode, port] : {std::tuple{smtpSecurity_, r.smtpSecurity, smtpPort_},
                                 std::tuple{pop3Security_, r.pop3Security, pop3Port_}}) {
    const int keep = port->value();
    box->setCurrentIndex(mode >= 0 && mode < box->count() ? mode : 0);
    port->setValue(keep);
  }
  certFile_->setText(r.certFile);
  userName_->setText(r.userName);
  password_->setText(r.hasPassword ? kPasswordMask : QString());  // setText clears "modified"
  keepOnServer_->setChecked(r.keepOnServer);
  deleteAfterDays_->setChecked(r.deleteAfterDays);
  deleteDays_->setValue(r.deleteDays);
  isOut_->setChecked(r.isOut);
  isDefault_->setChecked(r.isDefault);
  forUser_->setChecked(r.forCurrentUser);
}

AccountRecord AccountDialog::record() const {
  AccountRecord r = loaded_;
  r.name = name_->text();
  r.fromName = fromName_->text();
  r.fromAddress = fromAddress_->text().trimmed();
  r.replyTo = replyTo_->text().trimmed();
  r.smtp = smtp_->text().trimmed();
  r.smtpPort = smtpPort_->value();
  r.pop3 = pop3_->text().trimmed();
  r.pop3Port = pop3Port_->value();
  r.smtpSecurity = smtpSecurity_->currentIndex();
  r.pop3Security = pop3Security_->currentIndex();
  r.certFile = certFile_->text().trimmed();
  r.userName = userName_->text();
  r.passwordChanged = password_->isModified();
  r.newPassword = r.passwordChanged ? password_->text() : QString();
  r.keepOnServer = keepOnServer_->isChecked();
  r.deleteAfterDays = deleteAfterDays_->isChecked();
  r.deleteDays = deleteDays_->value();
  r.isOut = isOut_->isChecked();
  r.isDefault = isDefault_->isChecked();
  r.forCurrentUser = forUser_->isChecked();
  return r;
}

void AccountDialog::accept() {
  const QString error = saveAccountRecord(host_, record());
  if (!error.isEmpty()) {
    prompt().messageBox(error, QStringLiteral("错误："), PromptIcon::Critical, PromptButtons::Ok,
                        this);
    return;
  }
  QDialog::accept();
}

}  // namespace kvmail::demo
