// A bundle keeps messages in order on CollectionX; Clear always fails and keeps them.
#include <gtest/gtest.h>

#include <functional>

#include "model/CollectionX.h"
#include "model/MailError.h"
#include "model/clsBundle.h"
#include "model/clsMessage.h"

using namespace kvmail;

namespace {

MessagePtr message(const QString& subject) {
  auto m = std::make_shared<clsMessage>();
  m->setSubject(subject);
  return m;
}

}  // namespace

TEST(Bundle, KeepsMessagesInOrderByReference) {
  clsBundle b;
  EXPECT_EQ(b.Count(), 0);
  const MessagePtr first = message("1");
  EXPECT_EQ(b.AddMessage(first), first);
  EXPECT_EQ(b.AddMessage(first), first);  // the same object twice is fine
  EXPECT_EQ(b.Count(), 2);
  EXPECT_EQ(b.Item(1), first);
  EXPECT_EQ(b.Item(2), first);

  const MessagePtr second = message("2");
  b.setItem(2, second);
  EXPECT_EQ(b.Item(2), second);
  b.Remove(1);
  EXPECT_EQ(b.Count(), 1);
  EXPECT_EQ(b.Item(1), second);
}

TEST(Bundle, ClearFailsWithTypeMismatchAndKeepsTheMessages) {
  clsBundle b;
  b.AddMessage(message("a"));
  b.AddMessage(message("b"));
  try {
    b.Clear();
    ADD_FAILURE() << "Clear succeeded";
  } catch (const MailError& e) {
    EXPECT_EQ(e.number(), MailError::TypeMismatch);
    EXPECT_EQ(e.description(), "Type mismatch");
  }
  EXPECT_EQ(b.Count(), 2);
  // The way to empty it: remove from the last to the first.
  for (long i = b.Count(); i >= 1; --i) b.Remove(i);
  EXPECT_EQ(b.Count(), 0);
}

TEST(Bundle, BadIndexesRaiseTheCollectionErrors) {
  clsBundle b;
  auto expectFailure = [](const std::function<void()>& call, const char* source) {
    try {
      call();
      ADD_FAILURE() << source << " did not fail";
    } catch (const MailError& e) {
      EXPECT_EQ(e.number(), kCollectionErrorNumber);
      EXPECT_EQ(e.source(), source);
      EXPECT_EQ(e.description(), "Invalid index reference");
    }
  };
  expectFailure([&] { b.Item(1); }, "Collectn.Item");
  expectFailure([&] { b.Remove(1); }, "Collectn.Remove");
  b.AddMessage(message("a"));
  expectFailure([&] { b.Item(2); }, "Collectn.Item");
  expectFailure([&] { b.Item("key"); }, "Collectn.Item");  // AddMessage never registers a key
  expectFailure([&] { b.setItem(0, message("x")); }, "Collectn.Item");
  expectFailure([&] { b.Remove(IndexKey::other()); }, "Collectn.Remove");
  EXPECT_EQ(b.Item(1)->Subject(), "a");
}
