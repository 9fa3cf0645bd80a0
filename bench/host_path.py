#!/usr/bin/python3
"""The user's path, timed as whole processes: `kvhost receive` and `kvhost send` against two Python
peers each, on the same loopback servers in the same run, at two sizes so that growth shows.

  receive: N mails of about 20 KB in a Dovecot mailbox (kept there between rounds)
    kvhost  fresh demo store, `kvhost --db F receive`
    bare    pop3_reference.py: poplib UIDL+RETR writing files
    host    pop3_reference.py --store: per mail lookup, RETR, header parse, insert with the bytes,
            commit
  send: N queued mails of about 17 KB
    kvhost  a copy of a demo store holding N queued rows, `kvhost --db F send`
    bare    smtp_reference.py: smtplib over one session
    host    smtp_reference.py --store: per queued row read, send, mark, commit

Best of --rounds per figure; peak memory is the kvhost process's maximum resident size. Prints a
Markdown table (also written to --out) and the ratios the targets are stated in.

  host_path.py --kvhost build/host/demo/kvhost --servers build/servers/bench
               [--receive 1000,10000] [--send 500,1000,10000] [--rounds 3] [--out FILE]
"""

import argparse
import email.message
import email.policy
import os
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
RECEIVE_USER = "t37"


def read_env(folder):
    env = {}
    with open(os.path.join(folder, "env"), encoding="utf-8") as f:
        for line in f:
            line = line.strip().removeprefix("export ")
            if "=" in line:
                key, value = line.split("=", 1)
                env[key] = value.strip("'\"")
    return env


def timed(cmd, **kw):
    """Runs a process to its end; (wall seconds, peak resident KB, stdout)."""
    start = time.perf_counter()
    proc = subprocess.Popen(cmd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **kw)
    out = proc.stdout.read()
    _pid, status, usage = os.wait4(proc.pid, 0)
    seconds = time.perf_counter() - start
    proc.returncode = os.waitstatus_to_exitcode(status)
    if proc.returncode != 0:
        sys.stderr.write(out.decode(errors="replace")[-3000:])
        raise SystemExit("%s failed with %d" % (" ".join(cmd[:3]), proc.returncode))
    return seconds, usage.ru_maxrss, out


def clear_maildir(path):
    for sub in ("new", "cur", "tmp"):
        shutil.rmtree(os.path.join(path, sub), ignore_errors=True)
        os.makedirs(os.path.join(path, sub), exist_ok=True)
    for name in os.listdir(path):
        if name.startswith("dovecot"):
            target = os.path.join(path, name)
            shutil.rmtree(target) if os.path.isdir(target) else os.unlink(target)
    owner = os.stat(path)
    for sub in ("new", "cur", "tmp"):
        os.chown(os.path.join(path, sub), owner.st_uid, owner.st_gid)


def demo_store(kvhost, path, servers, extra=()):
    """A fresh demo store whose account points at the loopback servers."""
    for suffix in ("", "-wal", "-shm"):
        if os.path.exists(path + suffix):
            os.unlink(path + suffix)
    timed([kvhost, "--db", path, "--pop3-port", servers["KV_POP3_PORT"], "--smtp-port",
           servers["KV_SMTP_PORT"], *extra, "list"])
    db = sqlite3.connect(path)
    db.execute("update mailaccount set mausername=?, mapassword=?, maisnotdelete=1",
               (RECEIVE_USER, servers["KV_MAIL_PASSWORD"]))
    db.commit()
    return db


def stored_rows(path, where):
    db = sqlite3.connect(path)
    (count,) = db.execute("select count(*) from msgmail where " + where).fetchone()
    db.close()
    return count


def bench_receive(args, servers, n, work):
    maildir = os.path.join(servers["KV_MAILDIR_ROOT"], RECEIVE_USER)
    clear_maildir(maildir)
    subprocess.run([sys.executable, os.path.join(ROOT, "scripts/servers/seed.py"), maildir,
                    str(n), "--size", "20000", "--gb2312"], check=True, stdout=subprocess.DEVNULL)
    pop = [sys.executable, os.path.join(HERE, "reference/pop3_reference.py"), "--port",
           servers["KV_POP3_PORT"], "--user", RECEIVE_USER, "--password",
           servers["KV_MAIL_PASSWORD"], "--count", str(n)]
    store = os.path.join(work, "receive.db")
    best = {"kvhost": 1e9, "bare": 1e9, "host": 1e9}
    peak = 0
    timed(pop + ["--out", os.path.join(work, "warm")])  # Dovecot builds its index once
    for r in range(args.rounds):
        for kind, extra in (("bare", []), ("host", ["--store"])):
            out = os.path.join(work, "pop-%s" % kind)
            shutil.rmtree(out, ignore_errors=True)
            seconds, _, _ = timed(pop + ["--out", out] + extra)
            best[kind] = min(best[kind], seconds)
        demo_store(args.kvhost, store, servers).close()
        seconds, rss, _ = timed([args.kvhost, "--db", store, "--timeout", "3600", "receive"])
        got = stored_rows(store, "CshgnsID=1")
        if got != n:
            raise SystemExit("kvhost receive stored %d of %d mails" % (got, n))
        best["kvhost"] = min(best["kvhost"], seconds)
        peak = max(peak, rss)
        print("  receive %d round %d: kvhost %.2f s, bare %.2f s, host peer %.2f s" %
              (n, r + 1, seconds, best["bare"], best["host"]), flush=True)
    clear_maildir(maildir)
    return best, peak


def outgoing_mail():
    """About 17 KB of gb2312 HTML, the size of a typical business mail with no attachment."""
    msg = email.message.EmailMessage(policy=email.policy.SMTP)
    msg["From"] = "销售部 <sales@kvmail.test>"
    msg["To"] = "演示收件箱 <demo@kvmail.localhost>"
    msg["Subject"] = "十一月对账单"
    row = "<tr><td>产品 %d</td><td>数量 12</td><td>单价 35.50 元</td></tr>"
    html = "<html><body><p>您好：</p><table>%s</table></body></html>" % "".join(
        row % i for i in range(260))
    msg.set_content(html, subtype="html", charset="gb2312", cte="base64")
    return msg.as_bytes()


def queued_store(args, servers, n, work, mail):
    """A demo store holding n queued copies of one mail, made once per size and copied per run."""
    path = os.path.join(work, "send-%d.db" % n)
    db = demo_store(args.kvhost, path, servers)
    db.close()
    timed([args.kvhost, "--db", path, "queue"])
    db = sqlite3.connect(path)
    columns = [c[1] for c in db.execute("pragma table_info(msgmail)")]
    (first,) = db.execute("select max(邮件ID) from msgmail").fetchone()
    db.execute("update msgmail set 消息=?, 大小=? where 邮件ID=?", (mail, len(mail), first))
    copy = ",".join('"%s"' % c if c != "邮件ID" else "邮件ID+?" for c in columns)
    names = ",".join('"%s"' % c for c in columns)
    db.executemany("insert into msgmail(%s) select %s from msgmail where 邮件ID=?" % (names, copy),
                   ((k, first) for k in range(1, n)))
    db.commit()
    db.execute("pragma wal_checkpoint(truncate)")
    auth = db.execute("select masmtptype from mailaccount").fetchone()[0]
    db.close()
    return path, bool(auth)


def bench_send(args, servers, n, work):
    mail = outgoing_mail()
    template, auth = queued_store(args, servers, n, work, mail)
    folder = os.path.join(work, "send-eml")
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    for k in range(n):
        with open(os.path.join(folder, "%06d.eml" % k), "wb") as f:
            f.write(mail)
    smtp = [sys.executable, os.path.join(HERE, "reference/smtp_reference.py"), "--port",
            servers["KV_SMTP_PORT"], "--from", "sales@kvmail.test", "--to",
            "demo@kvmail.localhost"]
    if auth:
        smtp += ["--user", RECEIVE_USER, "--password", servers["KV_MAIL_PASSWORD"]]
    sinks = [os.path.join(servers["KV_MAILDIR_ROOT"], u) for u in ("demo", "catchall")]
    best = {"kvhost": 1e9, "bare": 1e9, "host": 1e9}
    peak = 0
    for r in range(args.rounds):
        for kind in ("bare", "host"):
            for box in sinks:
                if os.path.isdir(box):
                    clear_maildir(box)
            extra = ["--store", os.path.join(work, "smtp-peer.db")] if kind == "host" else []
            if extra and os.path.exists(extra[1]):
                os.unlink(extra[1])
            seconds, _, _ = timed(smtp + extra + [folder])
            best[kind] = min(best[kind], seconds)
        for box in sinks:
            if os.path.isdir(box):
                clear_maildir(box)
        store = os.path.join(work, "send.db")
        shutil.copyfile(template, store)
        seconds, rss, _ = timed([args.kvhost, "--db", store, "--timeout", "3600", "send"])
        left = stored_rows(store, "CshgnsID=2 and (messageID is null or messageID='')")
        if left:
            raise SystemExit("kvhost send left %d of %d mails queued" % (left, n))
        best["kvhost"] = min(best["kvhost"], seconds)
        peak = max(peak, rss)
        print("  send %d round %d: kvhost %.2f s, bare %.2f s, host peer %.2f s" %
              (n, r + 1, seconds, best["bare"], best["host"]), flush=True)
    for box in sinks:
        if os.path.isdir(box):
            clear_maildir(box)
    return best, peak


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--kvhost", required=True)
    ap.add_argument("--servers", required=True, help="state folder of mailservers.sh")
    ap.add_argument("--receive", default="1000,10000")
    ap.add_argument("--send", default="500,1000,10000")
    ap.add_argument("--rounds", type=int, default=3)
    ap.add_argument("--out")
    args = ap.parse_args()
    args.kvhost = os.path.abspath(args.kvhost)
    servers = read_env(args.servers)
    env_home = tempfile.mkdtemp(prefix="kvbench-home-")
    os.environ["HOME"] = env_home  # the demo's settings and temporary files stay out of the way
    os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
    rows = []
    with tempfile.TemporaryDirectory(prefix="kvbench-") as work:
        for what, sizes, run in (("receive", args.receive, bench_receive),
                                 ("send", args.send, bench_send)):
            for n in [int(s) for s in sizes.split(",") if s]:
                best, peak = run(args, servers, n, work)
                rows.append((what, n, best, peak))
    shutil.rmtree(env_home, ignore_errors=True)

    lines = ["| path | mails | kvhost s | ms/mail | bare loop s | host peer s | "
             "kvhost/host | kvhost/bare | peak MB |",
             "|---|---:|---:|---:|---:|---:|---:|---:|---:|"]
    for what, n, best, peak in rows:
        lines.append("| %s | %d | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.0f |" %
                     (what, n, best["kvhost"], best["kvhost"] * 1000 / n, best["bare"],
                      best["host"], best["kvhost"] / best["host"], best["kvhost"] / best["bare"],
                      peak / 1024))
    for what in ("receive", "send"):
        sized = sorted((n, best, peak) for w, n, best, peak in rows if w == what)
        base = next((r for r in sized if r[0] == 1000), sized[0] if sized else None)
        for n, best, peak in sized:
            if base and n > base[0]:
                growth = (best["kvhost"] / n) / (base[1]["kvhost"] / base[0])
                lines.append("")
                lines.append("%s: per-mail time at %d is %.2f x that at %d (target <= 1.2); "
                             "peak memory %.2f x (target <= 1.5)" %
                             (what, n, growth, base[0], peak / base[2]))
    text = "\n".join(lines)
    print(text)
    if args.out:
        with open(args.out, "w", encoding="utf-8") as f:
            f.write(text + "\n")


if __name__ == "__main__":
    main()
