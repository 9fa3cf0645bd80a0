// The prompt seam: the Qt dialogs unless a prompt is installed, and scopes that put the previous
// one back.
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "support/QtPrompt.h"

using namespace kvmail;
using kvtest::ScopedPrompt;
using kvtest::ScriptedPrompt;

TEST(ScriptedPrompt, ScopesNestAndRestoreThePreviousPrompt) {
  EXPECT_EQ(installedPrompt(), nullptr);
  EXPECT_NE(dynamic_cast<QtPrompt*>(&prompt()), nullptr);  // the Qt dialogs by default
  {
    ScopedPrompt outer;
    {
      ScopedPrompt inner;
      prompt().messageBox(QStringLiteral("inner"), QString(), PromptIcon::None);
      EXPECT_EQ(outer->count(ScriptedPrompt::Kind::MessageBox), 0);
    }
    prompt().messageBox(QStringLiteral("outer"), QString(), PromptIcon::None);
    EXPECT_EQ(outer->messages(), QStringList{QStringLiteral("outer")});
  }
  EXPECT_EQ(installedPrompt(), nullptr);
}
