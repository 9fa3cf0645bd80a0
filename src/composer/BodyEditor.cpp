#include "composer/BodyEditor.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTextBlock>
#include <QTextList>
#include <QUrl>

#include <iconv.h>
#include <cerrno>

#include "composer/ComposeCommands.h"
#include "model/MailError.h"
#include "support/Prompt.h"
#include "support/SpecialFolders.h"

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

// HTML font sizes 1..7 as browsers draw them, in points.
constexpr qreal kSizePoints[] = {8, 10, 12, 14, 18, 24, 36};

qreal pointsOfSize(int size) {
  return kSizePoints[qBound(1, size, 7) - 1];
}

int sizeOfPoints(qreal points) {
  int best = 1;
  for (int size = 2; size <= 7; ++size)
    if (qAbs(kSizePoints[size - 1] - points) < qAbs(kSizePoints[best - 1] - points)) best = size;
  return best;
}

Qt::Alignment horizontal(Qt::Alignment a) {
  return a & (Qt::AlignLeft | Qt::AlignRight | Qt::AlignHCenter | Qt::AlignJustify);
}

}  // namespace

BodyEditor::BodyEditor(QWidget* parent) : QTextEdit(parent) {
  setObjectName(QStringLiteral("Body"));
  setAcceptRichText(true);
  connect(this, &QTextEdit::cursorPositionChanged, this, &BodyEditor::DisplayChanged);
  connect(this, &QTextEdit::selectionChanged, this, &BodyEditor::DisplayChanged);
  resetDocument();
}

bool BodyEditor::ExecCommand(int command, const QVariant& value, ExecOption option) {
  if (!runCommand(command, value, option)) return false;
  Q_EMIT CommandSent(command, value);
  return true;
}

bool BodyEditor::runCommand(int command, const QVariant& value, ExecOption option) {
  using namespace compose;
  QTextCharFormat format;
  switch (command) {
    case CmdBold:
      format.setFontWeight(QueryStatus(command) == StatusLatched ? QFont::Normal : QFont::Bold);
      break;
    case CmdItalic:
      format.setFontItalic(QueryStatus(command) != StatusLatched);
      break;
    case CmdUnderline:
      format.setFontUnderline(QueryStatus(command) != StatusLatched);
      break;
    case CmdForeColor:
    case CmdBackColor: {
      const QColor colour = value.value<QColor>();
      if (!colour.isValid()) return false;
      if (command == CmdForeColor)
        format.setForeground(colour);
      else
        format.setBackground(colour);
      break;
    }
    case CmdSetFontName:
      if (value.toString().isEmpty()) return false;
      format.setFontFamilies(QStringList{value.toString()});
      break;
    case CmdSetFontSize:
      if (value.toInt() < 1 || value.toInt() > 7) return false;
      format.setFontPointSize(pointsOfSize(value.toInt()));
      break;
    case CmdAlignLeft:
      setAlignment(Qt::AlignLeft);
      return true;
    case CmdAlignCenter:
      setAlignment(Qt::AlignHCenter);
      return true;
    case CmdAlignRight:
      setAlignment(Qt::AlignRight);
      return true;
    case CmdNumberedList:
      toggleList(QTextListFormat::ListDecimal);
      return true;
    case CmdBulletedList:
      toggleList(QTextListFormat::ListDisc);
      return true;
    case CmdIndent:
    case CmdOutdent:
      shiftIndent(command == CmdIndent ? 1 : -1);
      return true;
    case CmdHyperlink: {
      QString url = value.toString();
      if (option == ExecOption::PromptUser) {
        const QString selected = textCursor().selectedText().trimmed();
        const bool looksLikeLink = selected.contains(QLatin1String("://")) ||
                                   selected.startsWith(QLatin1String("mailto:"));
        const auto answer =
            prompt().inputText(QStringLiteral("超链接"), QStringLiteral("链接地址："),
                               looksLikeLink ? selected : QStringLiteral("http://"), this);
        url = answer.value_or(QString());
      }
      url = url.trimmed();
      if (url.isEmpty() || url == QLatin1String("http://")) return false;
      insertLink(url);
      return true;
    }
    case CmdPicture: {
      QString path = value.toString();
      if (option == ExecOption::PromptUser) {
        const QStringList files = prompt().openFiles(
            QStringLiteral("插入图片"),
            QStringLiteral(
                "图片文件(*.png;*.jpg;*.jpeg;*.gif;*.bmp)|*.png;*.jpg;*.jpeg;*.gif;*.bmp|"
                "所有文件(*.*)|*.*"),
            GetSystemPath(QStringLiteral("Mydocuments")), false, this);
        path = files.value(0);
      }
      if (path.isEmpty()) return false;
      insertPicture(path);
      return true;
    }
    default:
      return runEditCommand(command);
  }
  mergeCurrentCharFormat(format);
  return true;
}

bool BodyEditor::runEditCommand(int command) {
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

int BodyEditor::QueryStatus(int command) const {
  using namespace compose;
  const QTextCharFormat format = currentCharFormat();
  const QTextCursor cursor = textCursor();
  const auto latched = [](bool on) { return on ? StatusLatched : StatusEnabled; };
  const auto aligned = [&](Qt::Alignment a) {
    return latched(horizontal(cursor.blockFormat().alignment()) == a);
  };
  const auto listed = [&](QTextListFormat::Style style) {
    return latched(cursor.currentList() && cursor.currentList()->format().style() == style);
  };
  int status = StatusNotSupported;
  switch (command) {
    case CmdBold:
      status = latched(format.fontWeight() > QFont::Normal);
      break;
    case CmdItalic:
      status = latched(format.fontItalic());
      break;
    case CmdUnderline:
      status = latched(format.fontUnderline());
      break;
    case CmdAlignLeft:
      status = aligned(Qt::AlignLeft);
      break;
    case CmdAlignCenter:
      status = aligned(Qt::AlignHCenter);
      break;
    case CmdAlignRight:
      status = aligned(Qt::AlignRight);
      break;
    case CmdNumberedList:
      status = listed(QTextListFormat::ListDecimal);
      break;
    case CmdBulletedList:
      status = listed(QTextListFormat::ListDisc);
      break;
    case CmdOutdent:
      status = cursor.blockFormat().indent() > 0 || cursor.currentList() ? StatusEnabled
                                                                         : StatusDisabled;
      break;
    case CmdIndent:
    case CmdForeColor:
    case CmdBackColor:
    case CmdHyperlink:
    case CmdPicture:
    case CmdSetFontName:
    case CmdSetFontSize:
    case CmdCut:
    case CmdCopy:
    case CmdPaste:
    case CmdUndo:
    case CmdSelectAll:
      status = StatusEnabled;
      break;
    default:
      return StatusNotSupported;
  }
  return isReadOnly() ? int(StatusDisabled) : status;
}

QVariant BodyEditor::QueryValue(int command) const {
  const QTextCharFormat format = currentCharFormat();
  if (command == compose::CmdGetFontName) {
    const QStringList families = format.fontFamilies().toStringList();
    return families.isEmpty() ? document()->defaultFont().family() : families.first();
  }
  if (command == compose::CmdGetFontSize) {
    const qreal points = format.fontPointSize() > 0 ? format.fontPointSize()
                                                    : document()->defaultFont().pointSizeF();
    return sizeOfPoints(points);
  }
  return {};
}

void BodyEditor::toggleList(QTextListFormat::Style style) {
  QTextCursor cursor = textCursor();
  cursor.beginEditBlock();
  QTextList* list = cursor.currentList();
  if (list && list->format().style() == style) {
    // Off again: the selected paragraphs leave the list.
    QTextBlock block = document()->findBlock(cursor.selectionStart());
    const QTextBlock last = document()->findBlock(cursor.selectionEnd());
    for (;;) {
      if (QTextList* in = block.textList()) in->remove(block);
      QTextCursor at(block);
      QTextBlockFormat plain = block.blockFormat();
      plain.setIndent(0);
      at.setBlockFormat(plain);
      if (block == last || !block.next().isValid()) break;
      block = block.next();
    }
  } else if (list) {
    QTextListFormat format = list->format();
    format.setStyle(style);
    list->setFormat(format);
  } else {
    cursor.createList(style);
  }
  cursor.endEditBlock();
}

void BodyEditor::shiftIndent(int step) {
  QTextCursor cursor = textCursor();
  cursor.beginEditBlock();
  if (QTextList* list = cursor.currentList()) {
    QTextListFormat format = list->format();
    format.setIndent(qMax(1, format.indent() + step));
    list->setFormat(format);
  } else {
    QTextBlockFormat format;
    format.setIndent(qMax(0, cursor.blockFormat().indent() + step));
    cursor.mergeBlockFormat(format);
  }
  cursor.endEditBlock();
}

void BodyEditor::insertPicture(const QString& path) {
  QImageReader reader(path);
  const QSize size = reader.size();
  if (!reader.canRead() || !size.isValid())
    throw MailError(
        13, QStringLiteral("Picture"),
        QStringLiteral("“%1”不是图片文件，不能插入正文。").arg(QFileInfo(path).fileName()));
  QTextImageFormat image;
  image.setName(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString());
  image.setWidth(size.width());
  image.setHeight(size.height());
  textCursor().insertImage(image);
}

void BodyEditor::insertLink(const QString& url) {
  QTextCursor cursor = textCursor();
  QTextCharFormat link;
  link.setAnchor(true);
  link.setAnchorHref(url);
  link.setForeground(QColor(0, 0, 238));
  link.setFontUnderline(true);
  cursor.beginEditBlock();
  if (cursor.hasSelection()) {
    cursor.mergeCharFormat(link);
  } else {
    const QTextCharFormat before = cursor.charFormat();
    cursor.insertText(url, link);
    cursor.setCharFormat(before);  // what is typed after the link is plain text again
  }
  cursor.endEditBlock();
  setTextCursor(cursor);
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
