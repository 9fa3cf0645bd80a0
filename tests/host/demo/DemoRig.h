#pragma once
// A demo store in a private folder, opened the way kvhost opens it on its first run.
#include <QTemporaryDir>

#include <memory>

#include "DemoStore.h"
#include "SqlHostSystem.h"

namespace kvtest {

struct DemoRig {
  DemoRig() {
    auto options = kvmail::host::HostOptions::sqlite(dir.filePath(QStringLiteral("demo.db")));
    options.userId = QStringLiteral("1");
    options.operatorName = QStringLiteral("演示用户");
    host = std::make_shared<kvmail::host::SqlHostSystem>(options);
    openError = kvmail::demo::openDemoStore(*host);
  }
  // The first column of the first row as text; "" when there is none.
  QString value(const QString& sql) {
    const auto rs = host->openQuery(sql);
    return rs && !rs->atEnd() ? rs->text(0) : QString();
  }
  int count(const QString& table, const QString& where = {}) {
    return value(QStringLiteral("select count(*) from ") + table +
                 (where.isEmpty() ? QString() : QStringLiteral(" where ") + where))
        .toInt();
  }

  QTemporaryDir dir;
  std::shared_ptr<kvmail::host::SqlHostSystem> host;
  QString openError;
};

}  // namespace kvtest
