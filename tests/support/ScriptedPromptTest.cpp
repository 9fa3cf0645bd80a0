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
      prompt().messageBox(u"inner"_s, QString(), PromptIcon::None);
      EXPECT_EQ(outer->count(ScriptedPrompt::Kind::MessageBox), 0);
    }
    prompt().messageBox(u"outer"_s, QString(), PromptIcon::None);
    EXPECT_EQ(outer->messages(), QStringList{u"outer"_s});
  }
  EXPECT_EQ(installedPrompt(), nullptr);
}
