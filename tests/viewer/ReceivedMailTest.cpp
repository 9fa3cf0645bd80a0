// Mail received from the loopback Dovecot (mailbox t34) through the service's own receive run,
// then shown in the viewer, as a user meets it: subjects, senders and bodies in the charsets
// Chinese mail comes in, and attachments (binary, named in RFC 2047 and 2231) saved through the
// save-as command byte for byte. The MIME reader's own tests leave these parts to this one.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QSignalSpy>

#include "LoopbackServers.h"
#include "ViewerRig.h"

using kvtest::ViewerRig;

namespace {

const QString kUser = u"t34"_s;

QByteArray repeated(int times) {
  QByteArray bytes;
  for (int i = 0; i < times; ++i)
    for (int b = 0; b < 256; ++b) bytes += char(b);
  return bytes;
}

struct Expected {
  QString file;
  QString subject;
  QString sender;
  QStringList body;                               // texts the reader sees in the body
  QString priority;                               // the strip's text, empty when hidden
  QList<QPair<QString, QByteArray>> attachments;  // "key|name" and the exact bytes
};

QList<Expected> expectations() {
  const QByteArray gbkCsv =
      QByteArray::fromHex("bcbeb6c82cbdf0b6ee0ad2bbbcbeb6c82c313230300ab6febcbeb6c82c313335300a");
  const QString high = u"邮件状态：高优先级。"_s;
  return {
      Expected("mime/gb2312_alternative.eml", u"报价单（朱镕基）"_s, u"销售部<sales@example.cn>"_s,
               {u"朱镕基先生："_s, u"喆报价单见附件。"_s}, {}, {}),
      Expected("mime/raw_gbk.eml", u"会议纪要（喆）"_s, u"张三<zs@example.cn>"_s,
               {u"会议纪要 珺"_s}, {},
               {{u"0k|纪要.txt"_s, QByteArray::fromHex("bccdd2aac4dac8dd")}}),
      Expected("mime/mixed_attachments.eml", u"季度报表"_s, u"Zhang San<zhangsan@example.cn>"_s,
               {u"请查收附件。"_s}, high,
               {{u"0k|合同（草案）.doc"_s, repeated(3) + QByteArray("\r\n\n\r\0\x1a", 6)},
                {u"1k|报价单.xls"_s, QByteArray("xls-bytes")},
                {u"2k|很长的文件名_第二季度销售报表汇总.pdf"_s, QByteArray("%PDF-1.4 fake")}}),
      Expected("mime/related_inline.eml", u"新闻 €"_s, u"news@example.com"_s, {u"欢迎 € 𠀀"_s}, {},
               {}),
      Expected(
          "viewer/gb2312_html.eml", u"第二季度报价单及合同"_s, u"陈丽<chenli@example.cn>"_s,
          {u"王经理："_s, u"您好！附件是第二季度报价单和合同草案，请查收。"_s, u"销售部 陈丽"_s},
          high,
          {{u"1k|报价单.csv"_s, gbkCsv},
           {u"2k|合同草案.pdf"_s, "%PDF-1.4\n% fake contract\n" + repeated(4) + "\n%%EOF\n"}}),
  };
}

class ReceivedMailInTheViewer : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    rig_.useLoopback(kUser);
    ASSERT_TRUE(rig_.mail->Init(rig_.host, 1));  // again, now on the loopback servers
  }

  // Receives the whole mailbox through the service; the new keys in the order they arrived.
  QList<long> receiveAll() {
    QSignalSpy ended(rig_.mail.get(), &kvmail::clsMail::EvTransferEnded);
    QSignalSpy read(rig_.mail.get(), &kvmail::clsMail::EvMailRead);
    rig_.mail->ReceiveMail();
    if (ended.isEmpty()) ended.wait(60000);
    EXPECT_EQ(ended.size(), 1);
    EXPECT_TRUE(!ended.isEmpty() && ended.first().first().toBool());
    QList<long> ids;
    for (const auto& args : read) ids << args.first().toLongLong();
    return ids;
  }

  ViewerRig rig_;
};

}  // namespace

TEST_F(ReceivedMailInTheViewer, EveryCharsetShowsItsSubjectSenderBodyAndParts) {
  const QList<Expected> cases = expectations();
  for (const Expected& e : cases)
    ASSERT_FALSE(kvtest::dropMail(kUser, kvtest::readAll(kvtest::dataFile(e.file))).isEmpty());
  ASSERT_EQ(receiveAll().size(), cases.size());

  for (const Expected& e : cases) {
    const QString where = u"select 邮件ID from msgmail where 主题='%1'"_s.arg(e.subject);
    const long id = rig_.value(where).toLong();
    ASSERT_GT(id, 0) << e.file.toStdString();
    kvmail::FrmMail* w = rig_.show(id);
    EXPECT_EQ(rig_.box(3), e.subject) << e.file.toStdString();
    EXPECT_EQ(rig_.box(1), e.sender) << e.file.toStdString();
    for (const QString& text : e.body)
      EXPECT_TRUE(rig_.bodyText().contains(text))
          << e.file.toStdString() << ": " << rig_.bodyText().toStdString();
    EXPECT_EQ(rig_.label(u"lblType"_s)->text(), e.priority) << e.file.toStdString();

    // Each expected attachment saved through 附件另存为 is the part, byte for byte.
    const QStringList rows = rig_.rows();
    for (const auto& [row, bytes] : e.attachments) {
      const int index = int(rows.indexOf(row));
      ASSERT_GE(index, 0) << e.file.toStdString() << " lacks " << row.toStdString() << " in "
                          << rows.join(", ").toStdString();
      rig_.list()->setCurrentItem(rig_.list()->topLevelItem(index));
      const QString target = rig_.path(u"saved/%1/%2"_s.arg(id).arg(row.section(u'|', 1)));
      QDir().mkpath(QFileInfo(target).absolutePath());
      rig_.prompt->answerSaveFile(target);
      rig_.action(u"mnuAttachSaveAs"_s)->trigger();
      EXPECT_EQ(rig_.status(), u"下载文件"_s + target + u"成功"_s);
      EXPECT_EQ(kvtest::readAll(target), bytes) << e.file.toStdString() << " " << row.toStdString();
    }
    w->close();
  }

  EXPECT_TRUE(rig_.prompt->messages().isEmpty())
      << rig_.prompt->messages().join('\n').toStdString();
}
