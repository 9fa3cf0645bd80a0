"""Reads the sender, recipients and subject of Internet messages with Python's own email package
(policy default), as an independent reader for the received-mail columns. Prints one JSON object
mapping each path to {"subject", "from", "to", "cc"}, each address as [name, address]; a header
Python refuses to read gives null.

Python leaves raw 8-bit header bytes undecoded (each byte becomes U+FFFD), so a header section
holding 8-bit bytes is first decoded the way mail readers do (UTF-8 when it is valid UTF-8,
otherwise the message's declared charset, gb2312 read as its superset GB18030, otherwise
GB18030) and the decoded text is parsed."""
import json
import re
import sys
from email import policy
from email.parser import BytesParser, Parser

SUPERSETS = {"gb2312": "gb18030", "gbk": "gb18030", "euc-kr": "cp949", "ks_c_5601-1987": "cp949"}


def header_section(raw):
    m = re.search(rb"\r?\n\r?\n", raw)
    return raw[:m.end()] if m else raw


def declared_charset(msg):
    for part in msg.walk():
        charset = part.get_content_charset()
        if charset and charset != "us-ascii":
            return SUPERSETS.get(charset.replace("_", "-") if charset.startswith("euc") else charset,
                                 charset)
    return None


def decoded_headers(raw, msg):
    head = header_section(raw)
    try:
        return head.decode("utf-8")
    except UnicodeDecodeError:
        pass
    for codec in (declared_charset(msg), "gb18030"):
        try:
            return head.decode(codec) if codec else None
        except (LookupError, UnicodeDecodeError):
            continue
    return head.decode("gb18030", errors="replace")


def addresses(msg, name):
    """Every address of every occurrence of the header (some senders repeat To or Cc)."""
    try:
        return [[a.display_name, a.addr_spec]
                for header in msg.get_all(name, []) for a in header.addresses]
    except Exception:  # a header the package refuses to read
        return None


def read(path):
    with open(path, "rb") as f:
        raw = f.read()
    msg = BytesParser(policy=policy.default).parsebytes(raw)
    if any(b >= 0x80 for b in header_section(raw)):
        text = decoded_headers(raw, msg)
        if text is not None:
            msg = Parser(policy=policy.default).parsestr(text, headersonly=True)
    subject = msg["subject"]
    return {"subject": str(subject) if subject is not None else "",
            "from": addresses(msg, "from"), "to": addresses(msg, "to"),
            "cc": addresses(msg, "cc")}


if __name__ == "__main__":
    print(json.dumps({p: read(p) for p in sys.argv[1:]}))  # ASCII whatever the locale
