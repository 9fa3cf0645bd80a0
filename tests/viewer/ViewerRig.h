#pragma once
// The viewer as a host opens it: a service over a fresh SQLite store in a private temp folder,
// mails stored the way the receive session stores them, the scripted prompt, and the viewer's
// controls found by objectName.
#include "ServiceRig.h"

#include <QAction>
#include <QLabel>
#include <QTextBrowser>
#include <QTreeWidget>

#include "viewer/FrmMail.h"

namespace kvtest {

class ViewerRig : public ServiceRig {
 public:
  ViewerRig();

  long store(const QByteArray& message) { return storeReceived(message); }
  // The same for a file under tests/data.
  long storeData(const QString& name);
  // Overwrites one column of a stored row (null for an invalid value).
  void set(long mailId, const QString& column, const QVariant& value);

  // Opens the viewer through the service, as DisPlayMail does.
  kvmail::FrmMail* show(long mailId, const QString& caption = u"查看邮件"_s) {
    mail->DisPlayMail(mailId, caption);
    return viewer();
  }
  kvmail::FrmMail* viewer() const { return mail->viewerWindow(); }

  // The viewer's controls, by objectName.
  template <typename T>
  T* child(const QString& name) const {
    return viewer()->findChild<T*>(name);
  }
  QString box(int index) const;  // Txt(index): 0 recipients, 1 sender, 2 time, 3 subject
  QTextBrowser* web() const { return child<QTextBrowser>(u"Web"_s); }
  QString bodyText() const { return web()->toPlainText(); }
  QTreeWidget* list() const { return child<QTreeWidget>(u"LView"_s); }
  QAction* action(const QString& name) const { return child<QAction>(name); }
  QLabel* label(const QString& name) const { return child<QLabel>(name); }
  QString status() const;
  // The attachment rows as "key|name" and their saved paths.
  QStringList rows() const;
  QStringList rowPaths() const;
};

// A small mail in CR LF form with a subject and an HTML body.
QByteArray htmlMail(const QString& subject, const QString& html);

}  // namespace kvtest
