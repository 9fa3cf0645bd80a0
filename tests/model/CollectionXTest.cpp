// The ordered keyed collection: placement, key order, both cursors, both error regimes, and the
// exact number, source and text of every failure. The random run (key order and lookups) and the
// failure table carry most of it; the other cases hold what those two never reach.
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

// Where the cursor stands: "BOC", "EOC" or its position; over the keys "BOC", "EOC" or "".
QString where(const Strings& c, bool keys = false) {
  if (keys) return c.BOCKey() ? u"BOC"_s : c.EOCKey() ? u"EOC"_s : QString();
  return c.BOC() ? u"BOC"_s : c.EOC() ? u"EOC"_s : QString::number(c.ItemPosition());
}

// Runs each step and writes what it read ("" for a move, "!" for a failure) and where the
// cursor then stands.
QStringList walkSteps(Strings& c, bool keys, const std::vector<std::function<QString()>>& steps) {
  QStringList seen;
  for (const auto& step : steps) {
    const QString item = answer(step);
    seen << (item.startsWith(u'!') ? u"!"_s : item) + ' ' + where(c, keys);
  }
  return seen;
}

}  // namespace

TEST(CollectionX, AddPlacesBeforeOrAfterAKeyOrAtTheEndAndSetItemKeepsTheKey) {
  Strings c;
  EXPECT_EQ(c.Add("b", "kb"), "b");
  c.Add("d", "kd");
  c.Add("c", "", "kb", false);  // after the item keyed "kb"
  c.Add("c0", "", "kd", true);  // before the item keyed "kd"
  c.Add("e", "", 0);            // position 0 means the end
  EXPECT_EQ(walk(c), QStringList({"b", "c", "c0", "d", "e"}));
  c.setItem("kd", "D");  // replaced in place, the key kept
  c.setItem(1, "B");
  EXPECT_EQ(c.Item(4) + c.Key(4) + c.Item(1), "DkdB");
  EXPECT_EQ(c.Key(2) + c.Key(6), "");  // no key, and no such position
  Strings empty;                       // an empty collection takes any index as "at the end"
  EXPECT_EQ(empty.Add("x", "", 5), "x");

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

// Reads just outside either end fail (the failure table holds their texts) and leave the cursor
// there; moves never fail and stop there too.
TEST(CollectionX, BothCursorsReadAndMoveBothWaysAndStopOutsideTheEnds) {
  Strings c;
  for (auto move :
       {&Strings::MoveNext, &Strings::MovePrevious, &Strings::MoveFirst, &Strings::MoveLastKey})
    (c.*move)();  // nothing to move over: no failure
  EXPECT_TRUE(c.BOC() && c.EOC() && c.BOCKey());
  for (const char* s : {"a", "b"}) c.Add(s, s);
  const auto move = [&](void (Strings::*m)()) {
    return [&c, m] {
      (c.*m)();
      return QString();
    };
  };
  const auto read = [&](QString (Strings::*r)()) { return [&c, r] { return (c.*r)(); }; };
  EXPECT_EQ(
      walkSteps(
          c, false,
          {read(&Strings::ItemNext), read(&Strings::ItemNext), read(&Strings::ItemNext),
           read(&Strings::ItemNext), read(&Strings::ItemPrevious), move(&Strings::MoveNext),
           move(&Strings::MoveNext), move(&Strings::MovePrevious), read(&Strings::ItemFirst),
           read(&Strings::ItemPrevious), move(&Strings::MovePrevious), move(&Strings::MoveNext),
           read(&Strings::ItemLast), move(&Strings::MoveFirst), move(&Strings::MoveLast)}),
      QStringList({"a 1", "b 2", "! EOC", "! EOC", "b 2", " EOC", " EOC", " 2", "a 1", "! BOC",
                   " BOC", " 1", "b 2", " 1", " 2"}));
  EXPECT_EQ(walkSteps(c, true,
                      {read(&Strings::ItemLastKey), read(&Strings::ItemPreviousKey),
                       read(&Strings::ItemPreviousKey), move(&Strings::MovePreviousKey),
                       read(&Strings::ItemNextKey), move(&Strings::MoveNextKey),
                       read(&Strings::ItemNextKey), move(&Strings::MoveNextKey),
                       read(&Strings::ItemPreviousKey), move(&Strings::MoveFirstKey),
                       read(&Strings::ItemNextKey), move(&Strings::MoveLastKey),
                       read(&Strings::ItemPreviousKey)}),
            QStringList({"b ", "a ", "! BOC", " BOC", "a ", " ", "! EOC", " EOC", "b ", " ", "b ",
                         " ", "a "}));

  c.Move("b");
  EXPECT_EQ(c.ItemPosition(), 2);
  EXPECT_THROW(c.Move(3), MailError);
  EXPECT_EQ(c.ItemPosition(), 2);  // a failed move stays where it was
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
      // Keys differ by case too: "K7" and "k7" are two keys, capitals sorting first.
      const QString key =
          rng() % 4 == 0 ? QString() : u"%1%2"_s.arg(rng() % 2 ? 'K' : 'k').arg(rng() % 300);
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
  for (qsizetype k = 0; k < sortedKeys.size(); ++k) {
    EXPECT_EQ(c.ItemIndex(sortedKeys[k]), k + 1);
    EXPECT_EQ(c.KeyInsertAfterPos(sortedKeys[k]), k);  // how many sort before it
  }
  EXPECT_EQ(c.KeyInsertAfterPos(u"~"_s), sortedKeys.size());
  QStringList byKey;
  for (const QString& key : sortedKeys) byKey << c.Item(key);
  EXPECT_EQ(walkKeys(c), byKey);
}

// The record is kept until the next operation (or, without auto-clear, until ErrorClear);
// reading it never clears it. Clear keeps the settings.
TEST(CollectionX, ErrorRecordAndSettingsLiveUntilCleared) {
  Strings c;
  EXPECT_TRUE(c.ErrorsAllowed() && c.ErrorAutoClear());
  c.setErrorsAllowed(false);
  c.ItemFirst();  // recorded, as the failure table shows
  c.Add("a", "a");
  EXPECT_EQ(c.ErrorNumber(), 0);

  c.setErrorAutoClear(false);
  c.ItemNextKey();
  c.ItemNextKey();  // past the only key
  c.Add("b", "b");
  c.ItemFirstKey();
  c.Clear();
  EXPECT_EQ(c.ErrorSource(), u"Collectn.ItemNextKey"_s);  // kept over three that succeeded
  EXPECT_EQ(c.ErrorNumber(), kCollectionErrorNumber);     // and reading it cleared nothing
  c.ErrorClear();
  EXPECT_EQ(c.ErrorNumber() + c.Count() + c.CountKey(), 0);
  EXPECT_TRUE(c.BOC() && c.EOC() && c.BOCKey() && c.EOCKey());
  EXPECT_FALSE(c.ErrorsAllowed() || c.ErrorAutoClear());
  c.Add("a", "a");  // the old key is gone
  EXPECT_EQ(c.ErrorNumber(), 0);
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
      {"Collectn.Add", invalid, [](Strings& c) { c.Add("x", "", IndexKey::other()); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(0); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.Item(IndexKey()); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.setItem("nokey", "x"); }},
      {"Collectn.Item", invalid, [](Strings& c) { c.setItem(3, "x"); }},
      {"Collectn.Move", invalid, [](Strings& c) { c.Move("nokey"); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove(-1); }},
      {"Collectn.Remove", invalid, [](Strings& c) { c.Remove("nokey"); }},
      {"Collectn.ItemFirstKey", noKeys, [](Strings& c) { c.ItemFirstKey(); }},
      {"Collectn.ItemPrevious", "Start of collection has been reached",
       [](Strings& c) { c.ItemPrevious(); }},
      {"Collectn.ItemNext", "End of collection has been reached",
       [](Strings& c) {
         c.MoveLast();
         c.ItemNext();
       }},
  };
  const std::vector<Case> onTwoKeyed = {
      {"Collectn.ItemPreviousKey", "Start of ASCII ordered keys has been reached",
       [](Strings& c) { c.ItemPreviousKey(); }},
      {"Collectn.ItemNextKey", "End of ASCII ordered keys has been reached",
       [](Strings& c) {
         c.MoveLastKey();
         c.ItemNextKey();
       }},
  };
  auto check = [](const std::vector<Case>& cases, const QStringList& content, bool keyed) {
    for (const Case& k : cases) {
      for (const bool raise : {true, false}) {
        Strings c;
        c.setErrorsAllowed(raise);
        for (const QString& s : content) c.Add(s, keyed ? s : QString());
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
  check(onEmpty, {}, false);
  check(onTwoUnkeyed, {"a", "b"}, false);
  check(onTwoKeyed, {"a", "b"}, true);
}
