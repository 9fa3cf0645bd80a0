#!/usr/bin/env python3
"""Fails when a file includes a header of a higher layer, when GMime or curl appear outside their
adapters, or when a host or the example reaches past the installed public headers.

The layers are drawn in docs/ARCHITECTURE.md; this table is that picture in code.
Usage: check_layers.py <source root>
"""
import pathlib
import re
import sys

# Which folders of src/ each folder may include from (its own included).
MAY_INCLUDE = {
    "model": [],
    "support": ["model"],
    "support/mime": ["model", "support"],
    "store": ["model", "support", "support/mime"],
    "addressbook": ["model", "support", "support/mime", "store"],
    "templates": ["model", "support", "support/mime", "store"],
    "transfer": ["model", "support", "support/mime", "store"],
    "viewer": ["model", "support", "support/mime", "store"],
    "composer": ["model", "support", "support/mime", "store", "addressbook", "templates"],
    "service": ["model", "support", "support/mime", "store", "addressbook", "templates",
                "transfer", "viewer", "composer"],
}

# What a host application sees: the headers the package installs.
PUBLIC = {"service/IMail.h", "service/clsMail.h", "service/IclsError.h", "service/clsError.h",
          "store/HostSystem.h", "support/Prompt.h"}

# The demo host seeds its store and queues a demo mail with the module's own store and writer.
DEMO_SEEDING = {"store/MailStore.h", "support/mime/MimeMail.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
ADAPTERS = [
    (re.compile(r"^(gmime|glib|gio|gobject)"), "GMime", lambda rel: rel.startswith("src/support/mime/")),
    (re.compile(r"^curl/"), "curl", lambda rel: re.match(r"src/transfer/Smtp\w*\.cpp$", rel)),
]
PRIVATE_MIME = {"support/mime/MimeGlib.h", "support/mime/MimeCharset.h"}


def folder_of(rel):
    parts = pathlib.PurePosixPath(rel).parts
    if parts[0] != "src" or len(parts) < 3:
        return None
    return "support/mime" if parts[1:3] == ("support", "mime") and len(parts) > 3 else parts[1]


def header_folder(header):
    if header.startswith("support/mime/"):
        return "support/mime"
    return header.split("/")[0] if "/" in header else None


def is_public(header):
    return header in PUBLIC or re.match(r"model/\w+\.h$", header) is not None


def check(root):
    faults = []
    for path in sorted(root.rglob("*")):
        if path.suffix not in (".h", ".cpp") or "build" in path.relative_to(root).parts[0]:
            continue
        rel = path.relative_to(root).as_posix()
        if not rel.startswith(("src/", "host/", "examples/", "tests/", "bench/")):
            continue
        for kind, header in INCLUDE.findall(path.read_text(encoding="utf-8", errors="replace")):
            for pattern, name, allowed in ADAPTERS:
                if kind == "<" and pattern.match(header) and not allowed(rel):
                    faults.append(f"{rel}: {name} outside its adapter: <{header}>")
            if kind != '"':
                continue
            if header in PRIVATE_MIME and not rel.startswith(("src/support/mime/", "tests/")):
                faults.append(f"{rel}: the MIME layer's private header {header}")
            target = header_folder(header)
            folder = folder_of(rel)
            if folder is not None:
                if target in MAY_INCLUDE and target != folder and target not in MAY_INCLUDE[folder]:
                    faults.append(f"{rel}: {folder} may not include {header} ({target} is above it)")
            elif rel.startswith("host/demo/"):
                seeding = header in DEMO_SEEDING and path.stem == "DemoStore"
                if target in MAY_INCLUDE and not (is_public(header) or seeding):
                    faults.append(f"{rel}: a host includes the module's private {header}")
            elif rel.startswith("host/"):
                if target in MAY_INCLUDE and not (header == "store/HostSystem.h"
                                                  or header.startswith("model/")):
                    faults.append(f"{rel}: the host system object includes {header}")
            elif rel.startswith("examples/"):
                if target in MAY_INCLUDE and not is_public(header):
                    faults.append(f"{rel}: the example includes the private {header}")
    return faults


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    faults = check(root)
    for fault in faults:
        print(fault)
    print(f"layers: {len(faults)} fault(s)")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
