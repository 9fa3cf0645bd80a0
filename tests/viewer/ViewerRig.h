#pragma once
// The viewer as a host opens it: a service over a fresh SQLite store in a private temp folder,
// mails stored the way the receive session stores them, the scripted prompt, and the viewer's
// controls found by objectName.
#include <QTemporaryDir>

#include <memory>

#include "HostStore.h"
#include "ScriptedPrompt.h"
#include "service/clsMail.h"

class QAction;
class QLabel;
class QTextBrowser;
class QTreeWidget;

namespace kvmail {
class FrmMail;
}

namespace kvtest {

class ViewerRig {
 public:
  ViewerRig();
  ~ViewerRig();

  std::shared_ptr<kvmail::host::SqlHostSystem> host;
  std::unique_ptr<kvmail::clsMail> mail;
  ScopedPrompt prompt;

  QString tempDir() const { return dir_.path(); }
  QString path(const QString& name) const { return dir_.filePath(name); }

  // Stores a message as the receive session does (row and stored file in one go); its key.
  long store(const QByteArray& message);
  // The same for a file under tests/data.
  long storeData(const QString& name);
  // Overwrites one column of a stored row (null for an invalid value).
  void set(long mailId, const QString& column, const QVariant& value);
  QString value(const QString& sql);

  // Opens the viewer through the service, as DisPlayMail does.
  kvmail::FrmMail* show(long mailId, const QString& caption = QStringLiteral("查看邮件"));
  kvmail::FrmMail* viewer() const;

  // The viewer's controls.
  QString box(int index) const;  // Txt(index): 0 recipients, 1 sender, 2 time, 3 subject
  QTextBrowser* web() const;
  QString bodyText() const;
  QTreeWidget* list() const;
  QAction* action(const QString& name) const;
  QString status() const;
  QLabel* label(const QString& name) const;
  // The attachment rows as "key|name" and their saved paths.
  QStringList rows() const;
  QStringList rowPaths() const;

 private:
  QTemporaryDir dir_;
  QByteArray oldTmp_;
};

// A small mail in CR LF form with a subject and an HTML body.
QByteArray htmlMail(const QString& subject, const QString& html);

}  // namespace kvtest
