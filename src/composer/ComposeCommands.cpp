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
      item("mnuMailTemplet", QStringLiteral("保存为模板")),
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
      item("TBTemplet", QStringLiteral("存模板"), QStringLiteral("保存为模板")),
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

QList<StripEntry> stripEntries() {
  const auto e = [](const char* key, int command, const char* tip, bool toggle) {
    return StripEntry{QLatin1String(key), command, QString::fromUtf8(tip), toggle};
  };
  return {
      e("jiacu", CmdBold, "粗体", true),
      e("qinxie", CmdItalic, "斜体", true),
      e("xiahuaxian", CmdUnderline, "下划线", true),
      e("-", 0, "", false),
      e("forecolor", CmdForeColor, "文字颜色", false),
      e("backcolor", CmdBackColor, "背景颜色", false),
      e("-", 0, "", false),
      e("left", CmdAlignLeft, "左对齐", true),
      e("mid_sp", CmdAlignCenter, "居中", true),
      e("right", CmdAlignRight, "右对齐", true),
      e("-", 0, "", false),
      e("number", CmdNumberedList, "编号", true),
      e("bullet", CmdBulletedList, "项目符号", true),
      e("outdent", CmdOutdent, "减少缩进", false),
      e("indent", CmdIndent, "增加缩进", false),
      e("-", 0, "", false),
      e("internet", CmdHyperlink, "插入超链接", false),
      e("picture", CmdPicture, "插入图片", false),
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
