#pragma once
// The body of a mail, rendered safely: no script ever runs (the rich-text engine has none) and
// nothing is fetched, from the network or from local files. The only resources a body gets are
// the mail's own parts, by "cid:" or by an inline part's file name, and "data:" images written
// into the body itself. Links never open by themselves; a click is reported with linkActivated.
#include <QHash>
#include <QStringList>
#include <QTextBrowser>

namespace kvmail {

class MailBrowser : public QTextBrowser {
  Q_OBJECT
 public:
  explicit MailBrowser(QWidget* parent = nullptr);

  // Shows an HTML body whose resources are looked up in these parts (by Content-ID and by file
  // name). A fresh document each time, so nothing of an earlier mail is ever reused.
  void showBody(const QString& html, const QHash<QString, QByteArray>& partsById,
                const QHash<QString, QByteArray>& partsByName);
  void showNothing();

  // Every resource the body asked for and did not get, for the curious (and the tests).
  const QStringList& refused() const { return refused_; }

  QVariant loadResource(int type, const QUrl& name) override;

 Q_SIGNALS:
  // A link the user clicked (never one that is only hovered).
  void linkActivated(const QUrl& url);

 protected:
  void doSetSource(const QUrl& name, QTextDocument::ResourceType type) override;

 private:
  QVariant served(int type, const QByteArray& data) const;

  QHash<QString, QByteArray> partsById_;
  QHash<QString, QByteArray> partsByName_;
  QStringList refused_;
  QTextDocument* own_ = nullptr;  // the document of the mail shown
};

}  // namespace kvmail
