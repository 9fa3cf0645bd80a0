#!/usr/bin/python3
"""Reference POP3 client for benchmarks: a bare poplib loop, the floor our receive session is
measured against. Logs in, STAT, then for n in 1..count: UIDL n and RETR n, writing each mail to
<out>/<n>.eml. Prints the elapsed seconds (login to QUIT) on stdout.

    pop3_reference.py --port 11110 --user t05 --password kvpass --out /tmp/mails [--count N]
"""

import argparse
import os
import poplib
import time


def main():
    ap = argparse.ArgumentParser(description="bare poplib UIDL+RETR loop")
    ap.add_argument("--host", default="127.0.0.1")
    ap.add_argument("--port", type=int, default=110)
    ap.add_argument("--user", required=True)
    ap.add_argument("--password", required=True)
    ap.add_argument("--out", required=True, help="folder for the retrieved mails")
    ap.add_argument("--count", type=int, default=0, help="mails to fetch (default: all)")
    args = ap.parse_args()

    os.makedirs(args.out, exist_ok=True)
    poplib._MAXLINE = 1 << 20  # long lines must not abort the reference run
    start = time.perf_counter()
    pop = poplib.POP3(args.host, args.port, timeout=60)
    pop.user(args.user)
    pop.pass_(args.password)
    total, _size = pop.stat()
    count = min(args.count, total) if args.count > 0 else total
    for n in range(1, count + 1):
        pop.uidl(n)
        _resp, lines, _octets = pop.retr(n)
        with open(os.path.join(args.out, "%d.eml" % n), "wb") as f:
            f.write(b"\r\n".join(lines) + b"\r\n")
    pop.quit()
    print("%.6f" % (time.perf_counter() - start))


if __name__ == "__main__":
    main()
