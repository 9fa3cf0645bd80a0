"""Reads one Internet message with Python's own email package and prints what a reader sees:
the subject, the body's text and each attachment's name, size and SHA-256, as JSON."""
import hashlib
import json
import sys
from email import policy
from email.parser import BytesParser
from html.parser import HTMLParser


class _Text(HTMLParser):
    def __init__(self):
        super().__init__()
        self.parts = []
        self._skip = 0

    def handle_starttag(self, tag, attrs):
        if tag in ("style", "script", "head"):
            self._skip += 1
        elif tag in ("br", "p", "div"):
            self.parts.append("\n")

    def handle_endtag(self, tag):
        if tag in ("style", "script", "head") and self._skip:
            self._skip -= 1

    def handle_data(self, data):
        if not self._skip:
            self.parts.append(data)


def main(path):
    with open(path, "rb") as f:
        msg = BytesParser(policy=policy.default).parse(f)
    body = msg.get_body(preferencelist=("html", "plain"))
    content = body.get_content() if body is not None else ""
    if body is not None and body.get_content_subtype() == "html":
        reader = _Text()
        reader.feed(content)
        content = "".join(reader.parts)
    attachments = []
    for part in msg.iter_attachments():
        data = part.get_payload(decode=True) or b""
        attachments.append({"name": part.get_filename(), "size": len(data),
                            "sha256": hashlib.sha256(data).hexdigest()})
    print(json.dumps({"subject": str(msg["subject"]), "text": content,
                      "charset": body.get_content_charset() if body is not None else None,
                      "attachments": attachments}, ensure_ascii=False))


if __name__ == "__main__":
    main(sys.argv[1])
