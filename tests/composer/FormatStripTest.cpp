// The formatting strip over the body editor: each key sends its command, the colour dialog and
// the link and picture prompts go through the scripted prompt, and the strip follows the caret.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QImage>
#include <QSignalSpy>
#include <QTextCursor>
#include <QTextList>

#include <functional>

#include "ScriptedPrompt.h"
#include "TestEnv.h"
#include "composer/BodyEditor.h"
#include "composer/ComposeCommands.h"
#include "composer/FormatStrip.h"

using Kind = kvtest::ScriptedPrompt::Kind;
using kvmail::BodyEditor;

namespace {

struct Strip {
  kvtest::ScopedPrompt prompt;
  QWidget window;
  BodyEditor* editor = new BodyEditor(&window);
  kvmail::FormatStrip* strip = new kvmail::FormatStrip(editor, &window);
  QSignalSpy sent{editor, &BodyEditor::CommandSent};

  // "one two three" with "two" selected.
  void selectTwo(bool fresh = true) {
    if (fresh) editor->setPlainText(u"one two three"_s);
    QTextCursor c = editor->textCursor();
    c.setPosition(4);
    c.setPosition(7, QTextCursor::KeepAnchor);
    editor->setTextCursor(c);
  }
  void caretAt(int position) {
    QTextCursor c = editor->textCursor();
    c.setPosition(position);
    editor->setTextCursor(c);
  }
  void click(const char* key) { strip->button(QLatin1String(key))->trigger(); }
  bool pressed(const char* key) { return strip->button(QLatin1String(key))->isChecked(); }
  QTextCharFormat formatAt(int position) {
    QTextCursor c(editor->document());
    c.setPosition(position);
    return c.charFormat();
  }
  QList<int> commands() const {
    QList<int> out;
    for (const QList<QVariant>& call : sent) out << call.first().toInt();
    return out;
  }
};

}  // namespace

TEST(FormatStrip, EveryKeySendsItsCommandAndTheEditorShowsIt) {
  using namespace kvmail::compose;
  struct Row {
    const char* key;
    int command;
    std::function<bool(Strip&)> done;  // read at "two", after the click
  };
  const QList<Row> rows = {
      {"jiacu", 5000, [](Strip& s) { return s.formatAt(6).fontWeight() == QFont::Bold; }},
      {"qinxie", 5023, [](Strip& s) { return s.formatAt(6).fontItalic(); }},
      {"xiahuaxian", 5048, [](Strip& s) { return s.formatAt(6).fontUnderline(); }},
      {"mid_sp", 5024, [](Strip& s) { return s.editor->alignment() & Qt::AlignHCenter; }},
      {"right", 5026, [](Strip& s) { return s.editor->alignment() & Qt::AlignRight; }},
      {"left", 5025, [](Strip& s) { return s.editor->alignment() & Qt::AlignLeft; }},
      {"number", 5030,
       [](Strip& s) {
         return s.editor->textCursor().currentList()->format().style() ==
                QTextListFormat::ListDecimal;
       }},
      {"bullet", 5051,
       [](Strip& s) {
         return s.editor->textCursor().currentList()->format().style() == QTextListFormat::ListDisc;
       }},
      {"indent", 5018, [](Strip& s) { return s.editor->textCursor().blockFormat().indent() == 1; }},
      {"outdent", 5031,
       [](Strip& s) { return s.editor->textCursor().blockFormat().indent() == 0; }},
  };
  for (const Row& row : rows) {
    Strip s;
    s.selectTwo();
    if (QLatin1String(row.key) == "outdent"_L1) s.click("indent");
    s.sent.clear();
    s.click(row.key);
    EXPECT_EQ(s.commands(), QList<int>{row.command}) << row.key;
    EXPECT_TRUE(row.done(s)) << row.key;
    EXPECT_EQ(s.prompt->count(Kind::MessageBox), 0) << row.key;
  }
}

TEST(FormatStrip, TogglesGoOffAgainAndShowTheirStateAtTheCaret) {
  Strip s;
  s.selectTwo();
  s.click("jiacu");
  s.click("number");
  s.caretAt(5);  // inside the bold word
  EXPECT_TRUE(s.pressed("jiacu") && s.pressed("number") && !s.pressed("bullet"));
  s.caretAt(1);  // in "one": not bold, same paragraph still numbered
  EXPECT_TRUE(!s.pressed("jiacu") && s.pressed("left"));
  s.selectTwo(false);
  s.click("jiacu");  // bold again: off
  s.caretAt(5);
  EXPECT_FALSE(s.pressed("jiacu"));
  EXPECT_EQ(s.formatAt(6).fontWeight(), QFont::Normal);
}

// The colour dialog and the link prompt: cancelled they change nothing, answered they apply.
TEST(FormatStrip, ColoursAndLinksComeFromTheirDialogsAndCancelChangesNothing) {
  struct Row {
    const char* key;
    Kind dialog;
    int command;
    std::function<void(kvtest::ScriptedPrompt&)> answer;
    std::function<bool(const QTextCharFormat&)> done;
  };
  const QColor red(200, 0, 0);
  const QString link = u"https://kvmail.test/价格"_s;
  const QList<Row> rows = {
      {"forecolor", Kind::PickColour, 5046, [&](auto& p) { p.answerColour(red); },
       [&](const QTextCharFormat& f) { return f.foreground().color() == red; }},
      {"backcolor", Kind::PickColour, 5042, [&](auto& p) { p.answerColour(red); },
       [&](const QTextCharFormat& f) { return f.background().color() == red; }},
      {"internet", Kind::InputText, 5016, [&](auto& p) { p.answerText(link); },
       [&](const QTextCharFormat& f) { return f.anchorHref() == link; }},
  };
  for (const Row& row : rows) {
    Strip s;
    s.selectTwo();
    const QString before = s.editor->toHtml();
    s.click(row.key);  // the scripted dialog is cancelled
    EXPECT_EQ(s.prompt->count(row.dialog), 1) << row.key;
    EXPECT_TRUE(s.sent.isEmpty()) << row.key;
    EXPECT_EQ(s.editor->toHtml(), before) << row.key;

    row.answer(*s.prompt);
    s.click(row.key);
    EXPECT_EQ(s.commands(), QList<int>{row.command}) << row.key;
    EXPECT_TRUE(row.done(s.formatAt(6))) << row.key;
  }
}

TEST(FormatStrip, FontListsStartAtSongtiThreeFollowTheCaretAndSendOnlyAChange) {
  Strip s;
  QComboBox* names = s.strip->fontNames();
  QComboBox* sizes = s.strip->fontSizes();
  EXPECT_EQ((QStringList{names->currentText(), names->itemText(0), sizes->currentText()}),
            (QStringList{u"宋体"_s, u"宋体"_s, u"3"_s}));
  s.selectTwo();
  Q_EMIT names->activated(names->findText(u"宋体"_s));  // the current: nothing
  Q_EMIT sizes->activated(sizes->findText(u"3"_s));
  EXPECT_TRUE(s.sent.isEmpty());
  Q_EMIT names->activated(names->findText(u"黑体"_s));
  Q_EMIT sizes->activated(sizes->findText(u"6"_s));
  ASSERT_EQ(s.commands(), (QList<int>{5044, 5045}));
  EXPECT_EQ(s.sent[0][1].toString(), u"黑体"_s);
  EXPECT_EQ(s.formatAt(6).fontFamilies().toStringList(), QStringList{u"黑体"_s});
  EXPECT_EQ(s.formatAt(6).fontPointSize(), 24);

  s.editor->setDocumentHtml(
      u"<p>plain <span style=\"font-family:'楷体'; font-size:18pt\">big</span></p>"_s);
  s.caretAt(8);
  EXPECT_EQ(names->currentText() + sizes->currentText(), u"楷体5"_s);
}

TEST(FormatStrip, APictureGoesInFromItsFileAndAFileThatIsNoPictureIsRefused) {
  QTemporaryDir dir;
  QImage red(40, 20, QImage::Format_RGB32);
  red.fill(Qt::red);
  const QString png = dir.filePath(u"标志.png"_s);
  ASSERT_TRUE(red.save(png));
  const QString text = dir.filePath(u"notes.png.txt"_s);
  ASSERT_TRUE(kvtest::writeAll(text, "just some words"));

  Strip s;
  s.caretAt(0);
  s.prompt->answerOpenFiles({text});
  s.click("picture");
  ASSERT_EQ(s.prompt->messages(),
            QStringList{u"ToolSet_ButtonClick:“notes.png.txt”不是图片文件，不能插入正文。"_s});
  EXPECT_EQ(s.prompt->records(Kind::MessageBox).first().title, u"错误："_s);
  EXPECT_FALSE(s.editor->toHtml().contains(u"<img"_s));

  s.prompt->answerOpenFiles({png});
  s.click("picture");
  EXPECT_EQ(s.commands(), QList<int>{5017});
  EXPECT_TRUE(s.editor->toHtml().contains(QUrl::fromLocalFile(png).toString()));
}
