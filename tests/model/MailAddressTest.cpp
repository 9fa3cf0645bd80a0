// One address and the recipient list: parsing, text forms, validity and the list's plain
// collection.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "model/MailError.h"
#include "model/clsMailAddress.h"
#include "model/clsMailAddresses.h"

using namespace kvmail;

namespace {

long errorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const MailError& e) {
    return e.number();
  }
  return 0;
}

}  // namespace

TEST(MailAddress, ParsesAndPrintsTheSupportedForms) {
  clsMailAddress a;
  EXPECT_TRUE(a.Parser("desk@host"));
  EXPECT_EQ(a.Name(), "");
  EXPECT_EQ(a.Address(), "desk@host");
  EXPECT_EQ(a.ToString(), "desk@host");

  EXPECT_TRUE(a.Parser("Sales Desk <desk@host>"));
  EXPECT_EQ(a.Name(), "Sales Desk ");  // trailing blank kept
  EXPECT_EQ(a.Address(), "desk@host");
  EXPECT_EQ(a.ToString(), "Sales Desk <desk@host>");

  EXPECT_TRUE(a.Parser("<a@b>"));
  EXPECT_EQ(a.Name(), "");
  EXPECT_EQ(a.Address(), "a@b");

  EXPECT_TRUE(a.Parser("  x<a@b> tail"));  // no trimming; text after ">" dropped
  EXPECT_EQ(a.Name(), "  x");
  EXPECT_EQ(a.Address(), "a@b");
}

TEST(MailAddress, ToStringAddsNoBlankAndIgnoresABlankName) {
  clsMailAddress a;
  a.setAddress("desk@host");
  a.setName("Sales Desk");
  EXPECT_EQ(a.ToString(), "Sales Desk<desk@host>");
  a.setName("  ");
  a.setAddress("a@b");
  EXPECT_EQ(a.ToString(), "a@b");
  EXPECT_EQ(a.Name(), "  ");  // stored unchanged
}

TEST(MailAddress, UnclosedAngleFailsWithFiveAndKeepsTheFields) {
  clsMailAddress a;
  a.setName("Old");
  a.setAddress("old@host");
  for (const char* bad : {"x <a@b", "x> <a@b", "<"}) {
    try {
      a.Parser(bad);
      ADD_FAILURE() << bad << " was accepted";
    } catch (const MailError& e) {
      EXPECT_EQ(e.number(), MailError::InvalidArgument) << bad;
      EXPECT_EQ(e.description(), "Invalid procedure call or argument");
    }
    EXPECT_EQ(a.Name(), "Old");
    EXPECT_EQ(a.Address(), "old@host");
  }
  // "><" puts the first ">" before "<": the length is negative, a failure too; "<>" is fine.
  EXPECT_EQ(errorOf([&] { a.Parser("><"); }), MailError::InvalidArgument);
  EXPECT_TRUE(a.Parser("<>"));
  EXPECT_EQ(a.Address(), "");
}

TEST(MailAddress, IsValidLooksAtTheAddressOnly) {
  clsMailAddress a;
  a.setName(QString::fromUtf8("张三 <x>"));
  a.setAddress("a@b");
  EXPECT_TRUE(a.IsValid());
  a.setAddress("a@b.");
  EXPECT_FALSE(a.IsValid());
}

TEST(MailAddresses, ParserSplitsAtEverySemicolonAndAppends) {
  clsMailAddresses list;
  EXPECT_TRUE(list.Parser("a@b;c@d"));
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.ToString(), "a@b;c@d");
  EXPECT_TRUE(list.Parser("e@f"));
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.ToString(), "a@b;c@d;e@f");
  EXPECT_EQ(list.Item(3)->Address(), "e@f");
}

TEST(MailAddresses, PiecesStayUntrimmedAndEmptyPiecesCount) {
  clsMailAddresses spaced;
  spaced.Parser("a@b; c@d");
  EXPECT_EQ(spaced.Item(2)->Address(), " c@d");
  EXPECT_FALSE(spaced.IsValid());

  clsMailAddresses trailing;
  trailing.Parser("a@b;");
  EXPECT_EQ(trailing.Count(), 2);
  EXPECT_EQ(trailing.Item(2)->Address(), "");
  EXPECT_FALSE(trailing.Item(2)->IsValid());
  EXPECT_EQ(trailing.ToString(), "a@b;");

  clsMailAddresses empty;
  empty.Parser("");
  EXPECT_EQ(empty.Count(), 1);

  clsMailAddresses named;
  named.Parser("Desk <d@h>;e@f");
  EXPECT_EQ(named.ToString(), "Desk <d@h>;e@f");
  EXPECT_TRUE(named.IsValid());
}

TEST(MailAddresses, BadPieceFailsAndAddsNothing) {
  clsMailAddresses list;
  list.Add("keep@me");
  EXPECT_EQ(errorOf([&] { list.Parser("a@b;x <c@d;e@f"); }), MailError::InvalidArgument);
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(list.ToString(), "keep@me");
}

TEST(MailAddresses, EmptyListAndTheInertMembers) {
  clsMailAddresses list;
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(list.ToString(), "");
  EXPECT_TRUE(list.IsValid());

  // The separator is fixed at ";": the set is discarded and the get answers "".
  list.setDelimiter(",");
  EXPECT_EQ(list.Delimiter(), "");
  list.Parser("a@b,c@d;e@f");
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.ToString("%s, "), "a@b,c@d;e@f");

  // Find searches nothing, whatever it is given.
  EXPECT_FALSE(list.Find("a@b").isValid());
  EXPECT_FALSE(list.Find("e@f", 1).isValid());
}

TEST(MailAddresses, AddKeysItemRemoveAndTheirErrors) {
  clsMailAddresses list;
  MailAddressPtr first = list.Add("a@b", "A", "k1");
  EXPECT_EQ(first->Address(), "a@b");
  EXPECT_EQ(first->Name(), "A");
  list.Add("c@d", "", "");
  list.Add("e@f", "", "");  // empty keys never collide
  EXPECT_EQ(list.Item("k1"), first);
  EXPECT_EQ(list.Item("K1"), first);  // the plain collection ignores case in keys

  EXPECT_EQ(errorOf([&] { list.Add("x@y", "", "k1"); }), MailError::DuplicateKey);
  EXPECT_EQ(errorOf([&] { list.Add("x@y", "", "K1"); }), MailError::DuplicateKey);
  EXPECT_EQ(list.Count(), 3);

  EXPECT_EQ(errorOf([&] { list.Item(0); }), MailError::SubscriptOutOfRange);
  EXPECT_EQ(errorOf([&] { list.Item(4); }), MailError::SubscriptOutOfRange);
  EXPECT_EQ(errorOf([&] { list.Item("nope"); }), MailError::InvalidArgument);
  EXPECT_EQ(errorOf([&] { list.Item(IndexKey::other()); }), MailError::TypeMismatch);
  EXPECT_EQ(errorOf([&] { list.Remove(9); }), MailError::SubscriptOutOfRange);
  EXPECT_EQ(errorOf([&] { list.Remove("nope"); }), MailError::InvalidArgument);
  EXPECT_EQ(list.Count(), 3);

  list.Remove("k1");
  EXPECT_EQ(list.Item(1)->Address(), "c@d");
  EXPECT_EQ(first->Address(), "a@b");  // a removed address lives on while held
  list.Add("g@h", "", "k1");           // its key is free again
  list.Remove(1);
  EXPECT_EQ(list.ToString(), "e@f;g@h");
}

TEST(MailAddresses, EnumeratesInOrderAndClearEmpties) {
  clsMailAddresses list;
  list.Parser("a@b;c@d;e@f");
  QStringList seen;
  for (const MailAddressPtr& a : list.NewEnum()) seen << a->Address();
  EXPECT_EQ(seen, QStringList({"a@b", "c@d", "e@f"}));

  MailAddressPtr held = list.Item(2);
  list.Clear();
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(held->Address(), "c@d");
  list.Add("x@y", "", "k");
  EXPECT_EQ(list.Count(), 1);
}
