#pragma once
// Shared by the fuzz targets: the libFuzzer entry points, a reader that carves one input into
// choices and pieces, and a quiet Qt message handler so runs print findings, not warnings.
#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace kvmail::fuzz {

// Stops the run with a report, like a crash, when a target's own check fails.
#define KV_FUZZ_CHECK(cond)                 \
  do {                                      \
    if (!(cond)) {                          \
      qt_assert(#cond, __FILE__, __LINE__); \
    }                                       \
  } while (0)

inline void silenceQt() {
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtFatalMsg) {
      fprintf(stderr, "fatal: %s\n", qPrintable(text));
      abort();
    }
  });
}

// Takes bytes from the front of the input: small choices, then pieces of what is left.
class InputReader {
 public:
  InputReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool empty() const { return at_ >= size_; }
  size_t left() const { return size_ - at_; }

  uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }

  // A piece of at most max bytes, its length chosen by the next byte.
  QByteArray piece(size_t max) {
    const size_t want = max == 0 ? 0 : size_t(byte()) % (max + 1);
    return take(want);
  }

  QByteArray take(size_t n) {
    if (n > left()) n = left();
    QByteArray out(reinterpret_cast<const char*>(data_ + at_), qsizetype(n));
    at_ += n;
    return out;
  }

  QByteArray rest() { return take(left()); }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

inline QByteArray bytesOf(const uint8_t* data, size_t size) {
  return QByteArray(reinterpret_cast<const char*>(data), qsizetype(size));
}

}  // namespace kvmail::fuzz
