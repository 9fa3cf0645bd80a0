// The MIME reader in structure-only mode, the way the store reads a mail it has just received.
#include "FuzzInput.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ParsedMail mail =
      readMailBytes(fuzz::bytesOf(data, size), QStringLiteral("gb2312"), MimeParts::StructureOnly);
  KV_FUZZ_CHECK(mail.htmlBody.isEmpty() && mail.textBody.isEmpty());
  (void)joinDisplay(mail.cc);
  return 0;
}
