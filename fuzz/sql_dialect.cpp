// The step that turns the module's T-SQL into the engines' dialect, and the literal binding that
// shares prepared statements, on any statement text.
#include "FuzzInput.h"
#include "SqlDialect.h"

using namespace kvmail;
using namespace kvmail::host;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::silenceQt();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QString sql = QString::fromUtf8(fuzz::bytesOf(data, size));
  QString error;
  const QString engine = toEngineSql(sql, &error);
  if (hasSecondStatement(sql)) KV_FUZZ_CHECK(!error.isEmpty() && engine.isEmpty());
  if (!error.isEmpty()) return 0;

  QVariantList values;
  const QString shape = bindLiterals(engine, &values);
  // Every value taken out leaves a '?' in its place.
  KV_FUZZ_CHECK(shape.count(QLatin1Char('?')) >= values.size());
  if (values.isEmpty()) KV_FUZZ_CHECK(shape == engine);
  (void)isPlainName(sql);
  return 0;
}
