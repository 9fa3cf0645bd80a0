// The prompt seam: the Qt dialogs unless a prompt is installed, scopes that put the previous one
// back, and the scripted prompt's defaults, which every window test's answers rest on.
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "support/QtPrompt.h"

using namespace kvmail;
using kvtest::ScopedPrompt;
using kvtest::ScriptedPrompt;

TEST(ScriptedPrompt, QueuedAnswersFirstThenTheFirstButtonOrACancelledDialog) {
  ScopedPrompt scripted;
  scripted->answer(PromptAnswer::Cancel);
  scripted->answerOpenFiles({QStringLiteral("/a/1.txt")});
  scripted->answerOpenWithDesktop(false);
  const auto ask = [](PromptButtons buttons) {
    return prompt().messageBox(QStringLiteral("?"), QString(), PromptIcon::Question, buttons);
  };
  EXPECT_EQ(ask(PromptButtons::YesNoCancel), PromptAnswer::Cancel);
  EXPECT_EQ(ask(PromptButtons::YesNoCancel), PromptAnswer::Yes);
  EXPECT_EQ(ask(PromptButtons::YesNo), PromptAnswer::Yes);
  EXPECT_EQ(ask(PromptButtons::OkCancel), PromptAnswer::Ok);
  EXPECT_EQ(prompt().openFiles({}, {}, {}, true), QStringList{QStringLiteral("/a/1.txt")});
  EXPECT_TRUE(prompt().openFiles({}, {}, {}, true).isEmpty());
  EXPECT_TRUE(prompt().saveFile({}, {}, QStringLiteral("/tmp/a.doc")).isEmpty());
  EXPECT_FALSE(prompt().pickColour(Qt::red).has_value());
  EXPECT_FALSE(prompt().openWithDesktop(QStringLiteral("/tmp/x.doc")));
  EXPECT_TRUE(prompt().openWithDesktop(QStringLiteral("/tmp/x.doc")));
  EXPECT_EQ(scripted->messages(), QStringList(4, QStringLiteral("?")));
  EXPECT_EQ(scripted->records().size(), 10);
}

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
