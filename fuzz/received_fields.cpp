// The fields a received mail's row is made of, from a mail read the way the store reads it.
#include "FuzzInput.h"
#include "store/MailStore.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const ParsedMail mail =
      readMailBytes(fuzz::bytesOf(data, size), QStringLiteral("gb2312"), MimeParts::StructureOnly);
  const ReceivedFields f = receivedFields(mail);
  KV_FUZZ_CHECK(f.priority >= 1);
  KV_FUZZ_CHECK(f.hasAttachments == false || !mail.attachments.isEmpty());
  return 0;
}
