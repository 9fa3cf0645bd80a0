#include "support/QtPrompt.h"

#include <QApplication>
#include <QColorDialog>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QRegularExpression>
#include <QUrl>

namespace kvmail {
namespace {

QWidget* ownerOr(QWidget* parent) {
  return parent ? parent : QApplication::activeWindow();
}

QMessageBox::Icon toQt(PromptIcon icon) {
  switch (icon) {
    case PromptIcon::Information:
      return QMessageBox::Information;
    case PromptIcon::Question:
      return QMessageBox::Question;
    case PromptIcon::Exclamation:
      return QMessageBox::Warning;
    case PromptIcon::Critical:
      return QMessageBox::Critical;
    case PromptIcon::None:
      break;
  }
  return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons toQt(PromptButtons buttons) {
  switch (buttons) {
    case PromptButtons::OkCancel:
      return QMessageBox::Ok | QMessageBox::Cancel;
    case PromptButtons::YesNo:
      return QMessageBox::Yes | QMessageBox::No;
    case PromptButtons::YesNoCancel:
      return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case PromptButtons::Ok:
      break;
  }
  return QMessageBox::Ok;
}

// Windows patterns: "*.*" means every file, and several patterns are separated by ";".
QString qtPatterns(QString patterns) {
  patterns.replace(QLatin1Char(';'), QLatin1Char(' '));
  QStringList list = patterns.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  for (QString& p : list)
    if (p == QLatin1String("*.*")) p = QStringLiteral("*");
  return list.join(QLatin1Char(' '));
}

}  // namespace

QString toQtFilter(const QString& filter) {
  if (!filter.contains(QLatin1Char('|')) && !filter.contains(QLatin1Char(':'))) return filter;
  QStringList parts = filter.split(QRegularExpression(QStringLiteral("[|:]")));
  QStringList out;
  for (int i = 0; i + 1 < parts.size(); i += 2) {
    QString label = parts[i].trimmed();
    const QString patterns = qtPatterns(parts[i + 1].trimmed());
    if (label.isEmpty() && patterns.isEmpty()) continue;
    const qsizetype open = label.indexOf(QLatin1Char('('));
    if (open >= 0) label = label.left(open).trimmed();
    out << QStringLiteral("%1 (%2)").arg(label.isEmpty() ? patterns : label, patterns);
  }
  return out.join(QLatin1String(";;"));
}

PromptAnswer QtPrompt::messageBox(const QString& text, const QString& title, PromptIcon icon,
                                  PromptButtons buttons, QWidget* parent) {
  QMessageBox box(toQt(icon), title, text, toQt(buttons), ownerOr(parent));
  switch (box.exec()) {
    case QMessageBox::Yes:
      return PromptAnswer::Yes;
    case QMessageBox::No:
      return PromptAnswer::No;
    case QMessageBox::Ok:
      return PromptAnswer::Ok;
    default:
      break;
  }
  return buttons == PromptButtons::YesNo ? PromptAnswer::No : PromptAnswer::Cancel;
}

QStringList QtPrompt::openFiles(const QString& title, const QString& filter, const QString& folder,
                                bool multiple, QWidget* parent) {
  if (multiple)
    return QFileDialog::getOpenFileNames(ownerOr(parent), title, folder, toQtFilter(filter));
  const QString one =
      QFileDialog::getOpenFileName(ownerOr(parent), title, folder, toQtFilter(filter));
  return one.isEmpty() ? QStringList() : QStringList{one};
}

QString QtPrompt::saveFile(const QString& title, const QString& filter,
                           const QString& suggestedPath, QWidget* parent) {
  return QFileDialog::getSaveFileName(ownerOr(parent), title, suggestedPath, toQtFilter(filter));
}

std::optional<QColor> QtPrompt::pickColour(const QColor& initial, QWidget* parent) {
  const QColor chosen = QColorDialog::getColor(initial, ownerOr(parent));
  if (!chosen.isValid()) return std::nullopt;
  return chosen;
}

bool QtPrompt::openWithDesktop(const QString& path) {
  // A web or mail link goes to the user's browser or mail program as it is.
  const QUrl url(path, QUrl::StrictMode);
  static const QStringList links = {QStringLiteral("http"), QStringLiteral("https"),
                                    QStringLiteral("ftp"), QStringLiteral("mailto")};
  if (url.isValid() && links.contains(url.scheme().toLower()))
    return QDesktopServices::openUrl(url);
  return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()));
}

}  // namespace kvmail
