"""Looks up every link and picture of our Markdown files, and whether what the package holds of them links to nothing
beyond it: links_test.py SOURCE"""

import re
import sys
from pathlib import Path


def anchors(text):
    """The headings as the anchors that Markdown's readers make of them."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in re.findall(r"(?m)^#+ (.*)$", text)}


def is_packaged(source, file):
    """Whether packaging.cmake installs it, at the same place."""
    parts = file.resolve().relative_to(source.resolve()).parts
    installed = re.search(r"install\(FILES (.*) DESTINATION \"\$\{CMAKE_INSTALL_DOCDIR\}\"\)",
                          (source / "packaging.cmake").read_text(encoding="utf-8")).group(1).split()
    return parts[0] == "docs" and file.suffix in (".md", ".png", ".svg") or "/".join(parts) in installed


def faults(source):
    for file in [*source.glob("*.md"), *source.glob("*/*.md")]:
        text = file.read_text(encoding="utf-8")
        for link in re.findall(r"\]\(([^)\s]+)\)", text):
            path, _, anchor = link.partition("#")
            target = file.parent / path if path else file
            if re.match(r"\w+:", link):
                continue
            if not target.exists():
                yield f"{file}: there is no {link}"
            elif is_packaged(source, file) and not is_packaged(source, target):
                yield f"{file}: the package does not hold {link}"
            elif anchor and anchor not in anchors(target.read_text(encoding="utf-8")):
                yield f"{file}: there is no heading {link}"


found = list(faults(Path(sys.argv[1])))
sys.exit("\n".join(found) if found else 0)
