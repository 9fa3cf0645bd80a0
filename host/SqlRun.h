#pragma once
// Running one statement on a named Qt SQL connection, with the host's error wording.
#include <QSqlError>
#include <QString>
#include <QVariantList>

namespace kvmail::host {

// "数据库错误：" and what the engine said.
QString dbErrorText(const QSqlError& error);

// Runs sql (already in the engine's dialect) with '?' values bound; the error text or "".
QString runBound(const QString& connection, const QString& sql, const QVariantList& values);

}  // namespace kvmail::host
