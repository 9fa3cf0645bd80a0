#include "ComposeRig.h"

#include <gtest/gtest.h>

#include <QSignalSpy>

namespace kvtest {

ComposeRig::ComposeRig(bool startNow) {
  faults = std::make_shared<RecordingHost>(*host);
  seedAccount(true, false);
  if (startNow) start();
}

ComposeRig::~ComposeRig() {
  // The tests decide what happens to unsaved mail; tearing down asks nothing.
  if (window() && window()->isVisible()) {
    prompt->answer(kvmail::PromptAnswer::No);
    window()->close();
  }
}

void ComposeRig::trigger(const QString& key) const {
  QAction* a = action(key);
  if (!a)
    ADD_FAILURE() << "no action " << key.toStdString();
  else
    a->trigger();
}

void ComposeRig::openBatch(const QStringList& tos) {
  host->executeBound(
      QStringLiteral("insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"),
      {1, QStringLiteral("[邮箱]"), QString(), QStringLiteral("boss@kvmail.test"),
       QStringLiteral("致[名]")});
  QStringList records;
  for (int i = 0; i < tos.size(); ++i)
    records << QStringLiteral("[名]") + QStringLiteral("甲乙丙丁").at(i) + QChar(0) +
                   QStringLiteral("[邮箱]") + tos[i];
  EXPECT_TRUE(mail->CreateNew(records.join(QLatin1Char('|')), QStringLiteral("|")));
}

long ComposeRig::send() {
  QSignalSpy returned(window(), &kvmail::FrmNewMail::ReturnData);
  trigger(QStringLiteral("TBSend"));
  return returned.isEmpty() ? 0 : returned[0][0].toString().section(u';', 0, 0).toLong();
}

long ComposeRig::storeReceived(const kvmail::OutgoingMail& m) {
  QByteArray bytes;
  QString error;
  kvmail::writeMailBytes(m, &bytes, &error);
  return ServiceRig::storeReceived(bytes);
}

}  // namespace kvtest
