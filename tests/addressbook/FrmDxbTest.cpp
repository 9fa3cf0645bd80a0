// The address book window offscreen over a real store: what the grid lists, typing to find,
// picking by double click and Enter, and closing that only hides.
#include <gtest/gtest.h>

#include <QLineEdit>
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
    grid = window.findChild<QTableView*>(u"Vs"_s);
    box = window.findChild<QLineEdit*>(u"kvTxt"_s);
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
    store.received(u"user%1@kvmail.test"_s.arg(i, 4, 10, QLatin1Char('0')));
}

}  // namespace

TEST_F(FrmDxbTest, ListsEveryAddressOnceUnderTheHeading) {
  store.received(u"zhao@kvmail.test"_s);
  store.received(u"qian@kvmail.test"_s);
  store.composed(u"qian@kvmail.test"_s);               // sender and recipient: listed once
  store.composed(u"li@kvmail.test;wu@kvmail.test"_s);  // a list stays one entry
  store.composed(QString());                           // no recipient: left out
  open();
  ASSERT_EQ(grid->model()->rowCount(), 3);
  EXPECT_EQ(QStringList({cell(0), cell(1), cell(2)}),
            (QStringList{"li@kvmail.test;wu@kvmail.test", "qian@kvmail.test", "zhao@kvmail.test"}));
  EXPECT_EQ(grid->model()->columnCount(), 1);
  EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), u"邮箱地址"_s);
  EXPECT_EQ(grid->model()->headerData(0, Qt::Vertical).toString(), QString());  // blank column
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(window.addressIndex()->size(), 3);  // what the compose window may share

  // A second initialisation reads the store again, from the heading up.
  store.received(u"sun@kvmail.test"_s);
  window.py_Init(store.host.get());
  EXPECT_EQ(grid->model()->rowCount(), 4);
}

TEST_F(FrmDxbTest, AnEmptyMailTableShowsTheHeadingOnlyAndPicksNothing) {
  open();
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);
  EXPECT_EQ((QList<int>{grid->model()->rowCount(), window.currentRow()}), (QList<int>{0, -1}));
  EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), u"邮箱地址"_s);
  type(u"a"_s);
  QTest::keyClick(box, Qt::Key_Return);
  doubleClick(0);
  QTest::keyClick(grid, Qt::Key_Return);
  EXPECT_EQ(picked.count(), 0);
  EXPECT_TRUE(prompt->records().isEmpty());
}

TEST_F(FrmDxbTest, TypingMovesToTheFirstRowContainingTheTextAndNoMatchMovesNothing) {
  fill(store, 300);
  store.received(u"Zhang.San@KVMAIL.test"_s);  // sorts first: capitals
  open();
  ASSERT_EQ(cell(0), u"Zhang.San@KVMAIL.test"_s);

  // Out of sight: becomes current and the top row.
  type(u"USER0250"_s);
  EXPECT_EQ((QList<int>{window.currentRow(), topRow(),
                        grid->selectionModel()->selectedRows().value(0).row()}),
            (QList<int>{251, 251, 251}));

  // In sight: becomes current, the grid stays where it is.
  type(u"user0253"_s);
  EXPECT_EQ(window.currentRow(), 254);
  EXPECT_EQ(topRow(), 251);

  // No address has it: the current row and the view stay; an emptied box moves nothing either.
  QTest::keyClicks(box, u"x"_s);
  EXPECT_EQ(window.currentRow(), 254);
  EXPECT_EQ(topRow(), 251);
  box->clear();
  EXPECT_EQ(window.currentRow(), 254);

  // Each key searches again from the top; a part, not the whole address, is enough.
  type(u"san@kv"_s);
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(topRow(), 0);
}

TEST_F(FrmDxbTest, DoubleClickAndEnterPickTheCurrentAddress) {
  store.received(u"zhao@kvmail.test"_s);
  store.received(u"qian@kvmail.test"_s);
  store.composed(u"sun@kvmail.test"_s);
  open();
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);
  doubleClick(2);
  type(u"SUN"_s);
  QTest::keyClick(box, Qt::Key_Return);
  QTest::keyClick(grid, Qt::Key_Up);
  QTest::keyClick(grid, Qt::Key_Enter);
  QStringList addresses;
  for (const auto& args : picked) addresses << args.at(0).toString();
  EXPECT_EQ(addresses, (QStringList{"zhao@kvmail.test", "sun@kvmail.test", "qian@kvmail.test"}));
  EXPECT_TRUE(window.isVisible());  // picking leaves the window up; the user closes it
}

TEST_F(FrmDxbTest, ShowModalReturnsWhenClosedAndTheNextShowFindsTheListAndSearchKept) {
  fill(store, 50);
  window.py_Init(store.host.get());
  bool wasModal = false, refused = false;
  QTimer::singleShot(0, &window, [&] {
    wasModal = window.isVisible() && window.isModal();
    QTest::keyClicks(window.findChild<QLineEdit*>(u"kvTxt"_s), u"0042"_s);
    refused = !window.close();  // the request is refused, the window hidden instead
  });
  window.showModal();
  EXPECT_TRUE(wasModal);
  EXPECT_TRUE(refused);
  EXPECT_FALSE(window.isVisible());

  QString text;
  int row = -1;
  QTimer::singleShot(0, &window, [&] {
    text = window.findChild<QLineEdit*>(u"kvTxt"_s)->text();
    row = window.currentRow();
    window.hide();
  });
  window.showModal();
  EXPECT_EQ(text, u"0042"_s);
  EXPECT_EQ(row, 42);
}

TEST_F(FrmDxbTest, AStoreThatCannotBeReadIsReportedAndLeavesTheHeading) {
  store.host->execute(u"drop table msgmail"_s);
  open();
  EXPECT_EQ(grid->model()->rowCount(), 0);
  ASSERT_EQ(prompt->records().size(), 1);
  const auto& box = prompt->records().at(0);
  EXPECT_EQ(std::tuple(box.title, box.icon, box.text.left(9)),
            std::tuple(u"错误："_s, kvmail::PromptIcon::Critical, u"读取通讯簿时出错："_s));
}
