#pragma once
// The host tables the module works on, as CREATE statements for each engine. Names are lower
// case where the module writes them in mixed case, so PostgreSQL's folding finds them.
#include "SqlDialect.h"

#include <QStringList>

namespace kvmail::host {

// CREATE TABLE/INDEX IF NOT EXISTS statements for msgmail, mailaccount, mailaccountuser,
// MailTemplet, xt_objects and the key high-water table, one statement each.
QStringList hostTableStatements(SqlEngine engine);

// Columns added after the first stores were made: added to an existing table when missing.
struct OptionalColumn {
  const char* table;
  const char* column;
  const char* type;
};
QList<OptionalColumn> hostOptionalColumns();

// The table that remembers the highest key handed out per table and key column.
inline constexpr const char* kKeyTable = "kv_keys";

}  // namespace kvmail::host
