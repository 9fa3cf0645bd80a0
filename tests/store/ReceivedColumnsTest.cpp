// Received mail with real-world headers, stored in a real SQLite store: the header columns read
// back decoded once, with every sender and recipient form servers send.
#include <gtest/gtest.h>

#include "QtPrinters.h"
#include "StoreRig.h"
#include "store/MailStore.h"

using kvmail::MailStore;
using kvmail::ReceivedMail;

namespace {

QByteArray hex(const char* h) {
  return QByteArray::fromHex(h);
}

// 发件人, 发件人邮箱, 主题, 收件人邮箱, 收件人, [E-MAIL]
struct Columns {
  QString fromName, fromAddress, subject, toAddresses, toNames, email;
  QStringList list() const { return {fromName, fromAddress, subject, toAddresses, toNames, email}; }
};

struct Case {
  const char* what;
  QByteArray headers;
  Columns expected;
};

class ReceivedColumns : public kvtest::StoreTest {
 protected:
  // Stores the mail the way the receive session does and reads its header columns back.
  QStringList storeAndRead(const QByteArray& headers, const QString& uidl) {
    ReceivedMail mail;
    mail.bytes = headers + "\r\nbody\r\n";
    mail.size = mail.bytes.size();
    mail.uidl = uidl;
    mail.pop3Server = QStringLiteral("pop.example.cn");
    mail.header = kvmail::readMailBytes(mail.bytes, QStringLiteral("gb2312"),
                                        kvmail::MimeParts::StructureOnly);
    kvmail::StoreFailure failure;
    const long id = MailStore(*rig.host).storeReceived(mail, &failure);
    EXPECT_GT(id, 0) << uidl.toStdString() << " " << failure.error.toStdString();
    return rig.row(
        QStringLiteral("select 发件人,发件人邮箱,主题,收件人邮箱,收件人,[E-MAIL] from msgmail "
                       "where 邮件ID=%1")
            .arg(id));
  }
};

}  // namespace

TEST_F(ReceivedColumns, HeaderFormsOfRealMailAreStoredDecoded) {
  const Case cases[] = {
      {"raw GBK subject, GB2312-labelled body",
       "From: " + hex("d5c5c8fd") + " <zs@example.cn>\r\nTo: li@example.cn\r\nSubject: " +
           hex("b9d8d3dacfc2d6dcbbe1d2e9b5c4b0b2c5c5b1ed") +
           "\r\nContent-Type: text/plain; charset=gb2312\r\n",
       {QStringLiteral("张三"),
        QStringLiteral("zs@example.cn"),
        QStringLiteral("关于下周会议的安排表"),
        QStringLiteral("li@example.cn"),
        QStringLiteral("li@example.cn"),
        {}}},
      {"raw UTF-8 subject under a gb2312 default",
       "From: a@example.cn\r\nTo: b@example.cn\r\nSubject: " +
           hex("e8bf9be587bae58fa3e68aa5e585b3e58d95") + "\r\n",
       {{},
        QStringLiteral("a@example.cn"),
        QStringLiteral("进出口报关单"),
        QStringLiteral("b@example.cn"),
        QStringLiteral("b@example.cn"),
        {}}},
      {"raw UTF-8 Cyrillic and a koi8_r word",
       "From: =?koi8_r?B?8NLJ18XU?= <ivan@example.ru>\r\nTo: b@example.cn\r\nSubject: " +
           hex("d09fd180d0b8d0b2d0b5d18220d0bcd0b8d180") + "\r\n",
       {QStringLiteral("Привет"),
        QStringLiteral("ivan@example.ru"),
        QStringLiteral("Привет мир"),
        QStringLiteral("b@example.cn"),
        QStringLiteral("b@example.cn"),
        {}}},
      {"raw EUC-KR subject by the declared charset",
       "From: a@example.kr\r\nTo: b@example.kr\r\nSubject: " + hex("c8b8c0c720c0cfc1a4") +
           "\r\nContent-Type: text/plain; charset=euc-kr\r\n",
       {{},
        QStringLiteral("a@example.kr"),
        QStringLiteral("회의 일정"),
        QStringLiteral("b@example.kr"),
        QStringLiteral("b@example.kr"),
        {}}},
      {"name then bare address, ks_c label",
       "From: =?ks_c_5601-1987?B?sejDtrz2?= kim@example.kr\r\n"
       "To: =?ks_c_5601-1987?B?wMy/tcjx?= lee@example.kr, park@example.kr\r\nSubject: hi\r\n",
       {QStringLiteral("김철수"),
        QStringLiteral("kim@example.kr"),
        QStringLiteral("hi"),
        QStringLiteral("lee@example.kr;park@example.kr"),
        QStringLiteral("이영희;park@example.kr"),
        {}}},
      {"null sender address keeps the name; it stays out of the address columns",
       "From: MAILER DAEMON <>\r\nTo: <webmaster@example.org>\r\n"
       "Cc: Nobody <>, copy@example.org\r\nSubject: Delivery failure\r\n",
       {QStringLiteral("MAILER DAEMON"),
        {},
        QStringLiteral("Delivery failure"),
        QStringLiteral("webmaster@example.org"),
        QStringLiteral("webmaster@example.org"),
        QStringLiteral("copy@example.org")}},
      {"NUL in the subject",
       QByteArray("From: a@example.cn\r\nTo: b@example.cn\r\nSubject: half\0rest\r\n", 58),
       {{},
        QStringLiteral("a@example.cn"),
        QStringLiteral("halfrest"),
        QStringLiteral("b@example.cn"),
        QStringLiteral("b@example.cn"),
        {}}},
      {"old comment form and a group",
       "From: bbb@example.com (John X. Doe)\r\nTo: Team: a@example.com, B <b@example.com>;\r\n"
       "Subject: =?x-gbk?B?1uzpRrv5?=\r\n",
       {QStringLiteral("John X. Doe"),
        QStringLiteral("bbb@example.com"),
        QStringLiteral("朱镕基"),
        QStringLiteral("a@example.com;b@example.com"),
        QStringLiteral("a@example.com;B"),
        {}}},
  };
  int n = 0;
  for (const Case& c : cases)
    EXPECT_EQ(storeAndRead(c.headers, QStringLiteral("uidl-%1").arg(++n)), c.expected.list())
        << c.what;
}
