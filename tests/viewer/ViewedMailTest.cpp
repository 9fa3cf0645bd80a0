// What the viewer makes of a stored mail without its window: the text rules, the plain-text
// body, and bad input (missing or empty stored files, broken MIME, hostile attachment names).
#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTextDocument>

#include "ViewerRig.h"
#include "viewer/ViewedMail.h"

using kvtest::ViewerRig;

TEST(ViewedMailText, PlainTextKeepsItsLinesAndMakesAddressesClickable) {
  struct Case {
    QString text;
    QStringList links;  // the hrefs, in order
  };
  const QList<Case> cases = {
      {u"见 http://example.cn/a?b=1&c=2。"_s, {"http://example.cn/a?b=1&amp;c=2"}},
      {u"(https://x.cn/p), www.kvmail.test."_s, {"https://x.cn/p", "http://www.kvmail.test"}},
      {u"<http://x.cn/> \"mailto:a@b.cn\""_s, {"http://x.cn/", "mailto:a@b.cn"}},
      {u"no link <b>here</b> & there"_s, {}},
  };
  for (const Case& c : cases) {
    const QString html = kvmail::plainTextHtml(c.text);
    QStringList hrefs;
    for (qsizetype at = html.indexOf("href=\""); at >= 0; at = html.indexOf("href=\"", at + 1))
      hrefs << html.mid(at + 6, html.indexOf('"', at + 6) - at - 6);
    EXPECT_EQ(hrefs, c.links) << html.toStdString();
    QTextDocument doc;
    doc.setHtml(html);
    EXPECT_EQ(doc.toPlainText(), c.text) << html.toStdString();
  }
  QTextDocument lines;
  lines.setHtml(kvmail::plainTextHtml(u"第一行\n\n  缩进的第三行\n"_s));
  EXPECT_EQ(lines.toPlainText(), u"第一行\n\n  缩进的第三行"_s);
}

TEST(ViewedMailBadInput, AMissingOrEmptyStoredFileShowsTheHeaderAndNoBody) {
  for (const QVariant& stored : {QVariant(), QVariant(QByteArray(""))}) {
    ViewerRig rig;
    const long id = rig.store(kvtest::htmlMail(u"没有内容"_s, "<p>x</p>"));
    rig.set(id, u"消息"_s, stored);
    rig.show(id);
    EXPECT_EQ((QStringList{rig.box(3), rig.box(1), rig.bodyText(), rig.status()}),
              (QStringList{u"没有内容"_s, u"王五<wang@kvmail.test>"_s, QString(),
                           u"这封邮件没有保存内容。"_s}));
    EXPECT_TRUE(rig.prompt->messages().isEmpty());
    EXPECT_FALSE(QFile::exists(rig.path(QString::number(id) + ".eml")));

    // The row says there are attachments, but there is nothing to take them from.
    rig.set(id, u"附件"_s, 1);
    rig.show(id);
    EXPECT_EQ(rig.prompt->messages(), QStringList{u"加载时发生错误，原因：File not found"_s});
    EXPECT_EQ(rig.list()->topLevelItemCount(), 0);
  }
}

// What the parser makes of truncated, headerless and GB18030 mail is the MIME reader's test;
// here the breaks only the viewer meets.
TEST(ViewedMailBadInput, BrokenMailShowsWhatCanBeRead) {
  struct Case {
    QString file;
    QString subject;
    QString body;
    QStringList rows;
  };
  const QList<Case> cases = {
      {"viewer/unknown_charset.eml", u"未知字符集"_s, u"正文用未知字符集标注"_s, {}},
      {"viewer/unclosed_boundary.eml", u"没有结尾的邮件"_s, u"正文还在"_s, {"0k|cut.bin"}},
  };
  for (const Case& c : cases) {
    ViewerRig rig;
    const long id = rig.storeData(c.file);
    ASSERT_GT(id, 0) << c.file.toStdString();
    rig.set(id, u"附件"_s, c.rows.isEmpty() ? 0 : 1);
    rig.show(id);
    EXPECT_EQ(rig.box(3), c.subject) << c.file.toStdString();
    EXPECT_TRUE(rig.bodyText().contains(c.body))
        << c.file.toStdString() << ": " << rig.bodyText().toStdString();
    EXPECT_EQ(rig.rows(), c.rows) << c.file.toStdString();
    EXPECT_TRUE(rig.prompt->messages().isEmpty()) << c.file.toStdString();
  }
}

TEST(ViewedMailBadInput, GarbageBytesNeverCrashTheViewer) {
  ViewerRig rig;
  QByteArray garbage;
  for (int i = 0; i < 5000; ++i) garbage += char((i * 7919) % 256);
  const long id = rig.store(kvtest::htmlMail(u"乱码"_s, "<p>x</p>"));
  rig.set(id, u"消息"_s, garbage);
  rig.set(id, u"附件"_s, 1);
  rig.show(id);
  EXPECT_EQ(rig.box(3), u"乱码"_s);
  EXPECT_TRUE(rig.viewer()->isVisible());
}

TEST(ViewedMailBadInput, AttachmentNamesNeverLeadOutOfTheTempFolder) {
  ViewerRig rig;
  QFile::remove(u"/tmp/kvmail-absolute.txt"_s);
  const QString outside = QDir(rig.folder()).absoluteFilePath(u"../../escape.txt"_s);
  QFile::remove(outside);
  const long id = rig.storeData(u"viewer/path_names.eml"_s);
  rig.show(id);
  ASSERT_EQ(rig.list()->topLevelItemCount(), 3);
  const QString folder = kvmail::viewedAttachmentFolder(id);
  EXPECT_TRUE(folder.startsWith(rig.folder() + u'/'));
  QStringList names;
  for (const QString& path : rig.rowPaths()) {
    EXPECT_EQ(QFileInfo(path).absolutePath(), QDir(folder).absolutePath()) << path.toStdString();
    names << QFileInfo(path).fileName();
  }
  EXPECT_EQ(names, (QStringList{"escape.txt", "kvmail-absolute.txt", "win.ini"}));
  EXPECT_EQ(kvtest::readAll(rig.rowPaths().value(0)), QByteArray("one"));
  EXPECT_FALSE(QFile::exists(u"/tmp/kvmail-absolute.txt"_s));
  EXPECT_FALSE(QFile::exists(outside));
  // Everything the viewer wrote is inside the temporary folder.
  QDirIterator it(rig.folder(), QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext()) EXPECT_TRUE(it.next().startsWith(rig.folder()));
}
