#!/usr/bin/python3
"""Drops realistic mails into a user's Maildir (new/) for benchmarks and the demo.

    seed.py <maildir of a user> <count> [--size bytes] [--gb2312]

Each mail has the usual headers, a text and an HTML part and, when --size asks for more than a body
holds, an attachment that makes up the rest. --gb2312 writes Chinese subjects, bodies and attachment
names in gb2312, as the mail this module receives in practice. Files belong to the Maildir's owner
so the POP3 server (which does not read mail as root) can serve and delete them.
"""

import argparse
import base64
import os
import random
import time
from email.utils import format_datetime
from datetime import datetime, timedelta, timezone

BODY_MAX = 24 * 1024  # larger mails carry the rest as an attachment, as real ones do

EN_WORDS = ("order invoice shipment quarterly report meeting schedule customer supplier "
            "payment contract delivery warehouse stock price review approval budget").split()
ZH_WORDS = ("订单 发票 发货 季度 报告 会议 安排 客户 供应商 付款 合同 交货 仓库 库存 价格 "
            "审核 批准 预算 财务 销售").split()
NAMES_EN = ["Alice Chen", "Bob Li", "Carol Wang", "David Zhang", "Eve Liu"]
NAMES_ZH = ["陈丽", "李明", "王芳", "张伟", "刘洋"]


def encoded_word(text, charset):
    if charset == "us-ascii":
        return text
    return "=?%s?B?%s?=" % (charset, base64.b64encode(text.encode(charset)).decode("ascii"))


def b64_lines(data):
    enc = base64.b64encode(data).decode("ascii")
    return "\r\n".join(enc[i:i + 76] for i in range(0, len(enc), 76))


def sentence(rng, words, n):
    joiner = "" if words is ZH_WORDS else " "
    return joiner.join(rng.choice(words) for _ in range(n))


def make_mail(index, size, chinese, rng):
    charset = "gb2312" if chinese else "us-ascii"
    words = ZH_WORDS if chinese else EN_WORDS
    names = NAMES_ZH if chinese else NAMES_EN
    sender = rng.choice(names)
    subject = "%s %s #%d" % (sentence(rng, words, 3), "通知" if chinese else "notice", index)
    date = datetime.now(timezone.utc) - timedelta(minutes=rng.randint(0, 60 * 24 * 30))
    boundary_mixed = "----=_kvseed_mixed_%08x" % rng.getrandbits(32)
    boundary_alt = "----=_kvseed_alt_%08x" % rng.getrandbits(32)

    # Text and HTML each take a share; base64 and tags make them about 2.8 times the text.
    body_budget = max(200, int(min(size, BODY_MAX) / 2.9))
    text = ""
    while len(text.encode(charset)) < body_budget:
        text += sentence(rng, words, 12) + ("。\r\n" if chinese else ".\r\n")
    html = "<html><body>%s</body></html>" % "".join(
        "<p>%s</p>" % line for line in text.split("\r\n") if line)

    head = [
        "Return-Path: <sender%d@example.com>" % index,
        "From: %s <sender%d@example.com>" % (encoded_word(sender, charset), index),
        "To: demo@kvmail.localhost",
        "Subject: %s" % encoded_word(subject, charset),
        "Date: %s" % format_datetime(date),
        "Message-ID: <%d.%08x@seed.kvmail.localhost>" % (index, rng.getrandbits(32)),
        "MIME-Version: 1.0",
        "X-Priority: %d" % rng.choice((1, 3, 3, 3, 5)),
        'Content-Type: multipart/mixed; boundary="%s"' % boundary_mixed,
    ]
    alt = [
        "--" + boundary_mixed,
        'Content-Type: multipart/alternative; boundary="%s"' % boundary_alt,
        "",
        "--" + boundary_alt,
        'Content-Type: text/plain; charset="%s"' % charset,
        "Content-Transfer-Encoding: base64",
        "",
        b64_lines(text.encode(charset)),
        "--" + boundary_alt,
        'Content-Type: text/html; charset="%s"' % charset,
        "Content-Transfer-Encoding: base64",
        "",
        b64_lines(html.encode(charset)),
        "--" + boundary_alt + "--",
        "",
    ]
    mail = "\r\n".join(head) + "\r\n\r\n" + "\r\n".join(alt)
    rest = size - len(mail)
    if rest > 1024:
        raw = rng.randbytes(rest * 3 // 4)
        name = "%s%d.dat" % ("附件" if chinese else "attachment", index)
        mail += "\r\n".join([
            "--" + boundary_mixed,
            'Content-Type: application/octet-stream; name="%s"' % encoded_word(name, charset),
            "Content-Transfer-Encoding: base64",
            'Content-Disposition: attachment; filename="%s"' % encoded_word(name, charset),
            "",
            b64_lines(raw),
            "",
        ])
    mail += "--" + boundary_mixed + "--\r\n"
    return mail.encode("ascii")


def main():
    ap = argparse.ArgumentParser(description="Drop realistic mails into a Maildir's new/.")
    ap.add_argument("maildir")
    ap.add_argument("count", type=int)
    ap.add_argument("--size", type=int, default=20000, help="approximate bytes per mail")
    ap.add_argument("--gb2312", action="store_true", help="Chinese mail in gb2312")
    args = ap.parse_args()

    for sub in ("new", "cur", "tmp"):
        os.makedirs(os.path.join(args.maildir, sub), exist_ok=True)
    st = os.stat(args.maildir)
    chown = os.geteuid() == 0
    rng = random.Random(args.count * 7919 + args.size)
    stamp = time.time_ns()
    for i in range(1, args.count + 1):
        data = make_mail(i, args.size, args.gb2312, rng)
        name = "%d.S%dQ%d.kvmail-seed,S=%d" % (stamp, os.getpid(), i, len(data))
        tmp = os.path.join(args.maildir, "tmp", name)
        with open(tmp, "wb") as f:
            f.write(data)
        os.chmod(tmp, 0o644)
        if chown:
            os.chown(tmp, st.st_uid, st.st_gid)
        os.rename(tmp, os.path.join(args.maildir, "new", name))
    print("seeded %d mails into %s" % (args.count, args.maildir))


if __name__ == "__main__":
    main()
