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
  host->executeBound(u"insert into MailTemplet(progID,[to],cc,bcc,subject) values(?,?,?,?,?)"_s,
                     {1, u"[邮箱]"_s, QString(), u"boss@kvmail.test"_s, u"致[名]"_s});
  QStringList records;
  for (int i = 0; i < tos.size(); ++i)
    records << u"[名]"_s + u"甲乙丙丁"_s.at(i) + QChar(0) + u"[邮箱]"_s + tos[i];
  EXPECT_TRUE(mail->CreateNew(records.join(QLatin1Char('|')), u"|"_s));
}

long ComposeRig::send() {
  QSignalSpy returned(window(), &kvmail::FrmNewMail::ReturnData);
  trigger(u"TBSend"_s);
  return returned.isEmpty() ? 0 : returned[0][0].toString().section(u';', 0, 0).toLong();
}

long ComposeRig::storeReceived(const kvmail::OutgoingMail& m) {
  QByteArray bytes;
  QString error;
  kvmail::writeMailBytes(m, &bytes, &error);
  return ServiceRig::storeReceived(bytes);
}

}  // namespace kvtest
