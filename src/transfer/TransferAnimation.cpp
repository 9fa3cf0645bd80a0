#include "transfer/TransferAnimation.h"

#include <QPainter>

namespace kvmail {

namespace {
constexpr int kFrames = 24;

void drawLetter(QPainter& p, const QRectF& r) {
  p.setBrush(QColor(255, 250, 230));
  p.setPen(QPen(QColor(120, 100, 60), 1.2));
  p.drawRect(r);
  p.drawLine(r.topLeft(), r.center());
  p.drawLine(r.topRight(), r.center());
}

void drawBox(QPainter& p, const QRectF& r, const QColor& colour) {
  p.setBrush(colour);
  p.setPen(QPen(colour.darker(150), 1.2));
  p.drawRoundedRect(r, 3, 3);
}
}  // namespace

TransferAnimation::TransferAnimation(QWidget* parent) : QWidget(parent) {
  setMinimumSize(220, 44);
  timer_.setInterval(100);
  connect(&timer_, &QTimer::timeout, this, [this] {
    frame_ = (frame_ + 1) % kFrames;
    update();
  });
}

void TransferAnimation::play(const QString& name) {
  name_ = name;
  frame_ = 0;
  show();
  timer_.start();
}

void TransferAnimation::stop() {
  timer_.stop();
  update();
}

void TransferAnimation::paintEvent(QPaintEvent*) {
  if (!timer_.isActive()) return;
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const qreal h = height() - 8;
  const QRectF left(4, 4, h * 1.2, h);
  const QRectF right(width() - 4 - h * 1.2, 4, h * 1.2, h);
  const bool inbound = name_ == QLatin1String("ReceiveMail");
  drawBox(p, left, inbound ? QColor(90, 140, 200) : QColor(230, 200, 90));
  drawBox(p, right, inbound ? QColor(230, 200, 90) : QColor(90, 140, 200));
  const qreal t = qreal(frame_) / (kFrames - 1);
  const qreal span = right.left() - left.right() - h * 0.8;
  const qreal x = left.right() + (inbound ? 1 - t : t) * span;
  drawLetter(p, QRectF(x, 4 + h * 0.25, h * 0.8, h * 0.5));
}

}  // namespace kvmail
