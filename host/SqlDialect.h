#pragma once
// Turns the T-SQL forms the module emits into what SQLite or PostgreSQL accepts, and holds the
// rule that one call runs one statement.
#include <QString>

namespace kvmail::host {

enum class SqlEngine { Sqlite, Postgres };

// "[name]" becomes "\"name\"" and "delete T where" becomes "delete from T where"; text inside
// '...' is left alone. A second statement after a ';' outside quotes is refused: the answer is
// empty and *error says why. A lone trailing ';' is dropped.
// Both engines take the same result: PostgreSQL's folding of unquoted names to lower case is met
// by creating the tables with lower-case names.
QString toEngineSql(const QString& sql, QString* error);

// True when a ';' outside quotes is followed by anything but blanks.
bool hasSecondStatement(const QString& sql);

// A table or column name made only of letters, digits and '_', safe to put into SQL as it is.
bool isPlainName(const QString& name);

}  // namespace kvmail::host
