#!/usr/bin/python3
"""Reference POP3 client for benchmarks: a bare poplib loop, the floor our receive session is
measured against. Logs in, STAT, then for n in 1..count: UIDL n and RETR n, writing each mail to
<out>/<n>.eml. Prints the elapsed seconds (login to QUIT) on stdout.

With --store it is the host peer: each mail is stored the way a short host program would, in the
order a receiver that must store before it asks for the next one keeps: look its UIDL up in an
SQLite file (WAL, as the host keeps it), RETR, parse its header (subject, sender, recipients,
date), write it to a temporary file, insert a row with the fields and the bytes in one
transaction, delete the temporary file; one command outstanding at a time.

    pop3_reference.py --port 11110 --user t05 --password kvpass --out /tmp/mails [--count N]
                      [--store]
"""

import argparse
import email.parser
import email.policy
import os
import poplib
import sqlite3
import time


def open_store(path):
    db = sqlite3.connect(path, isolation_level=None)
    db.execute("pragma journal_mode=wal")
    db.execute("pragma synchronous=normal")
    db.execute("create table if not exists mail(id integer primary key, uidl text, sender text,"
               " subject text, sent text, received text, size integer, body blob)")
    db.execute("create index if not exists mail_uidl on mail(uidl)")
    return db


HEADERS = email.parser.BytesHeaderParser(policy=email.policy.default)


def store(db, n, uidl, text):
    head = HEADERS.parsebytes(text)
    db.execute("begin immediate")
    db.execute("insert into mail values(?,?,?,?,?,?,?,?)",
               (n, uidl, str(head.get("From", "")), str(head.get("Subject", "")),
                str(head.get("Date", "")), time.ctime(), len(text), text))
    db.execute("commit")


def main():
    ap = argparse.ArgumentParser(description="bare poplib UIDL+RETR loop")
    ap.add_argument("--host", default="127.0.0.1")
    ap.add_argument("--port", type=int, default=110)
    ap.add_argument("--user", required=True)
    ap.add_argument("--password", required=True)
    ap.add_argument("--out", required=True, help="folder for the retrieved mails")
    ap.add_argument("--count", type=int, default=0, help="mails to fetch (default: all)")
    ap.add_argument("--store", action="store_true", help="store each mail in SQLite as well")
    args = ap.parse_args()

    os.makedirs(args.out, exist_ok=True)
    db = open_store(os.path.join(args.out, "store.db")) if args.store else None
    poplib._MAXLINE = 1 << 20  # long lines must not abort the reference run
    start = time.perf_counter()
    pop = poplib.POP3(args.host, args.port, timeout=60)
    pop.user(args.user)
    pop.pass_(args.password)
    total, _size = pop.stat()
    count = min(args.count, total) if args.count > 0 else total
    for n in range(1, count + 1):
        answer = pop.uidl(n)
        if db:
            uidl = answer.split()[-1].decode()
            if db.execute("select id from mail where uidl=?", (uidl,)).fetchall():
                continue
        _resp, lines, _octets = pop.retr(n)
        text = b"\r\n".join(lines) + b"\r\n"
        path = os.path.join(args.out, "temp.eml" if db else "%d.eml" % n)
        with open(path, "wb") as f:
            f.write(text)
        if db:
            store(db, n, uidl, text)
            os.unlink(path)
    pop.quit()
    print("%.6f" % (time.perf_counter() - start))


if __name__ == "__main__":
    main()
