#!/usr/bin/python3
"""Takes the pictures of the manual: the windows, and a page of each gallery, of the sample chats.

    scripts/screenshots.py BUILD    with the programs in that build folder; the pictures go into docs/
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest
import zlib
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
sys.path += [str(SOURCE / "tests/window"), str(SOURCE / "tests/support")]
from browser import open_browser, set_size  # noqa: E402
from desktop import Application, Desktop  # noqa: E402

PAGES = (("Links.html", "links.png", 900, 560), ("Images.html", "images.png", 900, 640), ("stats.html", "statistics.png", 900, 640))


def png(width, height, rows):
    def chunk(kind, data):
        return len(data).to_bytes(4, "big") + kind + data + zlib.crc32(kind + data).to_bytes(4, "big")
    header = width.to_bytes(4, "big") + height.to_bytes(4, "big") + bytes((8, 2, 0, 0, 0))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows), 9)) + chunk(b"IEND", b""))


def window_picture(desktop, place):
    x, y, width, height = place
    pixels = desktop.region(place)
    rows = (pixels[start:start + width * 4] for start in range(0, len(pixels), width * 4))
    return png(width, height, (bytes(value for at in range(0, len(row), 4) for value in (row[at + 2], row[at + 1], row[at]))
                               for row in rows))


class Pictures(unittest.TestCase):
    def test_all(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        home = os.path.join(folder.name, "home")
        os.environ["TZ"] = "America/Los_Angeles"
        subprocess.run([SOURCE / "scripts/sample-home.sh", home, BUILD / "companion/prattlebug"], check=True)
        subprocess.run([BUILD / "companion/prattlebug", "--home", home, "archive", "-q", home + "/Prattlebug Archive"], check=True,
                       env={**os.environ, "USER": "sam"})
        browser = open_browser(self)
        browser.execute_cdp_cmd("Emulation.setScrollbarsHidden", {"hidden": True})
        for page, picture, width, height in PAGES:
            set_size(browser, width, height)
            browser.get(Path(home, "Library/Prattlebug", page).as_uri())
            time.sleep(2)  # pictures come into view
            browser.save_screenshot(str(SOURCE / "docs" / picture))
        desktop = Desktop(size=(1280, 900))
        self.addCleanup(desktop.close)
        application = Application(desktop, BUILD / "archiver/window/prattlebug-archiver", home)
        self.addCleanup(application.close)
        desktop.xdotool("mousemove", "1000", "740")
        time.sleep(2)
        (SOURCE / "docs/window.png").write_bytes(window_picture(desktop, application.window.place))
        application.close()
        reader = Application(desktop, BUILD / "reader/prattlebug-reader", home, title="Prattlebug Reader")
        self.addCleanup(reader.close)
        desktop.press("ctrl+shift+f")
        desktop.type("with:kim you")
        time.sleep(2)
        desktop.press("Return", *["Down"] * 6)
        time.sleep(2)
        (SOURCE / "docs/reader.png").write_bytes(window_picture(desktop, next(iter(reader.windows().values())).place))


if __name__ == "__main__":
    BUILD = Path(sys.argv[1]).resolve()
    unittest.main(argv=sys.argv[:1])
