"""Writes the page templates, the icon of PDF documents and the list of what was ever shipped: python3 resources/make [FOLDER]

They go into FOLDER (the folder above this one, when none is named), each a file that stands by itself. What they have in
common is written once, here: the head, with the policy that lets nothing run but the page's own script, the scripts, and
the styles.

shipped.sha256 tells a file that somebody has changed from an older version of ours: it has a line for every version of
every file that goes into the support folder. Lines are added here and never taken away.

A template's source may hold @HEAD@, which head.html takes the place of.
"""

import base64
import hashlib
import sys
from pathlib import Path

import pdficon

HERE = Path(__file__).resolve().parent

# Of each template the scripts, the styles, and what its policy allows beside them.
TEMPLATES = {
    "imagetemplate.html": (["gallery.js", "images.js"], ["page.css", "gallery.css", "images.css"], "; img-src 'self' file:"),
    "linktemplate.html": (["gallery.js", "links.js"], ["page.css", "gallery.css", "links.css"], ""),
    "statstemplate.html": (["statistics.js"], ["page.css", "statistics.css"], ""),
}

WORD_LISTS = ["curses.plist", "netspeak.plist"]


def part(name):
    return (HERE / name).read_text(encoding="utf-8")


def allowed(text):
    """What a policy says to allow the element around @p text."""
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode() + "'"


def template(name):
    scripts, styles, more = TEMPLATES[name]
    script = "".join(map(part, scripts))
    style = "".join(map(part, styles))
    # An element's text begins behind the tag: with the line feed there.
    policy = (f"default-src 'none'; script-src {allowed(chr(10) + script)}; style-src {allowed(chr(10) + style)}; "
              f"base-uri 'none'; form-action 'none'{more}")
    head = part("head.html")
    for token, value in (("@POLICY@", policy), ("@SCRIPT@", script), ("@STYLE@", style)):
        head = head.replace(token, value)
    return part(name).replace("@HEAD@", head)


def shipped(files):
    """The list of hashes with those of @p files, which are bytes by name."""
    lines = (HERE.parent / "shipped.sha256").read_text(encoding="utf-8").splitlines()
    for name, data in files.items():
        line = f"{hashlib.sha256(data).hexdigest()}  {name}"
        if line not in lines:
            lines.append(line)
    return "".join(line + "\n" for line in lines)


if __name__ == "__main__":
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else HERE.parent
    made = {name: template(name).encode() for name in TEMPLATES} | {"pdf.png": pdficon.png()}
    lists = {name: (HERE.parent / name).read_bytes() for name in WORD_LISTS}
    made["shipped.sha256"] = shipped(made | lists).encode()
    for name, data in made.items():
        (folder / name).write_bytes(data)
