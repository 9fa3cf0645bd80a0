// Stored-file columns to files and back, chunk by chunk, with the behaviours kept on purpose.
#include "HostStore.h"
#include "RecordingHost.h"
#include "TestEnv.h"
#include "store/Statements.h"
#include "store/StoredFile.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using kvmail::columnToFile;
using kvmail::fileToColumn;
using kvmail::host::HostOptions;
using kvmail::host::SqlHostSystem;
using kvtest::RecordingHost;
namespace sql = kvmail::sql;

namespace {

QByteArray pattern(qsizetype size, char seed = 0) {
  QByteArray bytes(size, Qt::Uninitialized);
  for (qsizetype i = 0; i < size; ++i) bytes[i] = char((i * 7 + seed) % 256);
  return bytes;
}

class StoredFile : public ::testing::Test {
 protected:
  void SetUp() override {
    host_ = std::make_unique<SqlHostSystem>(
        HostOptions::sqlite(dir_.filePath(QStringLiteral("store.db"))));
    ASSERT_EQ(host_->open(), QString());
    sql::ComposedRow row;
    row.mailId = 1;
    row.replyId = 1;
    ASSERT_EQ(host_->execute(sql::insertComposed(row)), QString());
    ASSERT_EQ(host_->execute(sql::insertTemplate(12, QString(), QString(), QString())), QString());
  }

  QString file(const QString& name) const { return dir_.filePath(name); }

  // Stores bytes into msgmail.消息 of row 1 through a file.
  void store(const QByteArray& bytes) {
    ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("in.eml")), bytes));
    ASSERT_TRUE(fileToColumn(1, file(QStringLiteral("in.eml")), QStringLiteral("消息"), *host_,
                             QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  }

  bool load(const QString& path, RecordingHost* recorder = nullptr) {
    kvmail::IHostSystem& host = recorder ? static_cast<kvmail::IHostSystem&>(*recorder) : *host_;
    return columnToFile(1, path, QStringLiteral("消息"), host, QStringLiteral("msgmail"),
                        QStringLiteral("邮件ID"));
  }

  QTemporaryDir dir_;
  std::unique_ptr<SqlHostSystem> host_;
};

}  // namespace

TEST_F(StoredFile, ExactlyOneChunkIsReadAsOneFullChunkAndAnEmptyRemainder) {
  const QByteArray bytes = pattern(16384);
  store(bytes);
  RecordingHost recorder(*host_);
  ASSERT_TRUE(load(file(QStringLiteral("out.eml")), &recorder));
  EXPECT_EQ(recorder.calls, (QStringList{"get 16384", "get 0"}));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("out.eml"))), bytes);
}

TEST_F(StoredFile, SmallFileIsStoredAsOneAppend) {
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("in.eml")), pattern(100)));
  RecordingHost recorder(*host_);
  ASSERT_TRUE(fileToColumn(1, file(QStringLiteral("in.eml")), QStringLiteral("消息"), recorder,
                           QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_EQ(recorder.calls, (QStringList{"set ''", "append 100", "update"}));
  ASSERT_TRUE(load(file(QStringLiteral("out.eml"))));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("out.eml"))), pattern(100));
}

TEST_F(StoredFile, RemainderIsStoredFirstThenTheFullChunks) {
  const QByteArray bytes = pattern(2 * 16384 + 7232, 3);
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("in.eml")), bytes));
  RecordingHost recorder(*host_);
  ASSERT_TRUE(fileToColumn(1, file(QStringLiteral("in.eml")), QStringLiteral("消息"), recorder,
                           QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_EQ(recorder.calls,
            (QStringList{"set ''", "append 7232", "append 16384", "append 16384", "update"}));
  RecordingHost reader(*host_);
  ASSERT_TRUE(load(file(QStringLiteral("out.eml")), &reader));
  EXPECT_EQ(reader.calls, (QStringList{"get 16384", "get 16384", "get 7232"}));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("out.eml"))), bytes);

  // Bytes in memory are stored exactly as a file of them.
  RecordingHost fromBytes(*host_);
  ASSERT_TRUE(kvmail::bytesToColumn(1, bytes, QStringLiteral("消息"), fromBytes,
                                    QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_EQ(fromBytes.calls, recorder.calls);
  ASSERT_TRUE(load(file(QStringLiteral("again.eml"))));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("again.eml"))), bytes);
}

// Kept on purpose: the file is not emptied first, so an older longer file's tail stays.
TEST_F(StoredFile, ShortColumnOverALongerFileLeavesItsTail) {
  const QByteArray old = pattern(50, 1);
  const QByteArray fresh = QByteArray("0123456789");
  store(fresh);
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("out.eml")), old));
  ASSERT_TRUE(load(file(QStringLiteral("out.eml"))));
  const QByteArray result = kvtest::readAll(file(QStringLiteral("out.eml")));
  ASSERT_EQ(result.size(), 50);
  EXPECT_EQ(result.left(10), fresh);
  EXPECT_EQ(result.mid(10), old.mid(10));
}

TEST_F(StoredFile, MissingRowOrEmptyColumnGivesFalseAndLeavesTheFile) {
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("out.eml")), "keep"));
  // Null column.
  EXPECT_FALSE(load(file(QStringLiteral("out.eml"))));
  // Missing row.
  EXPECT_FALSE(columnToFile(99, file(QStringLiteral("out.eml")), QStringLiteral("消息"), *host_,
                            QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  // Empty column.
  store(QByteArray());
  EXPECT_FALSE(load(file(QStringLiteral("out.eml"))));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("out.eml"))), QByteArray("keep"));
  // A query the store refuses.
  EXPECT_FALSE(columnToFile(1, file(QStringLiteral("out.eml")), QStringLiteral("nosuch"), *host_,
                            QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("out.eml"))), QByteArray("keep"));
}

TEST_F(StoredFile, StoringNeedsTheRowAndTheFile) {
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("in.eml")), "data"));
  EXPECT_FALSE(fileToColumn(99, file(QStringLiteral("in.eml")), QStringLiteral("消息"), *host_,
                            QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_FALSE(fileToColumn(1, file(QStringLiteral("nofile.eml")), QStringLiteral("消息"), *host_,
                            QStringLiteral("msgmail"), QStringLiteral("邮件ID")));
  EXPECT_FALSE(load(file(QStringLiteral("out.eml"))));  // still null
  EXPECT_FALSE(QFile::exists(file(QStringLiteral("out.eml"))));
}

TEST_F(StoredFile, TemplatesMoveTheSameWay) {
  const QByteArray bytes =
      QByteArray("X-Priority: 1\r\nSubject: =?gb2312?B?xOO6ww==?=\r\n\r\n") + pattern(20000, 5);
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("temp12.eml")), bytes));
  ASSERT_TRUE(fileToColumn(12, file(QStringLiteral("temp12.eml")), QStringLiteral("EMail"), *host_,
                           QStringLiteral("MailTemplet"), QStringLiteral("progID")));
  ASSERT_TRUE(columnToFile(12, file(QStringLiteral("back.eml")), QStringLiteral("EMail"), *host_,
                           QStringLiteral("MailTemplet"), QStringLiteral("progID")));
  EXPECT_EQ(kvtest::readAll(file(QStringLiteral("back.eml"))), bytes);
  // Storing again replaces the column rather than adding to it.
  ASSERT_TRUE(kvtest::writeAll(file(QStringLiteral("temp12.eml")), "short"));
  ASSERT_TRUE(fileToColumn(12, file(QStringLiteral("temp12.eml")), QStringLiteral("EMail"), *host_,
                           QStringLiteral("MailTemplet"), QStringLiteral("progID")));
  auto rs = host_->openQuery(sql::columnToFileQuery(
      QStringLiteral("EMail"), QStringLiteral("MailTemplet"), QStringLiteral("progID"), 12));
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->actualSize(QStringLiteral("EMail")), 5);
}
