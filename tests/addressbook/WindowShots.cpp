// Renders the address book and the template editor over a small demo store into PNG files, each
// under a drawn title bar (grabbing a widget shows no frame). Not a test: run it by hand,
//   addressbook_screenshots <output folder>      (writes addressbook.png and templet.png)
// under Xvfb or on the offscreen platform.
#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QPainter>
#include <QTemporaryDir>
#include <QTextStream>

#include "AddressStore.h"
#include "ScriptedPrompt.h"
#include "addressbook/FrmDxb.h"
#include "model/IMailAddress.h"
#include "model/IMailAddresses.h"
#include "model/clsAccount.h"
#include "model/clsMessage.h"
#include "templates/FrmTemplet.h"

namespace {

bool save(QWidget* window, const QString& path) {
  window->show();
  QApplication::processEvents();
  const QPixmap body = window->grab();
  const int bar = 28;
  QPixmap shot(body.width() + 2, body.height() + bar + 1);
  shot.fill(QColor(0x5b, 0x6b, 0x7f));
  QPainter painter(&shot);
  painter.drawPixmap(1, bar, body);
  painter.setPen(Qt::white);
  QFont font = painter.font();
  font.setPointSize(10);
  painter.setFont(font);
  painter.drawText(QRect(10, 0, shot.width() - 20, bar), Qt::AlignVCenter | Qt::AlignLeft,
                   window->windowTitle());
  painter.end();
  return shot.save(path);
}

// Correspondents of a small trading company: pinyin and Chinese mailbox names.
void seed(kvtest::AddressStore& store) {
  const char* senders[] = {
      "zhang.wei@huadong-trade.cn",
      "li.na@kvmail.test",
      "wang.fang@163.com",
      "liu.yang@qq.com",
      "chen.jing@sina.com",
      "yang.min@gongsi.cn",
      "zhao.lei@huadong-trade.cn",
      "huang.qiang@126.com",
      "zhou.jie@foxmail.com",
      "wu.tao@kvmail.test",
      "xu.ming@163.com",
      "sun.chao@qq.com",
      "hu.yan@gongsi.cn",
      "zhu.jun@sina.com",
      "gao.yong@126.com",
      "lin.li@huadong-trade.cn",
      "he.xia@kvmail.test",
      "guo.hua@163.com",
      "ma.lin@qq.com",
      "luo.bin@foxmail.com",
      "Liang.Hong@Huanan.com",
      "Song.Ping@Beifang.cn",
      "销售部@华东贸易.cn",
      "王经理@华东贸易.cn",
      "客服中心@北方机械.cn",
      "财务@南方物流.com",
      "采购部@东方电子.cn",
      "李主任@市场部.cn",
      "张会计@南方物流.com",
      "人事部@华东贸易.cn",
  };
  for (const char* s : senders) store.received(QString::fromUtf8(s));
  store.composed(QStringLiteral("li.na@kvmail.test"));  // sender and recipient: listed once
  store.composed(QStringLiteral("dong.mei@gongsi.cn"));
  store.composed(QStringLiteral("ye.qing@huanan.com"));
  store.composed(QStringLiteral("tang.li@163.com"));
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QTextStream out(stdout);
  if (argc < 2) {
    out << "usage: addressbook_screenshots <output folder>" << Qt::endl;
    return 2;
  }
  const QString dir = QString::fromLocal8Bit(argv[1]);
  QDir().mkpath(dir);
  QTemporaryDir temp;
  qputenv("TMPDIR", temp.path().toUtf8());
  kvtest::ScopedPrompt prompt;
  kvtest::AddressStore store;
  seed(store);

  kvmail::FrmDxb book;
  book.py_Init(store.host.get());
  book.show();
  QApplication::processEvents();  // laid out, as when the user types
  book.findChild<QLineEdit*>(QStringLiteral("kvTxt"))->setText(QStringLiteral("华东"));
  bool ok = save(&book, dir + QStringLiteral("/addressbook.png"));
  book.hide();

  store.host->executeBound(QStringLiteral("insert into xt_objects(progid,progname) values (?,?)"),
                           {12, QStringLiteral("客户关怀")});
  store.host->executeBound(
      QStringLiteral("insert into MailTemplet(progID,[to],subject) values(?,?,?)"),
      {12, QStringLiteral("[邮箱]"), QStringLiteral("致[名]")});
  auto message = std::make_shared<kvmail::clsMessage>();
  message->TOs()->Parser(QStringLiteral("[邮箱]"));
  message->Cc()->Parser(QStringLiteral("xiaoshou@huadong-trade.cn"));
  message->setSubject(QStringLiteral("致[名]：本季新品目录"));
  auto account = std::make_shared<kvmail::clsAccount>();
  account->lProgID = 12;
  kvmail::FrmTemplet editor;
  editor.prepare(message, store.host.get(), account);
  ok = save(&editor, dir + QStringLiteral("/templet.png")) && ok;

  out << (ok ? "screenshots written to " : "could not write every screenshot to ") << dir
      << Qt::endl;
  return ok ? 0 : 1;
}
