// Stored-file columns to files and back, chunk by chunk, with the behaviours kept on purpose.
#include "RecordingHost.h"
#include "StoreRig.h"
#include "store/StoredFile.h"

#include <QFile>

using kvmail::columnToFile;
using kvmail::fileToColumn;
using kvtest::readAll;
using kvtest::RecordingHost;
using kvtest::writeAll;
namespace sql = kvmail::sql;

namespace {

QByteArray pattern(qsizetype size, char seed = 0) {
  QByteArray bytes(size, Qt::Uninitialized);
  for (qsizetype i = 0; i < size; ++i) bytes[i] = char((i * 7 + seed) % 256);
  return bytes;
}

class StoredFile : public kvtest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    ASSERT_EQ(rig.host->execute(sql::insertComposed(kvtest::composedRow(1))), QString());
  }
  // The message column of mail 1 to and from a file.
  bool store(const QString& path, kvmail::IHostSystem* host = nullptr) {
    return fileToColumn(1, path, sql::messageColumn(), host ? *host : *rig.host, sql::mailTable(),
                        sql::mailKey());
  }
  bool load(const QString& path, kvmail::IHostSystem* host = nullptr, long key = 1) {
    return columnToFile(key, path, sql::messageColumn(), host ? *host : *rig.host, sql::mailTable(),
                        sql::mailKey());
  }
};

}  // namespace

// The remainder goes in first, then the full chunks; out come the full chunks, then the
// remainder (an empty one when there is none). Each store replaces what the column held.
TEST_F(StoredFile, ChunksGoInRemainderFirstAndComeOutInOrder) {
  struct Case {
    qsizetype size;
    QStringList stored, loaded;
  };
  const Case cases[] = {
      {16384, {"set ''", "append 0", "append 16384", "update"}, {"get 16384", "get 0"}},
      {2 * 16384 + 7232,
       {"set ''", "append 7232", "append 16384", "append 16384", "update"},
       {"get 16384", "get 16384", "get 7232"}},
  };
  const QString in = rig.path(u"in.eml"_s);
  for (const Case& c : cases) {
    const QByteArray bytes = pattern(c.size, char(c.size));
    ASSERT_TRUE(writeAll(in, bytes));
    RecordingHost fromFile(*rig.host), reader(*rig.host);
    ASSERT_TRUE(store(in, &fromFile)) << c.size;
    EXPECT_EQ(fromFile.calls, c.stored) << c.size;
    const QString out = rig.path(u"out%1.eml"_s.arg(c.size));
    ASSERT_TRUE(load(out, &reader)) << c.size;
    EXPECT_EQ(reader.calls, c.loaded) << c.size;
    EXPECT_EQ(readAll(out), bytes) << c.size;
  }
}

// Kept on purpose: the file is not emptied first, so an older longer file's tail stays.
TEST_F(StoredFile, ShortColumnOverALongerFileLeavesItsTail) {
  const QString in = rig.path(u"in.eml"_s), out = rig.path(u"out.eml"_s);
  ASSERT_TRUE(writeAll(in, "0123456789") && store(in));
  const QByteArray old = pattern(50, 1);
  ASSERT_TRUE(writeAll(out, old) && load(out));
  EXPECT_EQ(readAll(out), "0123456789" + old.mid(10));
}

TEST_F(StoredFile, MissingRowsFilesAndEmptyColumnsGiveFalseAndLeaveTheFile) {
  const QString in = rig.path(u"in.eml"_s), out = rig.path(u"out.eml"_s);
  EXPECT_FALSE(store(rig.path(u"nofile.eml"_s)));
  EXPECT_FALSE(load(out));  // a null column
  EXPECT_FALSE(QFile::exists(out));

  ASSERT_TRUE(writeAll(out, "keep") && writeAll(in, "data"));
  EXPECT_FALSE(
      fileToColumn(99, in, sql::messageColumn(), *rig.host, sql::mailTable(), sql::mailKey()));
  EXPECT_FALSE(load(out, nullptr, 99));  // no such row
  ASSERT_TRUE(writeAll(in, QByteArray()) && store(in));
  EXPECT_FALSE(load(out));  // an empty column
  EXPECT_EQ(readAll(out), "keep");
}
