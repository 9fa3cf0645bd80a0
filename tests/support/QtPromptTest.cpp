// The Qt prompt: the default one, filters in the classic form, and real message boxes answered
// by a click.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include "support/QtPrompt.h"

using namespace kvmail;

TEST(QtPromptFilter, ClassicFiltersBecomeQtFilters) {
  // With no prompt installed, questions go to the Qt dialogs.
  EXPECT_EQ(installedPrompt(), nullptr);
  EXPECT_NE(dynamic_cast<QtPrompt*>(&prompt()), nullptr);

  EXPECT_EQ(toQtFilter(u"All (*.*)| *.*"_s), u"All (*)"_s);
  EXPECT_EQ(toQtFilter(u"Images|*.png;*.jpg|Text:*.txt"_s),
            u"Images (*.png *.jpg);;Text (*.txt)"_s);
  EXPECT_EQ(toQtFilter(u"Images (*.png *.jpg)"_s), u"Images (*.png *.jpg)"_s);
  EXPECT_EQ(toQtFilter(QString()), QString());
}

namespace {

struct SeenBox {
  QString text, title;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
  QMessageBox::StandardButtons buttons;
};

// Answers the next modal message box by clicking `button`, noting what it showed.
void clickWhenShown(QMessageBox::StandardButton button, SeenBox* seen) {
  QTimer::singleShot(0, [button, seen] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    seen->text = box->text();
    seen->title = box->windowTitle();
    seen->icon = box->icon();
    seen->buttons = box->standardButtons();
    box->button(button)->click();
  });
}

}  // namespace

TEST(QtPromptBox, ShowsTextTitleIconAndButtonsAndAnswersTheClick) {
  QtPrompt qt;
  SeenBox seen;
  clickWhenShown(QMessageBox::No, &seen);
  EXPECT_EQ(qt.messageBox(u"是否保存邮件？"_s, u"提示："_s, PromptIcon::Information,
                          PromptButtons::YesNoCancel),
            PromptAnswer::No);
  EXPECT_EQ(seen.text, u"是否保存邮件？"_s);
  EXPECT_EQ(seen.title, u"提示："_s);
  EXPECT_EQ(seen.icon, QMessageBox::Information);
  EXPECT_EQ(seen.buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);

  clickWhenShown(QMessageBox::Cancel, &seen);
  EXPECT_EQ(qt.messageBox(u"x"_s, u"错误："_s, PromptIcon::Critical, PromptButtons::OkCancel),
            PromptAnswer::Cancel);
  EXPECT_EQ(seen.icon, QMessageBox::Critical);

  clickWhenShown(QMessageBox::Ok, &seen);
  EXPECT_EQ(qt.messageBox(u"y"_s, QString(), PromptIcon::Exclamation), PromptAnswer::Ok);
  EXPECT_EQ(seen.icon, QMessageBox::Warning);
  EXPECT_EQ(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}
