// The ordered keyed collection: placement, key order, both cursors, both error regimes, and the
// exact number, source and text of every failure.
#include <gtest/gtest.h>

#include <QStringList>

#include <functional>
#include <memory>
#include <random>

#include "model/CollectionX.h"

using namespace kvmail;

namespace {

using Strings = CollectionX<QString>;

struct Failure {
  long number = 0;
  QString source;
  QString description;
};

Failure failureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const MailError& e) {
    return {e.number(), e.source(), e.description()};
  }
  return {};
}

QStringList walk(Strings& c) {
  QStringList out;
  for (const QString& s : c.Items()) out << s;
  return out;
}

QStringList walkKeys(Strings& c) {
  QStringList out;
  if (c.CountKey() == 0) return out;
  out << c.ItemFirstKey();
  for (long i = 1; i < c.CountKey(); ++i) out << c.ItemNextKey();
  return out;
}

}  // namespace

TEST(CollectionX, StartsEmptyWithEveryFlagSet) {
  Strings c;
  EXPECT_EQ(c.Count(), 0);
  EXPECT_EQ(c.CountKey(), 0);
  EXPECT_TRUE(c.BOC() && c.EOC() && c.BOCKey() && c.EOCKey());
  EXPECT_TRUE(c.ErrorsAllowed());
  EXPECT_TRUE(c.ErrorAutoClear());
  EXPECT_EQ(c.ErrorNumber(), 0);
  EXPECT_EQ(c.ErrorSource(), "");
  EXPECT_EQ(c.ErrorDescription(), "");
  EXPECT_EQ(c.ItemPosition(), 0);
}

TEST(CollectionX, AddPlacesBeforeOrAfterAPositionOrAKey) {
  Strings c;
  EXPECT_EQ(c.Add("b", "kb"), "b");
  c.Add("d", "kd");
  c.Add("a", "ka", 1, true);    // before position 1
  c.Add("c", "", "kb", false);  // after the item keyed "kb"
  c.Add("e", "", 0);            // position 0 means the end
  c.Add("c0", "", "kd", true);  // before the item keyed "kd"
  c.Add("f", "", 6, false);     // after the last
  EXPECT_EQ(walk(c), QStringList({"a", "b", "c", "c0", "d", "e", "f"}));
  EXPECT_EQ(c.Count(), 7);
  EXPECT_EQ(c.CountKey(), 3);
  EXPECT_EQ(c.Item("kd"), "d");
  EXPECT_EQ(c.KeyPosition("kd"), 5);
  EXPECT_EQ(c.Item(4), "c0");

  Strings empty;  // an empty collection takes any index as "at the end"
  EXPECT_EQ(empty.Add("x", "", 5), "x");
  Strings other;
  EXPECT_EQ(other.Add("x", "", IndexKey::other()), "x");
  EXPECT_EQ(other.Count(), 1);
}

TEST(CollectionX, AddAtMapsItsFourPlaces) {
  Strings c;
  c.AddAt("m", "", AddAtPosition::Last);
  c.AddAt("z", "", AddAtPosition::Last);
  c.AddAt("a", "", AddAtPosition::First);
  c.AddAt("b", "kb", AddAtPosition::AfterFirst);
  c.AddAt("y", "", AddAtPosition::BeforeLast);
  EXPECT_EQ(walk(c), QStringList({"a", "b", "m", "y", "z"}));
  EXPECT_EQ(c.Item("kb"), "b");
  c.AddAt("q", "", static_cast<AddAtPosition>(9));  // an unknown place appends
  EXPECT_EQ(c.Item(6), "q");
}

TEST(CollectionX, KeysFollowCharacterCodeOrder) {
  Strings c;
  c.Add("item b", "b");
  c.Add("item A", "A");
  c.Add("item a", "a");
  c.Add("item Z", "Z");
  c.Add("unkeyed");
  EXPECT_EQ(walkKeys(c), QStringList({"item A", "item Z", "item a", "item b"}));
  EXPECT_EQ(c.ItemIndex("A"), 1);
  EXPECT_EQ(c.ItemIndex("b"), 4);
  EXPECT_EQ(c.ItemIndex("B"), 0);
  EXPECT_EQ(c.KeyInsertAfterPos("B"), 1);  // after "A", before "Z"
  EXPECT_EQ(c.KeyInsertAfterPos("_"), 2);  // after "Z", before "a"
  EXPECT_EQ(c.KeyInsertAfterPos("a"), 2);
  EXPECT_EQ(c.KeyInsertAfterPos(" "), 0);
  EXPECT_EQ(c.KeyInsertAfterPos("zz"), 4);
  EXPECT_EQ(c.Key(1), "b");
  EXPECT_EQ(c.Key(5), "");
  EXPECT_EQ(c.Key(6), "");
  EXPECT_EQ(c.KeyPosition("B"), 0);
  const Failure f = failureOf([&] { c.Item("B"); });
  EXPECT_EQ(f.description, "Invalid index reference");
}

TEST(CollectionX, DuplicateKeyIsRefusedButEmptyKeysRepeat) {
  Strings c;
  c.Add("one", "k");
  const Failure f = failureOf([&] { c.Add("two", "k"); });
  EXPECT_EQ(f.number, -2147220991);
  EXPECT_EQ(f.source, "Collectn.Add");
  EXPECT_EQ(f.description, "Invalid key, key already in use");
  EXPECT_EQ(c.Count(), 1);
  EXPECT_EQ(c.Item("k"), "one");
  c.Add("x", "");
  c.Add("y", "");
  EXPECT_EQ(c.Count(), 3);
  EXPECT_EQ(c.CountKey(), 1);
  c.Add("K", "K");  // keys are case-sensitive here
  EXPECT_EQ(c.CountKey(), 2);
}

TEST(CollectionX, PositionCursorWalksBothWays) {
  Strings c;
  for (const char* s : {"a", "b", "c"}) c.Add(s);
  EXPECT_TRUE(c.BOC());
  EXPECT_FALSE(c.EOC());
  EXPECT_EQ(c.ItemNext(), "a");  // from before the first
  EXPECT_EQ(c.ItemNext(), "b");
  EXPECT_EQ(c.ItemPosition(), 2);
  EXPECT_EQ(c.ItemNext(), "c");
  Failure f = failureOf([&] { c.ItemNext(); });  // on the last item
  EXPECT_EQ(f.source, "Collectn.ItemNext");
  EXPECT_EQ(f.description, "End of collection has been reached");
  EXPECT_TRUE(c.EOC());
  EXPECT_EQ(failureOf([&] { c.ItemNext(); }).description, "End of collection has been reached");
  EXPECT_EQ(c.ItemPrevious(), "c");  // back from past the end
  EXPECT_EQ(c.ItemPrevious(), "b");
  EXPECT_EQ(c.ItemFirst(), "a");
  EXPECT_FALSE(c.BOC());
  f = failureOf([&] { c.ItemPrevious(); });
  EXPECT_EQ(f.source, "Collectn.ItemPrevious");
  EXPECT_EQ(f.description, "Start of collection has been reached");
  EXPECT_TRUE(c.BOC());
  EXPECT_EQ(c.ItemPosition(), 0);
  EXPECT_EQ(c.ItemLast(), "c");
  EXPECT_EQ(c.ItemPosition(), 3);
}

TEST(CollectionX, MovesNeverFailAndStopOutsideTheEnds) {
  Strings c;
  c.MoveNext();
  c.MovePrevious();
  c.MoveFirst();
  c.MoveLastKey();
  EXPECT_TRUE(c.BOC() && c.EOC());
  for (const char* s : {"a", "b"}) c.Add(s, s);
  c.MoveLast();
  EXPECT_EQ(c.ItemPosition(), 2);
  c.MoveNext();
  c.MoveNext();
  EXPECT_TRUE(c.EOC());
  c.MovePrevious();
  EXPECT_EQ(c.ItemPosition(), 2);
  c.MoveFirst();
  c.MovePrevious();
  c.MovePrevious();
  EXPECT_TRUE(c.BOC());
  c.MoveNext();
  EXPECT_EQ(c.ItemPosition(), 1);

  c.MoveLastKey();
  EXPECT_FALSE(c.EOCKey());
  c.MoveNextKey();
  EXPECT_TRUE(c.EOCKey());
  c.MovePreviousKey();
  EXPECT_EQ(c.ItemPreviousKey(), "a");
  c.MovePreviousKey();
  EXPECT_TRUE(c.BOCKey());
  c.MoveFirstKey();
  EXPECT_EQ(c.ItemNextKey(), "b");

  c.Move("b");
  EXPECT_EQ(c.ItemPosition(), 2);
  c.Move(1);
  EXPECT_EQ(c.ItemPosition(), 1);
  const Failure f = failureOf([&] { c.Move(3); });
  EXPECT_EQ(f.source, "Collectn.Move");
  EXPECT_EQ(f.description, "Invalid index reference");
  EXPECT_EQ(c.ItemPosition(), 1);
}

TEST(CollectionX, KeyCursorWalksBothWays) {
  Strings c;
  c.Add("B", "b");
  c.Add("none");
  c.Add("A", "a");
  EXPECT_EQ(c.ItemLastKey(), "B");
  EXPECT_EQ(c.ItemPreviousKey(), "A");
  Failure f = failureOf([&] { c.ItemPreviousKey(); });
  EXPECT_EQ(f.source, "Collectn.ItemPreviousKey");
  EXPECT_EQ(f.description, "Start of ASCII ordered keys has been reached");
  EXPECT_TRUE(c.BOCKey());
  EXPECT_EQ(c.ItemNextKey(), "A");
  EXPECT_EQ(c.ItemNextKey(), "B");
  f = failureOf([&] { c.ItemNextKey(); });
  EXPECT_EQ(f.source, "Collectn.ItemNextKey");
  EXPECT_EQ(f.description, "End of ASCII ordered keys has been reached");
  EXPECT_TRUE(c.EOCKey());
  EXPECT_EQ(c.ItemPreviousKey(), "B");
}

TEST(CollectionX, CursorsStayOnTheirItemWhenOthersComeAndGo) {
  Strings c;
  for (const char* s : {"a", "b", "c", "d"}) c.Add(s, s);
  c.Move("c");
  c.ItemFirstKey();
  c.ItemNextKey();  // key cursor on "b"
  c.Add("first", "0", 1, true);
  EXPECT_EQ(c.ItemPosition(), 4);
  EXPECT_EQ(c.ItemNextKey(), "c");  // "0" sorted in before "b"; the cursor kept to "b"
  c.Remove("a");
  EXPECT_EQ(c.ItemPosition(), 3);
  EXPECT_EQ(c.Item(c.ItemPosition()), "c");
  // Removing the current item leaves the cursor just before the one that followed.
  c.Remove(3);
  EXPECT_EQ(c.ItemNext(), "d");
  EXPECT_EQ(c.ItemNextKey(), "d");  // the key cursor too stood just before what followed "c"
  // blnMoveCurrent puts both cursors on the new item.
  c.Add("new", "n", "b", false, true);
  EXPECT_EQ(c.Item(c.ItemPosition()), "new");
  EXPECT_EQ(c.ItemPreviousKey(), "d");  // keys "0", "b", "d", "n": the cursor was on "n"
}

TEST(CollectionX, RemoveKeepsKeysAndPositionsConsistent) {
  // Cross-checks every lookup against a plain list after a long random run of adds and removes.
  std::mt19937 rng(20240611);
  Strings c;
  QStringList items, keys;  // the expected table: item i has key keys[i] ("" for none)
  int serial = 0;
  for (int step = 0; step < 2000; ++step) {
    const bool add = items.isEmpty() || rng() % 3 != 0;
    if (add) {
      const QString item = QString::number(serial++);
      const QString key = rng() % 4 == 0 ? QString() : QStringLiteral("k%1").arg(rng() % 500);
      if (!key.isEmpty() && keys.contains(key)) {
        EXPECT_EQ(failureOf([&] { c.Add(item, key); }).description,
                  "Invalid key, key already in use");
        continue;
      }
      const long at = items.isEmpty() ? 0 : static_cast<long>(rng() % items.size()) + 1;
      const bool before = rng() % 2 == 0;
      c.Add(item, key, at, before);
      const qsizetype row = at == 0 ? items.size() : (before ? at - 1 : at);
      items.insert(row, item);
      keys.insert(row, key);
    } else if (rng() % 2 == 0 ||
               !std::any_of(keys.begin(), keys.end(), [](auto& k) { return !k.isEmpty(); })) {
      const long at = static_cast<long>(rng() % items.size()) + 1;
      c.Remove(at);
      items.removeAt(at - 1);
      keys.removeAt(at - 1);
    } else {
      qsizetype row = static_cast<qsizetype>(rng() % keys.size());
      while (keys[row].isEmpty()) row = (row + 1) % keys.size();
      c.Remove(keys[row]);
      items.removeAt(row);
      keys.removeAt(row);
    }
  }
  ASSERT_EQ(walk(c), items);
  QStringList sortedKeys;
  for (qsizetype i = 0; i < items.size(); ++i) {
    EXPECT_EQ(c.Key(static_cast<long>(i) + 1), keys[i]);
    if (keys[i].isEmpty()) continue;
    sortedKeys << keys[i];
    EXPECT_EQ(c.Item(keys[i]), items[i]);
    EXPECT_EQ(c.KeyPosition(keys[i]), i + 1);
  }
  std::sort(sortedKeys.begin(), sortedKeys.end());
  ASSERT_EQ(c.CountKey(), sortedKeys.size());
  for (qsizetype k = 0; k < sortedKeys.size(); ++k) EXPECT_EQ(c.ItemIndex(sortedKeys[k]), k + 1);
  QStringList byKey;
  for (const QString& key : sortedKeys) byKey << c.Item(key);
  EXPECT_EQ(walkKeys(c), byKey);
}

TEST(CollectionX, ItemLetReplacesInPlaceAndKeepsTheKey) {
  Strings c;
  c.Add("a", "ka");
  c.Add("b");
  c.setItem("ka", "A");
  c.setItem(2, "B");
  EXPECT_EQ(walk(c), QStringList({"A", "B"}));
  EXPECT_EQ(c.Key(1), "ka");
  const Failure f = failureOf([&] { c.setItem(3, "C"); });
  EXPECT_EQ(f.source, "Collectn.Item");
  EXPECT_EQ(f.description, "Invalid index reference");
  EXPECT_EQ(c.Count(), 2);
}

TEST(CollectionX, ObjectsAreSharedAndValuesCopied) {
  CollectionX<std::shared_ptr<QString>> objects;
  auto shared = std::make_shared<QString>("x");
  objects.Add(shared, "k");
  EXPECT_EQ(objects.Item("k"), shared);
  *shared = "changed";
  EXPECT_EQ(*objects.Item(1), "changed");

  Strings values;
  QString text = "x";
  values.Add(text);
  text = "changed";
  EXPECT_EQ(values.Item(1), "x");
}

TEST(CollectionX, ErrorsNotAllowedRecordWithoutRaising) {
  Strings c;
  c.setErrorsAllowed(false);
  EXPECT_EQ(c.ItemFirst(), QString());
  EXPECT_EQ(c.ErrorNumber(), -2147220991);
  EXPECT_EQ(c.ErrorSource(), "Collectn.ItemFirst");
  EXPECT_EQ(c.ErrorDescription(), "There are no items in the collection");
  EXPECT_EQ(c.ErrorNumber(), -2147220991);  // reading the record does not clear it

  c.Add("a");  // the next successful operation clears it
  EXPECT_EQ(c.ErrorNumber(), 0);
  EXPECT_EQ(c.ErrorSource(), "");
  EXPECT_EQ(c.ErrorDescription(), "");

  CollectionX<std::shared_ptr<int>> objects;
  objects.setErrorsAllowed(false);
  EXPECT_EQ(objects.Item(1), nullptr);
  EXPECT_EQ(objects.ErrorSource(), "Collectn.Item");
  objects.Remove("x");
  EXPECT_EQ(objects.ErrorSource(), "Collectn.Remove");
}

TEST(CollectionX, WithoutAutoClearTheRecordStaysUntilErrorClear) {
  Strings c;
  c.setErrorsAllowed(false);
  c.setErrorAutoClear(false);
  c.ItemLast();
  c.Add("a");
  c.ItemFirst();
  EXPECT_EQ(c.ErrorSource(), "Collectn.ItemLast");
  c.Clear();
  EXPECT_EQ(c.ErrorSource(), "Collectn.ItemLast");
  c.ErrorClear();
  EXPECT_EQ(c.ErrorNumber(), 0);
  EXPECT_EQ(c.ErrorSource(), "");
  EXPECT_EQ(c.ErrorDescription(), "");

  c.setErrorAutoClear(true);  // Clear then clears the record, as every operation does
  c.ItemNext();
  EXPECT_EQ(c.ErrorNumber(), -2147220991);
  c.Clear();
  EXPECT_EQ(c.ErrorNumber(), 0);
}

TEST(CollectionX, RaisedErrorsAreAlsoRecorded) {
  Strings c;
  EXPECT_THROW(c.ItemLastKey(), MailError);
  EXPECT_EQ(c.ErrorNumber(), -2147220991);
  EXPECT_EQ(c.ErrorSource(), "Collectn.ItemLastKey");
}

TEST(CollectionX, ClearEmptiesBothTablesAndKeepsTheSettings) {
  Strings c;
  c.setErrorsAllowed(false);
  c.setErrorAutoClear(false);
  c.Add("a", "a");
  c.Add("b", "b");
  c.ItemFirst();
  c.ItemFirstKey();
  c.Clear();
  EXPECT_EQ(c.Count(), 0);
  EXPECT_EQ(c.CountKey(), 0);
  EXPECT_TRUE(c.BOC() && c.EOC() && c.BOCKey() && c.EOCKey());
  EXPECT_FALSE(c.ErrorsAllowed());
  EXPECT_FALSE(c.ErrorAutoClear());
  c.Add("a", "a");  // the old key is gone
  EXPECT_EQ(c.Count(), 1);
}

TEST(CollectionX, EveryFailureHasItsSourceAndText) {
  const QString invalid = "Invalid index reference";
  const QString noItems = "There are no items in the collection";
  const QString noKeys = "There are no keys registered in the collection";
  struct Case {
    const char* source;
    QString description;
    std::function<void(Strings&)> call;
  };
  const std::vector<Case> onEmpty = {
      {"Collectn.ItemFirst", noItems, [](Strings& c) { c.ItemFirst(); }},
      {"Collectn.ItemLast", noItems, [](Strings& c) { c.ItemLast(); }},
      {"Collectn.ItemNext", noItems, [](Strings& c) { c.ItemNext(); }},
      {"Collectn.ItemPrevious", noItems, [](Strings& c) { c.ItemPrevious(); }},
      {"Collectn.ItemFirstKey", noKeys, [](Strings& c) { c.ItemFirstKey(); }},
      {"Collectn.ItemLastKey", noKeys, [](Strings& c) { c.ItemLastKey(); }},
      {"Collectn.ItemNextKey", noKeys, [](Strings& c) { c.ItemNextKey(); }},
      {"Collectn.ItemPreviousKey", noKeys, [](Strings& c) { c.ItemPreviousKey(); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(1); }},
      {"Collectn.Move", invalid, [](Strings& c) { c.Move(1); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove(1); }},
  };
  const std::vector<Case> onTwoUnkeyed = {
      {"Collectn.Add", "Index position out of range", [](Strings& c) { c.Add("x", "", -1); }},
      {"Collectn.Add", "Index position out of range", [](Strings& c) { c.Add("x", "", 3); }},
      {"Collectn.Add", invalid, [](Strings& c) { c.Add("x", "", "nokey"); }},
      {"Collectn.Add", invalid, [](Strings& c) { c.Add("x", "", ""); }},
      {"Collectn.Add", invalid, [](Strings& c) { c.Add("x", "", IndexKey::other()); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(0); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(3); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(IndexKey()); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.setItem("nokey", "x"); }},
      {"Collectn.Move", invalid, [](Strings& c) { c.Move("nokey"); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove(-1); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove("nokey"); }},
      {"Collectn.ItemFirstKey", noKeys, [](Strings& c) { c.ItemFirstKey(); }},
  };
  auto check = [](const std::vector<Case>& cases, const QStringList& content) {
    for (const Case& k : cases) {
      Strings raised;
      for (const QString& s : content) raised.Add(s);
      const Failure f = failureOf([&] { k.call(raised); });
      EXPECT_EQ(f.number, -2147220991) << k.source;
      EXPECT_EQ(f.source, k.source);
      EXPECT_EQ(f.description, k.description) << k.source;
      EXPECT_EQ(walk(raised), content) << k.source;  // nothing changed

      Strings quiet;  // the same failure, only recorded
      quiet.setErrorsAllowed(false);
      for (const QString& s : content) quiet.Add(s);
      EXPECT_NO_THROW(k.call(quiet)) << k.source;
      EXPECT_EQ(quiet.ErrorNumber(), -2147220991);
      EXPECT_EQ(quiet.ErrorSource(), k.source);
      EXPECT_EQ(quiet.ErrorDescription(), k.description);
      EXPECT_EQ(walk(quiet), content) << k.source;
    }
  };
  check(onEmpty, {});
  check(onTwoUnkeyed, {"a", "b"});
}
