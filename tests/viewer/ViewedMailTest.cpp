// What the viewer makes of a stored mail: the plain-text body, and bad input (a missing stored
// file, hostile attachment names). Broken and garbage MIME is the reader's and the fuzz replays';
// received mail shown end to end is ReceivedMailTest's.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
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
      {u"no link <b>here</b>\n\n  & there"_s, {}},  // escaped; blank lines and indents kept
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

  // A Big5 plain-text mail in the window: decoded by its label, lines and link kept.
  ViewerRig rig;
  rig.show(rig.storeData(u"viewer/big5_plain.eml"_s));
  EXPECT_EQ(rig.box(1) + u'|' + rig.box(3), u"陳大文<chen@example.tw>|報價單（繁體）"_s);
  EXPECT_TRUE(
      rig.bodyText().contains(u"陳先生您好：\n附上本季報價，請參閱 http://example.tw/price 。"_s))
      << rig.bodyText().toStdString();
  EXPECT_TRUE(rig.web()->toHtml().contains(u"href=\"http://example.tw/price\""_s));
}

TEST(ViewedMailBadInput, AMissingStoredFileShowsTheHeaderAndNoBody) {
  ViewerRig rig;
  const long id = rig.store(kvtest::htmlMail(u"没有内容"_s, "<p>x</p>"));
  rig.set(id, u"消息"_s, QVariant());
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

// How names are made safe is the MIME files' test; here, that a hostile mail's attachments
// land in the viewer's own folder and nowhere else.
TEST(ViewedMailBadInput, AttachmentNamesNeverLeadOutOfTheTempFolder) {
  ViewerRig rig;
  const QString outside = QDir(rig.folder()).absoluteFilePath(u"../../escape.txt"_s);
  for (const QString& f : {outside, u"/tmp/kvmail-absolute.txt"_s}) QFile::remove(f);
  const long id = rig.storeData(u"viewer/path_names.eml"_s);
  rig.show(id);
  ASSERT_EQ(rig.list()->topLevelItemCount(), 3);
  const QString folder = kvmail::viewedAttachmentFolder(id);
  EXPECT_TRUE(folder.startsWith(rig.folder() + u'/'));
  for (const QString& path : rig.rowPaths())
    EXPECT_EQ(QFileInfo(path).absolutePath(), QDir(folder).absolutePath()) << path.toStdString();
  EXPECT_FALSE(QFile::exists(u"/tmp/kvmail-absolute.txt"_s) || QFile::exists(outside));
}
