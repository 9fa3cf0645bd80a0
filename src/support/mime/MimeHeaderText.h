#pragma once
// Decoding received header values the way mail readers do: unfolded, RFC 2047 words by their
// own (normalised) charset, raw 8-bit text read once, and address lists in the forms servers
// really send. Works on the raw bytes of one header value; no MIME library involved.
#include <QByteArray>
#include <QList>
#include <QString>

#include "support/mime/MimeMail.h"

namespace kvmail::mime {

// The charsets raw 8-bit text in a message's headers may be in, besides UTF-8: the message's
// declared charset and the caller's default (see headerTextConverter).
struct HeaderCharsets {
  QString declared;
  QString fallback;
};

// Line breaks of folding go (the blanks after them stay); NUL bytes are dropped.
QByteArray unfoldHeader(const QByteArray& raw);

// An unstructured value (Subject): encoded words decoded, blanks between adjacent words dropped,
// raw 8-bit text decoded once; trimmed.
QString decodeHeaderText(const QByteArray& raw, const HeaderCharsets& charsets);

// An address list (From, To, Cc), groups flattened. Besides "Name <addr>" and bare addresses it
// reads "Name addr@host" (no angle brackets), "addr (Name)", "Name <>" and quoted names holding
// commas; entries with neither name nor address are left out.
QList<MimeAddress> parseAddressList(const QByteArray& raw, const HeaderCharsets& charsets);

}  // namespace kvmail::mime
