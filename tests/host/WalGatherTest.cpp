// The layer that writes a commit's log frames at once: every commit is whole for a second
// connection the moment it returns, whatever its size, and a transaction that spilled pages
// before it was rolled back leaves nothing.
#include "HostStoreTest.h"
#include "WalGatherVfs.h"

#include <sqlite3.h>

using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;

namespace {

struct Db {
  sqlite3* db = nullptr;
  Db(const QByteArray& name, int flags, const char* vfs) {
    sqlite3_open_v2(name.constData(), &db, flags | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, vfs);
  }
  ~Db() { sqlite3_close(db); }
  int run(const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
  QByteArray blob(const char* sql) {
    sqlite3_stmt* st = nullptr;
    QByteArray out;
    if (sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK &&
        sqlite3_step(st) == SQLITE_ROW)
      out = QByteArray(static_cast<const char*>(sqlite3_column_blob(st, 0)),
                       sqlite3_column_bytes(st, 0));
    sqlite3_finalize(st);
    return out;
  }
  int put(int id, const QByteArray& bytes) {
    sqlite3_stmt* st = nullptr;
    sqlite3_prepare_v2(db, "insert into m values (?, ?)", -1, &st, nullptr);
    sqlite3_bind_int(st, 1, id);
    sqlite3_bind_blob(st, 2, bytes.constData(), int(bytes.size()), SQLITE_STATIC);
    const int rc = sqlite3_step(st);
    sqlite3_finalize(st);
    return rc;
  }
};

}  // namespace

using WalGather = kvtest::HostStoreTest;

TEST_F(WalGather, GatheredLogWritesAreWholeForAnotherConnection) {
  const QByteArray path = QFile::encodeName(rig.path(u"gather.db"_s));
  Db writer(path, 0, kvmail::host::walGatherVfsName());
  ASSERT_EQ(writer.run("pragma journal_mode=wal; pragma synchronous=normal; pragma cache_size=50;"
                       "create table m (id integer primary key, b blob)"),
            SQLITE_OK);
  Db reader(path, 0, nullptr);
  // One page, a usual mail, a commit over the real layer's largest write, and one that spills
  // pages to the log (a 50-page cache) well past what is gathered before it is written.
  const int sizes[] = {100, 20 * 1024, 300 * 1024, 3 * 1024 * 1024};
  int id = 0;
  for (int size : sizes) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i) bytes[i] = char((i * 7 + size) % 253);
    ASSERT_EQ(writer.run("begin"), SQLITE_OK);
    ASSERT_EQ(writer.put(++id, bytes), SQLITE_DONE) << size;
    ASSERT_EQ(writer.run("commit"), SQLITE_OK) << size;
    const QByteArray query = "select b from m where id=" + QByteArray::number(id);
    EXPECT_EQ(reader.blob(query.constData()), bytes) << size;
  }
  // Spilled, then rolled back: the reader never sees it, and the writer's log stays sound.
  ASSERT_EQ(writer.run("begin"), SQLITE_OK);
  ASSERT_EQ(writer.put(99, QByteArray(2 * 1024 * 1024, 'x')), SQLITE_DONE);
  ASSERT_EQ(writer.run("rollback"), SQLITE_OK);
  EXPECT_EQ(reader.blob("select count(*) from m where id=99"), "0");
  ASSERT_EQ(reader.run("pragma wal_checkpoint(truncate)"), SQLITE_OK);
  EXPECT_EQ(writer.blob("pragma integrity_check"), "ok");
  EXPECT_EQ(writer.blob("select count(*) || ':' || sum(length(b)) from m"),
            QByteArray::number(id) + ':' +
                QByteArray::number(100 + 20 * 1024 + 300 * 1024 + 3 * 1024 * 1024));
}

// The store is opened by a URI naming the layer; a path with a blank, a hash and Chinese still
// reaches the same file that other programs open by its plain name.
TEST_F(WalGather, StoresAtAnyPathAreOpenedThroughTheLayer) {
  const QString path = rig.path(u"邮件 库#1?.db"_s);
  ASSERT_EQ(kvmail::host::createStore(path), QString());
  {
    SqlHostSystem host(HostOptions::sqlite(path));
    ASSERT_EQ(host.open(), QString());
    ASSERT_EQ(host.execute(u"insert into xt_objects(progid, progname) values (7, '七')"_s),
              QString());
  }
  Db plain(QFile::encodeName(path), 0, nullptr);
  EXPECT_EQ(plain.blob("select progname from xt_objects where progid=7"), QByteArray("七"));
}
