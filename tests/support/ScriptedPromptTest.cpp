// The scripted prompt that every window test relies on: it records and answers.
#include <gtest/gtest.h>

#include "ScriptedPrompt.h"
#include "support/QtPrompt.h"

using namespace kvmail;
using kvtest::ScopedPrompt;
using kvtest::ScriptedPrompt;

TEST(ScriptedPrompt, RecordsEveryMessageBoxAndAnswersTheFirstButtonByDefault) {
  ScopedPrompt scripted;
  EXPECT_EQ(prompt().messageBox(QStringLiteral("没有要发送的邮件！"), QStringLiteral("提示："),
                                PromptIcon::Information),
            PromptAnswer::Ok);
  EXPECT_EQ(prompt().messageBox(QStringLiteral("是否保存邮件？"), QStringLiteral("提示："),
                                PromptIcon::Information, PromptButtons::YesNoCancel),
            PromptAnswer::Yes);
  EXPECT_EQ(prompt().messageBox(QStringLiteral("q"), QString(), PromptIcon::Question,
                                PromptButtons::YesNo),
            PromptAnswer::Yes);
  EXPECT_EQ(prompt().messageBox(QStringLiteral("c"), QString(), PromptIcon::Critical,
                                PromptButtons::OkCancel),
            PromptAnswer::Ok);

  ASSERT_EQ(scripted->count(ScriptedPrompt::Kind::MessageBox), 4);
  const ScriptedPrompt::Record& second = scripted->records()[1];
  EXPECT_EQ(second.text, QStringLiteral("是否保存邮件？"));
  EXPECT_EQ(second.title, QStringLiteral("提示："));
  EXPECT_EQ(second.icon, PromptIcon::Information);
  EXPECT_EQ(second.buttons, PromptButtons::YesNoCancel);
  EXPECT_EQ(scripted->messages(),
            QStringList({QStringLiteral("没有要发送的邮件！"), QStringLiteral("是否保存邮件？"),
                         QStringLiteral("q"), QStringLiteral("c")}));
  scripted->clear();
  EXPECT_TRUE(scripted->records().isEmpty());
}

TEST(ScriptedPrompt, QueuedAnswersAreUsedInOrderThenTheDefault) {
  ScopedPrompt scripted;
  scripted->answer(PromptAnswer::Cancel);
  scripted->answer(PromptAnswer::No);
  auto ask = [] {
    return prompt().messageBox(QStringLiteral("?"), QString(), PromptIcon::Question,
                               PromptButtons::YesNoCancel);
  };
  EXPECT_EQ(ask(), PromptAnswer::Cancel);
  EXPECT_EQ(ask(), PromptAnswer::No);
  EXPECT_EQ(ask(), PromptAnswer::Yes);
}

TEST(ScriptedPrompt, DialogsAnswerFromTheirQueuesOrCancel) {
  ScopedPrompt scripted;
  EXPECT_TRUE(prompt()
                  .openFiles(QStringLiteral("t"), QStringLiteral("All (*.*)|*.*"),
                             QStringLiteral("/tmp"), true)
                  .isEmpty());
  EXPECT_TRUE(prompt()
                  .saveFile(QStringLiteral("附件另存为"), QString(), QStringLiteral("/tmp/a.doc"))
                  .isEmpty());
  EXPECT_FALSE(prompt().pickColour(Qt::red).has_value());
  EXPECT_TRUE(prompt().openWithDesktop(QStringLiteral("/tmp/x.doc")));

  scripted->answerOpenFiles({QStringLiteral("/a/1.txt"), QStringLiteral("/a/2.txt")});
  scripted->answerSaveFile(QStringLiteral("/b/out.doc"));
  scripted->answerColour(QColor(Qt::blue));
  scripted->answerOpenWithDesktop(false);
  EXPECT_EQ(prompt().openFiles(QString(), QString(), QString(), true),
            QStringList({QStringLiteral("/a/1.txt"), QStringLiteral("/a/2.txt")}));
  EXPECT_EQ(prompt().saveFile(QString(), QString(), QString()), QStringLiteral("/b/out.doc"));
  EXPECT_EQ(prompt().pickColour(Qt::red), QColor(Qt::blue));
  EXPECT_FALSE(prompt().openWithDesktop(QStringLiteral("/tmp/y.doc")));

  const auto opens = scripted->records(ScriptedPrompt::Kind::OpenFiles);
  ASSERT_EQ(opens.size(), 2);
  EXPECT_EQ(opens[0].title, QStringLiteral("t"));
  EXPECT_EQ(opens[0].filter, QStringLiteral("All (*.*)|*.*"));
  EXPECT_EQ(opens[0].folder, QStringLiteral("/tmp"));
  EXPECT_TRUE(opens[0].multiple);
  const auto saves = scripted->records(ScriptedPrompt::Kind::SaveFile);
  EXPECT_EQ(saves[0].title, QStringLiteral("附件另存为"));
  EXPECT_EQ(saves[0].folder, QStringLiteral("/tmp/a.doc"));
  EXPECT_EQ(scripted->records(ScriptedPrompt::Kind::PickColour)[0].colour, QColor(Qt::red));
  EXPECT_EQ(scripted->records(ScriptedPrompt::Kind::OpenWithDesktop)[1].text,
            QStringLiteral("/tmp/y.doc"));
}

TEST(ScriptedPrompt, ScopesNestAndRestoreThePreviousPrompt) {
  EXPECT_EQ(installedPrompt(), nullptr);
  EXPECT_NE(dynamic_cast<QtPrompt*>(&prompt()), nullptr);  // the Qt dialogs by default
  {
    ScopedPrompt outer;
    {
      ScopedPrompt inner;
      prompt().messageBox(QStringLiteral("inner"), QString(), PromptIcon::None);
      EXPECT_EQ(inner->count(ScriptedPrompt::Kind::MessageBox), 1);
      EXPECT_EQ(outer->count(ScriptedPrompt::Kind::MessageBox), 0);
    }
    prompt().messageBox(QStringLiteral("outer"), QString(), PromptIcon::None);
    EXPECT_EQ(outer->messages(), QStringList{QStringLiteral("outer")});
  }
  EXPECT_EQ(installedPrompt(), nullptr);
  EXPECT_NE(dynamic_cast<QtPrompt*>(&prompt()), nullptr);
}
