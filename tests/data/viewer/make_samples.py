#!/usr/bin/env python3
"""Writes the messages the viewer tests and the viewer screenshot show: Chinese mail in the
charsets real clients send, and broken mail the viewer must survive.

Run from this folder: python3 make_samples.py. The .eml files are committed; this script only
documents how they were made and remakes them.
"""
import base64
import struct
import urllib.parse
import zlib


def b64(data: bytes, width: int = 76) -> bytes:
    s = base64.b64encode(data)
    return b"\n".join(s[i:i + width] for i in range(0, len(s), width))


def word(text: str, charset: str) -> bytes:
    data = text.encode("gb18030" if charset.lower() == "gb2312" else charset)
    return b"=?" + charset.encode() + b"?B?" + base64.b64encode(data) + b"?="


def save(name: str, lines) -> None:
    text = b"\n".join(lines).replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
    with open(name, "wb") as f:
        f.write(text)


def png(width: int, height: int, pixel) -> bytes:
    """A true-colour PNG drawn by pixel(x, y) -> (r, g, b)."""
    rows = b"".join(b"\x00" + b"".join(bytes(pixel(x, y)) for x in range(width))
                    for y in range(height))

    def chunk(kind: bytes, data: bytes) -> bytes:
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


def logo(x: int, y: int):
    # A blue banner with a lighter band and an orange square: easy to spot in a screenshot.
    if 12 <= x < 40 and 12 <= y < 40:
        return (240, 140, 30)
    if 18 <= y < 34:
        return (90, 140, 220)
    return (30, 80, 170)


LOGO = png(200, 52, logo)
XLS = "季度,金额\n一季度,1200\n二季度,1350\n".encode("gbk")
PDF = b"%PDF-1.4\n% fake contract\n" + bytes(range(256)) * 4 + b"\n%%EOF\n"

# 1. A Chinese HTML mail as office clients send it: gb2312 HTML in base64, an inline picture
#    in a related part, and two attachments, one named in RFC 2047 and one in RFC 2231.
html = ("<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312\">"
        "</head><body><p>王经理：</p><p>您好！附件是<b>第二季度报价单</b>和合同草案，请查收。</p>"
        "<p><img src=\"cid:logo@kvmail\" alt=\"公司标志\"></p>"
        "<p>此致<br>敬礼</p><p>销售部 陈丽</p></body></html>")
save("gb2312_html.eml", [
    b"From: " + word("陈丽", "gb2312") + b" <chenli@example.cn>",
    b"To: " + word("王经理", "gb2312") + b" <wang@kvmail.test>",
    b"Subject: " + word("第二季度报价单及合同", "gb2312"),
    b"Date: Tue, 2 Jul 2024 10:15:00 +0800",
    b"Message-ID: <q2-offer@example.cn>",
    b"X-Priority: 1",
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/mixed; boundary=\"mix\"",
    b"",
    b"--mix",
    b"Content-Type: multipart/related; type=\"text/html\"; boundary=\"rel\"",
    b"",
    b"--rel",
    b"Content-Type: text/html; charset=\"gb2312\"",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64(html.encode("gb2312")),
    b"--rel",
    b"Content-Type: image/png",
    b"Content-Transfer-Encoding: base64",
    b"Content-ID: <logo@kvmail>",
    b"Content-Disposition: inline; filename=\"logo.png\"",
    b"",
    b64(LOGO),
    b"--rel--",
    b"",
    b"--mix",
    b"Content-Type: text/csv; name=\"" + word("报价单.csv", "gb2312") + b"\"",
    b"Content-Transfer-Encoding: base64",
    b"Content-Disposition: attachment; filename=\"" + word("报价单.csv", "gb2312") + b"\"",
    b"",
    b64(XLS),
    b"--mix",
    b"Content-Type: application/pdf",
    b"Content-Transfer-Encoding: base64",
    b"Content-Disposition: attachment; filename*=utf-8''"
    + urllib.parse.quote("合同草案.pdf".encode("utf-8"), safe="").encode(),
    b"",
    b64(PDF),
    b"--mix--",
    b"",
])

# 2. Big5 from Taiwan: encoded-word sender and subject, 8-bit Big5 plain text.
save("big5_plain.eml", [
    b"From: " + word("陳大文", "big5") + b" <chen@example.tw>",
    b"To: sales@kvmail.test",
    b"Subject: " + word("報價單（繁體）", "big5"),
    b"Date: Wed, 3 Jul 2024 09:00:00 +0800",
    b"MIME-Version: 1.0",
    b"Content-Type: text/plain; charset=big5",
    b"Content-Transfer-Encoding: 8bit",
    b"",
    "陳先生您好：\n附上本季報價，請參閱 http://example.tw/price 。\n".encode("big5"),
])

# 3. A charset nobody knows: the text must still show, by the mail's usual charset.
save("unknown_charset.eml", [
    b"From: lisi@example.cn",
    b"To: a@example.cn",
    b"Subject: " + word("未知字符集", "gb2312"),
    b"MIME-Version: 1.0",
    b"Content-Type: text/html; charset=x-no-such-charset",
    b"Content-Transfer-Encoding: 8bit",
    b"",
    "<p>正文用未知字符集标注</p>".encode("gb2312"),
])

# 4. A multipart whose closing boundary never comes, with base64 cut in the middle of a line.
save("unclosed_boundary.eml", [
    b"From: " + word("赵六", "gb2312") + b" <zhao@example.cn>",
    b"To: a@example.cn",
    b"Subject: " + word("没有结尾的邮件", "gb2312"),
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/mixed; boundary=\"open\"",
    b"",
    b"--open",
    b"Content-Type: text/plain; charset=gb2312",
    b"",
    "正文还在".encode("gb2312"),
    b"--open",
    b"Content-Type: application/octet-stream; name=\"cut.bin\"",
    b"Content-Disposition: attachment; filename=\"cut.bin\"",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64(bytes(range(200)))[:150],
])

# 5. Attachment names that try to leave the folder they are saved in.
save("path_names.eml", [
    b"From: attacker@example.com",
    b"To: a@example.cn",
    b"Subject: names",
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/mixed; boundary=\"p\"",
    b"",
    b"--p",
    b"Content-Type: text/plain; charset=us-ascii",
    b"",
    b"see attachments",
    b"--p",
    b"Content-Type: text/plain; name=\"../../escape.txt\"",
    b"Content-Disposition: attachment; filename=\"../../escape.txt\"",
    b"",
    b"one",
    b"--p",
    b"Content-Type: text/plain",
    b"Content-Disposition: attachment; filename=\"/tmp/kvmail-absolute.txt\"",
    b"",
    b"two",
    b"--p",
    b"Content-Type: text/plain",
    b"Content-Disposition: attachment; filename=\"..\\\\..\\\\win.ini\"",
    b"",
    b"three",
    b"--p--",
    b"",
])
