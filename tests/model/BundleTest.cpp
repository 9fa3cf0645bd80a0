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

// The failure's number, source and text, or "" when the call did not fail.
QString failure(const std::function<void()>& call) {
  try {
    call();
  } catch (const MailError& e) {
    return u"%1 %2: %3"_s.arg(e.number()).arg(e.source(), e.description());
  }
  return {};
}

}  // namespace

// Kept so: Clear always fails with the type-mismatch error and the bundle keeps its messages.
TEST(Bundle, ClearFailsWithTypeMismatchAndKeepsTheMessages) {
  clsBundle b;
  b.AddMessage(message("a"));
  b.AddMessage(message("b"));
  EXPECT_EQ(failure([&] { b.Clear(); }),
            u"%1 kvMail: Type mismatch"_s.arg(MailError::TypeMismatch));
  EXPECT_EQ(b.Count(), 2);
  // The way to empty it: remove from the last to the first.
  for (long i = b.Count(); i >= 1; --i) b.Remove(i);
  EXPECT_EQ(b.Count(), 0);
}

TEST(Bundle, TakesTheSameMessageTwiceWithoutKeysAndRaisesTheCollectionErrors) {
  clsBundle b;
  const MessagePtr first = message("1");
  EXPECT_EQ(b.AddMessage(first), first);
  EXPECT_EQ(b.AddMessage(first), first);
  EXPECT_EQ(b.Item(2), first);
  // The keyed collection's own failure, not the plain collection's (its table has them all).
  EXPECT_EQ(failure([&] { b.Item("key"); }),
            u"%1 Collectn.Item: Invalid index reference"_s.arg(kCollectionErrorNumber));
}
