#!/usr/bin/python3
"""Reference SMTP client for benchmarks: smtplib sends the given .eml files over ONE session, the
floor our sender is measured against. Prints the elapsed seconds (connect to QUIT) on stdout.

With --store, the mails are first put in an SQLite file (WAL, as the host keeps it; not timed),
and each is then read from it before it is sent and marked sent in its own transaction after: the
floor for a sender that sends the store's queue one mail at a time.

    smtp_reference.py --port 12525 --from a@x --to t05@kvmail.localhost [--user U --password P]
                      [--store DB] mail1.eml mail2.eml ...   (a folder stands for its *.eml files)
"""

import argparse
import glob
import os
import smtplib
import sqlite3
import time


def expand(paths):
    files = []
    for p in paths:
        files += sorted(glob.glob(os.path.join(p, "*.eml"))) if os.path.isdir(p) else [p]
    return files


def queue(path, mails):
    db = sqlite3.connect(path, isolation_level=None)
    db.execute("pragma journal_mode=wal")
    db.execute("pragma synchronous=normal")
    db.execute("create table mail(id integer primary key, sent integer, server text, body blob)")
    db.execute("begin")
    for n, data in enumerate(mails, 1):
        db.execute("insert into mail values(?,0,'',?)", (n, data))
    db.execute("commit")
    return db


def main():
    ap = argparse.ArgumentParser(description="smtplib sends .eml files over one session")
    ap.add_argument("--host", default="127.0.0.1")
    ap.add_argument("--port", type=int, default=25)
    ap.add_argument("--from", dest="sender", required=True)
    ap.add_argument("--to", required=True, help="recipients, separated by ';' or ','")
    ap.add_argument("--user")
    ap.add_argument("--password")
    ap.add_argument("--store", metavar="DB", help="queue the mails in this SQLite file first")
    ap.add_argument("files", nargs="+")
    args = ap.parse_args()

    recipients = [a.strip() for a in args.to.replace(",", ";").split(";") if a.strip()]
    mails = []
    for path in expand(args.files):
        with open(path, "rb") as f:
            mails.append(f.read())  # read before the clock starts: only the session is timed

    db = queue(args.store, mails) if args.store else None  # filled before the clock starts
    start = time.perf_counter()
    smtp = smtplib.SMTP(args.host, args.port, timeout=60)
    smtp.ehlo()
    if args.user:
        smtp.login(args.user, args.password or "")
    if db:
        for (key,) in db.execute("select id from mail where sent=0 order by id").fetchall():
            (data,) = db.execute("select body from mail where id=?", (key,)).fetchone()
            smtp.sendmail(args.sender, recipients, data)
            db.execute("update mail set sent=1, server=? where id=?", (args.host, key))
    else:
        for data in mails:
            smtp.sendmail(args.sender, recipients, data)
    smtp.quit()
    print("%.6f" % (time.perf_counter() - start))


if __name__ == "__main__":
    main()
