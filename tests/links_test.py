"""Looks up every link and picture in the Markdown files of a folder: links_test.py FOLDER"""

import re
import sys
from pathlib import Path


def anchors(text):
    """The headings as the anchors that Markdown's readers make of them."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in re.findall(r"(?m)^#+ (.*)$", text)}


def faults(folder):
    files = [*folder.glob("*.md"), *folder.glob("*/*.md")]
    if not files:
        yield f"There is no Markdown file in {folder}"
    for file in files:
        text = file.read_text(encoding="utf-8")
        for link in re.findall(r"\]\(([^)\s]+)\)", text):
            path, _, anchor = link.partition("#")
            target = file.parent / path if path else file
            if re.match(r"\w+:", link):
                continue
            if not target.exists():
                yield f"{file}: there is no {link}"
            elif anchor and anchor not in anchors(target.read_text(encoding="utf-8")):
                yield f"{file}: there is no heading {link}"


found = list(faults(Path(sys.argv[1])))
sys.exit("\n".join(found) if found else 0)
