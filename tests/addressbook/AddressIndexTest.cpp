// The address index: the address book's search and the To field's completion, on lists whose
// history order differs from their case-blind order.
#include <gtest/gtest.h>

#include "addressbook/AddressIndex.h"

using kvmail::AddressIndex;

namespace {

// In the store's order: a binary sort puts capitals first, so "Zhang" comes before "li".
const QStringList kHistory = {
    u"Wang.Fang@Kvmail.test"_s,            // 0
    u"Zhang@kvmail.test"_s,                // 1
    u"li@kvmail.test;wang@kvmail.test"_s,  // 2: a composed mail's recipient list
    u"wang@kvmail.test"_s,                 // 3
    u"王经理@公司.cn"_s,                   // 4: no case at all
    u"zhang@other.test"_s,                 // 5
    u"Jürgen.MÜLLER@Firma.de"_s,           // 6: letters beyond ASCII
};

struct Case {
  const char16_t* text;
  qsizetype from;
  qsizetype row;
};

}  // namespace

TEST(AddressIndex, SearchFindsTheFirstRowContainingTheTextWhateverItsCase) {
  const AddressIndex index(kHistory);
  const Case cases[] = {
      {u"wang", 0, 0},           // inside, not a full match, first of several
      {u"WANG@", 0, 2},          // case-blind; the joined recipient list comes first
      {u"müller@f", 0, 6},       // case-blind beyond ASCII too
      {u"@kvmail.test;", 0, 2},  // across the ";" of a joined list
      {u"wang", 1, 2},           // from a later row on
      {u"wang", 4, -1},          // nothing after the last match
      {u"", 0, -1},              // an empty text finds nothing
      {u"test", 7, -1},          // past the end
  };
  for (const Case& c : cases) {
    const QString text = QString::fromUtf16(c.text);
    EXPECT_EQ(index.firstContaining(text, c.from), c.row)
        << text.toStdString() << " from " << c.from;
  }
  // Never across the end of one row into the next; the character 0 that ends rows inside the
  // index is an ordinary character of an address.
  const QString withZero = u"test"_s + QChar(0) + u"wang"_s;
  EXPECT_EQ(index.firstContaining(withZero), -1);
  EXPECT_EQ(AddressIndex({u"a"_s + QChar(0) + u"b"_s}).firstContaining(QChar(0) + u"b"_s), 0);
}

TEST(AddressIndex, CompletionTakesTheFirstEntryInHistoryOrderBeginningWithTheWholeText) {
  const AddressIndex index(kHistory);
  const Case cases[] = {
      {u"wang", 0, 0},                  // case-blind: the capitalised entry is first in history
      {u"WANG@", 0, 3},                 // "Wang.Fang@" does not begin with "wang@"
      {u"zh", 0, 1},                    // history order, not case-blind order
      {u"li@kvmail.test;w", 0, 2},      // the whole field, ";" and all, is compared
      {u"wang@kvmail.test;li", 0, -1},  // nothing split off at ";"
      {u"ang", 0, -1},                  // a beginning, not a part
      {u"jÜRGEN.m", 0, 6},              // case-blind beyond ASCII
      {u"", 0, -1},                     // an empty field completes nothing
  };
  for (const Case& c : cases) {
    const QString text = QString::fromUtf16(c.text);
    EXPECT_EQ(index.firstStartingWith(text), c.row) << text.toStdString();
    EXPECT_EQ(index.completion(text), c.row < 0 ? QString() : kHistory.at(c.row));
  }
  EXPECT_EQ(AddressIndex().completion(u"a"_s), QString());
}
