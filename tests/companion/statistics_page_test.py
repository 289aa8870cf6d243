"""The statistics page in a browser: what is written in it, how long its bars are, and whether it can be read."""

import os
import plistlib
import re
import shutil
import sys
from pathlib import Path

sys.path.append(os.path.join(os.path.dirname(__file__), "../support"))
from browser import contrasts, open_browser, set_colors, set_size  # noqa: E402
from companion import SAMPLES, CompanionTest, main  # noqa: E402

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"

# The share of its track that each bar takes.
BARS = """
return [...document.querySelectorAll("svg")].map(track =>
    track.querySelector("rect").getBoundingClientRect().width / track.getBoundingClientRect().width);
"""


class StatisticsPage(CompanionTest):
    def setUp(self):
        super().setUp()
        self.add_samples()
        for name in ("statstemplate.html", "curses.plist", "netspeak.plist"):
            shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))

    def archive(self, **counts):
        """Archives the samples on top of these counts; @return the store."""
        if counts:
            self.write(f"{SUPPORT}/talkmeter.plist", plistlib.dumps(counts))
        self.run_companion("archive", self.path("Out"))
        with open(self.path(SUPPORT, "talkmeter.plist"), "rb") as store:
            return plistlib.load(store)

    def open_page(self):
        browser = open_browser(self)
        browser.get(Path(self.path(SUPPORT, "stats.html")).as_uri())
        return browser

    def test_shows_the_totals_and_bars_to_scale(self):
        counts = self.archive(usertextcount=4000, othertextcount=1000, cursecount=2000, othercursecount=90)
        browser = self.open_page()
        text = browser.find_element("tag name", "body").text
        self.assertNotIn("____", text)
        for key in ("usertextcount", "othertextcount", "cursecount", "othercursecount", "netspeakcount",
                    "othernetspeakcount", "imagecount", "linkcount"):
            self.assertRegex(text, rf"\b{counts[key]}\b", key)
        user, other = counts["usertextcount"], counts["othertextcount"]
        shares = [user / (user + other), counts["cursecount"] / user, counts["othercursecount"] / other,
                  counts["netspeakcount"] / user]
        for bar, share in zip(browser.execute_script(BARS), shares, strict=True):
            self.assertAlmostEqual(bar, round(300 * share) / 300, delta=0.002)
        targets = [link.get_dom_attribute("href") for link in browser.find_elements("css selector", "nav a")]
        self.assertEqual(targets, ["Links.html", "Images.html"])
        self.assertEqual(browser.get_log("browser"), [])

    def test_draws_no_bar_for_a_share_of_nothing(self):
        shutil.rmtree(self.path("Documents/iChats (Prattlebugged)"))
        chats = self.path("Documents/iChats (Prattlebugged)")
        os.mkdir(chats)
        shutil.copy(os.path.join(SAMPLES, "chats/Gus on 2005-04-02 at 09.12.chat"), chats)  # nobody says a word
        counts = self.archive()
        self.assertEqual((counts["usertextcount"], counts["othertextcount"], counts["chatcount"]), (0, 0, 1))
        with open(self.path(SUPPORT, "stats.html"), encoding="utf-8") as page:
            self.assertEqual(len(re.findall('"nan"', page.read())), 4)
        browser = self.open_page()
        self.assertEqual(browser.execute_script(BARS), [0, 0, 0, 0])
        self.assertNotIn("nan", browser.find_element("tag name", "body").text)

    def test_can_be_read_in_light_and_dark_wide_and_narrow(self):
        self.archive(usertextcount=2_000_000_000, othertextcount=2_000_000_000)
        browser = self.open_page()
        backgrounds = set()
        for scheme in ("light", "dark"):
            set_colors(browser, scheme)
            backgrounds.add(browser.execute_script("return getComputedStyle(document.body).backgroundColor"))
            for text, contrast in contrasts(browser):
                self.assertGreaterEqual(contrast, 4.5, f"{scheme}: {text}")
            for width in (320, 1280):
                set_size(browser, width, 900)
                needed = browser.execute_script("return document.documentElement.scrollWidth")
                self.assertLessEqual(needed, width, scheme)
                if folder := os.environ.get("PRATTLEBUG_SCREENSHOTS"):
                    browser.save_screenshot(os.path.join(folder, f"statistics-{scheme}-{width}.png"))
        self.assertEqual(len(backgrounds), 2)


main()
