// The Qt prompt: filters in the classic form, and real message boxes answered by a click.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include "support/QtPrompt.h"

using namespace kvmail;

TEST(QtPromptFilter, ClassicFiltersBecomeQtFilters) {
  EXPECT_EQ(toQtFilter(QStringLiteral("All (*.*)| *.*")), QStringLiteral("All (*)"));
  EXPECT_EQ(toQtFilter(QStringLiteral("Images|*.png;*.jpg|Text:*.txt")),
            QStringLiteral("Images (*.png *.jpg);;Text (*.txt)"));
  EXPECT_EQ(toQtFilter(QStringLiteral("Images (*.png *.jpg)")),
            QStringLiteral("Images (*.png *.jpg)"));
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
  EXPECT_EQ(qt.messageBox(QStringLiteral("是否保存邮件？"), QStringLiteral("提示："),
                          PromptIcon::Information, PromptButtons::YesNoCancel),
            PromptAnswer::No);
  EXPECT_EQ(seen.text, QStringLiteral("是否保存邮件？"));
  EXPECT_EQ(seen.title, QStringLiteral("提示："));
  EXPECT_EQ(seen.icon, QMessageBox::Information);
  EXPECT_EQ(seen.buttons, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);

  clickWhenShown(QMessageBox::Cancel, &seen);
  EXPECT_EQ(qt.messageBox(QStringLiteral("x"), QStringLiteral("错误："), PromptIcon::Critical,
                          PromptButtons::OkCancel),
            PromptAnswer::Cancel);
  EXPECT_EQ(seen.icon, QMessageBox::Critical);

  clickWhenShown(QMessageBox::Ok, &seen);
  EXPECT_EQ(qt.messageBox(QStringLiteral("y"), QString(), PromptIcon::Exclamation),
            PromptAnswer::Ok);
  EXPECT_EQ(seen.icon, QMessageBox::Warning);
  EXPECT_EQ(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
}
