#include "composer/ComposeCommands.h"

#include <QStringList>

namespace kvmail::compose {
namespace {

CommandEntry menu(const char* key, const QString& caption) {
  return {QLatin1String(key), caption, QString(), true};
}
CommandEntry item(const char* key, const QString& caption, const QString& tip = {}) {
  return {QLatin1String(key), caption, tip, false};
}

// Classic filters: label and pattern pairs joined by "|".
QString pairs(const QList<QPair<QString, QString>>& list) {
  QStringList parts;
  for (const auto& [label, pattern] : list) parts << label << pattern;
  return parts.join(QLatin1Char('|'));
}

}  // namespace

QList<CommandEntry> menuEntries() {
  const QString tab = QStringLiteral("\t");
  return {
      menu("mnuFile", QStringLiteral("文件(&F)")),
      item("mnuFileAddHtml", QStringLiteral("添加正文")),
      item("mnuFileSaveHtml", QStringLiteral("保存正文")),
      item("mnuFile1", QStringLiteral("-")),
      item("mnuFileClose", QStringLiteral("退出(&X)")),
      menu("mnuEdit", QStringLiteral("编辑(&E)")),
      item("mnuEditUndo", QStringLiteral("撤消")),
      item("mnuEdit1", QStringLiteral("-")),
      item("mnuEditCopy", QStringLiteral("复制(C)") + tab + QStringLiteral("Ctrl+C")),
      item("mnuEditCut", QStringLiteral("剪切")),
      item("mnuEditPaste", QStringLiteral("粘贴")),
      item("mnuEdit2", QStringLiteral("-")),
      item("mnuEditSelectall", QStringLiteral("全选(A)") + tab + QStringLiteral("Ctrl+A")),
      menu("mnuMail", QStringLiteral("邮件(&M)")),
      item("mnuMailSend", QStringLiteral("发送") + tab + QStringLiteral("Ctrl+S")),
      item("mnuMail1", QStringLiteral("-")),
      item("mnuMailTattach", QStringLiteral("附件")),
      item("mnuMail2", QStringLiteral("-")),
      item("mnuMailTdxb", QStringLiteral("通讯簿")),
      item("mnuMail3", QStringLiteral("-")),
      item("mnuMailPrior", QStringLiteral("上一条")),
      item("mnuMailNext", QStringLiteral("下一条")),
      item("mnuFileDelete", QStringLiteral("删除")),
  };
}

QList<CommandEntry> toolbarEntries() {
  const QString sep = QStringLiteral("-");
  return {
      item("TBAddHtml", QStringLiteral("添正文")),
      item("TBSaveHtml", QStringLiteral("存正文")),
      item("TBSend", QStringLiteral(" 发送 ")),
      item("TBs1", sep),
      item("TBCut", QStringLiteral(" 剪切 ")),
      item("TBCopy", QStringLiteral(" 复制 "), QStringLiteral("复制")),
      item("TBPaste", QStringLiteral(" 粘贴 ")),
      item("TBUndo", QStringLiteral(" 撤消 ")),
      item("TBs2", sep),
      item("TBTattach", QStringLiteral(" 附件 ")),
      item("TBType", QStringLiteral("优先级")),
      item("TBs3", sep),
      item("TBTdxb", QStringLiteral("通讯簿")),
      item("TBs5", sep),
      item("TBPrior", QStringLiteral("上一条")),
      item("TBNext", QStringLiteral("下一条")),
      item("TBDelete", QStringLiteral(" 删除 ")),
      item("TBs6", sep),
      item("TBClose", QStringLiteral(" 退出 "), QStringLiteral("退出")),
  };
}

QList<CommandEntry> priorityEntries() {
  return {
      item("mnuTool_H", QStringLiteral("高优先级(&H)")),
      item("mnuTool_N", QStringLiteral("普通优先级(&N)")),
      item("mnuTool_L", QStringLiteral("低优先级(&L)")),
  };
}

QString highPriorityText() {
  return QStringLiteral("邮件状态：高优先级。");
}
QString lowPriorityText() {
  return QStringLiteral("邮件状态：低优先级。");
}

QString addBodyFilter() {
  // The blanks, the trailing ";" and the irregular spacing are part of the text.
  return pairs({
      {QStringLiteral(" All Web Files (*.asp, *.asa, *.pl, *.htm, *.html, *.css) "),
       QStringLiteral(" *.asp; *.asa; *.pl; *.htm; *.html; *.css; ")},
      {QStringLiteral(" Asp files (*.asp) "), QStringLiteral(" *.asp; ")},
      {QStringLiteral(" Asa files (*.asa) "), QStringLiteral(" *.asa; ")},
      {QStringLiteral(" Htm files (*.htm) "), QStringLiteral(" *.htm ")},
      {QStringLiteral(" Html files (*.html) "), QStringLiteral(" *.html; ")},
      {QStringLiteral(" Perl files (*.pl) "), QStringLiteral(" *.pl; ")},
      {QStringLiteral(" Style Sheets (*.css) "), QStringLiteral(" *.css; ")},
      {QStringLiteral(" All files (*.*)"), QStringLiteral("*.*")},
  });
}

QString saveBodyFilter() {
  return pairs({{QStringLiteral("Html files (*.html)"), QStringLiteral("*.html")},
                {QStringLiteral("All files (*.*)"), QStringLiteral("*.*")}});
}

QString attachmentFilter() {
  return QStringLiteral("所有文件(*.*)|*.*");
}

}  // namespace kvmail::compose
