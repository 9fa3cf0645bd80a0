// The address book window offscreen over a real store: what the grid lists, typing to find,
// picking by double click and Enter, and closing that only hides.
#include <gtest/gtest.h>

#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include "AddressStore.h"
#include "ScriptedPrompt.h"
#include "addressbook/AddressIndex.h"
#include "addressbook/FrmDxb.h"

using kvmail::FrmDxb;

namespace {

class FrmDxbTest : public ::testing::Test {
 protected:
  void open() {
    window.py_Init(store.host.get());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    grid = window.findChild<QTableView*>(QStringLiteral("Vs"));
    box = window.findChild<QLineEdit*>(QStringLiteral("kvTxt"));
    ASSERT_NE(grid, nullptr);
    ASSERT_NE(box, nullptr);
  }
  QString cell(int row) const { return grid->model()->index(row, 0).data().toString(); }
  int topRow() const { return grid->rowAt(0); }
  // As the system delivers one: a click, then the double click.
  void doubleClick(int row) {
    const QRect cell = grid->visualRect(grid->model()->index(row, 0));
    const QPoint at = cell.isValid() ? cell.center() : QPoint(20, 10);
    QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(grid->viewport(), Qt::LeftButton, {}, at);
  }
  void type(const QString& text) {
    box->clear();
    QTest::keyClicks(box, text);
  }

  kvtest::AddressStore store;
  kvtest::ScopedPrompt prompt;
  FrmDxb window;
  QTableView* grid = nullptr;
  QLineEdit* box = nullptr;
};

// A few hundred addresses, so most of them are out of sight.
void fill(kvtest::AddressStore& store, int count) {
  for (int i = 0; i < count; ++i)
    store.received(QStringLiteral("user%1@kvmail.test").arg(i, 4, 10, QLatin1Char('0')));
}

}  // namespace

TEST_F(FrmDxbTest, ListsEveryAddressOnceUnderTheHeading) {
  store.received(QStringLiteral("zhao@kvmail.test"));
  store.received(QStringLiteral("qian@kvmail.test"));
  store.composed(QStringLiteral("qian@kvmail.test"));  // sender and recipient: listed once
  store.composed(QStringLiteral("li@kvmail.test"));
  open();
  ASSERT_EQ(grid->model()->rowCount(), 3);
  EXPECT_EQ(cell(0), QStringLiteral("li@kvmail.test"));
  EXPECT_EQ(cell(1), QStringLiteral("qian@kvmail.test"));
  EXPECT_EQ(cell(2), QStringLiteral("zhao@kvmail.test"));
  EXPECT_EQ(grid->model()->columnCount(), 1);
  EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("邮箱地址"));
  EXPECT_EQ(grid->model()->headerData(0, Qt::Vertical).toString(), QString());  // blank column
  EXPECT_TRUE(grid->verticalHeader()->isVisible());
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(window.windowTitle(), QStringLiteral("通讯簿"));
  // The compose window may share what was loaded.
  EXPECT_EQ(window.addressIndex()->size(), 3);

  // A second initialisation reads the store again, from the heading up.
  store.received(QStringLiteral("sun@kvmail.test"));
  window.py_Init(store.host.get());
  EXPECT_EQ(grid->model()->rowCount(), 4);
}

TEST_F(FrmDxbTest, AnEmptyMailTableShowsTheHeadingOnlyAndPicksNothing) {
  open();
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);
  EXPECT_EQ(grid->model()->rowCount(), 0);
  EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("邮箱地址"));
  EXPECT_EQ(window.currentRow(), -1);
  type(QStringLiteral("a"));
  QTest::keyClick(box, Qt::Key_Return);
  doubleClick(0);
  QTest::keyClick(grid, Qt::Key_Return);
  EXPECT_EQ(picked.count(), 0);
  EXPECT_TRUE(prompt->records().isEmpty());
}

TEST_F(FrmDxbTest, TypingMovesToTheFirstRowContainingTheText) {
  fill(store, 300);
  store.received(QStringLiteral("Zhang.San@KVMAIL.test"));  // sorts first: capitals
  open();
  ASSERT_EQ(grid->model()->rowCount(), 301);
  EXPECT_EQ(cell(0), QStringLiteral("Zhang.San@KVMAIL.test"));

  // Out of sight: becomes current and the top row.
  type(QStringLiteral("USER0250"));
  EXPECT_EQ(window.currentRow(), 251);
  EXPECT_EQ(topRow(), 251);
  EXPECT_EQ(grid->selectionModel()->selectedRows().value(0).row(), 251);

  // In sight: becomes current, the grid stays where it is.
  type(QStringLiteral("user0253"));
  EXPECT_EQ(window.currentRow(), 254);
  EXPECT_EQ(topRow(), 251);

  // Each key searches again from the top; a part, not the whole address, is enough.
  type(QStringLiteral("san@kv"));
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(topRow(), 0);
  type(QStringLiteral("0"));
  EXPECT_EQ(window.currentRow(), 1);  // user0000 holds the first "0"
}

TEST_F(FrmDxbTest, AFailedSearchLeavesTheCurrentRowAndTheView) {
  fill(store, 300);
  open();
  type(QStringLiteral("user0200"));
  ASSERT_EQ(window.currentRow(), 200);
  const int top = topRow();
  QTest::keyClicks(box, QStringLiteral("x"));  // "user0200x": nothing has it
  EXPECT_EQ(window.currentRow(), 200);
  EXPECT_EQ(topRow(), top);
  box->clear();  // an empty box finds nothing either
  EXPECT_EQ(window.currentRow(), 200);
}

TEST_F(FrmDxbTest, DoubleClickAndEnterPickTheCurrentAddress) {
  store.received(QStringLiteral("zhao@kvmail.test"));
  store.received(QStringLiteral("qian@kvmail.test"));
  store.composed(QStringLiteral("sun@kvmail.test"));
  open();
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);

  doubleClick(2);
  ASSERT_EQ(picked.count(), 1);
  EXPECT_EQ(picked.at(0).at(0).toString(), QStringLiteral("zhao@kvmail.test"));

  type(QStringLiteral("SUN"));
  QTest::keyClick(box, Qt::Key_Return);
  ASSERT_EQ(picked.count(), 2);
  EXPECT_EQ(picked.at(1).at(0).toString(), QStringLiteral("sun@kvmail.test"));

  grid->setFocus();
  QTest::keyClick(grid, Qt::Key_Up);
  QTest::keyClick(grid, Qt::Key_Enter);
  ASSERT_EQ(picked.count(), 3);
  EXPECT_EQ(picked.at(2).at(0).toString(), QStringLiteral("qian@kvmail.test"));
  EXPECT_TRUE(window.isVisible());  // picking leaves the window up; the user closes it
}

TEST_F(FrmDxbTest, ClosingOnlyHidesAndKeepsTheListAndTheSearch) {
  fill(store, 50);
  open();
  type(QStringLiteral("0042"));
  EXPECT_FALSE(window.close());      // the request is refused ...
  EXPECT_FALSE(window.isVisible());  // ... and the window hidden instead
  window.show();
  EXPECT_EQ(box->text(), QStringLiteral("0042"));
  EXPECT_EQ(window.currentRow(), 42);
  EXPECT_EQ(grid->model()->rowCount(), 50);
}

TEST_F(FrmDxbTest, ShowModalReturnsWhenTheWindowIsClosed) {
  store.received(QStringLiteral("zhao@kvmail.test"));
  window.py_Init(store.host.get());
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);
  bool wasModal = false;
  QTimer::singleShot(0, &window, [&] {
    wasModal = window.isVisible() && window.isModal();
    auto* box = window.findChild<QLineEdit*>(QStringLiteral("kvTxt"));
    QTest::keyClicks(box, QStringLiteral("zh"));
    QTest::keyClick(box, Qt::Key_Return);
    window.close();
  });
  window.showModal();
  EXPECT_TRUE(wasModal);
  EXPECT_FALSE(window.isVisible());
  ASSERT_EQ(picked.count(), 1);
  EXPECT_EQ(picked.at(0).at(0).toString(), QStringLiteral("zhao@kvmail.test"));

  // Shown again later: the same window, list and search text.
  QString again;
  QTimer::singleShot(0, &window, [&] {
    again = window.findChild<QLineEdit*>(QStringLiteral("kvTxt"))->text();
    window.hide();
  });
  window.showModal();
  EXPECT_EQ(again, QStringLiteral("zh"));
}

TEST_F(FrmDxbTest, AStoreThatCannotBeReadIsReportedAndLeavesTheHeading) {
  store.host->execute(QStringLiteral("drop table msgmail"));
  open();
  EXPECT_EQ(grid->model()->rowCount(), 0);
  ASSERT_EQ(prompt->records().size(), 1);
  EXPECT_EQ(prompt->records().at(0).title, QStringLiteral("错误："));
  EXPECT_EQ(prompt->records().at(0).icon, kvmail::PromptIcon::Critical);
  EXPECT_TRUE(prompt->records().at(0).text.startsWith(QStringLiteral("读取通讯簿时出错：")));
}
