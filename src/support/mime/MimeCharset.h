#pragma once
// Charset work for the MIME layer: label mapping, tolerant decoding, strict encoding.
#include <QByteArray>
#include <QString>

#include <optional>

namespace kvmail::mime {

// The converter name for a charset label as mail programs write it (any case, "_" or "-",
// aliases such as ks_c_5601-1987, x-gbk, koi8_r). Families go to the superset senders really use:
// the gb2312 family (gb2312, GB_2312-80, GBK, cp936...) to GB18030, euc-kr to CP949, shift_jis to
// CP932. Empty for an empty or meaningless label.
QByteArray converterName(const QString& label);

// Keeps the Chinese and Unicode converter modules loaded for the life of the process; GMime
// opens converters per header, and each reload of a module costs about a millisecond.
void keepConvertersLoaded();

// Whether the converter name is one the system can convert from.
bool knownConverter(const QByteArray& converter);

// The bytes an RFC 2047 payload stands for: encoding 'B' (base64) or 'Q'.
QByteArray decodeWordPayload(const QByteArray& payload, char encoding);

// Decodes bytes in one charset; nullopt when the charset is unknown or any byte is undecodable.
std::optional<QString> decodeStrict(const QByteArray& bytes, const QByteArray& converter);

// Decodes text that claims `declared` (may be empty or wrong): the declared charset when it
// decodes cleanly, then the fallback, UTF-8 and GB18030; failing all, the best effort with U+FFFD.
QString decodeText(const QByteArray& bytes, const QString& declared, const QString& fallback);

// The converter for raw 8-bit header text, which carries no label of its own: UTF-8 when the
// bytes are valid UTF-8, otherwise the declared charset, then the fallback, when it reads every
// byte, otherwise GB18030; failing all, the first of those.
QByteArray headerTextConverter(const QByteArray& bytes, const QString& declared,
                               const QString& fallback);

// Decodes with one converter; bytes it cannot read become U+FFFD.
QString decodeLenient(const QByteArray& bytes, const QByteArray& converter);

// Encodes text in one charset; nullopt when any character cannot be represented.
std::optional<QByteArray> encodeStrict(const QString& text, const char* converter);

// Rewrites the charset labels inside a raw header (RFC 2047 words, RFC 2231 values) to the
// converter names above, so the parser reads koi8_r or ks_c_5601-1987, and the GBK characters
// that mail labelled gb2312 really holds.
QByteArray canonicalLabels(const QByteArray& rawHeader);

// Joins each run of adjacent RFC 2047 words of one charset into a single B word, so a character
// split across words, or base64 padding inside the run, does not cut the decoded text short.
QByteArray mergeEncodedWords(const QByteArray& rawHeader);

}  // namespace kvmail::mime
