#include "viewer/MailBrowser.h"

#include <QImage>
#include <QTextDocument>

namespace kvmail {
namespace {

// "data:[type][;base64],payload" written into the body itself.
QByteArray dataUrlPayload(const QUrl& url) {
  const QByteArray text = url.toEncoded();
  const qsizetype comma = text.indexOf(',');
  if (comma < 0) return {};
  const QByteArray meta = text.mid(5, comma - 5).toLower();
  const QByteArray payload = QByteArray::fromPercentEncoding(text.mid(comma + 1));
  return meta.endsWith(";base64") ? QByteArray::fromBase64(payload) : payload;
}

const QByteArray* findPart(const QHash<QString, QByteArray>& parts, const QString& key) {
  if (key.isEmpty()) return nullptr;
  if (auto it = parts.constFind(key); it != parts.constEnd()) return &it.value();
  for (auto it = parts.constBegin(); it != parts.constEnd(); ++it)
    if (it.key().compare(key, Qt::CaseInsensitive) == 0) return &it.value();
  return nullptr;
}

}  // namespace

MailBrowser::MailBrowser(QWidget* parent) : QTextBrowser(parent) {
  setOpenLinks(false);  // a click only reports the link; the window decides
  setOpenExternalLinks(false);
  setUndoRedoEnabled(false);
  connect(this, &QTextBrowser::anchorClicked, this, &MailBrowser::linkActivated);
}

void MailBrowser::showBody(const QString& html, const QHash<QString, QByteArray>& partsById,
                           const QHash<QString, QByteArray>& partsByName) {
  partsById_ = partsById;
  partsByName_ = partsByName;
  refused_.clear();
  // The document asks its parent (this browser) for every resource it meets.
  auto* document = new QTextDocument(this);
  document->setUndoRedoEnabled(false);
  // The first document belongs to the editor, which drops it itself; later ones are ours.
  QTextDocument* old = own_;
  setDocument(document);
  own_ = document;
  delete old;
  setHtml(html);
}

void MailBrowser::showNothing() {
  showBody(QString(), {}, {});
}

void MailBrowser::doSetSource(const QUrl&, QTextDocument::ResourceType) {
  // Never navigates: not on a click, not by keyboard, not through backward() or home().
}

QVariant MailBrowser::served(int type, const QByteArray& data) const {
  if (type == QTextDocument::ImageResource) return QImage::fromData(data);
  if (type == QTextDocument::StyleSheetResource) return QString::fromUtf8(data);
  return QString();
}

QVariant MailBrowser::loadResource(int type, const QUrl& name) {
  const QString scheme = name.scheme().toLower();
  const QByteArray* part = nullptr;
  QByteArray inlineData;
  if (scheme == QLatin1String("cid")) {
    part = findPart(partsById_, name.path(QUrl::FullyDecoded));
  } else if (scheme == QLatin1String("data")) {
    inlineData = dataUrlPayload(name);
    part = &inlineData;
  } else if (scheme.isEmpty() && name.host().isEmpty()) {
    const QString path = name.path(QUrl::FullyDecoded);
    part = findPart(partsByName_, path);
    if (!part) part = findPart(partsByName_, path.section(u'/', -1));
  }
  if (part) return served(type, *part);
  refused_ << name.toString();
  // An empty value that is not null: the document then never looks for the name itself (it
  // would read a local file of that name).
  return served(type, QByteArray());
}

}  // namespace kvmail
