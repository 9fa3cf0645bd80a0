#include "ViewerRig.h"

#include <QAction>
#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QTextBrowser>
#include <QTreeWidget>

#include "TestEnv.h"
#include "store/MailStore.h"
#include "viewer/FrmMail.h"

namespace kvtest {

ViewerRig::ViewerRig() {
  oldTmp_ = qgetenv("TMPDIR");
  qputenv("TMPDIR", dir_.path().toUtf8());
  const QString db = dir_.filePath(QStringLiteral("store.db"));
  kvmail::host::createStore(db);
  auto options = kvmail::host::HostOptions::sqlite(db);
  options.userId = QStringLiteral("7");
  options.operatorName = QStringLiteral("李四");
  host = std::make_shared<kvmail::host::SqlHostSystem>(options);
  host->open();
  kvmail::host::AccountSeed seed;
  seed.userId = QStringLiteral("7");
  seed.name = QStringLiteral("公司邮箱");
  seed.userName = QStringLiteral("nobody");
  seed.fromName = QStringLiteral("销售部");
  seed.fromAddress = QStringLiteral("sales@kvmail.test");
  seed.pop3 = QStringLiteral("127.0.0.1");
  seed.smtp = QStringLiteral("127.0.0.1");
  kvmail::host::seedAccount(*host, seed);
  mail = std::make_unique<kvmail::clsMail>();
  mail->Init(host, 1);
}

ViewerRig::~ViewerRig() {
  mail.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  host.reset();
  if (oldTmp_.isNull())
    qunsetenv("TMPDIR");
  else
    qputenv("TMPDIR", oldTmp_);
}

long ViewerRig::store(const QByteArray& message) {
  static int uidl = 0;
  kvmail::ReceivedMail received;
  received.header =
      kvmail::readMailBytes(message, QStringLiteral("gb2312"), kvmail::MimeParts::StructureOnly);
  received.uidl = QStringLiteral("uidl-%1").arg(++uidl);
  received.pop3Server = QStringLiteral("127.0.0.1");
  received.bytes = message;
  received.size = message.size();
  kvmail::StoreFailure failure;
  return kvmail::MailStore(*host).storeReceived(received, &failure);
}

long ViewerRig::storeData(const QString& name) {
  return store(readAll(dataFile(name)));
}

void ViewerRig::set(long mailId, const QString& column, const QVariant& value) {
  host->executeBound(QStringLiteral("update msgmail set %1=? where 邮件ID=?").arg(column),
                     {value, qlonglong(mailId)});
}

QString ViewerRig::value(const QString& sql) {
  const auto rs = host->openQuery(sql);
  return rs && !rs->atEnd() ? rs->text(0) : QString();
}

kvmail::FrmMail* ViewerRig::show(long mailId, const QString& caption) {
  mail->DisPlayMail(mailId, caption);
  return viewer();
}

kvmail::FrmMail* ViewerRig::viewer() const {
  return mail->viewerWindow();
}

QString ViewerRig::box(int index) const {
  const auto* edit = viewer()->findChild<QLineEdit*>(QStringLiteral("Txt(%1)").arg(index));
  return edit ? edit->text() : QStringLiteral("<no Txt(%1)>").arg(index);
}

QTextBrowser* ViewerRig::web() const {
  return viewer()->findChild<QTextBrowser*>(QStringLiteral("Web"));
}

QString ViewerRig::bodyText() const {
  return web()->toPlainText();
}

QTreeWidget* ViewerRig::list() const {
  return viewer()->findChild<QTreeWidget*>(QStringLiteral("LView"));
}

QAction* ViewerRig::action(const QString& name) const {
  return viewer()->findChild<QAction*>(name);
}

QString ViewerRig::status() const {
  return viewer()->findChild<QStatusBar*>(QStringLiteral("StatusBar"))->currentMessage();
}

QLabel* ViewerRig::label(const QString& name) const {
  return viewer()->findChild<QLabel*>(name);
}

QStringList ViewerRig::rows() const {
  QStringList out;
  for (int i = 0; i < list()->topLevelItemCount(); ++i) {
    const QTreeWidgetItem* row = list()->topLevelItem(i);
    out << row->data(0, Qt::UserRole).toString() + u'|' + row->text(0);
  }
  return out;
}

QStringList ViewerRig::rowPaths() const {
  QStringList out;
  for (int i = 0; i < list()->topLevelItemCount(); ++i) out << list()->topLevelItem(i)->text(1);
  return out;
}

QByteArray htmlMail(const QString& subject, const QString& html) {
  return "From: =?UTF-8?B?" + QStringLiteral("王五").toUtf8().toBase64() +
         "?= <wang@kvmail.test>\r\n"
         "To: lisi@kvmail.test\r\n"
         "Subject: =?UTF-8?B?" +
         subject.toUtf8().toBase64() +
         "?=\r\n"
         "Date: Mon, 1 Jul 2024 10:00:00 +0800\r\n"
         "MIME-Version: 1.0\r\n"
         "Content-Type: text/html; charset=UTF-8\r\n"
         "Content-Transfer-Encoding: base64\r\n\r\n" +
         html.toUtf8().toBase64() + "\r\n";
}

}  // namespace kvtest
