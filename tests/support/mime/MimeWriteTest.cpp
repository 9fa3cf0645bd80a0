// Writing messages and reading them back: charsets, line ends, structure, attachments.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "TestEnv.h"
#include "support/mime/MimeMail.h"

using namespace kvmail;

namespace {

OutgoingMail chineseMail() {
  OutgoingMail m;
  m.from = {u"张三"_s, u"zhangsan@example.cn"_s};
  m.to = {{u"李四"_s, u"lisi@example.cn"_s}, {QString(), u"wang@example.cn"_s}};
  m.cc = {{u"赵六"_s, u"zhao@example.cn"_s}};
  m.bcc = {{u"秘书"_s, u"mishu@example.cn"_s}};
  m.subject = u"第二季度报价单"_s;
  m.htmlBody = u"<html><body><p>您好：</p>\n<p>报价单见附件。</p></body></html>"_s;
  m.headerPriority = 1;
  m.date = QDateTime(QDate(2024, 5, 6), QTime(14, 3, 9), Qt::OffsetFromUTC, 8 * 3600);
  m.messageId = u"kv.1@example.cn"_s;
  return m;
}

QByteArray written(const OutgoingMail& m) {
  QByteArray out;
  QString error;
  EXPECT_TRUE(writeMailBytes(m, &out, &error)) << error.toStdString();
  return out;
}

// Writes the mail, finds each text in it and reads back its subject, sender's name and body.
QByteArray expectWritten(const OutgoingMail& m, std::initializer_list<const char*> texts) {
  const QByteArray raw = written(m);
  for (const char* text : texts) EXPECT_TRUE(raw.contains(text)) << text;
  const ParsedMail in = readMailBytes(raw);
  EXPECT_EQ((QStringList{in.subject, in.from.name, in.htmlBody}),
            (QStringList{m.subject, m.from.name, m.htmlBody}));
  return raw;
}

bool everyLineEndIsCrLf(const QByteArray& bytes) {
  for (qsizetype i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r')) return false;
    if (bytes[i] == '\r' && (i + 1 >= bytes.size() || bytes[i + 1] != '\n')) return false;
  }
  return true;
}

QByteArray binaryBytes() {
  QByteArray b;
  for (int i = 0; i < 5000; ++i) b.append(static_cast<char>((i * 31 + i / 256) & 0xff));
  return b + QByteArray("\r\n\n\r\0", 5);
}

// The base64 content of the first text/html part, decoded.
QByteArray htmlPartBytes(const QByteArray& raw) {
  const qsizetype type = raw.indexOf("Content-Type: text/html");
  const qsizetype start = raw.indexOf("\r\n\r\n", type) + 4;
  qsizetype end = raw.indexOf("\r\n--", start);
  if (end < 0) end = raw.size();
  return QByteArray::fromBase64(raw.mid(start, end - start));
}

}  // namespace

TEST(MimeWrite, ChineseMailRoundTripsWithEveryField) {
  QTemporaryDir dir;
  OutgoingMail out = chineseMail();
  out.replyTo = {u"回复处"_s, u"reply@example.cn"_s};
  out.attachmentPaths = {
      kvtest::writtenFile(dir.filePath(u"报价单（第二季度）.xls"_s), binaryBytes())};

  const ParsedMail in = readMailBytes(written(out));
  ASSERT_TRUE(in.ok);
  // The Bcc list is kept in the file for the queue.
  EXPECT_EQ((QStringList{in.subject, joinDisplay({in.from}), joinDisplay({in.replyTo}),
                         joinDisplay(in.to), joinDisplay(in.cc), joinDisplay(in.bcc), in.htmlBody,
                         in.messageId}),
            (QStringList{out.subject, "张三 <zhangsan@example.cn>", "回复处 <reply@example.cn>",
                         "李四 <lisi@example.cn>;wang@example.cn", "赵六 <zhao@example.cn>",
                         "秘书 <mishu@example.cn>", out.htmlBody, "kv.1@example.cn"}));
  EXPECT_EQ(in.priority, 1);
  EXPECT_EQ(in.date, out.date);
  ASSERT_EQ(in.attachments.size(), 1);
  EXPECT_EQ(in.attachments[0].fileName + u'|' + in.attachments[0].contentType,
            u"报价单（第二季度）.xls|application/vnd.ms-excel"_s);
  EXPECT_EQ(in.attachments[0].data, binaryBytes());
  EXPECT_FALSE(in.attachments[0].isInline);
}

TEST(MimeWrite, Gb2312HeadersAndBase64HtmlBodyWhereTheTextFits) {
  QTemporaryDir dir;
  OutgoingMail m = chineseMail();
  m.attachmentPaths = {kvtest::writtenFile(dir.filePath(u"合同.doc"_s), "doc")};
  // The name as Foxmail and Outlook write and show it: one B word in name= and filename=.
  const QByteArray raw = expectWritten(
      m, {"\r\nSubject: =?gb2312?B?", "\r\nFrom: =?gb2312?B?1cXI/Q==?= <zhangsan@example.cn>\r\n",
          "Content-Type: text/html; charset=gb2312\r\n", "Content-Transfer-Encoding: base64",
          "Content-Type: multipart/mixed", "name=\"=?gb2312?B?us/NrC5kb2M=?=\"",
          "filename=\"=?gb2312?B?us/NrC5kb2M=?=\"", "X-Priority: 1\r\n",
          "Bcc: =?gb2312?B?w9jK6Q==?= <mishu@example.cn>"});
  EXPECT_EQ(htmlPartBytes(raw),
            QByteArray("<html><body><p>\xC4\xFA\xBA\xC3\xA3\xBA</p>\r\n<p>\xB1\xA8\xBC\xDB\xB5\xA5"
                       "\xBC\xFB\xB8\xBD\xBC\xFE\xA1\xA3</p></body></html>"));
}

TEST(MimeWrite, TextOutsideGb2312IsWrittenInUtf8WithoutLoss) {
  QTemporaryDir dir;
  OutgoingMail m = chineseMail();
  m.subject = u"价格 €5 𠀀 朱镕基"_s;
  m.from.name = u"喆"_s;
  m.htmlBody = u"<p>单价 € 𠀀</p>"_s;
  m.attachmentPaths = {kvtest::writtenFile(dir.filePath(u"价格€.txt"_s), "price")};
  // Each header decides for itself: the To list still fits gb2312.
  const ParsedMail in = readMailBytes(
      expectWritten(m, {"\r\nSubject: =?UTF-8?B?", "\r\nFrom: =?UTF-8?B?", "To: =?gb2312?B?",
                        "Content-Type: text/html; charset=UTF-8", "filename=\"=?UTF-8?B?"}));
  ASSERT_EQ(in.attachments.size(), 1);
  EXPECT_EQ(in.attachments[0].fileName, u"价格€.txt"_s);
}

TEST(MimeWrite, CrLfLineEndsThroughout) {
  QTemporaryDir dir;
  OutgoingMail m = chineseMail();
  m.htmlBody = u"a\nb\r\nc\n"_s + QString(300, QChar(0x6587));
  m.subject = QString(60, QChar(0x4E2D));  // long enough to be folded
  m.attachmentPaths = {kvtest::writtenFile(dir.filePath(u"bin.dat"_s), binaryBytes()),
                       kvtest::writtenFile(dir.filePath(u"notes.txt"_s), "one\ntwo\n")};
  const QByteArray raw = written(m);
  EXPECT_TRUE(everyLineEndIsCrLf(raw));
  EXPECT_TRUE(everyLineEndIsCrLf(htmlPartBytes(raw)));
  // Without attachments: one part, no multipart.
  const QByteArray single = written(chineseMail());
  EXPECT_TRUE(everyLineEndIsCrLf(single));
  EXPECT_FALSE(single.contains("multipart"));

  const ParsedMail in = readMailBytes(raw);
  EXPECT_EQ(in.subject, m.subject);
  EXPECT_EQ(in.htmlBody, u"a\nb\nc\n"_s + QString(300, QChar(0x6587)));
  ASSERT_EQ(in.attachments.size(), 2);
  EXPECT_EQ(in.attachments[0].data, binaryBytes());
  EXPECT_EQ(in.attachments[1].data, QByteArray("one\ntwo\n"));  // attachments are bytes, untouched
}

TEST(MimeWrite, HeaderLinesStayShortAndEncodedWordsWithinLimits) {
  OutgoingMail m = chineseMail();
  m.subject = QString(100, QChar(0x56FD)) + u"𠀀€"_s;
  m.to.clear();
  for (int i = 0; i < 10; ++i) m.to.append({u"收件人%1"_s.arg(i), u"r%1@example.cn"_s.arg(i)});
  const QByteArray raw = written(m);
  const QByteArray headers = raw.left(raw.indexOf("\r\n\r\n"));
  for (const QByteArray& line : headers.split('\n')) EXPECT_LE(line.size(), 78) << line.constData();
  static const QRegularExpression word(QStringLiteral(R"(=\?[^?]+\?B\?[^?]*\?=)"));
  auto it = word.globalMatch(QString::fromLatin1(headers));
  while (it.hasNext()) EXPECT_LE(it.next().capturedLength(), 75);
  const ParsedMail in = readMailBytes(raw);
  EXPECT_EQ(in.subject, m.subject);
  ASSERT_EQ(in.to.size(), 10);
  EXPECT_EQ(in.to[9].name, u"收件人9"_s);
}

TEST(MimeWrite, OptionalHeaders) {
  OutgoingMail m = chineseMail();
  m.headerPriority = 0;
  m.replyTo = {u"名字"_s, QString()};  // no address: left out
  m.cc.clear();
  m.bcc.clear();
  m.messageId.clear();
  m.date = QDateTime();
  const QByteArray raw = written(m);
  EXPECT_FALSE(raw.contains("X-Priority"));
  EXPECT_FALSE(raw.contains("Reply-To"));
  EXPECT_FALSE(raw.contains("\r\nCc:"));
  EXPECT_FALSE(raw.contains("\r\nBcc:"));
  const ParsedMail in = readMailBytes(raw);
  EXPECT_EQ(in.priority, 0);
  EXPECT_TRUE(in.messageId.endsWith(u"@example.cn"_s));  // made from the sender
  EXPECT_TRUE(in.date.isValid());
  EXPECT_LE(qAbs(in.date.secsTo(QDateTime::currentDateTime())), 3600);

  // A mail with nothing but a sender (a template may be saved so) still reads back.
  OutgoingMail empty;
  empty.from.address = u"a@b.cn"_s;
  const ParsedMail back = readMailBytes(written(empty));
  ASSERT_TRUE(back.ok);
  EXPECT_EQ(back.from.address + back.subject + back.htmlBody, u"a@b.cn"_s);
}

TEST(MimeWrite, AsciiNamesAndSubjectsStayReadableAndQuoted) {
  OutgoingMail m = chineseMail();
  m.from = {u"Li, \"Boss\""_s, u"boss@example.com"_s};
  m.subject = u"Quarterly report"_s;
  expectWritten(m, {"\r\nFrom: \"Li, \\\"Boss\\\"\" <boss@example.com>\r\n",
                    "\r\nSubject: Quarterly report\r\n"});
}

TEST(MimeWrite, LineBreaksInHeaderTextCannotAddHeaders) {
  OutgoingMail m = chineseMail();
  m.subject = u"hello\r\nBcc: spy@example.com"_s;
  const QByteArray raw = written(m);
  EXPECT_FALSE(raw.contains("\r\nBcc: spy"));
  EXPECT_EQ(readMailBytes(raw).bcc.size(), 1);
}

TEST(MimeWrite, MissingAttachmentFailsNamingTheFileAndWritesNothing) {
  QTemporaryDir dir;
  const QString missing = dir.filePath(u"不存在的附件.pdf"_s);
  const QString target = dir.filePath(u"out.eml"_s);
  OutgoingMail m = chineseMail();
  m.attachmentPaths = {missing};
  QByteArray out("untouched");
  QString error;
  EXPECT_FALSE(writeMailBytes(m, &out, &error));
  EXPECT_TRUE(error.contains(missing)) << error.toStdString();
  EXPECT_EQ(out, QByteArray("untouched"));
  error.clear();
  EXPECT_FALSE(writeMailFile(m, target, &error));
  EXPECT_TRUE(error.contains(missing));
  EXPECT_FALSE(QFileInfo::exists(target));

  m.attachmentPaths = {dir.path()};  // a folder is not an attachment file either
  EXPECT_FALSE(writeMailBytes(m, &out, &error));
  EXPECT_TRUE(error.contains(dir.path()));
}

TEST(MimeWrite, FileHoldsTheSameBytesAndIsReplaced) {
  QTemporaryDir dir;
  const QString target = dir.filePath(u"temp1.eml"_s);
  ASSERT_TRUE(kvtest::writeAll(target, QByteArray(100000, 'x')));
  QString error;
  ASSERT_TRUE(writeMailFile(chineseMail(), target, &error)) << error.toStdString();
  EXPECT_EQ(kvtest::readAll(target), written(chineseMail()));
  EXPECT_EQ(readMailFile(target).subject, chineseMail().subject);
  EXPECT_FALSE(writeMailFile(chineseMail(), dir.filePath(u"no/such/dir/x.eml"_s), &error));
  EXPECT_FALSE(error.isEmpty());
}
