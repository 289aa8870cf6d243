"""The image pages in a browser: every thumbnail is loaded, and every link leads to a file, whatever its name."""

import os
import shutil
import sys
from pathlib import Path
from urllib.parse import unquote, urlsplit

from selenium.webdriver.support.wait import WebDriverWait

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path += [os.path.join(SAMPLES, "make"), os.path.join(os.path.dirname(__file__), "../support")]
import pictures  # noqa: E402
from browser import contrasts, open_browser, set_colors, set_size  # noqa: E402
from styles import file  # noqa: E402
from transcript import Keyed, Speaker, Transcript  # noqa: E402

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"

NAMES = ("Über uns 50%.jpg", "a/b#c?d&e%2F.png", "%41 %E9 %e9.gif", "  .jpg", "李🎉.png", "x" * 300 + ".png", '"><b>.png', None)
TRACKER = '<img src="http://127.0.0.1:9/seen" onerror="window.harm = 1">'

LINKS = """return [...document.querySelectorAll("#contents a, .images a")].map(link => link.href)"""
LOADING = """return [...document.images].filter(image => !image.complete).length"""
# Of each thumbnail the name of its file, the picture's width, the longer side as shown, and its shape over the picture's.
THUMBNAILS = """
return [...document.querySelectorAll(".images img")].map(image => {
    const { width, height } = image.getBoundingClientRect();
    const stretch = (width / height) / (image.naturalWidth / image.naturalHeight);
    return [image.parentElement.title, image.naturalWidth, Math.round(Math.max(width, height)), stretch];
});
"""


class ImagePages(CompanionTest):
    def setUp(self):
        super().setUp()
        self.add_samples()
        chat = Transcript("José on 2010.ichat", "2010-03-10T20:00:00Z", Keyed(), "Jabber", [])
        for name in NAMES:
            chat.say(Speaker.of("Jabber", "José"), 60, "look ", file(name, pictures.garden()))
        chat.say(Speaker.of("Jabber", TRACKER), 60, file("last.png", pictures.cat()))
        self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())
        os.makedirs(self.path(SUPPORT, "Images"))
        shutil.copy(os.path.join(RESOURCES, "imagetemplate.html"), self.path(SUPPORT))
        shutil.copy(os.path.join(RESOURCES, "pdf.png"), self.path(SUPPORT, "Images"))
        self.run_companion("archive", self.path("Out"))
        self.browser = open_browser(self)

    def open(self, page):
        set_size(self.browser, 1280, 20_000)  # all of it in view, so that all of it is loaded
        self.browser.get(Path(self.path(SUPPORT, page)).as_uri())
        WebDriverWait(self.browser, 60).until(lambda _: self.browser.execute_script(
            "return document.readyState === 'complete' && document.querySelector('.images a[title]')"))
        WebDriverWait(self.browser, 60).until(lambda _: self.browser.execute_script(LOADING) == 0)

    def test_every_thumbnail_is_loaded_and_every_link_leads_to_a_file(self):
        shown = {}
        for page in sorted(Path(self.path(SUPPORT)).glob("*mages.html")):
            if page.name.startswith("<"):
                continue
            self.open(page.name)
            for link in self.browser.execute_script(LINKS):
                path = unquote(urlsplit(link).path)
                self.assertTrue(os.path.exists(path), path)
            thumbnails = self.browser.execute_script(THUMBNAILS)
            for name, width, size, stretch in thumbnails:
                self.assertGreater(width, 0, name)
                self.assertEqual(size, 90, name)
                self.assertAlmostEqual(stretch, 1, delta=0.01, msg=name)
            files = [element.text for element in self.browser.find_elements("css selector", ".images .file")]
            shown[page.name] = (len(thumbnails), files)
            self.assertFalse(self.browser.execute_script("return Boolean(window.harm)"))
        self.assertEqual(shown["José-images.html"], (len(NAMES), []))
        self.assertEqual(shown["Tomás Novák-images.html"], (2, ["old key.txt", "Boxes"]))
        self.assertEqual(shown["kim-images.html"], (0, ["minutes.txt"]))
        pictures_of_all, files_of_all = shown["Images.html"]
        self.assertEqual(sorted(files_of_all), ["Boxes", "Kittens", "minutes.txt", "old key.txt"])
        self.assertEqual(pictures_of_all + len(files_of_all), 20 + len(NAMES) + 1)
        self.assertIn("violates the following Content Security Policy",
                      "".join(entry["message"] for entry in self.browser.get_log("browser") if "127.0.0.1" in entry["message"]))

    def test_can_be_read_in_light_and_dark_wide_and_narrow(self):
        for page in ("Images.html", "José-images.html"):
            self.open(page)
            for scheme in ("light", "dark"):
                set_colors(self.browser, scheme)
                for text, contrast in contrasts(self.browser):
                    self.assertGreaterEqual(contrast, 4.5, f"{scheme}: {text}")
                for width in (320, 1280):
                    set_size(self.browser, width, 900)
                    needed = self.browser.execute_script("return document.documentElement.scrollWidth")
                    self.assertLessEqual(needed, width, page)
                    if folder := os.environ.get("PRATTLEBUG_SCREENSHOTS"):
                        self.browser.save_screenshot(os.path.join(folder, f"{page}-{scheme}-{width}.png"))


main()
