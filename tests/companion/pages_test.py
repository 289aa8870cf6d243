"""The pages in browsers: all that was sent is shown under its sender and found, and nothing in it does harm."""

import datetime
import itertools
import os
import plistlib
import random
import shutil
import sys
from pathlib import Path
from urllib.parse import unquote, urlsplit

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.wait import WebDriverWait

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path += [os.path.join(SAMPLES, "make"), os.path.join(os.path.dirname(__file__), "../support")]
import pictures  # noqa: E402
from browser import contrasts, messages, open_browser, set_colors, set_size  # noqa: E402
from model import String  # noqa: E402
from remote import Remote  # noqa: E402
from styles import file, link  # noqa: E402
from transcript import Keyed, Speaker, Transcript  # noqa: E402

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"

NAMES = ("Ann Lee", "José", "李明", "Ã©", "a/b", "x&y", "50% off &amp;", "linktemplate", "Jose\u0301", "🎉", "", "Lee", "Ann-Lee", "L" * 300,
         "____LINKS", "____IMAGES", "____CONTENTS")
# What ends or swallows the rest of an HTML page, takes a script's functions from it, or leads elsewhere.
MARKUP = ("<textarea>", "<style>", "<script>", "</script>", "</template>", "<!--<script>", "-->", "<!--", "<plaintext>", "</plaintext>",
          "<title>", "</title>", "<select>", "<iframe>", "<![CDATA[", "<form name=querySelector>", '<img name="querySelectorAll">',
          '<base href="file:///nowhere/">', '<meta http-equiv="refresh" content="0;url=Lee.html">')
# What the lists in the pages are taken apart by.
MARKS = ('<li><span><a href="', '" target="_blank">', "</a> -- ", ", Mon March 7, 03:03PM</span></li>", "</ul>\n",
         '\n<h3>May 1999</h3><ul class="links">\n', '<li><a href="Ann.html">', '</a><span class="numb">(1)</span></li>', "\n\n",
         '</a><span class="numb">(1)</span></li>\n\n',
         '<li class="active"><a href="%ff.html">', '</span></li>\n\n<h3>May 1999</h3>\n<table class="images"><td><a href="')

PEOPLE = """
return [...document.querySelectorAll("#contents li")].map(item =>
    [item.querySelector("a").textContent, item.querySelector(".numb").textContent, item.querySelector("a").href]);
"""
ENTRIES = """
return [...document.querySelectorAll("h3")].flatMap(month => [...month.nextElementSibling.children].map(item =>
    [month.textContent, item.querySelector("a")?.getAttribute("href"), item.querySelector("span bdi")?.textContent]));
"""
CARDS = """
return [...document.querySelectorAll(".images li > *")].map(card => [card.title, card.href ?? null, card.textContent]);
"""
SHOWN = "return [...document.querySelectorAll('.links li:not([hidden]) a')].map(link => link.title)"
LOADED = "return [...document.images].filter(image => image.complete && image.naturalWidth).length"
# Of each bar the share of its track that it takes.
BARS = """
return [...document.querySelectorAll("svg")].map(track =>
    track.querySelector("rect").getBoundingClientRect().width / track.getBoundingClientRect().width);
"""


class Pages:
    """Every test runs in every browser."""

    @classmethod
    def setUpClass(cls):
        cls.browser = open_browser(cls, cls.browser_name)

    def setUp(self):
        super().setUp()
        os.makedirs(self.path(SUPPORT, "Images"))
        for name in ("linktemplate.html", "imagetemplate.html", "statstemplate.html", "curses.plist", "netspeak.plist"):
            shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))
        shutil.copy(os.path.join(RESOURCES, "pdf.png"), self.path(SUPPORT, "Images"))
        set_size(self.browser, 1280, 900)
        set_colors(self.browser, "light")
        messages(self.browser)  # of an earlier test

    def archive(self, *said):
        """Archives a chat of these messages: who said them, and what."""
        chat = Transcript("Ann on 2006.ichat", "2006-03-10T20:00:00Z", Keyed(), "Jabber", [])
        for name, *pieces in said:
            chat.say(Speaker.of("Jabber", name), 60, *pieces)
        self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())
        self.run_companion("archive", self.path("Out"))

    def store(self, name, entries, *people):
        """Has each of these people the same entries in a store, and makes the pages of it."""
        self.write(f"{SUPPORT}/{name}", plistlib.dumps([{"speaker": person, **entries} for person in people]))
        self.run_companion("pages")

    def open(self, page):
        self.browser.get(Path(self.path(SUPPORT, page)).as_uri())

    def run_script(self, script):
        return self.browser.execute_script(script)

    def press(self, *keys):
        for key in keys:
            self.browser.switch_to.active_element.send_keys(key)
        return self.browser.switch_to.active_element

    def test_every_page_is_reached_from_every_page_and_shows_what_was_sent(self):
        sent = {name: [f"http://example.org/{number}/{markup}" for number, markup in enumerate(("", "x" * 40 + "🎉" * 20, *MARKUP))]
                for name in (*NAMES, *MARKUP)}
        self.archive(*((name, link("look", String(target)), file("photo.png", pictures.garden()), file("page.html", b"<p>"))
                       for name, targets in sent.items() for target in targets[:1 if name == "José" else None]))
        sent["José"] = sent["José"][:1]
        for gallery, of_each in (("Links", 1), ("Images", 2)):
            counts = {name: of_each * len(targets) for name, targets in sent.items()}
            expected = [["All", f"({sum(counts.values())})"],
                        *([name or "(no name)", f"({count})"] for name, count in counts.items())]
            self.open(f"{gallery}.html")
            people = self.run_script(PEOPLE)
            for name, (label, _, address) in zip([gallery, *sent], people, strict=True):
                self.assertTrue(os.path.exists(unquote(urlsplit(address).path)), address)
                self.browser.get(address)
                self.assertEqual([person[:2] for person in self.run_script(PEOPLE)], expected)
                self.assertEqual(self.browser.find_element("tag name", "h1").text, name if name != "" else "(no name)")
                self.assertEqual(self.run_script("return document.querySelector('#contents .active [aria-current=page]').textContent"), label)
                if gallery == "Links":
                    targets = [["March 2006", target, sender or "(no name)"] for sender in sent if name in ("Links", sender)
                               for target in sent[sender]]
                    self.assertCountEqual(self.run_script(ENTRIES), targets)
                else:
                    cards = self.run_script(CARDS)
                    self.assertEqual(len(cards), sum(counts.values()) if name == gallery else counts[name])
                    for title, address, _ in cards:
                        self.assertEqual(address is None, title.startswith("page"))  # which could run scripts
                        self.assertTrue(address is None or os.path.exists(unquote(urlsplit(address).path)), address)
        self.assertEqual(messages(self.browser), [])

    def test_what_one_has_sent_spoils_nothing_of_others(self):
        choose = random.Random(os.environ.get("PRATTLEBUG_SEED", 1))
        for _ in range(int(os.environ.get("PRATTLEBUG_ROUNDS", 3))):
            texts = ["".join(choose.choices((*MARKS, *MARKUP, *NAMES[:4]), k=choose.randint(1, 6))) for _ in range(60)]
            self.write(f"{SUPPORT}/gatheredURLs.plist", plistlib.dumps(
                [{"speaker": name, "urls": [{"date": datetime.datetime(2006, 3 - month, 10), "linkurl": target}
                                            for month, target in enumerate(targets)]}
                 for name, *targets in [("Ann", "http://a.org", "http://b.org"), *zip(texts[::3], texts[1::3], texts[2::3]),
                                        ("Bob", "http://c.org")]]))
            self.run_companion("pages")
            for page, senders in (("Links", ("Ann", "Bob")), ("Ann", ("Ann",)), ("Bob", ("Bob",))):
                self.open(f"{page}.html")
                people = [person[:2] for person in self.run_script(PEOPLE)]
                for person in (["All", "(43)"], ["Ann", "(2)"], ["Bob", "(1)"]):
                    self.assertIn(person, people, texts)
                entries = self.run_script(ENTRIES)
                for entry in (["March 2006", "http://a.org", "Ann"], ["February 2006", "http://b.org", "Ann"],
                              ["March 2006", "http://c.org", "Bob"]):
                    self.assertEqual(entry in entries, entry[2] in senders, texts)

    def test_what_was_sent_does_no_harm(self):
        """It does in a page without the template's guards, and not in one with them."""
        remote = Remote()
        self.addCleanup(remote.server_close)
        self.addCleanup(remote.shutdown)
        address = f"http://127.0.0.1:{remote.server_address[1]}"
        harms = ["<script>harm = 1</script>", '<img src="nothing" onerror="harm = 1">', '<iframe srcdoc="<script>parent.harm = 1</script>"></iframe>',
                 *(f'<link rel="{kind}" href="{address}/">' for kind in ("preconnect", "stylesheet", "prefetch")), f'<img src="{address}">']
        harm = "return Boolean(window.harm)"
        said = [*((f"{number}{text}", link("look", String(f'">{text}'))) for number, text in enumerate(harms)),
                ("script", link("look", String("javascript:void(window.harm = 1)")))]
        self.write(f"{SUPPORT}/linktemplate.html", b"____LINKS")
        self.archive(*said)
        self.open("Links.html")
        WebDriverWait(self.browser, 60).until(lambda _: self.run_script(harm) and remote.connections)

        shutil.copy(os.path.join(RESOURCES, "linktemplate.html"), self.path(SUPPORT))
        self.run_companion("pages")
        self.open("stats.html")  # so that all connections are closed
        remote.connections = 0
        self.open("Links.html")
        entries = self.browser.find_elements("css selector", ".links a")
        self.assertEqual(len(entries), len(said))
        entries[-1].click()
        self.browser.execute_async_script("setTimeout(arguments[0], 300)")  # harm may take a moment
        self.assertFalse(self.run_script(harm))
        self.assertEqual(remote.connections, 0)

    def test_something_is_found_in_a_large_page_without_a_mouse(self):
        months = [(year, month) for year in (2005, 2006, 2007) for month in range(1, 13)]
        self.store("gatheredURLs.plist", {"urls": [
            {"date": datetime.datetime(*month, 20), "linkurl": f"http://example.org/{'x' * 30}/{month}/{number}/Größe/{'y' * 30}"}
            for month in reversed(months) for number in range(30)]}, "Zoë", "Ann")
        self.open("Links.html")
        self.assertEqual(self.press(Keys.TAB).text, "Skip to the links")
        field = self.press(Keys.ENTER, Keys.TAB)
        self.assertEqual(field.get_property("id"), "filter")
        self.press(Keys.TAB, Keys.ENTER)
        while (month := self.press(Keys.TAB)).get_property("title") != "May 2006 (60)":
            pass
        month.send_keys(Keys.ENTER)
        self.assertIn("/(2006, 5)/0/", self.press(Keys.TAB).get_property("title"))
        for _ in range(40):  # backwards, below what stays at the top
            place = self.run_script("return document.activeElement.getBoundingClientRect().top - "
                                    "document.querySelector('.finding').getBoundingClientRect().bottom")
            self.assertGreater(place, 40)
            self.press(Keys.SHIFT + Keys.TAB)

        self.run_script("document.querySelector('#filter').focus()")
        for words, count in (("zoe", 1080), (" GROSSE 2006,", 720), ("/17/größe ann", 36), ("nowhere", 0)):
            self.press(Keys.ESCAPE, words)
            self.assertEqual(len(self.run_script(SHOWN)), count, words)
            self.assertEqual(self.browser.find_element("id", "found").text, f"{count} of 2160")
        self.press(Keys.ESCAPE, "(2006, 7)/3/ ann", Keys.ENTER)
        self.assertIn("(2006, 7)/3/", self.press().get_property("title"))

    def test_files_have_pictures_and_names_and_are_loaded_when_they_come_into_view(self):
        self.write(f"{SUPPORT}/Images/photo.jpg", pictures.garden())
        self.write(f"{SUPPORT}/Images/note-Ann-Lee-2006-03-10 12:00:00 -0800.txt", b"text")
        files = [*(f"Images/{name}-Ann-Lee-2006-03-10 12:00:00 -0800.{kind}" for name, kind in
                   (("note", "txt"), ("paper", "pdf"), ("bare", ""), ("drawing", "svg"), ("page", "HTML"), ("strange", "foo"))),
                 *(f"Images/photo%{number}.jpg" for number in range(500))]
        for name in files[6:]:
            os.link(self.path(SUPPORT, "Images/photo.jpg"), self.path(SUPPORT, name))
        entries = [{"date": datetime.datetime(2006, 3, 10), "filename": name, "width": 40, "height": 30} for name in files]
        self.write(f"{SUPPORT}/gatheredImages.plist", plistlib.dumps(
            [{"speaker": "Lee", "filenames": entries[-1:]}, {"speaker": "Ann-Lee", "filenames": entries[:-1]}]))
        self.run_companion("pages")
        self.open("Images.html")
        WebDriverWait(self.browser, 60).until(lambda _: self.run_script(LOADED) > 10)
        self.browser.execute_async_script("setTimeout(arguments[0], 500)")
        self.assertLess(self.run_script(LOADED), 300)
        captions = {text: bool(address) for _, address, text in self.run_script(CARDS) if text}
        self.assertEqual(captions, {"note.txt": True, "paper.pdf": True, "bare": False, "drawing.svg": False, "page.HTML": False,
                                    "strange.foo": False})
        size = self.run_script("const { width, height } = document.images[0].getBoundingClientRect(); return [width, height]")
        self.assertEqual(size, [90, 67.5])

    def test_statistics_show_the_totals_and_bars_to_a_scale_that_can_be_read(self):
        shutil.copytree(os.path.join(SAMPLES, "chats"), self.path(TRANSCRIPTS))
        for counts, scale in (({"usertextcount": 40_000, "othertextcount": 10_000, "cursecount": 90, "othercursecount": 90}, 0.01),
                              ({"usertextcount": 4000, "othertextcount": 1000, "cursecount": 2000}, 0.5)):
            self.write(f"{SUPPORT}/talkmeter.plist", plistlib.dumps({**counts, "startDate": datetime.datetime(2020, 1, 1)}))
            self.run_companion("archive", self.path("Out"))
            counts = plistlib.loads(Path(self.path(SUPPORT, "talkmeter.plist")).read_bytes())
            self.open("stats.html")
            text = self.browser.find_element("tag name", "body").text
            for key in ("usertextcount", "othertextcount", "cursecount", "othercursecount", "netspeakcount",
                        "othernetspeakcount", "imagecount", "linkcount"):
                self.assertRegex(text, rf"\b{counts[key]}\b", key)
            self.assertNotRegex(text, "____|nan|a day")  # the last chat is older than the count
            user, other = counts["usertextcount"], counts["othertextcount"]
            shares = [user / (user + other), counts["cursecount"] / user / scale, counts["othercursecount"] / other / scale]
            for bar, share in zip(self.run_script(BARS), shares):
                self.assertAlmostEqual(bar, share, delta=0.002)
        self.assertEqual(messages(self.browser), [])

    def test_statistics_draw_no_bar_for_a_share_of_nothing(self):
        chats = os.path.join(SAMPLES, "chats")
        os.makedirs(self.path(TRANSCRIPTS))
        shutil.copy(os.path.join(chats, "Gus on 2005-04-02 at 09.12.chat"), self.path(TRANSCRIPTS))  # nobody says a word
        self.run_companion("archive", self.path("Out"))
        self.open("stats.html")
        self.assertEqual(self.run_script(BARS), [0, 0, 0, 0, 0])
        self.assertNotIn("nan", self.browser.find_element("tag name", "body").text)

    def test_can_be_read_in_light_and_dark_wide_and_narrow(self):
        self.write(f"{SUPPORT}/talkmeter.plist", plistlib.dumps({"usertextcount": 2_000_000_000, "othertextcount": 2_000_000_000}))
        names = ("Ann Lee", "W" * 200)
        self.archive(*((name, link("look", String("http://example.org/" + "x" * 300)), file(f"{'w' * 40}.txt", b"text")) for name in names))
        for page in ("Links", "Images", "stats", *names):
            self.open(f"{page}.html")
            backgrounds = set()
            for scheme, width in itertools.product(("light", "dark"), (320, 1280)):
                set_colors(self.browser, scheme)
                set_size(self.browser, width, 900)
                backgrounds.add(self.run_script("return getComputedStyle(document.body).backgroundColor"))
                for text, contrast in contrasts(self.browser):
                    self.assertGreaterEqual(contrast, 4.5, f"{scheme}: {text}")
                self.assertLessEqual(self.run_script("return document.documentElement.scrollWidth"), width, page)
            self.assertEqual(len(backgrounds), 2)


class InChromium(Pages, CompanionTest):
    browser_name = "Chromium"


class InFirefox(Pages, CompanionTest):
    browser_name = "Firefox"


main()
