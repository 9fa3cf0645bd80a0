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

// A call's item, or "!" with the failure's source and text when it raises.
QString answer(const std::function<QString()>& call) {
  try {
    return call();
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), kCollectionErrorNumber);
    return u"!%1: %2"_s.arg(e.source(), e.description());
  }
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
  EXPECT_EQ(c.CountKey(), 3);
  EXPECT_EQ(c.Item("kd"), "d");
  EXPECT_EQ(c.KeyPosition("kd"), 5);
  c.setItem("kd", "D");  // replaced in place, the key kept
  c.setItem(1, "A");
  EXPECT_EQ(c.Item(5) + c.Key(5) + c.Item(1), "DkdA");

  Strings empty;  // an empty collection takes any index as "at the end"
  EXPECT_EQ(empty.Add("x", "", 5), "x");
  Strings other;
  EXPECT_EQ(other.Add("x", "", IndexKey::other()), "x");

  Strings at;
  for (const auto& [item, place] : {std::pair{"m", AddAtPosition::Last},
                                    {"z", AddAtPosition::Last},
                                    {"a", AddAtPosition::First},
                                    {"b", AddAtPosition::AfterFirst},
                                    {"y", AddAtPosition::BeforeLast},
                                    {"q", static_cast<AddAtPosition>(9)}})
    at.AddAt(item, "", place);  // an unknown place appends
  EXPECT_EQ(walk(at), QStringList({"a", "b", "m", "y", "z", "q"}));
}

TEST(CollectionX, KeysFollowCharacterCodeOrderAndAreUnique) {
  Strings c;
  for (const char* key : {"b", "A", "a", "Z"}) c.Add(u"item "_s + key, key);
  c.Add("unkeyed");
  c.Add("unkeyed too");  // empty keys repeat
  EXPECT_EQ(walkKeys(c), QStringList({"item A", "item Z", "item a", "item b"}));
  // Keys are case-sensitive here: "B" is none of them.
  EXPECT_EQ((QList<long>{c.ItemIndex("A"), c.ItemIndex("b"), c.ItemIndex("B"), c.KeyPosition("B")}),
            (QList<long>{1, 4, 0, 0}));
  for (const auto& [key, after] : {std::pair{"B", 1}, {"_", 2}, {"a", 2}, {" ", 0}, {"zz", 4}})
    EXPECT_EQ(c.KeyInsertAfterPos(key), after) << key;
  EXPECT_EQ(c.Key(1) + '|' + c.Key(5) + '|' + c.Key(7), "b||");
  EXPECT_EQ(answer([&] { return c.Item("B"); }), "!Collectn.Item: Invalid index reference");
  EXPECT_EQ(answer([&] { return c.Add("two", "b"); }),
            "!Collectn.Add: Invalid key, key already in use");
  EXPECT_EQ(QString::number(c.Count()) + c.Item("b"), "6item b");
}

TEST(CollectionX, PositionCursorWalksBothWaysAndStopsOutsideTheEnds) {
  Strings c;
  for (const char* s : {"a", "b", "c"}) c.Add(s);
  const auto next = [&] { return answer([&] { return c.ItemNext(); }); };
  const auto previous = [&] { return answer([&] { return c.ItemPrevious(); }); };
  const QString end = "!Collectn.ItemNext: End of collection has been reached";
  EXPECT_TRUE(c.BOC() && !c.EOC());
  EXPECT_EQ((QStringList{next(), next(), QString::number(c.ItemPosition()), next(), next()}),
            (QStringList{"a", "b", "2", "c", end}));  // from before the first to past the last
  EXPECT_TRUE(c.EOC());
  EXPECT_EQ((QStringList{next(), previous(), previous(), c.ItemFirst(), previous()}),
            (QStringList{end, "c", "b", "a",
                         "!Collectn.ItemPrevious: Start of collection has been reached"}));
  EXPECT_TRUE(c.BOC());
  EXPECT_EQ((QStringList{QString::number(c.ItemPosition()), c.ItemLast(),
                         QString::number(c.ItemPosition())}),
            (QStringList{"0", "c", "3"}));
}

TEST(CollectionX, KeyCursorWalksBothWays) {
  Strings c;
  c.Add("B", "b");
  c.Add("none");
  c.Add("A", "a");
  const auto next = [&] { return answer([&] { return c.ItemNextKey(); }); };
  const auto previous = [&] { return answer([&] { return c.ItemPreviousKey(); }); };
  EXPECT_EQ(
      (QStringList{c.ItemLastKey(), previous(), previous()}),
      (QStringList{"B", "A",
                   "!Collectn.ItemPreviousKey: Start of ASCII ordered keys has been reached"}));
  EXPECT_TRUE(c.BOCKey());
  EXPECT_EQ(
      (QStringList{next(), next(), next()}),
      (QStringList{"A", "B", "!Collectn.ItemNextKey: End of ASCII ordered keys has been reached"}));
  EXPECT_TRUE(c.EOCKey());
  EXPECT_EQ(previous(), "B");
}

TEST(CollectionX, MovesNeverFailAndStopOutsideTheEnds) {
  Strings c;
  using Move = void (Strings::*)();
  for (Move move :
       {&Strings::MoveNext, &Strings::MovePrevious, &Strings::MoveFirst, &Strings::MoveLastKey})
    (c.*move)();
  EXPECT_TRUE(c.BOC() && c.EOC());
  for (const char* s : {"a", "b"}) c.Add(s, s);
  // Where the position cursor stands after each move.
  const std::pair<Move, const char*> steps[] = {
      {&Strings::MoveLast, "2"},       {&Strings::MoveNext, "EOC"}, {&Strings::MoveNext, "EOC"},
      {&Strings::MovePrevious, "2"},   {&Strings::MoveFirst, "1"},  {&Strings::MovePrevious, "BOC"},
      {&Strings::MovePrevious, "BOC"}, {&Strings::MoveNext, "1"}};
  QStringList expected, seen;
  for (const auto& [move, where] : steps) {
    (c.*move)();
    seen << (c.BOC() ? "BOC" : c.EOC() ? "EOC" : QString::number(c.ItemPosition()));
    expected << where;
  }
  EXPECT_EQ(seen, expected);

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
  EXPECT_THROW(c.Move(3), MailError);
  EXPECT_EQ(c.ItemPosition(), 1);  // a failed move stays where it was
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
    if (items.isEmpty() || rng() % 3 != 0) {
      const QString item = QString::number(serial++);
      const QString key = rng() % 4 == 0 ? QString() : u"k%1"_s.arg(rng() % 500);
      if (!key.isEmpty() && keys.contains(key)) {
        EXPECT_EQ(answer([&] { return c.Add(item, key); }),
                  "!Collectn.Add: Invalid key, key already in use");
        continue;
      }
      const long at = items.isEmpty() ? 0 : static_cast<long>(rng() % items.size()) + 1;
      const bool before = rng() % 2 == 0;
      c.Add(item, key, at, before);
      const qsizetype row = at == 0 ? items.size() : (before ? at - 1 : at);
      items.insert(row, item);
      keys.insert(row, key);
    } else {
      qsizetype row = static_cast<qsizetype>(rng() % items.size());
      const bool byKey = rng() % 2 != 0 && std::any_of(keys.begin(), keys.end(),
                                                       [](auto& k) { return !k.isEmpty(); });
      while (byKey && keys[row].isEmpty()) row = (row + 1) % keys.size();
      if (byKey)
        c.Remove(keys[row]);
      else
        c.Remove(static_cast<long>(row) + 1);
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

// The record is kept until the next operation succeeds (or, without auto-clear, until
// ErrorClear); reading it never clears it. Clear keeps the settings.
TEST(CollectionX, ErrorRecordAndSettingsLiveUntilCleared) {
  const auto record = [](const auto& c) {
    return u"%1 %2: %3"_s.arg(c.ErrorNumber()).arg(c.ErrorSource(), c.ErrorDescription());
  };
  const QString clean = "0 : ", pastKeys =
                                    u"%1 Collectn.ItemNextKey: End of ASCII ordered keys "
                                    "has been reached"_s.arg(kCollectionErrorNumber);
  Strings c;
  EXPECT_TRUE(c.ErrorsAllowed() && c.ErrorAutoClear());
  c.setErrorsAllowed(false);
  c.ItemFirst();  // recorded, as the failure table shows
  c.Add("a", "a");
  EXPECT_EQ(record(c), clean);

  c.setErrorAutoClear(false);
  c.ItemNextKey();
  c.ItemNextKey();  // past the only key
  c.Add("b", "b");
  c.ItemFirstKey();
  EXPECT_EQ(record(c), pastKeys);
  c.Clear();
  EXPECT_EQ(record(c), pastKeys);
  c.ErrorClear();
  EXPECT_EQ(record(c), clean);

  EXPECT_EQ(c.Count() + c.CountKey(), 0);
  EXPECT_TRUE(c.BOC() && c.EOC() && c.BOCKey() && c.EOCKey());
  EXPECT_FALSE(c.ErrorsAllowed() || c.ErrorAutoClear());
  c.Add("a", "a");            // the old key is gone
  c.setErrorAutoClear(true);  // Clear then clears the record, as every operation does
  c.ItemNext();
  c.ItemNext();
  EXPECT_NE(record(c), clean);
  c.Clear();
  EXPECT_EQ(record(c), clean);

  CollectionX<std::shared_ptr<int>> objects;
  objects.setErrorsAllowed(false);
  EXPECT_EQ(objects.Item(1), nullptr);
  EXPECT_EQ(objects.ErrorSource(), "Collectn.Item");
}

TEST(CollectionX, EveryFailureHasItsSourceAndTextRaisedOrRecorded) {
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
      {"Collectn.Item", invalid, [](Strings& c) { c.setItem(3, "x"); }},
      {"Collectn.Move", invalid, [](Strings& c) { c.Move("nokey"); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove(-1); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove("nokey"); }},
      {"Collectn.ItemFirstKey", noKeys, [](Strings& c) { c.ItemFirstKey(); }},
  };
  auto check = [](const std::vector<Case>& cases, const QStringList& content) {
    for (const Case& k : cases) {
      for (const bool raise : {true, false}) {
        Strings c;
        c.setErrorsAllowed(raise);
        for (const QString& s : content) c.Add(s);
        const QString seen = answer([&] {
          k.call(c);
          return QString();
        });
        EXPECT_EQ(seen, raise ? u"!%1: %2"_s.arg(k.source, k.description) : "") << k.source;
        // Raised or not, the failure is recorded and nothing changed.
        EXPECT_EQ(c.ErrorNumber(), kCollectionErrorNumber) << k.source;
        EXPECT_EQ(c.ErrorSource(), k.source);
        EXPECT_EQ(c.ErrorDescription(), k.description) << k.source;
        EXPECT_EQ(walk(c), content) << k.source;
      }
    }
  };
  check(onEmpty, {});
  check(onTwoUnkeyed, {"a", "b"});
}
