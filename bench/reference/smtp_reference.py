#!/usr/bin/python3
"""Reference SMTP client for benchmarks: smtplib sends the given .eml files over ONE session, the
floor our sender is measured against. Prints the elapsed seconds (connect to QUIT) on stdout.

    smtp_reference.py --port 12525 --from a@x --to t05@kvmail.localhost [--user U --password P]
                      mail1.eml mail2.eml ...   (a folder stands for its *.eml files, sorted)
"""

import argparse
import glob
import os
import smtplib
import time


def expand(paths):
    files = []
    for p in paths:
        files += sorted(glob.glob(os.path.join(p, "*.eml"))) if os.path.isdir(p) else [p]
    return files


def main():
    ap = argparse.ArgumentParser(description="smtplib sends .eml files over one session")
    ap.add_argument("--host", default="127.0.0.1")
    ap.add_argument("--port", type=int, default=25)
    ap.add_argument("--from", dest="sender", required=True)
    ap.add_argument("--to", required=True, help="recipients, separated by ';' or ','")
    ap.add_argument("--user")
    ap.add_argument("--password")
    ap.add_argument("files", nargs="+")
    args = ap.parse_args()

    recipients = [a.strip() for a in args.to.replace(",", ";").split(";") if a.strip()]
    mails = []
    for path in expand(args.files):
        with open(path, "rb") as f:
            mails.append(f.read())  # read before the clock starts: only the session is timed

    start = time.perf_counter()
    smtp = smtplib.SMTP(args.host, args.port, timeout=60)
    smtp.ehlo()
    if args.user:
        smtp.login(args.user, args.password or "")
    for data in mails:
        smtp.sendmail(args.sender, recipients, data)
    smtp.quit()
    print("%.6f" % (time.perf_counter() - start))


if __name__ == "__main__":
    main()
