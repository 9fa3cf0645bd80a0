#include "addressbook/AddressIndex.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "store/MailStore.h"

namespace kvmail {
namespace {

// Ends every row of the folded text, so a search text never spans two rows. A character 0
// inside an address or a search text is folded to U+FFFD, so it cannot be taken for an end.
constexpr char kEnd = '\0';

// Appends text case-folded as UTF-8. A byte search in UTF-8 only ever matches whole
// characters, and it is several times faster than a search in UTF-16.
void appendFolded(QStringView text, QByteArray& out) {
  const qsizetype n = text.size();
  const char16_t* p = text.utf16();
  qsizetype i = 0;
  while (i < n) {
    const char16_t c = p[i];
    if (c < 0x80) {  // the usual case: an ASCII address
      if (c == 0)
        out.append("\xEF\xBF\xBD");  // U+FFFD
      else
        out.append(char(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c));
      ++i;
      continue;
    }
    // The rest of this address in one go: fold, then encode.
    QString rest = text.sliced(i).toString().toCaseFolded();
    rest.replace(QChar(u'\0'), QChar(QChar::ReplacementCharacter));
    out.append(rest.toUtf8());
    return;
  }
}

QByteArray foldedNeedle(QStringView text, bool atRowStart) {
  QByteArray needle;
  needle.reserve(text.size() + 1);
  if (atRowStart) needle.append(kEnd);
  appendFolded(text, needle);
  return needle;
}

const char* find(const char* from, const char* end, const QByteArray& needle) {
#if defined(__GLIBC__) || defined(__APPLE__)
  return static_cast<const char*>(
      memmem(from, size_t(end - from), needle.constData(), size_t(needle.size())));
#else
  const char* at =
      std::search(from, end, std::boyer_moore_horspool_searcher(needle.cbegin(), needle.cend()));
  return at == end ? nullptr : at;
#endif
}

}  // namespace

AddressIndex::AddressIndex(QStringList addresses) : addresses_(std::move(addresses)) {
  qsizetype total = 1;
  for (const QString& a : std::as_const(addresses_)) total += a.size() + 1;
  folded_.reserve(total + total / 8);
  starts_.reserve(addresses_.size() + 1);
  folded_.append(kEnd);
  for (const QString& a : std::as_const(addresses_)) {
    starts_.append(folded_.size());
    appendFolded(a, folded_);
    folded_.append(kEnd);
  }
  starts_.append(folded_.size());
}

std::shared_ptr<const AddressIndex> AddressIndex::load(const MailStore& store, QString* error) {
  return std::make_shared<const AddressIndex>(store.knownAddresses(error));
}

qsizetype AddressIndex::rowAt(qsizetype offset) const {
  const auto it = std::upper_bound(starts_.cbegin(), starts_.cend(), offset);
  return qsizetype(it - starts_.cbegin()) - 1;
}

qsizetype AddressIndex::firstContaining(QStringView text, qsizetype from) const {
  if (text.isEmpty() || from < 0 || from >= size()) return -1;
  const char* begin = folded_.constData();
  const char* at =
      find(begin + starts_.at(from), begin + folded_.size(), foldedNeedle(text, false));
  return at ? rowAt(at - begin) : -1;
}

qsizetype AddressIndex::firstStartingWith(QStringView text) const {
  if (text.isEmpty() || isEmpty()) return -1;
  // A row that begins with the text is the text right after a row's end: one pass finds the
  // first such row in history order.
  const char* begin = folded_.constData();
  const char* at = find(begin, begin + folded_.size(), foldedNeedle(text, true));
  return at ? rowAt(at - begin + 1) : -1;
}

QString AddressIndex::completion(QStringView text) const {
  const qsizetype row = firstStartingWith(text);
  return row < 0 ? QString() : addresses_.at(row);
}

}  // namespace kvmail
