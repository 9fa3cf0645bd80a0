// The last-error record: plain fields, and Clear empties all three.
#include "service/clsError.h"

#include <gtest/gtest.h>

#include <memory>

using kvmail::clsError;
using kvmail::IclsError;

TEST(ErrorRecord, FreshRecordIsClear) {
  clsError e;
  EXPECT_EQ(e.Number(), 0);
  EXPECT_EQ(e.Description(), QString());
  EXPECT_EQ(e.Source(), QString());
}

TEST(ErrorRecord, ClearEmptiesEveryField) {
  clsError e;
  e.setNumber(1000001);
  e.setDescription(QStringLiteral("邮件帐户为空，请先设置！"));
  e.setSource(QStringLiteral("host"));
  EXPECT_EQ(e.Number(), 1000001);
  EXPECT_EQ(e.Description(), QStringLiteral("邮件帐户为空，请先设置！"));
  EXPECT_EQ(e.Source(), QStringLiteral("host"));
  e.Clear();
  EXPECT_EQ(e.Number(), 0);
  EXPECT_EQ(e.Description(), QString());
  EXPECT_EQ(e.Source(), QString());
}

TEST(ErrorRecord, HolderSeesLaterChangesThroughTheInterface) {
  auto record = std::make_shared<clsError>();
  std::shared_ptr<IclsError> held = record;  // what the host keeps
  record->setNumber(5);
  record->setDescription(QStringLiteral("CreateNew:Invalid procedure call or argument"));
  EXPECT_EQ(held->Number(), 5);
  // Writing one field leaves the others as they are.
  held->setSource(QStringLiteral("mine"));
  record->setNumber(1000001);
  EXPECT_EQ(held->Source(), QStringLiteral("mine"));
  EXPECT_EQ(held->Description(), QStringLiteral("CreateNew:Invalid procedure call or argument"));
}
