#include "model/clsAttachment.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include "model/KeyedList.h"

namespace kvmail {

void clsAttachment::setFileName(const QString& FileName) {
  fileName_ = FileName;
  // Looked up once, here: later changes on disk do not alter Name. Folders count too.
  const QFileInfo info(FileName);
  name_ = !FileName.isEmpty() && info.exists() ? info.fileName() : QString();
}

bool clsAttachment::Save(const QString& psDestination, bool /*bOverwrite*/) {
  const QFileInfo source(fileName_);
  if (fileName_.isEmpty() || !source.exists()) throw MailError::fileNotFound(kPlatformErrorSource);

  QFile in(fileName_);
  if (source.isDir() || !in.open(QIODevice::ReadOnly))
    throw MailError::pathFileAccess(kPlatformErrorSource);
  // Written beside the destination and renamed over it, so a failed copy changes nothing.
  QSaveFile out(psDestination);
  if (psDestination.isEmpty() || !out.open(QIODevice::WriteOnly))
    throw MailError::pathFileAccess(kPlatformErrorSource);
  constexpr qint64 kChunk = 1 << 20;
  while (!in.atEnd()) {
    const QByteArray chunk = in.read(kChunk);
    if (chunk.isEmpty() && in.error() != QFileDevice::NoError) break;
    if (out.write(chunk) != chunk.size()) break;
  }
  if (in.error() != QFileDevice::NoError || !out.commit())
    throw MailError::pathFileAccess(kPlatformErrorSource);
  // The copy always replaces the destination and the answer is always false: callers must not
  // read it as a success flag.
  return false;
}

}  // namespace kvmail
