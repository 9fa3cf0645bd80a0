#include "composer/BodyEditor.h"

#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>

#include <iconv.h>
#include <cerrno>

#include "composer/ComposeCommands.h"

namespace kvmail {
namespace {

// GB18030 (the superset of gb2312 and GBK) through the C library's converter.
QString fromGb18030(const QByteArray& bytes) {
  iconv_t cd = iconv_open("UTF-8", "GB18030");
  if (cd == reinterpret_cast<iconv_t>(-1)) return QString::fromLocal8Bit(bytes);
  QByteArray in = bytes;
  QByteArray out(bytes.size() * 2 + 16, '\0');
  char* inPtr = in.data();
  char* outPtr = out.data();
  size_t inLeft = size_t(in.size());
  size_t outLeft = size_t(out.size());
  while (inLeft > 0 && iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft) == size_t(-1)) {
    if (errno != EILSEQ && errno != EINVAL) break;
    ++inPtr;  // an undecodable byte is skipped rather than ending the text
    --inLeft;
  }
  iconv_close(cd);
  out.truncate(out.size() - qsizetype(outLeft));
  return QString::fromUtf8(out);
}

// HTML files come as UTF-8 or, from Chinese editors, in the gb2312 family.
QString decodeFile(const QByteArray& bytes) {
  QStringDecoder utf8(QStringDecoder::Utf8);
  QString text = utf8.decode(bytes);
  return utf8.hasError() ? fromGb18030(bytes) : text;
}

}  // namespace

BodyEditor::BodyEditor(QWidget* parent) : QTextEdit(parent) {
  setObjectName(QStringLiteral("Body"));
  setAcceptRichText(true);
  connect(this, &QTextEdit::cursorPositionChanged, this, &BodyEditor::DisplayChanged);
  connect(this, &QTextEdit::selectionChanged, this, &BodyEditor::DisplayChanged);
  resetDocument();
}

bool BodyEditor::ExecCommand(int command) {
  switch (command) {
    case compose::CmdCopy:
      copy();
      return true;
    case compose::CmdCut:
      cut();
      return true;
    case compose::CmdPaste:
      paste();
      return true;
    case compose::CmdSelectAll:
      selectAll();
      return true;
    case compose::CmdUndo:
      undo();
      return true;
    default:
      break;
  }
  return false;
}

void BodyEditor::resetDocument() {
  // HTML size 3 is the browsers' medium: 12 points.
  QFont start(QStringLiteral("宋体"), 12);
  document()->setDefaultFont(start);
  clear();
  setCurrentFont(start);
}

void BodyEditor::setDocumentHtml(const QString& html) {
  setHtml(html);
}

bool BodyEditor::loadDocument(const QString& path, QString* error) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    if (error) *error = QStringLiteral("无法打开文件：") + path;
    return false;
  }
  const QString text = decodeFile(file.readAll());
  if (Qt::mightBeRichText(text))
    setHtml(text);
  else
    setPlainText(text);
  return true;
}

bool BodyEditor::saveDocument(const QString& path, QString* error) const {
  QSaveFile file(path);
  if (file.open(QIODevice::WriteOnly)) {
    file.write(toHtml().toUtf8());
    if (file.commit()) return true;
  }
  if (error) *error = QStringLiteral("无法写入文件：") + path;
  return false;
}

}  // namespace kvmail
