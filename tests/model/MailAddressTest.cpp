// One address and the recipient list: parsing, text forms, validity and the list's plain
// collection.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "ErrorOf.h"
#include "model/MailError.h"
#include "model/clsMailAddress.h"
#include "model/clsMailAddresses.h"

using namespace kvmail;
using kvtest::errorOf;

// Nothing is trimmed: a name keeps its blanks, text after ">" is dropped.
TEST(MailAddress, ParsesAndPrintsTheSupportedForms) {
  struct Case {
    const char *text, *name, *address, *printed;
  };
  const Case cases[] = {
      {"desk@host", "", "desk@host", "desk@host"},
      {"Sales Desk <desk@host>", "Sales Desk ", "desk@host", "Sales Desk <desk@host>"},
      {"  x<a@b> tail", "  x", "a@b", "  x<a@b>"},
      {"<>", "", "", ""},
  };
  for (const Case& c : cases) {
    clsMailAddress a;
    EXPECT_TRUE(a.Parser(c.text));
    EXPECT_EQ((QStringList{a.Name(), a.Address(), a.ToString()}),
              (QStringList{c.name, c.address, c.printed}))
        << c.text;
  }
  // Printing adds no blank and ignores a blank name, which is kept as it stands.
  clsMailAddress a;
  a.setAddress("desk@host");
  a.setName("Sales Desk");
  EXPECT_EQ(a.ToString(), "Sales Desk<desk@host>");
  a.setName("  ");
  EXPECT_EQ(a.ToString(), "desk@host");
  EXPECT_EQ(a.Name(), "  ");
}

TEST(MailAddress, UnclosedAngleFailsWithFiveAndKeepsTheFields) {
  clsMailAddress a;
  a.setName("Old");
  a.setAddress("old@host");
  // "><" puts the first ">" before "<": the length is negative, a failure too.
  for (const char* bad : {"x <a@b", "x> <a@b", "<", "><"}) {
    try {
      a.Parser(bad);
      ADD_FAILURE() << bad << " was accepted";
    } catch (const MailError& e) {
      EXPECT_EQ(e.number(), MailError::InvalidArgument) << bad;
      EXPECT_EQ(e.description(), "Invalid procedure call or argument");
    }
    EXPECT_EQ(a.Name() + a.Address(), "Oldold@host") << bad;
  }
}

// Every ";" splits, pieces stay untrimmed, and empty pieces count.
TEST(MailAddresses, ParserSplitsAtEverySemicolon) {
  struct Case {
    const char* text;
    long count;
    const char* last;
    bool valid;
  };
  const Case cases[] = {
      {"a@b;c@d", 2, "c@d", true},
      {"a@b; c@d", 2, " c@d", false},
      {"a@b;", 2, "", false},
      {"", 1, "", false},
  };
  for (const Case& c : cases) {
    clsMailAddresses list;
    EXPECT_TRUE(list.Parser(c.text));
    EXPECT_EQ(list.Count(), c.count) << c.text;
    EXPECT_EQ(list.Item(c.count)->Address(), c.last) << c.text;
    EXPECT_EQ(list.ToString(), c.text);
    EXPECT_EQ(list.IsValid(), c.valid) << c.text;
  }
}

TEST(MailAddresses, ParserAppendsOrFailsAddingNothing) {
  clsMailAddresses list;
  EXPECT_TRUE(list.IsValid());  // an empty list
  EXPECT_EQ(list.ToString(), "");
  list.Parser("a@b;c@d");
  list.Parser("e@f");
  EXPECT_EQ(list.ToString(), "a@b;c@d;e@f");
  EXPECT_EQ(errorOf([&] { list.Parser("g@h;x <c@d;e@f"); }), MailError::InvalidArgument);
  EXPECT_EQ(list.ToString(), "a@b;c@d;e@f");
}

// Deliberately inert: the separator is fixed at ";" (the set is discarded, the get answers "")
// and Find searches nothing, whatever it is given.
TEST(MailAddresses, DelimiterAndFindAreInert) {
  clsMailAddresses list;
  list.setDelimiter(",");
  EXPECT_EQ(list.Delimiter(), "");
  list.Parser("a@b,c@d;e@f");
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.ToString("%s, "), "a@b,c@d;e@f");
  EXPECT_FALSE(list.Find("e@f", 1).isValid());
}

TEST(MailAddresses, AddKeysItemRemoveAndTheirErrors) {
  clsMailAddresses list;
  MailAddressPtr first = list.Add("a@b", "A", "k1");
  EXPECT_EQ(first->Name() + first->Address(), "Aa@b");
  list.Add("c@d", "", "");
  list.Add("e@f", "", "");            // empty keys never collide
  EXPECT_EQ(list.Item("K1"), first);  // the plain collection ignores case in keys

  const std::pair<std::function<void()>, long> failures[] = {
      {[&] { list.Add("x@y", "", "K1"); }, MailError::DuplicateKey},
      {[&] { list.Item(0); }, MailError::SubscriptOutOfRange},
      {[&] { list.Item(4); }, MailError::SubscriptOutOfRange},
      {[&] { list.Item("nope"); }, MailError::InvalidArgument},
      {[&] { list.Item(IndexKey::other()); }, MailError::TypeMismatch},
      {[&] { list.Remove("nope"); }, MailError::InvalidArgument},
  };
  for (const auto& [call, error] : failures) EXPECT_EQ(errorOf(call), error);
  EXPECT_EQ(list.Count(), 3);

  list.Remove("k1");
  list.Add("g@h", "", "k1");  // its key is free again
  list.Remove(1);
  EXPECT_EQ(list.ToString(), "e@f;g@h");
}
