#pragma once
// Small helpers shared by every test: where the sources are, a private scratch folder.
#include <QString>
#include <QTemporaryDir>

namespace kvtest {

// The checkout's root folder (for tests/data and scripts).
QString sourceDir();
// A file under tests/data.
QString dataFile(const QString& name);
// Reads a whole file; empty when it cannot be read.
QByteArray readAll(const QString& path);
// Writes bytes to a file, creating folders; false on failure.
bool writeAll(const QString& path, const QByteArray& bytes);

}  // namespace kvtest
