#include "support/PrintFile.h"

#include <QFile>
#include <QGuiApplication>
#include <QPrintDialog>
#include <QPrinter>
#include <QStringDecoder>
#include <QTextDocument>

#include "support/Prompt.h"

namespace kvmail {
namespace {

// The file as a document: HTML when it looks like HTML, otherwise plain text.
bool loadDocument(const QString& path, QTextDocument* document) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return false;
  const QByteArray bytes = file.readAll();
  QStringDecoder utf8(QStringDecoder::Utf8);
  QString text = utf8.decode(bytes);
  if (utf8.hasError()) text = QString::fromLocal8Bit(bytes);
  if (Qt::mightBeRichText(text))
    document->setHtml(text);
  else
    document->setPlainText(text);
  return true;
}

}  // namespace

bool runsWithoutDisplay() {
  const QString platform = QGuiApplication::platformName();
  return platform == QLatin1String("offscreen") || platform == QLatin1String("minimal");
}

QString printFileToPdf(const QString& path) {
  QTextDocument document;
  if (!loadDocument(path, &document)) return {};
  QPrinter printer(QPrinter::HighResolution);
  printer.setOutputFormat(QPrinter::PdfFormat);
  printer.setOutputFileName(path + QStringLiteral(".pdf"));
  document.print(&printer);
  return QFile::exists(printer.outputFileName()) ? printer.outputFileName() : QString();
}

QString printFileWithDialog(const QString& path, QWidget* parent) {
  QTextDocument document;
  if (!loadDocument(path, &document)) return {};
  QPrinter printer(QPrinter::HighResolution);
  QPrintDialog dialog(&printer, parent);
  if (dialog.exec() != QDialog::Accepted) return {};
  document.print(&printer);
  return printer.outputFormat() == QPrinter::PdfFormat ? printer.outputFileName()
                                                       : printer.printerName();
}

QString IPrompt::printFile(const QString& path, QWidget* parent) {
  return runsWithoutDisplay() ? printFileToPdf(path) : printFileWithDialog(path, parent);
}

}  // namespace kvmail
