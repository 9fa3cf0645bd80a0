#pragma once
// Turns the T-SQL forms the module emits into what SQLite or PostgreSQL accepts, and holds the
// rule that one call runs one statement.
#include <QString>
#include <QVariantList>

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

// Splits the literal values out of one data statement (select, insert, update, delete) so that
// statements differing only in their values share one prepared statement: after the first
// where, values, set, having or on, each '...' text and each number standing after an operator,
// '(' or ',' becomes '?', and its value is appended to *values. A select list (whose texts name
// the columns) and what follows order, group or limit keep their literals. Other statements,
// statements that already hold a '?', comments and unfinished quotes come back unchanged, with no
// values.
QString bindLiterals(const QString& sql, QVariantList* values);

// A table or column name made only of letters, digits and '_', safe to put into SQL as it is.
bool isPlainName(const QString& name);

}  // namespace kvmail::host
