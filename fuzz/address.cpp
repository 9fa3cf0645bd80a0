// The address parser, the address-list parser and the validity rule on any text. A refused
// piece throws the module's own error and leaves the list as it was.
#include "FuzzInput.h"
#include "model/MailError.h"
#include "model/bMail.h"
#include "model/clsMailAddress.h"
#include "model/clsMailAddresses.h"

using namespace kvmail;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputReader in(data, size);
  // Both the text a user types (UTF-8) and what a wrongly labelled header may give (Latin-1).
  const bool latin1 = in.byte() & 1;
  const QByteArray bytes = in.rest();
  const QString text = latin1 ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes);

  (void)bMail::IsMail(text);

  clsMailAddress one;
  try {
    one.Parser(text);
    (void)one.IsValid();
    (void)one.ToString();
  } catch (const MailError&) {
  }

  clsMailAddresses list;
  list.Add(QStringLiteral("kept@example.com"));
  try {
    list.Parser(text);
    KV_FUZZ_CHECK(list.Count() == 1 + text.count(QLatin1Char(';')) + 1);
    (void)list.IsValid();
    (void)list.ToString();
  } catch (const MailError&) {
    KV_FUZZ_CHECK(list.Count() == 1);
  }
  return 0;
}
