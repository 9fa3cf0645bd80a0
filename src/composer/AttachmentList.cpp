#include "composer/AttachmentList.h"

#include <QContextMenuEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QTreeWidget>

namespace kvmail {

AttachmentList::AttachmentList(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("AttachPanel"));
  label_ = new QLabel(QStringLiteral("附件："), this);
  label_->setObjectName(QStringLiteral("lblAttach"));
  label_->setAlignment(Qt::AlignRight | Qt::AlignTop);
  label_->setMinimumWidth(56);
  list_ = new QTreeWidget(this);
  list_->setObjectName(QStringLiteral("LView"));
  list_->setHeaderLabels({QStringLiteral("文件名"), QStringLiteral("文件路径")});
  list_->setRootIsDecorated(false);
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setContextMenuPolicy(Qt::CustomContextMenu);
  list_->header()->resizeSection(0, 200);
  list_->setMaximumHeight(96);

  popup_ = new QMenu(this);
  popup_->setObjectName(QStringLiteral("mnuAttach"));
  const QStringList captions = {QStringLiteral("打开"), QStringLiteral("-"),
                                QStringLiteral("复制文件路径"), QStringLiteral("插入附件..."),
                                QStringLiteral("删除附件")};
  for (int i = 0; i < captions.size(); ++i) {
    QAction* action =
        captions[i] == QLatin1String("-") ? popup_->addSeparator() : popup_->addAction(captions[i]);
    action->setObjectName(QStringLiteral("mnu(%1)").arg(i));
    connect(action, &QAction::triggered, this, [this, i] { Q_EMIT ItemChosen(i); });
  }
  // The menu opens when the right button is released over the list.
  connect(list_, &QWidget::customContextMenuRequested, this,
          [this](const QPoint& at) { popup_->popup(list_->viewport()->mapToGlobal(at)); });
  connect(list_, &QTreeWidget::itemDoubleClicked, this, [this] { Q_EMIT OpenRequested(); });

  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(label_);
  layout->addWidget(list_, 1);
  syncVisibility();
}

QStringList AttachmentList::paths() const {
  QStringList out;
  for (int i = 0; i < list_->topLevelItemCount(); ++i) out << list_->topLevelItem(i)->text(1);
  return out;
}

void AttachmentList::setPaths(const QStringList& paths) {
  list_->clear();
  for (const QString& path : paths) new QTreeWidgetItem(list_, {QFileInfo(path).fileName(), path});
  syncVisibility();
}

void AttachmentList::addFile(const QString& path) {
  auto* item = new QTreeWidgetItem(list_, {QFileInfo(path).fileName(), path});
  list_->setCurrentItem(item);
  syncVisibility();
}

bool AttachmentList::removeSelected() {
  QTreeWidgetItem* item = list_->currentItem();
  if (!item || !item->isSelected()) return false;
  delete item;
  syncVisibility();
  return true;
}

QString AttachmentList::selectedPath() const {
  const QTreeWidgetItem* item = list_->currentItem();
  return item && item->isSelected() ? item->text(1) : QString();
}

int AttachmentList::rowCount() const {
  return list_->topLevelItemCount();
}

void AttachmentList::syncVisibility() {
  // Hiding the panel gives its room back to the body; the window's layout does the re-layout.
  const bool rows = list_->topLevelItemCount() > 0;
  label_->setVisible(rows);
  list_->setVisible(rows);
  setVisible(rows);
}

}  // namespace kvmail
