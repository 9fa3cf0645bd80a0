// The MIME reader on a whole message, parts' content included. What the headers say must not
// depend on whether the content was read: the store reads structure only, the viewer everything.
// The attachments are saved as the viewer saves them: whatever their names, inside the folder.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "FuzzInput.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray raw = fuzz::bytesOf(data, size);
  const ParsedMail whole = readMailBytes(raw, QStringLiteral("gb2312"), MimeParts::WithContent);
  (void)joinDisplay(whole.to);
  const ParsedMail outline = readMailBytes(raw, QStringLiteral("gb2312"), MimeParts::StructureOnly);
  KV_FUZZ_CHECK(whole.ok == outline.ok);
  KV_FUZZ_CHECK(whole.subject == outline.subject);
  KV_FUZZ_CHECK(whole.from.address == outline.from.address);
  KV_FUZZ_CHECK(joinAddresses(whole.to) == joinAddresses(outline.to));
  KV_FUZZ_CHECK(whole.priority == outline.priority);
  KV_FUZZ_CHECK(whole.attachments.size() == outline.attachments.size());
  for (const MimeAttachment& a : outline.attachments) KV_FUZZ_CHECK(a.data.isEmpty());

  static const QTemporaryDir folder;
  const QStringList saved = saveAttachments(whole, folder.path());
  KV_FUZZ_CHECK(saved.size() == whole.attachments.size());
  for (const QString& path : saved) {
    KV_FUZZ_CHECK(QFileInfo(path).absolutePath() == QDir(folder.path()).absolutePath());
    QFile::remove(path);
  }
  return 0;
}
