"""Writes the page templates: python3 resources/make [FOLDER]

They go into FOLDER (the folder above this one, when none is named), each a file that stands by itself. What they have in
common is written once, here: the head, with the script that mends links and the policy that lets nothing else run, and
the styles.

A template's source may hold @HEAD@, which head.html takes the place of.
"""

import base64
import hashlib
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent

# Of each template the styles, and what its policy allows beside the script and the styles.
TEMPLATES = {
    "linktemplate.html": (["page.css", "gallery.css", "links.css"], ""),
    "statstemplate.html": (["page.css", "statistics.css"], ""),
}


def part(name):
    return (HERE / name).read_text(encoding="utf-8")


def allowed(text):
    """What a policy says to allow the element around @p text."""
    return "'sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode() + "'"


def template(name):
    styles, more = TEMPLATES[name]
    script = part("page.js")
    style = "".join(map(part, styles))
    # An element's text begins behind the tag: with the line feed there.
    policy = (f"default-src 'none'; script-src {allowed(chr(10) + script)}; style-src {allowed(chr(10) + style)}; "
              f"base-uri 'none'; form-action 'none'{more}")
    head = part("head.html")
    for token, value in (("@POLICY@", policy), ("@SCRIPT@", script), ("@STYLE@", style)):
        head = head.replace(token, value)
    return part(name).replace("@HEAD@", head)


if __name__ == "__main__":
    folder = Path(sys.argv[1]) if len(sys.argv) > 1 else HERE.parent
    for name in TEMPLATES:
        (folder / name).write_text(template(name), encoding="utf-8")
