// Mail received from the loopback Dovecot (mailbox t34) through the service's own receive run,
// then shown in the viewer: subjects, senders and bodies in every charset Chinese mail comes in,
// and attachments saved through the save-as command byte for byte.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QSignalSpy>
#include <QTextDocument>

#include "LoopbackServers.h"
#include "ViewerRig.h"

using kvtest::ViewerRig;

namespace {

const QString kUser = QStringLiteral("t34");

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
  return {
      {"mime/gb2312_alternative.eml",
       QStringLiteral("报价单（朱镕基）"),
       QStringLiteral("销售部<sales@example.cn>"),
       {QStringLiteral("朱镕基先生："), QStringLiteral("喆报价单见附件。")},
       QString(),
       {}},
      {"mime/raw_gbk.eml",
       QStringLiteral("会议纪要（喆）"),
       QStringLiteral("张三<zs@example.cn>"),
       {QStringLiteral("会议纪要 珺")},
       QString(),
       {{QStringLiteral("0k|纪要.txt"), QByteArray::fromHex("bccdd2aac4dac8dd")}}},
      {"viewer/big5_plain.eml",
       QStringLiteral("報價單（繁體）"),
       QStringLiteral("陳大文<chen@example.tw>"),
       {QStringLiteral("陳先生您好：\n附上本季報價，請參閱 http://example.tw/price 。")},
       QString(),
       {}},
      {"mime/mixed_attachments.eml",
       QStringLiteral("季度报表"),
       QStringLiteral("Zhang San<zhangsan@example.cn>"),
       {QStringLiteral("请查收附件。")},
       QStringLiteral("邮件状态：高优先级。"),
       {{QStringLiteral("0k|合同（草案）.doc"), repeated(3) + QByteArray("\r\n\n\r\0\x1a", 6)},
        {QStringLiteral("1k|报价单.xls"), QByteArray("xls-bytes")},
        {QStringLiteral("2k|很长的文件名_第二季度销售报表汇总.pdf"), QByteArray("%PDF-1.4 fake")}}},
      {"mime/related_inline.eml",
       QStringLiteral("新闻 €"),
       QStringLiteral("news@example.com"),
       {QStringLiteral("欢迎 € 𠀀")},
       QString(),
       {}},
      {"viewer/gb2312_html.eml",
       QStringLiteral("第二季度报价单及合同"),
       QStringLiteral("陈丽<chenli@example.cn>"),
       {QStringLiteral("王经理："),
        QStringLiteral("您好！附件是第二季度报价单和合同草案，请查收。"),
        QStringLiteral("销售部 陈丽")},
       QStringLiteral("邮件状态：高优先级。"),
       {{QStringLiteral("1k|报价单.csv"), gbkCsv},
        {QStringLiteral("2k|合同草案.pdf"),
         "%PDF-1.4\n% fake contract\n" + repeated(4) + "\n%%EOF\n"}}},
  };
}

class ReceivedMailInTheViewer : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(kvtest::serversWithEmptyMailbox(kUser));
    rig_.useLoopback(kUser);
    ASSERT_TRUE(rig_.mail->Init(rig_.host, 1));
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
    const QString where =
        QStringLiteral("select 邮件ID from msgmail where 主题='%1'").arg(e.subject);
    const long id = rig_.value(where).toLong();
    ASSERT_GT(id, 0) << e.file.toStdString();
    kvmail::FrmMail* w = rig_.show(id);
    EXPECT_EQ(rig_.box(3), e.subject) << e.file.toStdString();
    EXPECT_EQ(rig_.box(1), e.sender) << e.file.toStdString();
    for (const QString& text : e.body)
      EXPECT_TRUE(rig_.bodyText().contains(text))
          << e.file.toStdString() << ": " << rig_.bodyText().toStdString();
    EXPECT_EQ(rig_.label(QStringLiteral("lblType"))->text(), e.priority) << e.file.toStdString();

    // Each expected attachment saved through 附件另存为 is the part, byte for byte.
    const QStringList rows = rig_.rows();
    for (const auto& [row, bytes] : e.attachments) {
      const int index = int(rows.indexOf(row));
      ASSERT_GE(index, 0) << e.file.toStdString() << " lacks " << row.toStdString() << " in "
                          << rows.join(", ").toStdString();
      rig_.list()->setCurrentItem(rig_.list()->topLevelItem(index));
      const QString target =
          rig_.path(QStringLiteral("saved/%1/%2").arg(id).arg(row.section(u'|', 1)));
      QDir().mkpath(QFileInfo(target).absolutePath());
      rig_.prompt->answerSaveFile(target);
      rig_.action(QStringLiteral("mnuAttachSaveAs"))->trigger();
      EXPECT_EQ(rig_.status(), QStringLiteral("下载文件") + target + QStringLiteral("成功"));
      EXPECT_EQ(kvtest::readAll(target), bytes) << e.file.toStdString() << " " << row.toStdString();
    }
    w->close();
  }

  // The HTML mail's picture shows where the mail puts it, between the greeting and the closing.
  rig_.show(
      rig_.value(QStringLiteral("select 邮件ID from msgmail where 主题='第二季度报价单及合同'"))
          .toLong());
  EXPECT_EQ(rig_.rows().value(0), QStringLiteral("0k|logo.png"));
  EXPECT_EQ(rig_.web()
                ->document()
                ->resource(QTextDocument::ImageResource, QUrl("cid:logo@kvmail"))
                .value<QImage>()
                .size(),
            QSize(200, 52));
  const QString html = rig_.web()->toHtml();
  const qsizetype image = html.indexOf(QStringLiteral("cid:logo@kvmail"));
  EXPECT_GT(image, html.indexOf(QStringLiteral("请查收")));
  EXPECT_LT(image, html.indexOf(QStringLiteral("此致")));
  EXPECT_TRUE(rig_.prompt->messages().isEmpty())
      << rig_.prompt->messages().join('\n').toStdString();
}
