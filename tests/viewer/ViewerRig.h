#pragma once
// The viewer as a host opens it: a service over a fresh SQLite store in a private temp folder,
// mails stored the way the receive session stores them, the scripted prompt, and the viewer's
// controls found by objectName.
#include "ServiceRig.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QTextBrowser>
#include <QTreeWidget>

#include "viewer/FrmMail.h"

namespace kvtest {

class ViewerRig : public ServiceRig {
 public:
  ViewerRig() {
    seedAccount(true, false);
    mail->Init(host, 1);
  }

  long store(const QByteArray& message) { return storeReceived(message); }
  // The same for a file under tests/data.
  long storeData(const QString& name) { return store(readAll(dataFile(name))); }
  // Overwrites one column of a stored row (null for an invalid value).
  void set(long mailId, const QString& column, const QVariant& value) {
    host->executeBound(u"update msgmail set %1=? where 邮件ID=?"_s.arg(column),
                       {value, qlonglong(mailId)});
  }

  // Opens the viewer through the service, as DisPlayMail does.
  kvmail::FrmMail* show(long mailId, const QString& caption = u"查看邮件"_s) {
    mail->DisPlayMail(mailId, caption);
    return viewer();
  }
  kvmail::FrmMail* viewer() const { return mail->viewerWindow(); }

  // The viewer's controls, by objectName. Txt(index): 0 recipients, 1 sender, 2 time, 3 subject.
  QString box(int index) const {
    return viewer()->findChild<QLineEdit*>(u"Txt(%1)"_s.arg(index))->text();
  }
  QTextBrowser* web() const { return viewer()->findChild<QTextBrowser*>(u"Web"_s); }
  QString bodyText() const { return web()->toPlainText(); }
  QTreeWidget* list() const { return viewer()->findChild<QTreeWidget*>(u"LView"_s); }
  QAction* action(const QString& name) const { return viewer()->findChild<QAction*>(name); }
  QLabel* label(const QString& name) const { return viewer()->findChild<QLabel*>(name); }
  QString status() const {
    return viewer()->findChild<QStatusBar*>(u"StatusBar"_s)->currentMessage();
  }
  // The attachment rows as "key|name", and their saved paths.
  QStringList rows() const { return column(-1); }
  QStringList rowPaths() const { return column(1); }

 private:
  QStringList column(int index) const {
    QStringList out;
    for (int i = 0; i < list()->topLevelItemCount(); ++i) {
      const QTreeWidgetItem* row = list()->topLevelItem(i);
      out << (index < 0 ? row->data(0, Qt::UserRole).toString() + u'|' + row->text(0)
                        : row->text(index));
    }
    return out;
  }
};

// A small mail in CR LF form from 王五 with a subject and an HTML body.
inline QByteArray htmlMail(const QString& subject, const QString& html) {
  return "From: =?UTF-8?B?546L5LqU?= <wang@kvmail.test>\r\nTo: lisi@kvmail.test\r\n"
         "Subject: =?UTF-8?B?" +
         subject.toUtf8().toBase64() +
         "?=\r\nDate: Mon, 1 Jul 2024 10:00:00 +0800\r\nMIME-Version: 1.0\r\n"
         "Content-Type: text/html; charset=UTF-8\r\nContent-Transfer-Encoding: base64\r\n\r\n" +
         html.toUtf8().toBase64() + "\r\n";
}

}  // namespace kvtest
