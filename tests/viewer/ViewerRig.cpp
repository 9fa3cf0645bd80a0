#include "ViewerRig.h"

#include <QLineEdit>
#include <QStatusBar>

#include "TestEnv.h"

namespace kvtest {

ViewerRig::ViewerRig() {
  seedAccount(true, false);
  mail->Init(host, 1);
}

long ViewerRig::storeData(const QString& name) {
  return store(readAll(dataFile(name)));
}

void ViewerRig::set(long mailId, const QString& column, const QVariant& value) {
  host->executeBound(u"update msgmail set %1=? where 邮件ID=?"_s.arg(column),
                     {value, qlonglong(mailId)});
}

QString ViewerRig::box(int index) const {
  const auto* edit = viewer()->findChild<QLineEdit*>(u"Txt(%1)"_s.arg(index));
  return edit ? edit->text() : u"<no Txt(%1)>"_s.arg(index);
}

QString ViewerRig::status() const {
  return viewer()->findChild<QStatusBar*>(u"StatusBar"_s)->currentMessage();
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
  return "From: =?UTF-8?B?" + u"王五"_s.toUtf8().toBase64() +
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
