#include "DemoOptions.h"

#include <QStandardPaths>
#include <QUrl>

namespace kvmail::demo {
namespace {

// The demo's own user: the per-user account row and the operator written into new rows.
const QString kUserId = QStringLiteral("1");

QString portError(const QString& option, const QString& value) {
  return QStringLiteral("%1 需要 1 到 65535 之间的端口号，而不是“%2”。").arg(option, value);
}

bool readPort(const QString& text, int* port) {
  bool ok = false;
  const int value = text.toInt(&ok);
  if (!ok || value < 1 || value > 65535) return false;
  *port = value;
  return true;
}

}  // namespace

QStringList scriptedCommands() {
  return {QStringLiteral("list"),         QStringLiteral("send"),  QStringLiteral("receive"),
          QStringLiteral("send-receive"), QStringLiteral("queue"), QStringLiteral("show"),
          QStringLiteral("compose")};
}

QString defaultStorePath() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
         QStringLiteral("/kvhost/kvhost.db");
}

QString parsePostgresUrl(const QString& text, host::HostOptions* out) {
  const QUrl url(text, QUrl::StrictMode);
  const QString database = url.path().mid(1);
  if (!url.isValid() ||
      (url.scheme() != QLatin1String("postgres") && url.scheme() != QLatin1String("postgresql")) ||
      url.host().isEmpty() || url.userName().isEmpty() || database.isEmpty() ||
      database.contains(u'/'))
    return QStringLiteral("数据库地址应写作 postgres://用户@主机:端口/数据库。");
  QString password = url.password();
  if (password.isEmpty()) password = qEnvironmentVariable("PGPASSWORD");
  const QString userId = out->userId;
  const QString operatorName = out->operatorName;
  *out =
      host::HostOptions::postgres(url.host(), url.port(5432), database, url.userName(), password);
  out->userId = userId;
  out->operatorName = operatorName;
  return {};
}

QString parseOptions(const QStringList& args, DemoOptions* out) {
  DemoOptions o;
  o.store = host::HostOptions::sqlite(defaultStorePath());
  o.store.userId = kUserId;
  o.store.operatorName = QStringLiteral("演示用户");
  const auto valueOf = [&args](qsizetype* i, QString* value) {
    if (*i + 1 >= args.size()) return false;
    *value = args.at(++*i);
    return true;
  };
  bool composing = false;
  for (qsizetype i = 0; i < args.size(); ++i) {
    const QString& arg = args.at(i);
    QString value;
    if (arg == QLatin1String("-h") || arg == QLatin1String("--help")) {
      o.help = true;
    } else if (arg == QLatin1String("--db")) {
      if (!valueOf(&i, &value) || value.isEmpty())
        return QStringLiteral("--db 需要一个文件或地址。");
      if (value.startsWith(QLatin1String("postgres"))) {
        const QString error = parsePostgresUrl(value, &o.store);
        if (!error.isEmpty()) return error;
      } else {
        o.store.engine = host::SqlEngine::Sqlite;
        o.store.sqlitePath = value;
      }
    } else if (arg == QLatin1String("--pop3-port") || arg == QLatin1String("--smtp-port")) {
      int* port = arg == QLatin1String("--pop3-port") ? &o.pop3Port : &o.smtpPort;
      if (!valueOf(&i, &value) || !readPort(value, port)) return portError(arg, value);
    } else if (arg == QLatin1String("--timeout")) {
      bool ok = false;
      if (valueOf(&i, &value)) o.timeoutSeconds = value.toInt(&ok);
      if (!ok || o.timeoutSeconds < 1) return QStringLiteral("--timeout 需要一个正的秒数。");
    } else if (arg == QLatin1String("--save-attachments")) {
      if (!valueOf(&i, &value) || value.isEmpty())
        return QStringLiteral("--save-attachments 需要一个文件夹。");
      o.saveAttachmentsDir = value;
    } else if (o.command == QLatin1String("show") && o.showId == 0 && !arg.startsWith(u'-')) {
      bool ok = false;
      o.showId = arg.toLong(&ok);
      if (!ok || o.showId < 1) return QStringLiteral("show 需要一个邮件ID，而不是“%1”。").arg(arg);
    } else if (arg == QLatin1String("--to") || arg == QLatin1String("--subject") ||
               arg == QLatin1String("--body-file") || arg == QLatin1String("--attach")) {
      if (!valueOf(&i, &value)) return QStringLiteral("%1 需要一个值。").arg(arg);
      if (arg == QLatin1String("--to")) o.compose.to = value;
      if (arg == QLatin1String("--subject")) o.compose.subject = value;
      if (arg == QLatin1String("--body-file")) o.compose.bodyFile = value;
      if (arg == QLatin1String("--attach")) o.compose.attachments << value;
      composing = true;
    } else if (arg == QLatin1String("--send")) {
      o.compose.send = true;
      composing = true;
    } else if (arg.startsWith(u'-')) {
      return QStringLiteral("未知的选项：%1").arg(arg);
    } else if (o.command.isEmpty() && scriptedCommands().contains(arg)) {
      o.command = arg;
    } else {
      return QStringLiteral("未知的命令：%1（可用：%2）")
          .arg(arg, scriptedCommands().join(QStringLiteral("、")));
    }
  }
  if (o.command == QLatin1String("show") && o.showId == 0)
    return QStringLiteral("show 需要一个邮件ID，例如：kvhost show 12");
  if (!o.saveAttachmentsDir.isEmpty() && o.command != QLatin1String("show"))
    return QStringLiteral("--save-attachments 只用于 show 命令。");
  if (composing && o.command != QLatin1String("compose"))
    return QStringLiteral("--to、--subject、--body-file、--attach 和 --send 只用于 compose 命令。");
  *out = o;
  return {};
}

QString usageText() {
  return QStringLiteral(
             "用法：kvhost [--db 文件|postgres://用户@主机:端口/数据库] [命令] [选项]\n"
             "\n"
             "不带命令时打开主窗口。命令（脚本运行，打印传输日志和结果，任务失败时退出码非 0）：\n"
             "  list           列出邮件\n"
             "  send           发送待发邮件\n"
             "  receive        接收邮件\n"
             "  send-receive   发送并接收\n"
             "  queue          放入一封演示邮件等待发送\n"
             "  show 邮件ID    在邮件查看窗口中打开一封邮件，打印它显示的内容\n"
             "  compose        在写邮件窗口中填好一封邮件，保存到待发队列（加 --send 则发送）\n"
             "\n"
             "选项：\n"
             "  --db 文件        SQLite 数据库文件（默认 %1）\n"
             "  --pop3-port N    把帐户的 POP3 端口改为 N（默认 110）\n"
             "  --smtp-port N    把帐户的 SMTP 端口改为 N\n"
             "  --timeout 秒     脚本运行的最长时间（默认 300）\n"
             "  --save-attachments 文件夹  show 时把每个附件另存到该文件夹\n"
             "  --to 地址        compose：收件人（多个用 ; 分隔）\n"
             "  --subject 主题   compose：主题\n"
             "  --body-file 文件 compose：正文（HTML 或纯文本文件）\n"
             "  --attach 文件    compose：附件，可重复\n"
             "  --send           compose：保存后立即发送\n"
             "  -h, --help       显示本说明\n")
      .arg(defaultStorePath());
}

}  // namespace kvmail::demo
