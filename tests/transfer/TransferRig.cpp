#include "TransferRig.h"

#include "LoopbackServers.h"

#include <QFile>
#include <QSignalSpy>

#include "TestEnv.h"
#include "store/MailStore.h"

namespace kvtest {

TransferRig::TransferRig() {
  account_ = std::make_shared<kvmail::clsAccount>();
  account_->sName = u"测试帐户"_s;
  account_->sFrom = u"测试"_s;
  account_->sFromAddress = u"sender@kvmail.test"_s;
  account_->bIsDelete = false;  // keep on the server unless a test says otherwise
  run_ = std::make_unique<kvmail::TransferRun>(view_);
}

TransferRig::~TransferRig() {
  run_.reset();
}

void TransferRig::usePop3(quint16 port, const QString& user, const QString& password) {
  account_->lPop3Port = port;
  account_->sPop3 = u"127.0.0.1"_s;
  account_->sUserName = user;
  account_->sPassword = password;
}

void TransferRig::useLoopback(const QString& user) {
  usePop3(loopbackServers().pop3Port, user, loopbackServers().password);
}

bool TransferRig::receive(int timeoutMs) {
  return run(nullptr, false, timeoutMs);
}

bool TransferRig::run(const kvmail::BundlePtr& bundle, bool sendOnly, int timeoutMs) {
  QSignalSpy ended(run_.get(), &kvmail::TransferRun::TasksEnded);
  run_->start(bundle, host.get(), account_, sendOnly);
  if (ended.isEmpty() && !ended.wait(timeoutMs)) return false;
  lastOk_ = ended.first().first().toBool();
  return true;
}

bool TransferRig::queue(const QStringList& subjects) {
  QList<kvmail::ComposedMail> mails;
  for (const QString& subject : subjects) {
    kvmail::OutgoingMail out;
    out.from = {QString(), u"sender@kvmail.test"_s};
    out.to = {{QString(), u"to@kvmail.test"_s}};
    out.subject = subject;
    out.htmlBody = u"<p>"_s + QString(40, QLatin1Char('x')) + u"</p>"_s;
    mails << kvmail::composedMail(out, path(subject + u".eml"_s));
  }
  kvmail::StoreFailure failure;
  return kvmail::MailStore(*host).storeComposed(mails, &failure).size() == subjects.size();
}

QByteArray TransferRig::storedMessage(long mailId) {
  const QString file = path(u"stored-%1.eml"_s.arg(mailId));
  QFile::remove(file);
  if (!kvmail::MailStore(*host).messageToFile(mailId, file)) return {};
  return readAll(file);
}

QList<QByteArray> sampleMails(const QStringList& subjects) {
  QList<QByteArray> out;
  for (const QString& s : subjects) out << sampleMail(s);
  return out;
}

QByteArray sampleMail(const QString& subject, const QByteArray& body) {
  return "From: =?UTF-8?B?" + u"王五"_s.toUtf8().toBase64() +
         "?= <wang@kvmail.test>\r\n"
         "To: Li Si <lisi@kvmail.test>, zhao@kvmail.test\r\n"
         "Cc: copy@kvmail.test\r\n"
         "Subject: =?UTF-8?B?" +
         subject.toUtf8().toBase64() +
         "?=\r\n"
         "Date: Thu, 05 Nov 2026 09:30:00 +0800\r\n"
         "Message-ID: <" +
         QByteArray::number(qHash(subject)) +
         "@kvmail.test>\r\n"
         "MIME-Version: 1.0\r\n"
         "Content-Type: text/plain; charset=us-ascii\r\n"
         "\r\n" +
         body;
}

}  // namespace kvtest
