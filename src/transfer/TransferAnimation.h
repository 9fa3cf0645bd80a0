#pragma once
// The small animation of the transfer window: a letter travelling between a tray and a mailbox.
// It plays the module's three built-in animations by name: "SendMail", "SaveMail", "ReceiveMail".
#include <QTimer>
#include <QWidget>

namespace kvmail {

class TransferAnimation : public QWidget {
  Q_OBJECT
 public:
  explicit TransferAnimation(QWidget* parent = nullptr);

  void play(const QString& name);
  void stop();
  bool isPlaying() const { return timer_.isActive(); }
  QString current() const { return name_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QTimer timer_;
  QString name_;
  int frame_ = 0;
};

}  // namespace kvmail
