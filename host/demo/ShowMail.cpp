#include "ShowMail.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QTextEdit>
#include <QTreeWidget>

#include "ConsolePrompt.h"
#include "MainWindow.h"
#include "ScriptedRun.h"

namespace kvmail::demo {
namespace {

// The console prompt, except that the save dialog is answered with a file in the folder given
// on the command line, under the name the viewer suggests.
class SavingPrompt : public ConsolePrompt {
 public:
  explicit SavingPrompt(QString folder) : folder_(std::move(folder)) {}
  QString saveFile(const QString& title, const QString&, const QString& suggestedPath,
                   QWidget*) override {
    const QString path = QDir(folder_).absoluteFilePath(QFileInfo(suggestedPath).fileName());
    QTextStream(stderr) << QStringLiteral("[对话框] %1 [%2]").arg(title, path) << Qt::endl;
    return path;
  }

 private:
  QString folder_;
};

// Puts the previous prompt back when the command ends.
class PromptScope {
 public:
  explicit PromptScope(std::shared_ptr<IPrompt> replacement) : previous_(installedPrompt()) {
    setPrompt(std::move(replacement));
  }
  ~PromptScope() { setPrompt(previous_); }

 private:
  std::shared_ptr<IPrompt> previous_;
};

QString boxText(const QWidget& viewer, int index) {
  const auto* box = viewer.findChild<QLineEdit*>(QStringLiteral("Txt(%1)").arg(index));
  return box ? box->text() : QString();
}

}  // namespace

int runShow(MainWindow& window, long mailId, const QString& saveFolder, QTextStream& out) {
  std::unique_ptr<PromptScope> scope;
  if (!saveFolder.isEmpty()) {
    if (!QDir().mkpath(saveFolder)) {
      out << "无法创建文件夹：" << saveFolder << Qt::endl;
      return ExitTaskFailed;
    }
    scope = std::make_unique<PromptScope>(std::make_shared<SavingPrompt>(saveFolder));
  }
  window.displayMail(mailId);
  QWidget* viewer = window.mail().viewerWidget();
  if (!viewer) {
    out << "邮件模块无法启动。" << Qt::endl;
    return ExitNoAccount;
  }
  const auto* status = viewer->findChild<QStatusBar*>(QStringLiteral("StatusBar"));
  if (status && status->currentMessage().startsWith(QStringLiteral("没有找到邮件"))) {
    out << status->currentMessage() << Qt::endl;
    return ExitTaskFailed;
  }

  const auto* priority = viewer->findChild<QLabel*>(QStringLiteral("lblType"));
  const auto* strip = viewer->findChild<QWidget*>(QStringLiteral("PicType"));
  out << "窗口：" << viewer->windowTitle() << Qt::endl;
  out << "收件人：" << boxText(*viewer, 0) << Qt::endl;
  out << "发件人：" << boxText(*viewer, 1) << Qt::endl;
  out << "发送时间：" << boxText(*viewer, 2) << Qt::endl;
  out << "主题：" << boxText(*viewer, 3) << Qt::endl;
  out << "优先级：" << (strip && strip->isVisible() && priority ? priority->text() : QString())
      << Qt::endl;
  out << "---- 正文 ----" << Qt::endl;
  if (const auto* body = viewer->findChild<QTextEdit*>(QStringLiteral("Web")))
    out << body->toPlainText() << Qt::endl;
  out << "--------------" << Qt::endl;
  if (status && !status->currentMessage().isEmpty()) out << status->currentMessage() << Qt::endl;

  auto* list = viewer->findChild<QTreeWidget*>(QStringLiteral("LView"));
  const int rows = list ? list->topLevelItemCount() : 0;
  out << "附件：" << rows << " 个" << Qt::endl;
  for (int i = 0; i < rows; ++i) {
    const QTreeWidgetItem* row = list->topLevelItem(i);
    out << "  " << row->data(0, Qt::UserRole).toString() << '\t' << row->text(0) << '\t'
        << row->text(1) << '\t' << QFileInfo(row->text(1)).size() << Qt::endl;
  }

  bool saved = true;
  auto* saveAs = viewer->findChild<QAction*>(QStringLiteral("mnuAttachSaveAs"));
  if (!saveFolder.isEmpty() && saveAs) {
    for (int i = 0; i < rows; ++i) {
      list->setCurrentItem(list->topLevelItem(i));
      saveAs->trigger();
      const QString said = status ? status->currentMessage() : QString();
      out << said << Qt::endl;
      saved = saved && said.endsWith(QStringLiteral("成功"));
    }
  }
  return saved ? ExitOk : ExitTaskFailed;
}

}  // namespace kvmail::demo
