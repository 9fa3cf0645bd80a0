// POP3 replies split at arbitrary points across arrivals, through the reply joiner and the
// reply readers the receive session uses: status lines (counts, sizes, UIDL) outside message
// text, the announced size and the end marker inside it. Nothing fed may be lost or duplicated.
#include "FuzzInput.h"
#include "transfer/Pop3Link.h"
#include "transfer/Pop3Text.h"

using namespace kvmail;

namespace {

const QByteArray kEndMarker = QByteArrayLiteral("\n.\r\n");

struct Reader {
  bool raw = false;
  QByteArray message;  // the RETR reply so far
  qsizetype markerFrom = 0;

  // One handed-up arrival, read as the session reads it in its current stage.
  void handle(const QByteArray& reply, uint8_t choice) {
    if (!raw) {
      const QString text = QString::fromUtf8(reply);
      qint16 count = 0;
      qint32 total = 0;
      vbInteger(GetField(text, 1, QStringLiteral(" ")), &count);
      vbLongInt(GetField(text, 2, QStringLiteral(" ")), &total);
      (void)vbFormatWhole(total / 1024.0);
      (void)GetField(text, int(choice % 5), QStringLiteral(" "));
      raw = choice & 1;  // the next command was a RETR
      return;
    }
    if (message.isEmpty()) {
      const qsizetype octets = announcedOctets(reply);
      KV_FUZZ_CHECK(octets >= 0 && octets <= kMaxReservedOctets);
      if (octets > 0) message.reserve(octets + reply.size() + 64);
    }
    message += reply;
    if (message.indexOf(kEndMarker, markerFrom) < 0) {
      markerFrom = qMax<qsizetype>(0, message.size() - (kEndMarker.size() - 1));
      return;
    }
    QByteArray text = std::exchange(message, QByteArray());
    markerFrom = 0;
    text.remove(0, text.indexOf("\r\n") + 2);
    text.chop(3);
    raw = false;
  }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputReader in(data, size);
  Pop3ReplyJoiner joiner;
  Reader reader;
  QByteArray fed, handedUp;
  while (!in.empty()) {
    const uint8_t choice = in.byte();
    const QByteArray arrival = in.piece(64);
    fed += arrival;
    QByteArray out;
    const bool wasRaw = reader.raw;
    if (!joiner.take(arrival, wasRaw, &out)) continue;
    KV_FUZZ_CHECK(wasRaw || out.contains('\n'));
    handedUp += out;
    reader.handle(out, choice);
  }
  // Whatever is not handed up yet is still waiting in the joiner for its line feed.
  KV_FUZZ_CHECK(fed.startsWith(handedUp));
  KV_FUZZ_CHECK(!fed.mid(handedUp.size()).contains('\n') || reader.raw);
  return 0;
}
