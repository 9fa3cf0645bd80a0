#include "composer/FrmNewMail.h"

namespace kvmail {

FrmNewMail::FrmNewMail(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("FrmNewMail"));
  resize(760, 560);
}

void FrmNewMail::py_Init(const BundlePtr& bundle, IHostSystem* system, const AccountPtr& account,
                         const QString& caption, long mailId) {
  bundle_ = bundle;
  system_ = system;
  account_ = account;
  caption_ = caption;
  mailId_ = mailId;
  setWindowTitle(caption.isEmpty() ? QStringLiteral("新邮件") : caption);
  show();
}

}  // namespace kvmail
