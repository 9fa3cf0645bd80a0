#include "support/mime/LineEnds.h"

#include <string>

namespace kvmail::mime {
namespace {

bool loneFeed(const char16_t* d, qsizetype i) {
  return d[i] == u'\n' && (i == 0 || d[i - 1] != u'\r');
}

}  // namespace

QString withCrLf(const QString& text) {
  const auto* d = reinterpret_cast<const char16_t*>(text.constData());
  const qsizetype n = text.size();
  qsizetype added = 0;
  for (qsizetype i = 0; i < n; ++i) added += loneFeed(d, i);
  if (added == 0) return text;
  QString out(n + added, Qt::Uninitialized);
  auto* o = reinterpret_cast<char16_t*>(out.data());
  for (qsizetype i = 0; i < n; ++i) {
    if (loneFeed(d, i)) *o++ = u'\r';
    *o++ = d[i];
  }
  return out;
}

QString withLf(const QString& text) {
  const auto* d = reinterpret_cast<const char16_t*>(text.constData());
  const qsizetype n = text.size();
  if (!std::char_traits<char16_t>::find(d, n, u'\r')) return text;
  QString out(n, Qt::Uninitialized);
  auto* start = reinterpret_cast<char16_t*>(out.data());
  char16_t* o = start;
  for (qsizetype i = 0; i < n; ++i)
    if (d[i] != u'\r' || i + 1 == n || d[i + 1] != u'\n') *o++ = d[i];
  out.truncate(o - start);
  return out;
}

}  // namespace kvmail::mime
