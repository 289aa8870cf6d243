"""The link pages in a browser: every page is reached, and nothing that a chat partner sent does harm."""

import http.server
import os
import re
import sys
import threading
from pathlib import Path
from urllib.parse import unquote, urlsplit

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.wait import WebDriverWait

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path += [os.path.join(SAMPLES, "make"), os.path.join(os.path.dirname(__file__), "../support")]
from browser import contrasts, open_browser, set_colors, set_size  # noqa: E402
from model import String  # noqa: E402
from styles import link  # noqa: E402
from transcript import Keyed, Speaker, Transcript  # noqa: E402

TEMPLATE = os.path.join(SAMPLES, "../resources/linktemplate.html")
SUPPORT = "Library/Prattlebug"

SPEAKERS = ("Ann Lee", "José", "李明", "Ã©", "a/b", "x&y", "50% off", "linktemplate", "Jose\u0301", "🎉", "")

# Where the contents list leads, as people see it: labels, counts, and the files behind the links.
CONTENTS = """
return [...document.querySelectorAll("#contents li")].map(item =>
    [item.querySelector("a").textContent, item.querySelector(".numb")?.textContent, item.querySelector("a").href]);
"""


class LinkPages(CompanionTest):
    def gallery(self, template=None, **links_by_speaker):
        """Archives a chat in which each speaker has sent these links, with the default template or with @p template."""
        chat = Transcript("Ann on 2006.ichat", "2006-03-10T20:00:00Z", Keyed(), "Jabber", [])
        for speaker, links in links_by_speaker.items():
            for target in links:
                chat.say(Speaker.of("Jabber", speaker), 60, link("look", String(target)))
        self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())
        self.template = template or Path(TEMPLATE).read_bytes()
        self.write(f"{SUPPORT}/linktemplate.html", self.template)
        self.run_companion("archive", self.path("Out"))

    def address(self, page):
        return Path(self.path(SUPPORT, page)).as_uri()

    def text(self, browser, selector):
        return browser.execute_script("return document.querySelector(arguments[0]).textContent", selector)

    def test_every_page_is_reached_from_every_page(self):
        sent = {name: [f"http://example.org/{number}" for number in range(count)]
                for count, name in enumerate(SPEAKERS, 1)}
        total = sum(map(len, sent.values()))
        self.gallery(**sent)
        browser = open_browser(self)
        browser.get(self.address("Links.html"))
        expected = [["All", f"({total})"]] + [[name, f"({len(links)})"] for name, links in sent.items()]
        for index, (label, count) in enumerate(expected):
            contents = browser.execute_script(CONTENTS)
            self.assertEqual([item[:2] for item in contents], expected)
            for _, _, target in contents:
                self.assertTrue(os.path.exists(unquote(urlsplit(target).path)), target)
            browser.find_elements("css selector", "#contents a")[index].click()
            self.assertEqual(browser.title, label if index else "Links")
            self.assertEqual(self.text(browser, "h1"), label if index else "Links")
            self.assertEqual(self.text(browser, "#contents .active [aria-current=page]"), label)
            self.assertEqual(len(browser.find_elements("css selector", ".links li")), int(count[1:-1]))
        self.assertEqual(browser.get_log("browser"), [])
        self.assertEqual(Path(self.path(SUPPORT, "linktemplate.html")).read_bytes(), self.template)

    def test_what_was_sent_cannot_run(self):
        """Each of these does what it is meant to in a page without the template's guards, and nothing in one with them."""
        visits = []

        class Remote(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                visits.append(self.path)
                self.send_error(404)

            def log_message(self, *arguments):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Remote)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        remote = f"http://127.0.0.1:{server.server_port}"

        harm = "return Boolean(window.harm)"
        sent = {
            "script": ('"><script>window.harm = 1</script>', harm),
            "handler": ('"><img src="nothing" onerror="window.harm = 1">', harm),
            "javascript": ('"></a><a id="trap" href="javascript:void(window.harm = 1)">x</a><a href="', harm),
            "frame": ('"><iframe srcdoc="<script>parent.harm = 1</script>"></iframe>', harm),
            "base": ('"><base href="file:///nowhere/">', "return document.baseURI !== location.href"),
            "style": ('"><b id="cover" style="position: fixed">x</b>',
                      "return getComputedStyle(document.getElementById('cover')).position === 'fixed'"),
            "refresh": ('"><meta http-equiv="refresh" content="0;url=base.html">',
                        "return location.href.endsWith('base.html')"),
            "picture": (f'"><img src="{remote}/picture">', None),
            "sheet": (f'"><link rel="stylesheet" href="{remote}/sheet">', None),
        }
        links = {name: [target] for name, (target, _) in sent.items()}
        browser = open_browser(self)

        def open_page(name):
            browser.get(self.address(f"{name}.html"))
            if name == "javascript":
                browser.find_element("id", "trap").click()

        def is_harmed(name):
            probe = sent[name][1]
            return browser.execute_script(probe) if probe else f"/{name}" in visits

        guards = re.compile(rb'<meta http-equiv="Content-Security-Policy".*>|^addEventListener\("load".*$', re.M)
        unguarded, removed = guards.subn(b"", Path(TEMPLATE).read_bytes())
        self.assertEqual(removed, 2)
        self.gallery(unguarded, **links)
        for name in sent:
            open_page(name)
            WebDriverWait(browser, 60).until(lambda _, name=name: is_harmed(name), f"{name} does no harm anyway")

        visits.clear()
        os.remove(self.path(SUPPORT, "gatheredURLs.plist"))
        self.gallery(**links)
        for name in sent:
            open_page(name)
            self.assertFalse(is_harmed(name), name)
            browser.execute_async_script("setTimeout(arguments[0], 200)")  # harm may take a moment
            self.assertFalse(is_harmed(name), name)
        self.assertEqual(visits, [])

    def test_an_unclosed_comment_hides_no_more_than_what_follows_it_in_its_list(self):
        self.gallery(Bob=["http://example.org/"], **{"<!-- José": ["http://example.org/", "<!--"], "José": ["http://example.org/"]})
        browser = open_browser(self)
        for page, links in (("Links.html", 3), ("Bob.html", 1), ("<!-- José.html", 1), ("José.html", 1)):
            browser.get(self.address(page))
            labels = [label.strip() for label, _, _ in browser.execute_script(CONTENTS)]
            self.assertEqual(labels, ["All", "Bob", ""], page)
            self.assertGreaterEqual(len(browser.find_elements("css selector", ".links li")), links - 1, page)
        browser.find_elements("css selector", "#contents a")[1].click()
        self.assertEqual(browser.title, "Bob")

    def test_can_be_read_in_light_and_dark_wide_and_narrow_and_without_a_mouse(self):
        self.gallery(**{"Ann Lee": ["http://example.org/" + "x" * 300, "http://example.org/"], "W" * 200: ["w" * 40]})
        browser = open_browser(self)
        backgrounds = set()
        for page in ("Links", "Ann Lee", "W" * 200):
            browser.get(self.address(f"{page}.html"))
            for scheme in ("light", "dark"):
                set_colors(browser, scheme)
                backgrounds.add(browser.execute_script("return getComputedStyle(document.body).backgroundColor"))
                for text, contrast in contrasts(browser):
                    self.assertGreaterEqual(contrast, 4.5, f"{scheme}: {text}")
                for width in (320, 1280):
                    set_size(browser, width, 900)
                    needed = browser.execute_script("return document.documentElement.scrollWidth")
                    self.assertLessEqual(needed, width, page)
                    if folder := os.environ.get("PRATTLEBUG_SCREENSHOTS"):
                        browser.save_screenshot(os.path.join(folder, f"links-{page[:8]}-{scheme}-{width}.png"))
        self.assertEqual(len(backgrounds), 2)

        browser.switch_to.active_element.send_keys(Keys.TAB)
        self.assertEqual(browser.switch_to.active_element.text, "Skip to the links")
        browser.switch_to.active_element.send_keys(Keys.ENTER)
        self.assertEqual(browser.switch_to.active_element.get_attribute("id"), "links")


main()
