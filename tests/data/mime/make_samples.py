#!/usr/bin/env python3
"""Writes the sample messages the MIME tests read, shaped like mail that Chinese clients send.

Run from this folder: python3 make_samples.py. The .eml files are committed; this script only
documents how they were made and remakes them.
"""
import base64
import quopri
import urllib.parse


def b64(data: bytes, width: int = 76) -> bytes:
    s = base64.b64encode(data)
    return b"\n".join(s[i:i + width] for i in range(0, len(s), width))


def word(text: str, charset: str, enc: str = "B") -> bytes:
    data = text.encode("gb18030" if charset.lower() in ("gb2312", "gb_2312-80") else charset)
    if enc == "B":
        return b"=?" + charset.encode() + b"?B?" + base64.b64encode(data) + b"?="
    q = quopri.encodestring(data, header=True).replace(b"=\n", b"")
    return b"=?" + charset.encode() + b"?Q?" + q + b"?="


def save(name: str, text: bytes, crlf: bool = True) -> None:
    if crlf:
        text = text.replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
    with open(name, "wb") as f:
        f.write(text)


PNG = bytes.fromhex("89504e470d0a1a0a0000000d4948445200000001000000010806000000"
                    "1f15c4890000000d49444154789c6360000000000200010d0a2db40000000049454e44ae426082")
BINARY = bytes(range(256)) * 3 + b"\r\n\n\r\x00\x1a"

# 1. gb2312 label holding GBK characters (镕, 喆), alternative text (QP) and HTML (base64).
html = "<html><body><p>朱镕基先生：</p><p>喆报价单见附件。</p></body></html>\n"
text = "朱镕基先生：\n喆报价单见附件。\n"
save("gb2312_alternative.eml", b"\n".join([
    b"Return-Path: <sales@example.cn>",
    b"From: " + word("销售部", "gb2312") + b" <sales@example.cn>",
    b"To: " + word("朱镕基", "gb2312") + b" <zhu@example.cn>, \"Li Si\" <lisi@example.cn>",
    b"Cc: wang@example.cn",
    b"Reply-To: " + word("回复", "GB2312") + b" <reply@example.cn>",
    b"Subject: " + word("报价单（朱镕基）", "GB2312"),
    b"Date: Tue, 5 Mar 2024 09:30:15 +0800",
    b"Message-ID: <20240305093015.1234@example.cn>",
    b"X-Priority: 3 (Normal)",
    b"X-Mailer: Foxmail 7.2",
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/alternative;",
    b"\tboundary=\"----=_NextPart_000_0001\"",
    b"",
    b"This is a multi-part message in MIME format.",
    b"",
    b"------=_NextPart_000_0001",
    b"Content-Type: text/plain; charset=\"gb2312\"",
    b"Content-Transfer-Encoding: quoted-printable",
    b"",
    quopri.encodestring(text.encode("gbk")),
    b"------=_NextPart_000_0001",
    b"Content-Type: text/html; charset=\"GB2312\"",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64(html.encode("gbk")),
    b"",
    b"------=_NextPart_000_0001--",
    b"",
]))

# 2. mixed > alternative, attachments named in RFC 2047, RFC 2231 and RFC 2231 continuations.
name2047 = "合同（草案）.doc"
name2231 = "报价单.xls"
name2231c = "很长的文件名_第二季度销售报表汇总.pdf"
cont = urllib.parse.quote(name2231c.encode("utf-8"), safe="")
save("mixed_attachments.eml", b"\n".join([
    b"From: \"Zhang San\" <zhangsan@example.cn>",
    b"To: " + word("王五", "utf-8") + b" <wangwu@example.com>",
    b"Subject: " + word("季度", "utf-8", "Q") + b" " + word("报表", "gb2312"),
    b"Date: Mon, 1 Apr 2024 18:05:00 -0500",
    b"Message-Id: <abc.def@mail.example.cn>",
    b"X-Priority: 1",
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/mixed; boundary=\"outer\"",
    b"",
    b"--outer",
    b"Content-Type: multipart/alternative; boundary=\"inner\"",
    b"",
    b"--inner",
    b"Content-Type: text/plain; charset=utf-8",
    b"Content-Transfer-Encoding: 8bit",
    b"",
    "请查收附件。".encode("utf-8"),
    b"--inner",
    b"Content-Type: text/html; charset=utf-8",
    b"Content-Transfer-Encoding: quoted-printable",
    b"",
    quopri.encodestring("<p>请查收<b>附件</b>。</p>".encode("utf-8")),
    b"--inner--",
    b"",
    b"--outer",
    b"Content-Type: application/msword;",
    b"\tname=\"" + word(name2047, "gb2312") + b"\"",
    b"Content-Transfer-Encoding: base64",
    b"Content-Disposition: attachment;",
    b"\tfilename=\"" + word(name2047, "gb2312") + b"\"",
    b"",
    b64(BINARY),
    b"--outer",
    b"Content-Type: application/vnd.ms-excel",
    b"Content-Transfer-Encoding: base64",
    b"Content-Disposition: attachment; filename*=gb2312''"
    + urllib.parse.quote(name2231.encode("gbk"), safe="").encode(),
    b"",
    b64(b"xls-bytes"),
    b"--outer",
    b"Content-Type: application/pdf",
    b"Content-Transfer-Encoding: base64",
    b"Content-Disposition: attachment;",
    b" filename*0*=utf-8''" + cont[:42].encode() + b";",  # splits a character's octets
    b" filename*1*=" + cont[42:].encode(),
    b"",
    b64(b"%PDF-1.4 fake"),
    b"--outer--",
    b"",
]))

# 3. multipart/related with inline cid images, UTF-8 HTML in quoted-printable.
related_html = ("<html><body><p>欢迎 € 𠀀</p><img src=\"cid:logo@kv\"><img src=\"cid:sign@kv\">"
                "</body></html>")
save("related_inline.eml", b"\n".join([
    b"From: news@example.com",
    b"To: a@example.com",
    b"Subject: =?UTF-8?B?" + base64.b64encode("新闻 €".encode()) + b"?=",
    b"Date: Wed, 10 Jan 2024 08:00:00 +0000",
    b"MIME-Version: 1.0",
    b"Content-Type: multipart/related; type=\"text/html\"; boundary=\"rel\"",
    b"",
    b"--rel",
    b"Content-Type: text/html; charset=UTF-8",
    b"Content-Transfer-Encoding: quoted-printable",
    b"",
    quopri.encodestring(related_html.encode("utf-8")),
    b"--rel",
    b"Content-Type: image/png; name=\"logo.png\"",
    b"Content-Transfer-Encoding: base64",
    b"Content-ID: <logo@kv>",
    b"Content-Disposition: inline; filename=\"logo.png\"",
    b"",
    b64(PNG),
    b"--rel",
    b"Content-Type: image/png",
    b"Content-Transfer-Encoding: base64",
    b"Content-ID: <sign@kv>",
    b"",
    b64(PNG),
    b"--rel--",
    b"",
]))

# 4. GB18030 plain text with a four-byte character and HTML specials: turned into HTML.
save("gb18030_plain.eml", b"\n".join([
    b"From: a@example.cn",
    b"To: b@example.cn",
    b"Subject: plain",
    b"Content-Type: text/plain; charset=GB18030",
    b"Content-Transfer-Encoding: 8bit",
    b"",
    "第一行 <b>&\n第二行 𠀀 €\n".encode("gb18030"),
]))

# 5. Raw GBK bytes in headers and attachment name; body labelled GB_2312-80.
save("raw_gbk.eml", b"\n".join([
    b"From: " + "张三".encode("gbk") + b" <zs@example.cn>",
    b"To: lisi@example.cn",
    b"Subject: " + "会议纪要（喆）".encode("gbk"),
    b"Content-Type: multipart/mixed; boundary=\"b1\"",
    b"",
    b"--b1",
    b"Content-Type: text/html; charset=GB_2312-80",
    b"Content-Transfer-Encoding: 8bit",
    b"",
    "<p>会议纪要 珺</p>".encode("gbk"),
    b"--b1",
    b"Content-Type: text/plain; name=\"" + "纪要.txt".encode("gbk") + b"\"",
    b"Content-Disposition: attachment; filename=\"" + "纪要.txt".encode("gbk") + b"\"",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64("纪要内容".encode("gbk")),
    b"--b1--",
    b"",
]))

# 6. Truncated in the middle of an attachment: what is there must still be read.
whole = b"\n".join([
    b"From: " + word("李四", "gb2312") + b" <lisi@example.cn>",
    b"To: a@example.cn",
    b"Subject: " + word("截断的邮件", "gb2312"),
    b"Content-Type: multipart/mixed; boundary=\"cut\"",
    b"",
    b"--cut",
    b"Content-Type: text/html; charset=gb2312",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64("<p>正文完整</p>".encode("gb2312")),
    b"--cut",
    b"Content-Type: application/octet-stream; name=\"data.bin\"",
    b"Content-Disposition: attachment; filename=\"data.bin\"",
    b"Content-Transfer-Encoding: base64",
    b"",
    b64(BINARY),
    b"--cut--",
    b"",
])
save("truncated.eml", whole[: whole.index(b"data.bin\"\nContent-Transfer") + 120])

# 7. No headers at all.
save("no_headers.eml", "这不是邮件头\n只是一些文字 <x>\n".encode("gbk"))

# 8. LF-only line ends, us-ascii label over 8-bit GBK text, forwarded message attached.
save("lf_only.eml", b"\n".join([
    b"From: Bob <bob@example.com>",
    b"To: alice@example.com",
    b"Subject: lf only",
    b"Date: Fri, 2 Feb 2024 10:00:00 +0100",
    b"Content-Type: multipart/mixed; boundary=\"lf\"",
    b"",
    b"--lf",
    b"Content-Type: text/plain; charset=us-ascii",
    b"",
    "line one\nline two 中文\n".encode("gbk"),
    b"--lf",
    b"Content-Type: message/rfc822",
    b"",
    b"From: carol@example.com",
    b"Subject: " + word("转发的邮件", "gb2312"),
    b"",
    b"inner body",
    b"--lf--",
    b"",
]), crlf=False)
