#include "viewer/FrmMail.h"

namespace kvmail {

FrmMail::FrmMail(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("FrmMail"));
  resize(760, 560);
}

void FrmMail::py_Init(long mailId, IHostSystem* system, const QString& caption) {
  mailId_ = mailId;
  system_ = system;
  caption_ = caption;
  setWindowTitle(caption);
  show();
}

}  // namespace kvmail
