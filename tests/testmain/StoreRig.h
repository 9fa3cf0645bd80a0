#pragma once
// A fresh store for one test, made the way a host makes it: every host table, current user 7,
// operator "张三". On SQLite a file in a private folder, on PostgreSQL the private server of the
// "postgres" fixture with its tables dropped first. The folder is TMPDIR while the rig lives,
// so the module's temporary mail files stay in it.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <memory>

#include "HostStore.h"
#include "TestEnv.h"
#include "store/Statements.h"

namespace kvtest {

class StoreRig {
 public:
  enum class Engine { Sqlite, Postgres };
  explicit StoreRig(Engine engine = Engine::Sqlite, const QString& userId = u"7"_s,
                    const QString& operatorName = u"张三"_s);
  ~StoreRig() { host.reset(); }  // closed before its folder goes

  bool isSqlite() const { return engine_ == Engine::Sqlite; }
  // Options reaching this store, and a new open connection with them.
  kvmail::host::HostOptions options() const;
  std::unique_ptr<kvmail::host::SqlHostSystem> connect() const;
  QString path(const QString& name) const { return dir_.filePath(name); }
  QString folder() const { return dir_.path(); }  // also TMPDIR while the rig lives
  // A file in the rig's folder with the given bytes.
  QString file(const QString& name, const QByteArray& bytes) const {
    return writtenFile(path(name), bytes);
  }

  QString seedAccount(const kvmail::host::AccountSeed& seed) {
    return kvmail::host::seedAccount(*host, seed);
  }
  QString seedProgram(long progId, const QString& name) {
    return kvmail::host::seedProgram(*host, progId, name);
  }
  // The first column of the first row as text ("" when none); every column of the first row;
  // the rows of a table.
  QString value(const QString& sql) const { return valueOf(*host, sql); }
  QStringList row(const QString& sql) const;
  int count(const QString& table = u"msgmail"_s, const QString& where = {}) const {
    return countOf(*host, table, where);
  }
  // Adds a trigger over a connection of the rig's own (a trigger is several statements, which
  // the host runs one at a time); SQLite only, false when it could not.
  bool addTrigger(const QString& sql) const;
  static QString valueOf(kvmail::IHostSystem& host, const QString& sql);
  static int countOf(kvmail::IHostSystem& host, const QString& table, const QString& where = {});

  QString error;         // why the store is not ready; empty when it is
  bool skipped = false;  // PostgreSQL asked for, but the fixture server did not start
  std::shared_ptr<kvmail::host::SqlHostSystem> host;

 private:
  Engine engine_;
  QString userId_, operator_;
  QTemporaryDir dir_;
  ScopedEnv tmp_;
};

// A test on its own store; set-up fails when the store is not ready.
class StoreTest : public ::testing::Test {
 protected:
  explicit StoreTest(StoreRig::Engine engine = StoreRig::Engine::Sqlite) : rig(engine) {}
  void SetUp() override {
    if (rig.skipped) GTEST_SKIP() << rig.error.toStdString();
    ASSERT_EQ(rig.error, QString());
  }
  StoreRig rig;
};

// Catalogue rows with the given key and ordinary values, for tests that write rows directly.
// The composed mail's sent day follows its key, so a higher key is a newer mail.
kvmail::sql::ComposedRow composedRow(long id);
kvmail::sql::ReceivedRow receivedRow(long id, const QString& uidl);
// The default account of user 1 logging in to the loopback servers as the given user, sending
// through their SMTP port and receiving from POP3's standard port unless told otherwise.
kvmail::host::AccountSeed loopbackAccount(const QString& user, const QString& name);

}  // namespace kvtest
