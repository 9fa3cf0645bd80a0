#!/usr/bin/env python3
"""Writes the corpus messages of our own (own/*.eml): header forms that real senders and servers
use and the public test messages lack. Raw 8-bit headers in GBK, UTF-8 and EUC-KR, labels as mail
programs spell them, a name before a bare address, a NUL byte in a header.

Run from this folder: python3 make_own.py. The .eml files are committed; this script only
documents how they were made and remakes them.
"""
import base64


def word(text: str, label: str, codec: str) -> bytes:
    return b"=?" + label.encode() + b"?B?" + base64.b64encode(text.encode(codec)) + b"?="


def save(name: str, headers: list, body: bytes = b"Hello.\n") -> None:
    text = b"\r\n".join(headers) + b"\r\n\r\n" + body.replace(b"\n", b"\r\n")
    with open("own/" + name, "wb") as f:
        f.write(text)


DATE = b"Date: Mon, 16 Nov 2026 09:30:00 +0800"

# A Chinese client that writes its headers raw in GBK and labels the body gb2312.
save("gbk-raw-headers.eml", [
    b"From: " + "张三".encode("gbk") + b" <zhang@example.cn>",
    b"To: " + "李四".encode("gbk") + b" <li@example.cn>, wang@example.cn",
    b"Subject: " + "关于下周会议的安排".encode("gbk"),
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=gb2312",
], "请准时参加。\n".encode("gbk"))

# Raw UTF-8 headers under a body labelled gb2312: the headers are not in the body's charset.
save("utf8-raw-headers.eml", [
    b"From: " + "赵六".encode() + b" <zhao@example.cn>",
    b"To: customs@example.cn",
    b"Cc: " + "报关部".encode() + b" <dept@example.cn>",
    b"Subject: " + "进出口报关".encode(),
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=gb2312",
], "见附件。\n".encode("gbk"))

# Raw EUC-KR headers, the charset declared only on the text part of a multipart mail.
save("euckr-raw-headers.eml", [
    b"From: " + "김철수".encode("euc-kr") + b" <kim@example.kr>",
    b"To: lee@example.kr",
    b"Subject: " + "회의 일정".encode("euc-kr"),
    DATE, b"MIME-Version: 1.0", b"Content-Type: multipart/mixed; boundary=\"b1\"",
], b"--b1\nContent-Type: text/plain; charset=euc-kr\n\n" + "안녕하세요\n".encode("euc-kr") +
   b"--b1--\n")

# Raw UTF-8 Cyrillic subject; the sender's name in a koi8_r word (underscore spelling).
save("cyrillic-koi8.eml", [
    b"From: " + word("Иван Петров", "koi8_r", "koi8_r") + b" <ivan@example.ru>",
    b"To: " + word("Ольга", "KOI8-R", "koi8_r") + b" <olga@example.ru>",
    b"Subject: " + "Привет из Москвы".encode(),
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=utf-8",
])

# A Korean webmail server: names in ks_c_5601-1987 words, each before a bare address.
save("ksc-name-bare-address.eml", [
    b"From: " + word("김철수", "ks_c_5601-1987", "cp949") + b" kim@example.kr",
    b"To: " + word("이영희", "ks_c_5601-1987", "cp949") + b" lee@example.kr",
    b"Subject: " + word("회의 일정", "ks_c_5601-1987", "cp949"),
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=ks_c_5601-1987",
])

# Labels of the gb2312 family as Chinese clients spell them.
save("gb-family-labels.eml", [
    b"From: " + word("报价单", "cp936", "gbk") + b" <quote@example.cn>",
    b"To: " + word("朱镕基", "x-gbk", "gbk") + b" <zhu@example.cn>",
    b"Subject: " + word("会议纪要", "gb_2312-80", "gbk") + b" " + word("镕", "GBK", "gbk"),
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=gb2312",
])

# A bounce whose sender has no address, and a NUL byte inside the subject.
save("nul-and-null-sender.eml", [
    b"From: MAILER DAEMON <>",
    b"To: " + "张三".encode() + b" <zhang@example.cn>",
    b"Cc: Nobody <>, copy@example.cn",
    b"Subject: Undelivered\x00 mail returned",
    DATE, b"MIME-Version: 1.0", b"Content-Type: text/plain; charset=utf-8",
])
