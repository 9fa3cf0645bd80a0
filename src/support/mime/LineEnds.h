#pragma once
// Line-end conversion in one pass over the text. QString::replace rescans and moves the text
// for every pattern, which cost more than the rest of building a 17 KB message.
#include <QString>

namespace kvmail::mime {

// Every line feed, lone or after a carriage return, as CR LF; a lone carriage return stays.
QString withCrLf(const QString& text);
// Every CR LF as a single line feed; a lone carriage return stays.
QString withLf(const QString& text);

}  // namespace kvmail::mime
