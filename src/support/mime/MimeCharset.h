#pragma once
// Charset work for the MIME layer: label mapping, tolerant decoding, strict encoding.
#include <QByteArray>
#include <QString>

#include <optional>

namespace kvmail::mime {

// The converter name for a charset label: the gb2312 family (gb2312, GB_2312-80, GBK, cp936...)
// becomes GB18030, its superset; empty for an empty or meaningless label.
QByteArray converterName(const QString& label);

// Keeps the Chinese and Unicode converter modules loaded for the life of the process; GMime
// opens converters per header, and each reload of a module costs about a millisecond.
void keepConvertersLoaded();

// Decodes bytes in one charset; nullopt when the charset is unknown or any byte is undecodable.
std::optional<QString> decodeStrict(const QByteArray& bytes, const QByteArray& converter);

// Decodes text that claims `declared` (may be empty or wrong): the declared charset when it
// decodes cleanly, then the fallback, UTF-8 and GB18030; failing all, the best effort with U+FFFD.
QString decodeText(const QByteArray& bytes, const QString& declared, const QString& fallback);

// Encodes text in one charset; nullopt when any character cannot be represented.
std::optional<QByteArray> encodeStrict(const QString& text, const char* converter);

// Rewrites gb2312-family labels inside a raw header (RFC 2047 words, RFC 2231 values) to GB18030,
// so the parser decodes the GBK characters that such mail really holds.
QByteArray relabelGbFamily(const QByteArray& rawHeader);

// Joins each run of adjacent RFC 2047 words of one charset into a single B word, so a character
// split across words, or base64 padding inside the run, does not cut the decoded text short.
QByteArray mergeEncodedWords(const QByteArray& rawHeader);

}  // namespace kvmail::mime
