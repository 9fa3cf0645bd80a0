#include "addressbook/FrmDxb.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTableView>
#include <QVBoxLayout>

#include "addressbook/AddressIndex.h"
#include "addressbook/AddressListModel.h"
#include "store/MailStore.h"
#include "support/Prompt.h"

namespace kvmail {
namespace {

// The address column is as wide as its heading followed by 30 blanks, the grid's format text.
constexpr int kFormatBlanks = 30;
constexpr int kFixedColumnWidth = 14;

}  // namespace

FrmDxb::FrmDxb(QWidget* parent)
    : QDialog(parent),
      model_(new AddressListModel(this)),
      grid_(new QTableView(this)),
      searchBox_(new QLineEdit(this)) {
  setObjectName(QStringLiteral("FrmDxb"));
  setWindowTitle(QStringLiteral("通讯簿"));

  grid_->setObjectName(QStringLiteral("Vs"));
  grid_->setModel(model_);
  grid_->setSelectionBehavior(QAbstractItemView::SelectRows);
  grid_->setSelectionMode(QAbstractItemView::SingleSelection);
  grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  grid_->setAlternatingRowColors(true);
  grid_->setWordWrap(false);
  grid_->setTextElideMode(Qt::ElideMiddle);
  grid_->setCornerButtonEnabled(false);
  QHeaderView* fixedColumn = grid_->verticalHeader();
  fixedColumn->setSectionResizeMode(QHeaderView::Fixed);  // uniform rows: 100,000 stay cheap
  fixedColumn->setDefaultSectionSize(fontMetrics().height() + 6);
  fixedColumn->setFixedWidth(kFixedColumnWidth);
  QHeaderView* heading = grid_->horizontalHeader();
  heading->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  heading->setHighlightSections(false);
  heading->setStretchLastSection(true);
  const int addressWidth =
      heading->fontMetrics().horizontalAdvance(QStringLiteral("邮箱地址") +
                                               QString(kFormatBlanks, QLatin1Char(' '))) +
      12;
  grid_->setColumnWidth(0, addressWidth);
  grid_->setMinimumWidth(addressWidth + kFixedColumnWidth + 24);
  grid_->installEventFilter(this);
  connect(grid_, &QTableView::doubleClicked, this, [this] { pick(); });

  searchBox_->setObjectName(QStringLiteral("kvTxt"));
  searchBox_->setPlaceholderText(QStringLiteral("输入邮箱地址的一部分查找"));
  searchBox_->setClearButtonEnabled(true);
  connect(searchBox_, &QLineEdit::textChanged, this, &FrmDxb::search);
  connect(searchBox_, &QLineEdit::returnPressed, this, &FrmDxb::pick);

  auto* label = new QLabel(QStringLiteral("查找(&F)："), this);
  label->setBuddy(searchBox_);
  auto* searchRow = new QHBoxLayout;
  searchRow->addWidget(label);
  searchRow->addWidget(searchBox_, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(8, 8, 8, 8);
  layout->setSpacing(6);
  layout->addLayout(searchRow);
  layout->addWidget(grid_, 1);
  resize(380, 460);
}

FrmDxb::~FrmDxb() = default;

void FrmDxb::py_Init(IHostSystem* system) {
  system_ = system;
  load();
}

void FrmDxb::load() {
  model_->setAddresses(nullptr);  // back to the heading alone
  if (!system_) return;
  QString error;
  auto addresses = AddressIndex::load(MailStore(*system_), &error);
  if (!error.isEmpty()) {
    prompt().messageBox(QStringLiteral("读取通讯簿时出错：") + error, QStringLiteral("错误："),
                        PromptIcon::Critical, PromptButtons::Ok, this);
  }
  model_->setAddresses(std::move(addresses));
  if (model_->rowCount() > 0) grid_->setCurrentIndex(model_->index(0, 0));
}

void FrmDxb::showModal() {
  if (isVisible()) {  // already up (its loop is on the stack): just bring it forward
    raise();
    activateWindow();
    return;
  }
  searchBox_->setFocus();
  exec();
}

std::shared_ptr<const AddressIndex> FrmDxb::addressIndex() const {
  return model_->sharedAddresses();
}

int FrmDxb::currentRow() const {
  const QModelIndex current = grid_->currentIndex();
  return current.isValid() ? current.row() : -1;
}

void FrmDxb::search(const QString& text) {
  const qsizetype row = model_->addresses().firstContaining(text);
  if (row < 0) return;  // no match: the current row stays
  const QModelIndex index = model_->index(int(row), 0);
  // A row out of sight becomes the top row; one in sight is only made current.
  if (!grid_->viewport()->rect().contains(grid_->visualRect(index)))
    grid_->scrollTo(index, QAbstractItemView::PositionAtTop);
  grid_->setCurrentIndex(index);
}

void FrmDxb::pick() {
  const int row = currentRow();
  if (row < 0 || row >= model_->rowCount()) return;
  Q_EMIT EvHasReturn(model_->addresses().at(row));
}

void FrmDxb::closeEvent(QCloseEvent* event) {
  // Kept for the next time: a close request only hides the window.
  event->ignore();
  hide();
}

bool FrmDxb::eventFilter(QObject* watched, QEvent* event) {
  if (watched == grid_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
      pick();
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace kvmail
