#!/usr/bin/env python3
"""Makes the web site from the build's script and the page's template.

The folder OUT gets index.html, invitro.<hash>.js, invitro.<hash>.wasm,
invitro.<hash>.wasm.js and preview.png, and nothing else of the build. The names carry
a hash of the script and the wasm together, so a browser's cached page only ever loads
the pair it was made with. A page opened as a file may not fetch its wasm: it loads the
wasm.js script instead, the same wasm in base64, which a web server never sends. The
page carries the festival's information lines and the scroller's text as text (for
screen readers, search engines and link previews), from the same source as the
program's.
"""
import argparse
import base64
import hashlib
import html
import os
import re
import shutil
import sys


def c_strings(source, name):
    """The decoded byte strings of the initialiser of `name` in a C++ source."""
    start = source.index(name)
    end = source.index(";", start)
    strings = []
    for line in source[start:end].split("\n"):
        line = re.sub(r"//.*$", "", line)
        pieces = re.findall(r'"((?:[^"\\]|\\.)*)"', line)
        if not pieces:
            continue
        strings.append(b"".join(unescape(p) for p in pieces))
    return strings


def unescape(literal):
    out = bytearray()
    i = 0
    while i < len(literal):
        c = literal[i]
        if c != "\\":
            out += c.encode("ascii")
            i += 1
            continue
        nxt = literal[i + 1]
        octal = re.match(r"[0-7]{1,3}", literal[i + 1:])
        if octal:
            out.append(int(octal.group(0), 8))
            i += 1 + len(octal.group(0))
        elif nxt == "x":
            digits = re.match(r"[0-9a-fA-F]+", literal[i + 2:]).group(0)
            out.append(int(digits, 16))
            i += 2 + len(digits)
        else:
            out += {"n": b"\n", "t": b"\t"}.get(nxt, nxt.encode("ascii"))
            i += 2
    return bytes(out)


def invitation(lines, scroller):
    """The information lines as headed lists and paragraphs, then the scroller."""
    groups, group = [], []
    for line in lines + [""]:
        if line.strip():
            group.append(line.strip())
        elif group:
            groups.append(group)
            group = []
    parts = []
    for g in groups:
        heading = g[0].endswith(":") or re.search(r"competitions$", g[0], re.I)
        if heading and len(g) > 1:
            items = "".join(f"<li>{html.escape(x)}</li>" for x in g[1:])
            parts.append(f"<h2>{html.escape(g[0].rstrip(':'))}</h2><ul>{items}</ul>")
        else:
            parts.append("<p>" + "<br>".join(html.escape(x) for x in g) + "</p>")
    # The scroller: English, then Russian after the first letter outside ASCII.
    split = next((i for i, ch in enumerate(scroller) if ord(ch) > 127), len(scroller))
    english, russian = scroller[:split].strip(), scroller[split:].strip()
    parts.append(f"<p>{html.escape(english)}</p>")
    if russian:
        parts.append(f'<p lang="ru">{html.escape(russian)}</p>')
    return "\n".join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--script", required=True)
    parser.add_argument("--page", required=True)
    parser.add_argument("--texts", required=True)
    parser.add_argument("--preview", required=True)
    parser.add_argument("--out", required=True)
    a = parser.parse_args()

    texts = open(a.texts, encoding="utf-8").read()
    lines = [s.decode("cp1251") for s in c_strings(texts, "kFestivalInfoLines[")]
    scroller = b"".join(c_strings(texts, "kScrollerText[")).decode("cp1251")
    if len(lines) < 2 or not scroller:
        sys.exit(f"make_site: no information lines or scroller text in {a.texts}")

    script = open(a.script, "rb").read()
    wasm = open(os.path.splitext(a.script)[0] + ".wasm", "rb").read()
    name = f"invitro.{hashlib.sha256(script + wasm).hexdigest()[:12]}"
    files = {
        name + ".js": script,
        name + ".wasm": wasm,
        name + ".wasm.js": b"Module.wasmBinary = (function (text) {\n"
        b"  var bytes = new Uint8Array(text.length);\n"
        b"  for (var i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);\n"
        b"  return bytes;\n"
        b'})(atob("' + base64.b64encode(wasm) + b'"));\n',
    }
    description = (f"The invitation intro of {lines[0].strip()}, {lines[1].strip()}: "
                   "real-time software 3D, the festival's news and a tracker tune, "
                   "in the browser.")
    page = open(a.page, encoding="utf-8").read()
    for key, value in (("@BUILD@", name),
                       ("@DESCRIPTION@", html.escape(description)),
                       ("@INVITATION@", invitation(lines, scroller))):
        if key not in page:
            sys.exit(f"make_site: {a.page} has no {key}")
        page = page.replace(key, value)

    os.makedirs(a.out, exist_ok=True)
    for old in os.listdir(a.out):
        if old not in files and re.fullmatch(r"invitro\.[0-9a-f]+\.(js|wasm|wasm\.js)", old):
            os.remove(os.path.join(a.out, old))
    for file, data in files.items():
        with open(os.path.join(a.out, file), "wb") as f:
            f.write(data)
    shutil.copyfile(a.preview, os.path.join(a.out, "preview.png"))
    with open(os.path.join(a.out, "index.html"), "w", encoding="utf-8") as f:
        f.write(page)


if __name__ == "__main__":
    main()
