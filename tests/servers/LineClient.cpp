#include "LineClient.h"

#include "LoopbackServers.h"

#include <QDeadlineTimer>

namespace kvtest {

bool LineClient::connectTo(quint16 port, int timeoutMs) {
  socket_.connectToHost(loopbackServers().host, port);
  return socket_.waitForConnected(timeoutMs);
}

void LineClient::send(const QByteArray& line) {
  sendRaw(line + "\r\n");
}

void LineClient::sendRaw(const QByteArray& bytes) {
  socket_.write(bytes);
  while (socket_.bytesToWrite() > 0 && socket_.waitForBytesWritten(10000)) {
  }
}

bool LineClient::readLine(QByteArray* line, int timeoutMs) {
  const QDeadlineTimer deadline(timeoutMs);
  while (!socket_.canReadLine()) {
    if (deadline.hasExpired() || !socket_.waitForReadyRead(int(deadline.remainingTime())))
      return false;
  }
  *line = socket_.readLine();
  if (line->endsWith('\n')) line->chop(1);
  if (line->endsWith('\r')) line->chop(1);
  return true;
}

QByteArray LineClient::smtpReply(int timeoutMs) {
  QByteArray all;
  QByteArray line;
  while (readLine(&line, timeoutMs)) {
    all += all.isEmpty() ? line : "\n" + line;
    if (line.size() < 4 || line.at(3) != '-') break;
  }
  return all;
}

QByteArray LineClient::pop3Body(int timeoutMs) {
  QByteArray body, line;
  while (readLine(&line, timeoutMs) && line != ".") body += line + "\r\n";
  return body;
}

}  // namespace kvtest
