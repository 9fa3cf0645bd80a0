// The body is shown without fetching anything: a real HTTP server on 127.0.0.1 counts the
// connections a mail full of remote references causes (none), local files stay unread, links open
// only when clicked and only through the desktop.
#include <gtest/gtest.h>

#include <QEventLoop>
#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScrollBar>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include "ViewerRig.h"
#include "viewer/MailBrowser.h"

using kvtest::ScriptedPrompt;
using kvtest::ViewerRig;

namespace {

// Answers every request with a short text and counts the connections it saw.
class CountingHttpServer : public QObject {
 public:
  CountingHttpServer() {
    server_.listen(QHostAddress::LocalHost, 0);
    QObject::connect(&server_, &QTcpServer::newConnection, this, [this] {
      while (QTcpSocket* socket = server_.nextPendingConnection()) {
        ++connections;
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
          if (!socket->readAll().contains("\r\n\r\n")) return;
          socket->write(
              "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 2\r\n\r\nok");
          socket->disconnectFromHost();
        });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
      }
    });
  }
  QString base() const { return u"http://127.0.0.1:%1"_s.arg(server_.serverPort()); }
  int connections = 0;

 private:
  QTcpServer server_;
};

// Remote references in every form the body's engine would follow, and scripts that must neither
// run nor show their text.
QString remoteHtml(const QString& base) {
  return u"<html><head>"
         "<link rel=\"stylesheet\" href=\"%1/style.css\">"
         "<style>@import url(%1/import.css); body { background-image: url(%1/bg.png); }</style>"
         "<script src=\"%1/script.js\"></script>"
         "<script>var secret='脚本文字'; document.write('<img src=%1/written.png>');</script>"
         "<meta http-equiv=\"refresh\" content=\"0; url=%1/refresh\">"
         "</head><body background=\"%1/body.png\" onload=\"alert(1)\">"
         "<p>远程内容测试</p>"
         "<img src=\"%1/pixel.gif\" width=\"1\" height=\"1\">"
         "<img src=\"//127.0.0.1:%2/scheme-relative.png\">"
         "<img srcset=\"%1/srcset.png 2x\">"
         "<table background=\"%1/table.png\"><tr><td>格</td></tr></table>"
         "<div style=\"background-image: url(%1/div.png)\">块</div>"
         "<a href=\"%1/link\">链接</a>"
         "</body></html>"_s.arg(base, base.section(u':', -1));
}

}  // namespace

TEST(ViewerSafety, AMailFullOfRemoteReferencesAndScriptsCausesNoRequestAtAll) {
  CountingHttpServer server;
  ViewerRig rig;
  const long id = rig.store(kvtest::htmlMail(u"远程引用"_s, remoteHtml(server.base())));
  kvmail::FrmMail* w = rig.show(id);
  ASSERT_TRUE(rig.bodyText().contains(u"远程内容测试"_s));
  EXPECT_FALSE(rig.bodyText().contains(u"脚本文字"_s));
  // Lay out and paint the whole body, scrolled from top to bottom, as a reader would.
  w->resize(900, 700);
  QTextBrowser* web = rig.web();
  for (int step = 0; step <= 4; ++step) {
    web->verticalScrollBar()->setValue(web->verticalScrollBar()->maximum() * step / 4);
    w->grab();
    kvtest::pumpEvents(50);
  }
  rig.action(u"TBPrint"_s)->trigger();  // the printed copy fetches nothing either
  kvtest::pumpEvents(300);
  EXPECT_EQ(server.connections, 0);
  EXPECT_TRUE(rig.prompt->records(ScriptedPrompt::Kind::OpenWithDesktop).isEmpty());
  // The body did ask for its pictures and style sheets; each was refused.
  const QStringList refused = static_cast<kvmail::MailBrowser*>(web)->refused();
  for (const char* name : {"/pixel.gif", "/import.css", "/bg.png", "/table.png", "/div.png"})
    EXPECT_TRUE(refused.join(' ').contains(name))
        << name << ": " << refused.join(' ').toStdString();

  // The server does count: the same address fetched on purpose is seen.
  QNetworkAccessManager manager;
  QNetworkReply* reply = manager.get(QNetworkRequest(QUrl(server.base() + "/pixel.gif")));
  QEventLoop loop;
  QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
  QTimer::singleShot(10000, &loop, &QEventLoop::quit);
  loop.exec();
  reply->deleteLater();
  EXPECT_EQ(server.connections, 1);
}

TEST(ViewerSafety, LocalFilesAndOtherMailsPartsAreNeverReadOnlyTheMailsOwnPartsAre) {
  ViewerRig rig;
  QImage red(4, 4, QImage::Format_RGB32);
  red.fill(Qt::red);
  const QString picture = rig.path(u"local.png"_s);
  ASSERT_TRUE(red.save(picture));
  const long id = rig.storeData(u"viewer/gb2312_html.eml"_s);
  rig.show(id);
  auto* web = static_cast<kvmail::MailBrowser*>(rig.web());
  // What the body's document gets for a picture.
  const auto image = [web](const QUrl& url) {
    return web->loadResource(QTextDocument::ImageResource, url).value<QImage>();
  };
  for (const QUrl& url : {QUrl::fromLocalFile(picture), QUrl(u"local.png"_s),
                          QUrl(u"qrc:/qt-project.org/styles/commonstyle/images/file-16.png"_s)})
    EXPECT_TRUE(image(url).isNull()) << url.toString().toStdString();
  // A refused resource is an empty value, never a null one the document would then load itself.
  for (const int type : {QTextDocument::ImageResource, QTextDocument::StyleSheetResource})
    EXPECT_FALSE(web->loadResource(type, QUrl::fromLocalFile(picture)).isNull()) << type;

  // The mail's own pictures, by Content-ID in any case or by name, and pictures written into the
  // body as data.
  for (const char* url : {"cid:logo@kvmail", "cid:LOGO@kvmail", "logo.png"})
    EXPECT_EQ(image(QUrl(QLatin1String(url))).size(), QSize(200, 52)) << url;
  EXPECT_TRUE(image(QUrl(u"cid:other@kvmail"_s)).isNull());
  const QByteArray png = kvtest::readAll(picture);
  EXPECT_EQ(image(QUrl(u"data:image/png;base64,"_s + png.toBase64())).size(), QSize(4, 4));
  EXPECT_TRUE(rig.bodyText().contains(u"王经理"_s));

  // Another mail naming the same Content-ID never gets this mail's picture.
  rig.show(rig.store(kvtest::htmlMail(u"没有图片"_s, u"<p>x</p><img src=\"cid:logo@kvmail\">"_s)));
  EXPECT_TRUE(rig.web()
                  ->document()
                  ->resource(QTextDocument::ImageResource, QUrl("cid:logo@kvmail"))
                  .value<QImage>()
                  .isNull());
}

TEST(ViewerSafety, LinksOpenOnlyWhenClickedAndOnlyThroughTheDesktop) {
  ViewerRig rig;
  rig.show(rig.store(kvtest::htmlMail(u"链接"_s,
                                      u"<p><a href=\"https://example.com/报价?a=1&b=2\">报价</a>"
                                      "<a href=\"javascript:alert(1)\">脚本</a>"
                                      "<a href=\"file:///etc/passwd\">文件</a>"
                                      "<a href=\"mailto:wang@kvmail.test\">写信</a></p>"_s)));
  EXPECT_TRUE(rig.prompt->records(ScriptedPrompt::Kind::OpenWithDesktop).isEmpty());
  QTextBrowser* web = rig.web();
  const QUrl before = web->source();
  for (const QString& link : {u"https://example.com/报价?a=1&b=2"_s, u"javascript:alert(1)"_s,
                              u"file:///etc/passwd"_s, u"mailto:wang@kvmail.test"_s})
    Q_EMIT web->anchorClicked(QUrl(link));
  const auto opened = rig.prompt->records(ScriptedPrompt::Kind::OpenWithDesktop);
  ASSERT_EQ(opened.size(), 2);
  EXPECT_EQ(QUrl(opened[0].text), QUrl(u"https://example.com/报价?a=1&b=2"_s));
  EXPECT_EQ(opened[1].text, u"mailto:wang@kvmail.test"_s);
  EXPECT_EQ(web->source(), before);  // the viewer itself never navigates
}
