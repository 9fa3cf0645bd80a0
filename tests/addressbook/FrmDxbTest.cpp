// The address book window offscreen over a real store: what the grid lists, typing to find,
// picking by double click and Enter, and closing that only hides.
#include <gtest/gtest.h>

#include <QLineEdit>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include "ScriptedPrompt.h"
#include "StoreRig.h"
#include "addressbook/AddressIndex.h"
#include "addressbook/FrmDxb.h"

using kvmail::FrmDxb;

namespace {

// A fresh store whose mail rows hold only what the address book reads, and the window over it.
class FrmDxbTest : public ::testing::Test {
 protected:
  void mail(int direction, const QString& from, const QString& to) {
    store.host->executeBound(
        u"insert into msgmail(邮件ID,CshgnsID,发件人邮箱,收件人邮箱) values(?,?,?,?)"_s,
        {qlonglong(nextId++), direction, from, to});
  }
  void received(const QString& from) { mail(1, from, u"me@kvmail.test"_s); }
  void composed(const QString& to) { mail(2, u"me@kvmail.test"_s, to); }
  // A few hundred addresses, so most of them are out of sight.
  void fill(int count) {
    for (int i = 0; i < count; ++i)
      received(u"user%1@kvmail.test"_s.arg(i, 4, 10, QLatin1Char('0')));
  }

  void open() {
    window.py_Init(store.host.get());
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
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

  kvtest::StoreRig store;
  long nextId = 1;
  kvtest::ScopedPrompt prompt;
  FrmDxb window;
  QTableView* grid = window.findChild<QTableView*>(u"Vs"_s);
  QLineEdit* box = window.findChild<QLineEdit*>(u"kvTxt"_s);
};

}  // namespace

// Which addresses the store gives, once each and sorted, is the catalogue's test.
TEST_F(FrmDxbTest, ListsTheStoresAddressesUnderTheHeading) {
  received(u"zhao@kvmail.test"_s);
  composed(u"li@kvmail.test;wu@kvmail.test"_s);  // a list stays one entry
  open();
  ASSERT_EQ(grid->model()->rowCount(), 2);
  EXPECT_EQ(QStringList({cell(0), cell(1)}),
            (QStringList{"li@kvmail.test;wu@kvmail.test", "zhao@kvmail.test"}));
  EXPECT_EQ(grid->model()->headerData(0, Qt::Horizontal).toString(), u"邮箱地址"_s);
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(window.addressIndex()->size(), 2);  // what the compose window may share

  // A second initialisation reads the store again.
  received(u"sun@kvmail.test"_s);
  window.py_Init(store.host.get());
  EXPECT_EQ(grid->model()->rowCount(), 3);
}

TEST_F(FrmDxbTest, TypingMovesToTheFirstRowContainingTheTextAndNoMatchMovesNothing) {
  fill(300);
  received(u"Zhang.San@KVMAIL.test"_s);  // sorts first: capitals
  open();
  ASSERT_EQ(cell(0), u"Zhang.San@KVMAIL.test"_s);

  // Out of sight: becomes current and the top row.
  type(u"USER0250"_s);
  EXPECT_EQ(window.currentRow(), 251);
  EXPECT_EQ(topRow(), 251);

  // In sight: becomes current, the grid stays where it is.
  type(u"user0253"_s);
  EXPECT_EQ(window.currentRow(), 254);
  EXPECT_EQ(topRow(), 251);

  // No address has it: the current row and the view stay.
  QTest::keyClicks(box, u"x"_s);
  EXPECT_EQ(window.currentRow(), 254);
  EXPECT_EQ(topRow(), 251);

  // Each key searches again from the top; a part, not the whole address, is enough.
  type(u"san@kv"_s);
  EXPECT_EQ(window.currentRow(), 0);
  EXPECT_EQ(topRow(), 0);
}

TEST_F(FrmDxbTest, DoubleClickAndEnterPickTheCurrentAddress) {
  received(u"zhao@kvmail.test"_s);
  received(u"qian@kvmail.test"_s);
  composed(u"sun@kvmail.test"_s);
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
  fill(50);
  window.py_Init(store.host.get());
  bool wasModal = false, refused = false;
  QTimer::singleShot(0, &window, [&] {
    wasModal = window.isVisible() && window.isModal();
    QTest::keyClicks(box, u"0042"_s);
    refused = !window.close();  // the request is refused, the window hidden instead
  });
  window.showModal();
  EXPECT_TRUE(wasModal);
  EXPECT_TRUE(refused);
  EXPECT_FALSE(window.isVisible());

  QString text;
  int row = -1;
  QTimer::singleShot(0, &window, [&] {
    text = box->text();
    row = window.currentRow();
    window.hide();
  });
  window.showModal();
  EXPECT_EQ(text, u"0042"_s);
  EXPECT_EQ(row, 42);
}

TEST_F(FrmDxbTest, AStoreThatCannotBeReadIsReportedAndTheEmptyGridPicksNothing) {
  store.host->execute(u"drop table msgmail"_s);
  open();
  EXPECT_EQ((QList<int>{grid->model()->rowCount(), window.currentRow()}), (QList<int>{0, -1}));
  ASSERT_EQ(prompt->records().size(), 1);
  const auto& error = prompt->records().at(0);
  EXPECT_EQ(std::tuple(error.title, error.icon, error.text.left(9)),
            std::tuple(u"错误："_s, kvmail::PromptIcon::Critical, u"读取通讯簿时出错："_s));
  QSignalSpy picked(&window, &FrmDxb::EvHasReturn);
  type(u"a"_s);
  QTest::keyClick(box, Qt::Key_Return);
  doubleClick(0);
  QTest::keyClick(grid, Qt::Key_Return);
  EXPECT_EQ(picked.count(), 0);
}
