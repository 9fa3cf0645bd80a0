// The address rule: only the allowed characters around an "@", and the last character no dot.
// It checks nothing else: the number and place of "@" and empty parts are free, and its
// first-character test joins its ranges with "and", so it never rejects ("-a@b" passes).
// Every non-ASCII character fails, the full-width "＠" too.
#include <gtest/gtest.h>

#include "model/bMail.h"

using kvmail::bMail::IsMail;

TEST(AddressRule, AllowedCharactersOnly) {
  // clang-format off
  const char* valid[] = {"a@b", "a@b.example", "First.Last_9-x@Host-1.example", "@", "a@@b", "@b",
                         "a@", "a@b-", "-a@b", ".a@b", "_a@b", "9@b", "@a"};
  const char* invalid[] = {"", "abc", "a b@c", "a+b@c", "<a@b>", "\"a\"@b", " a@b", "a@b\t",
                           "a@b.", ".", "张三@example.com", "a@例子.com", "é@b", "a＠b@c"};
  // clang-format on
  for (const char* address : valid) EXPECT_TRUE(IsMail(QString::fromUtf8(address))) << address;
  for (const char* address : invalid) EXPECT_FALSE(IsMail(QString::fromUtf8(address))) << address;
  EXPECT_FALSE(IsMail(QString(QChar(0)) + "a@b"));
}
