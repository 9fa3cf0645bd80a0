#pragma once
// Running one statement on a named Qt SQL connection, with the host's error wording. On SQLite
// connections the prepared statements are kept and reused by their text.
#include <QList>
#include <QSqlError>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace kvmail::host {

// "数据库错误：" and what the engine said.
QString dbErrorText(const QSqlError& error);

// What a query answered: its column names and every row.
struct SqlRows {
  QStringList columns;
  QList<QVariantList> rows;
};

// Runs sql (already in the engine's dialect) with '?' values bound; the error text or "".
// When rows is given, the answer is read into it.
QString runBound(const QString& connection, const QString& sql, const QVariantList& values,
                 SqlRows* rows = nullptr);

// Runs a statement that carries its values as literals. On SQLite the literals are bound as
// parameters, so statements that differ only in their values share one prepared statement.
QString runLiteral(const QString& connection, const QString& sql, SqlRows* rows = nullptr);

// Keeps prepared statements for this SQLite connection (call in the thread that opened it);
// forgetStatements releases them, and must come before the connection is closed.
void keepStatements(const QString& connection);
void forgetStatements(const QString& connection);

}  // namespace kvmail::host
