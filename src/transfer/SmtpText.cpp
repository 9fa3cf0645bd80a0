#include "transfer/SmtpText.h"

namespace kvmail::smtp {

namespace {
const QString kHidden = QStringLiteral("*****");
}

QList<MimeAddress> parseRecipients(const QString& list, const QString& delimiter) {
  QList<MimeAddress> out;
  const QString sep = delimiter.isEmpty() ? QStringLiteral(";") : delimiter;
  for (const QString& raw : list.split(sep, Qt::SkipEmptyParts)) {
    const QString entry = raw.trimmed();
    if (entry.isEmpty()) continue;
    const qsizetype open = entry.lastIndexOf(u'<');
    const qsizetype close = entry.lastIndexOf(u'>');
    if (open >= 0 && close > open) {
      QString name = entry.left(open).trimmed();
      if (name.size() >= 2 && name.startsWith(u'"') && name.endsWith(u'"'))
        name = name.mid(1, name.size() - 2);
      out.append({name, entry.mid(open + 1, close - open - 1).trimmed()});
    } else {
      out.append({QString(), entry});
    }
  }
  return out;
}

bool isSafeAddress(const QString& address) {
  if (address.isEmpty()) return false;
  for (QChar c : address)
    if (c.isSpace() || c == u'<' || c == u'>' || c.unicode() < 0x20) return false;
  return true;
}

ProtocolLog::ProtocolLog(const QString& userName, const QString& password) {
  if (password.isEmpty()) return;
  const QByteArray pass = password.toUtf8();
  const QByteArray user = userName.toUtf8();
  const QByteArray plain = QByteArray(1, '\0') + user + QByteArray(1, '\0') + pass;
  secrets_ << plain.toBase64() << pass.toBase64();
  // A very short password would blank out ordinary words; its base64 forms are still hidden.
  if (pass.size() >= 3) secrets_ << pass;
}

QString ProtocolLog::hide(QString line) const {
  for (const QByteArray& s : secrets_) line.replace(QString::fromUtf8(s), kHidden);
  return line;
}

QString ProtocolLog::outgoing(const QByteArray& line) {
  QString text = QString::fromUtf8(line);
  if (inAuth_) {
    text = kHidden;  // a credential answering a 334 challenge
  } else if (text.startsWith(QLatin1String("AUTH "), Qt::CaseInsensitive)) {
    inAuth_ = true;
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    // "AUTH PLAIN <initial response>" keeps only the mechanism.
    text = words.size() > 2 ? words[0] + u' ' + words[1] + u' ' + kHidden : text;
  }
  text = hide(text);
  lastCommand_ = text;
  return text;
}

QString ProtocolLog::incoming(const QByteArray& line) {
  const QString text = hide(QString::fromUtf8(line));
  greeted_ = true;
  pendingReply_ += pendingReply_.isEmpty() ? text : u' ' + text.mid(4);
  // "250-..." continues a reply; "250 ..." (or a bare code) ends it.
  if (text.size() < 4 || text.at(3) != u'-') {
    const int code = text.left(3).toInt();
    if (code != 334) inAuth_ = false;
    if (code >= 400) {
      errorCode_ = code;
      errorReply_ = pendingReply_;
      errorCommand_ = lastCommand_;
    }
    pendingReply_.clear();
  }
  return text;
}

}  // namespace kvmail::smtp
