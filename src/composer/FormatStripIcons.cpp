#include "composer/FormatStripIcons.h"

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace kvmail {
namespace {

constexpr int kSize = 32;  // drawn at twice the button size, so it stays sharp on HiDPI

void letter(QPainter& p, const QString& text, bool bold, bool italic, bool underline) {
  QFont font(QStringLiteral("Serif"));
  font.setPixelSize(24);
  font.setBold(bold);
  font.setItalic(italic);
  font.setUnderline(underline);
  p.setFont(font);
  p.drawText(QRect(0, 0, kSize, kSize - 4), Qt::AlignCenter, text);
}

// Four text lines; offsets give each line's left end and length.
void lines(QPainter& p, const QList<QPair<int, int>>& spans, int top = 6) {
  for (int i = 0; i < spans.size(); ++i)
    p.fillRect(spans[i].first, top + i * 6, spans[i].second, 3, p.pen().color());
}

void colourBar(QPainter& p, const QColor& colour) {
  p.fillRect(4, 26, 24, 5, colour);
}

}  // namespace

QIcon stripIcon(const QString& key) {
  QPixmap pixmap(kSize, kSize);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  const QColor ink(40, 40, 40);
  p.setPen(QPen(ink, 2));
  if (key == QLatin1String("jiacu")) {
    letter(p, QStringLiteral("B"), true, false, false);
  } else if (key == QLatin1String("qinxie")) {
    letter(p, QStringLiteral("I"), false, true, false);
  } else if (key == QLatin1String("xiahuaxian")) {
    letter(p, QStringLiteral("U"), false, false, true);
  } else if (key == QLatin1String("forecolor")) {
    letter(p, QStringLiteral("A"), true, false, false);
    colourBar(p, QColor(220, 30, 30));
  } else if (key == QLatin1String("backcolor")) {
    p.fillRect(4, 3, 24, 22, QColor(255, 235, 60));
    letter(p, QStringLiteral("A"), false, false, false);
    colourBar(p, QColor(255, 200, 0));
  } else if (key == QLatin1String("left")) {
    lines(p, {{3, 26}, {3, 18}, {3, 26}, {3, 14}});
  } else if (key == QLatin1String("mid_sp")) {
    lines(p, {{3, 26}, {7, 18}, {3, 26}, {9, 14}});
  } else if (key == QLatin1String("right")) {
    lines(p, {{3, 26}, {11, 18}, {3, 26}, {15, 14}});
  } else if (key == QLatin1String("number") || key == QLatin1String("bullet")) {
    lines(p, {{12, 17}, {12, 17}, {12, 17}}, 8);
    for (int i = 0; i < 3; ++i) {
      if (key == QLatin1String("bullet")) {
        p.setBrush(ink);
        p.drawEllipse(QPointF(6, 9.5 + i * 6), 2.2, 2.2);
      } else {
        QFont font;
        font.setPixelSize(8);
        p.setFont(font);
        p.drawText(QRect(1, 5 + i * 6, 10, 9), Qt::AlignCenter, QString::number(i + 1));
      }
    }
  } else if (key == QLatin1String("indent") || key == QLatin1String("outdent")) {
    lines(p, {{3, 26}, {14, 15}, {14, 15}, {3, 26}});
    QPainterPath arrow;
    if (key == QLatin1String("indent")) {
      arrow.moveTo(3, 11);
      arrow.lineTo(10, 15.5);
      arrow.lineTo(3, 20);
    } else {
      arrow.moveTo(10, 11);
      arrow.lineTo(3, 15.5);
      arrow.lineTo(10, 20);
    }
    p.fillPath(arrow, QColor(30, 90, 200));
  } else if (key == QLatin1String("internet")) {
    p.setPen(QPen(QColor(30, 90, 200), 3));
    p.setBrush(Qt::NoBrush);
    p.drawRoundedRect(QRectF(3, 10, 15, 10), 5, 5);
    p.drawRoundedRect(QRectF(14, 12, 15, 10), 5, 5);
  } else if (key == QLatin1String("picture")) {
    p.setPen(QPen(ink, 2));
    p.setBrush(QColor(225, 240, 255));
    p.drawRect(QRectF(3, 5, 26, 22));
    QPainterPath hill;
    hill.moveTo(4, 26);
    hill.lineTo(13, 14);
    hill.lineTo(19, 21);
    hill.lineTo(23, 17);
    hill.lineTo(28, 26);
    p.fillPath(hill, QColor(60, 150, 70));
    p.setBrush(QColor(250, 190, 30));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(22, 11), 3, 3);
  } else {
    letter(p, key.left(1).toUpper(), false, false, false);
  }
  p.end();
  pixmap.setDevicePixelRatio(2.0);
  return QIcon(pixmap);
}

}  // namespace kvmail
