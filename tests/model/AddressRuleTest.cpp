// The address rule: what passes, what does not, and the first-character test that never rejects.
#include <gtest/gtest.h>

#include "model/bMail.h"

using kvmail::bMail::IsMail;

TEST(AddressRule, AcceptsOnlyTheAllowedCharactersAroundAnAt) {
  EXPECT_TRUE(IsMail("a@b"));
  EXPECT_TRUE(IsMail("a@b.example"));
  EXPECT_TRUE(IsMail("First.Last_9-x@Host-1.example"));
  EXPECT_FALSE(IsMail(""));
  EXPECT_FALSE(IsMail("abc"));
  EXPECT_FALSE(IsMail("a b@c"));
  EXPECT_FALSE(IsMail("a+b@c"));
  EXPECT_FALSE(IsMail("<a@b>"));
  EXPECT_FALSE(IsMail("\"a\"@b"));
  EXPECT_FALSE(IsMail(" a@b"));
  EXPECT_FALSE(IsMail("a@b\t"));
}

TEST(AddressRule, ChecksNothingButCharactersAndTheLastDot) {
  // The number and place of "@", empty parts and a dot in the domain are all left free.
  EXPECT_TRUE(IsMail("@"));
  EXPECT_TRUE(IsMail("a@@b"));
  EXPECT_TRUE(IsMail("@b"));
  EXPECT_TRUE(IsMail("a@"));
  EXPECT_TRUE(IsMail("a@b-"));
  EXPECT_FALSE(IsMail("a@b."));
  EXPECT_FALSE(IsMail("."));
}

TEST(AddressRule, FirstCharacterIsJudgedOnlyByTheWalk) {
  // The first-character test joins its ranges with "and" and so never rejects: these pass.
  EXPECT_TRUE(IsMail("-a@b"));
  EXPECT_TRUE(IsMail(".a@b"));
  EXPECT_TRUE(IsMail("_a@b"));
  EXPECT_TRUE(IsMail("9@b"));
  EXPECT_TRUE(IsMail("@a"));
}

TEST(AddressRule, RejectsEveryNonAsciiCharacter) {
  EXPECT_FALSE(IsMail(QString::fromUtf8("张三@example.com")));
  EXPECT_FALSE(IsMail(QString::fromUtf8("a@例子.com")));
  EXPECT_FALSE(IsMail(QString::fromUtf8("é@b")));
  EXPECT_FALSE(IsMail(QString::fromUtf8("a\xef\xbc\xa0") + "b@c"));  // full-width "＠"
  EXPECT_FALSE(IsMail(QString(QChar(0)) + "a@b"));
}
