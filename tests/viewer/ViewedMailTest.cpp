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
      {QStringLiteral("见 http://example.cn/a?b=1&c=2。"), {"http://example.cn/a?b=1&amp;c=2"}},
      {QStringLiteral("(https://x.cn/p), www.kvmail.test."),
       {"https://x.cn/p", "http://www.kvmail.test"}},
      {QStringLiteral("<http://x.cn/> \"mailto:a@b.cn\""), {"http://x.cn/", "mailto:a@b.cn"}},
      {QStringLiteral("no link <b>here</b> & there"), {}},
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
  lines.setHtml(kvmail::plainTextHtml(QStringLiteral("第一行\n\n  缩进的第三行\n")));
  EXPECT_EQ(lines.toPlainText(), QStringLiteral("第一行\n\n  缩进的第三行"));
}

TEST(ViewedMailBadInput, AMissingOrEmptyStoredFileShowsTheHeaderAndNoBody) {
  for (const QVariant& stored : {QVariant(), QVariant(QByteArray(""))}) {
    ViewerRig rig;
    const long id = rig.store(kvtest::htmlMail(QStringLiteral("没有内容"), "<p>x</p>"));
    rig.set(id, QStringLiteral("消息"), stored);
    rig.show(id);
    EXPECT_EQ(rig.box(3), QStringLiteral("没有内容"));
    EXPECT_EQ(rig.box(1), QStringLiteral("王五<wang@kvmail.test>"));
    EXPECT_EQ(rig.bodyText(), QString());
    EXPECT_EQ(rig.status(), QStringLiteral("这封邮件没有保存内容。"));
    EXPECT_TRUE(rig.prompt->messages().isEmpty());
    EXPECT_FALSE(QFile::exists(rig.path(QString::number(id) + ".eml")));

    // The row says there are attachments, but there is nothing to take them from.
    rig.set(id, QStringLiteral("附件"), 1);
    rig.show(id);
    EXPECT_EQ(rig.prompt->messages(),
              QStringList{QStringLiteral("加载时发生错误，原因：File not found")});
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
      {"viewer/unknown_charset.eml",
       QStringLiteral("未知字符集"),
       QStringLiteral("正文用未知字符集标注"),
       {}},
      {"viewer/unclosed_boundary.eml",
       QStringLiteral("没有结尾的邮件"),
       QStringLiteral("正文还在"),
       {"0k|cut.bin"}},
  };
  for (const Case& c : cases) {
    ViewerRig rig;
    const long id = rig.storeData(c.file);
    ASSERT_GT(id, 0) << c.file.toStdString();
    rig.set(id, QStringLiteral("附件"), c.rows.isEmpty() ? 0 : 1);
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
  const long id = rig.store(kvtest::htmlMail(QStringLiteral("乱码"), "<p>x</p>"));
  rig.set(id, QStringLiteral("消息"), garbage);
  rig.set(id, QStringLiteral("附件"), 1);
  rig.show(id);
  EXPECT_EQ(rig.box(3), QStringLiteral("乱码"));
  EXPECT_TRUE(rig.viewer()->isVisible());
}

TEST(ViewedMailBadInput, AttachmentNamesNeverLeadOutOfTheTempFolder) {
  ViewerRig rig;
  QFile::remove(QStringLiteral("/tmp/kvmail-absolute.txt"));
  const QString outside = QDir(rig.folder()).absoluteFilePath(QStringLiteral("../../escape.txt"));
  QFile::remove(outside);
  const long id = rig.storeData(QStringLiteral("viewer/path_names.eml"));
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
  EXPECT_FALSE(QFile::exists(QStringLiteral("/tmp/kvmail-absolute.txt")));
  EXPECT_FALSE(QFile::exists(outside));
  // Everything the viewer wrote is inside the temporary folder.
  QDirIterator it(rig.folder(), QDir::Files, QDirIterator::Subdirectories);
  while (it.hasNext()) EXPECT_TRUE(it.next().startsWith(rig.folder()));
}

TEST(ViewedMailBadInput, ShowingAMailAgainReplacesItsSavedAttachments) {
  ViewerRig rig;
  const long id = rig.storeData(QStringLiteral("mime/mixed_attachments.eml"));
  rig.show(id);
  const QString folder = kvmail::viewedAttachmentFolder(id);
  ASSERT_TRUE(kvtest::writeAll(folder + QStringLiteral("/stale.txt"), "old"));
  ASSERT_TRUE(kvtest::writeAll(rig.rowPaths().value(1), "changed"));
  rig.show(id);
  EXPECT_FALSE(QFile::exists(folder + QStringLiteral("/stale.txt")));
  EXPECT_EQ(kvtest::readAll(rig.rowPaths().value(1)), QByteArray("xls-bytes"));
}
