"""Exports, as the programs see them that people read them with, and what becomes of them the second time.

The fault layer, the script's third argument, is preloaded into the companion for a disk that fills.
"""

import csv
import glob
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path
from urllib.parse import unquote, urlsplit

import jsonschema
from selenium.webdriver.support.wait import WebDriverWait

sys.path += [os.path.join(os.path.dirname(__file__), folder) for folder in ("../companion", "../support", "../../samples/make")]
import pictures  # noqa: E402
from browser import NAMES, contrasts, messages, open_browser, set_colors  # noqa: E402
from companion import PRATTLEBUG, SAMPLES, TRANSCRIPTS, CompanionTest, main  # noqa: E402
from model import CALIBRATED_RGB, Color, Font, String  # noqa: E402
from remote import Remote  # noqa: E402
from styles import colored, file, in_font, link  # noqa: E402
from transcript import Keyed, Speaker, Transcript  # noqa: E402

LAYER = sys.argv[3]
SCHEMA = os.path.join(SAMPLES, "../docs/export.schema.json")
HARM = ("<script>harm = 1</script>", '<img src="x" onerror="harm = 1">', '"><script>harm = 1</script>', "</title></style><script>harm = 1</script>",
        "<!--", "</div></main>", "<plaintext>", "&lt;b&gt;&amp;", "\x00\x1b]0;title\x07\u202eback\u2028line", "]]>", "=1+1", "**not bold** [a](b)",
        "# no heading\n- no list\n1. no list\n12:00  Sam: nor a message\n> no quote\n```\n~~~")
FILES = {  # name: the name it is written by, and whether it is shown as a picture
    "page.html": "page.html.txt", "drawing.SVG": "drawing.SVG.txt", "code.js": "code.js.txt", "none": "none.bin", "..": "_.bin",
    "../../up.txt": "_._.._up.txt", "CON.txt": "_CON.txt", "a\nb<c>.pdf": "a b_c_.pdf", "same.txt": "same.txt", "SAME.txt": "SAME (2).txt",
    "x" * 300 + ".zip": None,
}


FONT = Font(String('A";}</style><script>harm = 1</script>-Bold'), 30.0)
YELLOW = Color(CALIBRATED_RGB, (1.0, 1.0, 0.0, 1.0))

STYLES = """
return [...document.querySelectorAll("font")].map(font => {
    const { color, fontSize, fontWeight } = getComputedStyle(font);
    return [color, fontSize, fontWeight].join(" ");
});
"""
ROWS = "return [...document.querySelectorAll('section:not([hidden]) li:not([hidden]) a')].map(link => link.href)"


class Export(CompanionTest):
    def chat(self, name="Kim Lee", date="2005-03-01", *said):
        """Writes a chat of these messages, each a list of pieces, and returns its path in the transcript folder."""
        chat = Transcript(f"{name} on {date} at 21.07.ichat", f"{date}T20:00:00Z", Keyed(), "AIM", [Speaker.of("AIM", name)])
        for pieces in said or [["hello"]]:
            chat.say(Speaker.of("AIM", "kimlee"), 60, *pieces)
        self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())
        return chat.path

    def export(self, *options, code=0, folder="Out"):
        return self.run_companion("export", self.path(folder), *options, code=code)

    def files(self, folder="Out"):
        return sorted(os.path.relpath(path, self.path(folder)) for path in glob.glob(self.path(folder, "**/*"), recursive=True)
                      if os.path.isfile(path))


class Formats(Export):
    def shown(self):
        """The chats as another command tells them: by transcript, the texts of what people said."""
        chats = {}
        for path in glob.glob(self.path(TRANSCRIPTS, "**/* on *chat"), recursive=True):
            if not os.path.basename(path).startswith("Gus 2004"):
                chat = json.loads(self.run_companion("show", "--as", "json", path)[0])
                chats[os.path.relpath(path, self.path(TRANSCRIPTS))] = [
                    (message["speaker"], message["time"], message["text"]) for message in chat["messages"] if not message["status"]]
        return chats

    def test_every_message_is_in_every_format(self):
        self.add_samples()
        self.chat("Eve", "2006-01-01", *([text] for text in HARM))
        shown = self.shown()
        with open(SCHEMA, encoding="utf-8") as schema_file:
            schema = json.load(schema_file)
        for form in ("json", "jsonl"):
            self.export("--as", form, folder=form)
            documents = [json.loads(line) for name in self.files(form) if "files/" not in name
                         for line in Path(self.path(form, name)).read_text(encoding="utf-8").splitlines()]
            told = {}
            for document in documents:
                jsonschema.validate(document, schema)
                for chat in document["chats"]:
                    names = [speaker["displayName"] for speaker in chat["speakers"]]
                    told[chat["transcript"]] = [(names[message["speaker"]], message.get("time"), message["text"])
                                                for message in chat["messages"] if message["kind"] == "message"]
                    for entry in chat["files"]:
                        if "path" in entry:
                            self.assertEqual(len(glob.glob(glob.escape(self.path(form)) + "/**/" + glob.escape(entry["path"]), recursive=True)), 1)
            self.assertEqual(told, shown)

        self.export("--as", "csv", "--by", "year", folder="csv")
        rows = []
        for path in glob.glob(self.path("csv/*.csv")):
            with open(path, newline="", encoding="utf-8") as table:
                rows += [row for row in csv.DictReader(table) if row["kind"] == "message"]
        for transcript, said in shown.items():
            self.assertEqual([(row["name"], row["time"] or None, row["text"].removeprefix("'")) for row in rows if row["transcript"] == transcript],
                             [(name, time, text.removeprefix("'")) for name, time, text in said])
        self.assertFalse([row for row in rows if row["text"][:1] in "=+-@\t\r" and row["text"]])  # which spreadsheets would work out

        self.export("--as", "text", "--by", "person", folder="text")
        self.export("--as", "markdown", folder="markdown")
        texts = {form: "".join(Path(path).read_text(encoding="utf-8") for path in glob.glob(self.path(form, "**/*.*"), recursive=True)
                               if path.endswith((".txt", ".md")) and " files/" not in path) for form in ("text", "markdown")}
        for name, _, text in (message for said in shown.values() for message in said):
            words = re.split("[^\\w']+", text.replace("￼", " "))
            for form, written in texts.items():
                for word in words:
                    self.assertIn(word, written, form)
        lines = texts["text"].splitlines()
        self.assertFalse([line for line in lines if line.startswith("12:00  Sam:")], "a message looks like another one")
        self.assertFalse(re.search("[\x00-\x08\x0b-\x1f\x7f]", texts["text"] + texts["markdown"]))

    def test_what_is_wanted_is_exported(self):
        self.add_samples()
        self.chat("Eve", "2006-01-01", ["a word nobody else has: abracadabra"])
        eve = os.path.join(self.path(TRANSCRIPTS), "Eve on 2006-01-01 at 21.07.ichat")
        for options, count in ((["--as", "text", "--words", "ABRACADABRA"], 1), (["--as", "text", "--with", "kim", "--until", "2004"], 2),
                               (["--as", "text", "--has", "picture", eve], None), (["--as", "text", eve], 1),
                               (["--as", "text", "--words", "abra", eve, "Priya on 2005-03-27 at 10.05.chat"], 1)):
            shutil.rmtree(self.path("Out"), ignore_errors=True)
            self.export(*options, code=0 if count else 1)
            self.assertEqual(len([name for name in self.files() if name.endswith(".txt") and " files/" not in name]), count or 0, options)
        for options, reason in ((["--as", "csv", "--attachments", "inside"], "cannot hold files"), (["--as", "docx"], "--as")):
            self.assertIn(reason, self.export(*options, code=2)[1])
        self.assertIn("choose another one", self.export(code=2, folder=TRANSCRIPTS + "/Out")[1])

    def test_a_small_chat_cannot_become_a_large_export(self):
        chat = Transcript("Kim on 2005.ichat", "2005-03-01T20:00:00Z", Keyed(), "AIM", [])
        chat.say(Speaker.of("AIM", "kimlee"), 60, "x" * 100_000, file("large.pdf", bytes(1_000_000)))
        first = chat.messages[0]
        chat.messages += [first] * 3000
        self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())
        self.chat()
        for form in ("html", "text", "markdown", "json", "csv"):
            output, errors = self.export("--as", form, code=1, folder=form)
            self.assertEqual(output.splitlines()[0], "1 document written, 1 document could not be written.")
            self.assertIn("Kim on 2005.ichat: it would become too large\n", errors)
            self.assertLess(sum(os.path.getsize(self.path(form, name)) for name in self.files(form)), 100_000, form)


class Again(Export):
    def test_a_second_export_writes_what_has_changed(self):
        """Each row: what happens between two exports, the options, what the second one says, and its exit code."""
        out = self.path("Out")
        kim, zoe = (os.path.join(out, name, f"{name} on 2005-03-01 at 21.07.html") for name in ("Kim", "Zoe"))
        card = os.path.join(os.path.dirname(kim), "Kim on 2005-03-01 at 21.07 files/card.vcf")
        foreign = os.path.join(out, "Ann/Ann on 2005-03-01 at 21.07.html")

        def grow():
            self.chat("Kim", "2005-03-01", ["hello", file("other.vcf", b"card")], ["again"])

        def change_and_grow():
            Path(kim).write_text("mine", encoding="utf-8")
            grow()

        def come():
            self.chat("Ann")
            self.write(os.path.relpath(foreign, self.home), b"somebody's")

        def damage():
            self.write(f"{TRANSCRIPTS}/Kim on 2005-03-01 at 21.07.ichat", b"damaged")

        def forget():
            os.unlink(os.path.join(out, ".prattlebug-export.json"))

        gone = f"{TRANSCRIPTS}/Kim on 2005-03-01 at 21.07.ichat"
        all_three = {kim: True, card: True, zoe: True}
        for between, options, told, code, there in (
                (lambda: None, [], "0 documents written, 2 unchanged.", 0, all_three),
                (lambda: os.utime(self.path(gone)), [], "0 documents written, 2 unchanged.", 0, all_three),
                (grow, [], "1 document written, 1 unchanged.", 0, {kim: True, card: False, zoe: True}),
                (lambda: os.unlink(zoe), [], "1 document written, 1 unchanged.", 0, all_three),
                (lambda: os.unlink(card), [], "1 document written, 1 unchanged.", 0, all_three),
                (lambda: self.write("Library/Prattlebug/contacts.vcf", b"BEGIN:VCARD\nVERSION:3.0\nN:Lee;Kim\nX-AIM:kimlee\nEND:VCARD\n"), [],
                 "2 documents written.", 0, all_three),
                (change_and_grow, [], "0 documents written, 1 unchanged, 1 document could not be written.", 1, {kim: b"mine", zoe: True}),
                (come, [], "0 documents written, 2 unchanged, 1 document could not be written.", 1, {foreign: b"somebody's", kim: True}),
                (damage, [], "0 documents written, 1 unchanged, 1 chat could not be read.", 0, all_three),
                (damage, ["--mirror"], "0 documents written, 1 unchanged, 1 chat could not be read.", 0, all_three),
                (forget, [], "0 documents written, 2 unchanged.", 0, all_three),
                (lambda: os.unlink(self.path(gone)), [], "0 documents written, 1 unchanged.", 0, all_three),
                (lambda: os.unlink(self.path(gone)), ["--mirror"], "0 documents written, 1 unchanged, 1 removed.", 0,
                 {kim: False, card: False, zoe: True}),
                (lambda: None, ["--as", "text", "--mirror"], "2 documents written.", 0, all_three),
                (lambda: None, ["--attachments", "none"], "1 document written, 1 unchanged.", 0, {kim: True, card: False, zoe: True})):
            with self.subTest(told=told, options=options):
                shutil.rmtree(out, ignore_errors=True)
                shutil.rmtree(self.path(TRANSCRIPTS), ignore_errors=True)
                shutil.rmtree(self.path("Library"), ignore_errors=True)
                self.chat("Kim", "2005-03-01", ["hello", file("card.vcf", b"card")])
                self.chat("Zoe")
                self.assertEqual(self.export()[0].splitlines()[0], "2 documents written.")
                between()
                output, _ = self.export(*options, code=code)
                self.assertEqual(output.splitlines()[0], told)
                for path, is_there in there.items():
                    self.assertEqual(os.path.exists(path), bool(is_there), path)
                    if isinstance(is_there, bytes):
                        self.assertEqual(Path(path).read_bytes(), is_there)

    def test_an_interrupted_export_and_one_on_a_full_disk_leave_whole_files(self):
        for number in range(300):
            self.chat("Kim", f"{1900 + number // 12}-{number % 12 + 1:02}-01", *[[f"word {number} " * 50]] * 20)
        for number in (signal.SIGINT, signal.SIGTERM):
            with subprocess.Popen([PRATTLEBUG, "export", self.path("Out")], env=self.environment, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE) as run:
                while len(self.files()) < 20:
                    time.sleep(0.001)
                run.send_signal(number)
                errors = run.communicate(timeout=60)[1].decode()
            self.assertEqual(run.returncode, 128 + number, errors)
            self.assertIn("Interrupted", errors)
            self.assertTrue(15 < len(self.files()) < 300, len(self.files()))
            self.assert_whole()
            shutil.rmtree(self.path("Out"))
        for form in ("html", "jsonl"):
            environment = {**self.environment, "LD_PRELOAD": LAYER, "PRATTLEBUG_FAULT": "full:200000:28",
                           "ASAN_OPTIONS": "verify_asan_link_order=0"}
            run = subprocess.run([PRATTLEBUG, "export", "--as", form, self.path("Out")], env=environment, capture_output=True, check=False)
            self.assertEqual(run.returncode, 1)
            self.assertIn(b"No space left on device", run.stderr)
            self.assertFalse(self.path("Out/chats.jsonl") in self.files())
            self.assert_whole()
        self.export()
        self.assertEqual(len(self.files()), 301)

    def assert_whole(self):
        for name in self.files():
            self.assertTrue(Path(self.path("Out", name)).read_bytes().endswith(b"</html>\n"), name)
        self.assertEqual(glob.glob(self.path("Out/**/.prattlebug-*.tmp"), recursive=True), [])


class InBrowsers(Export):
    def test_a_hostile_chat_is_shown_and_does_no_harm(self):
        remote = Remote()
        self.addCleanup(remote.server_close)
        self.addCleanup(remote.shutdown)
        address = f"http://127.0.0.1:{remote.server_address[1]}"
        bad_links = ("javascript:harm = 1", "file:///etc/passwd", "data:text/html,<script>harm = 1</script>", 'x" onclick="harm = 1',
                     " javascript:harm = 1")
        good_links = (f"{address}/?a=1&b=<2>", "https://example.org/ü\"'", "mailto:kim@example.org", "ftp://example.org/x")
        path = self.chat(
            'Ev<i>l "&', "2005-03-01", *([text, colored(text, YELLOW), in_font(text, FONT)] for text in HARM),
            [link(target, String(target)) for target in (*bad_links, *good_links)],
            [f'<img src="{address}/"><link rel=stylesheet href="{address}/"><meta http-equiv=refresh content="0;url={address}/">'],
            [file(name, b"<script>harm = 1</script>") for name in FILES],
            [file("photo.html", pictures.garden()), file("photo.png", pictures.garden())])
        for number in range(3):
            self.chat("Zoë Müller", f"2006-0{number + 1}-01")
        said = [message["text"].replace("￼", "") for message in json.loads(self.run_companion("show", "--as", "json", path)[0])["messages"]]
        expected = [re.sub("[\x00-\x08\x0b-\x1f]", "\ufffd", text) for text in said]
        for browser_name in NAMES:
            browser = open_browser(self, browser_name)
            for place, shown in (("inside", 2), ("beside", 2), ("none", 0), (None, 2)):
                with self.subTest(browser=browser_name, place=place):
                    folder = f"Out {place}"
                    self.export(*(["--attachments", place] if place else []), folder=folder)
                    page = glob.glob(self.path(folder, "Ev*/*.html"))[0]
                    browser.get(Path(page).as_uri())
                    WebDriverWait(browser, 30).until(lambda _: browser.execute_script(
                        "return [...document.images].every(image => { image.loading = 'eager'; return image.complete })"))
                    self.assertEqual(browser.execute_script("return [...document.images].map(image => image.naturalWidth > 0)"), [True] * shown)
                    texts = browser.execute_script("""return [...document.querySelectorAll(".m .t")].map(text => {
                        const copy = text.cloneNode(true);
                        for (const file of copy.querySelectorAll(".f")) file.remove();
                        return copy.textContent;
                    })""")
                    self.assertEqual(texts, expected)
                    links = browser.execute_script("return [...document.links].map(link => [link.href, link.download])")
                    self.assertEqual([address for address, _ in links if address.startswith(("http", "mailto", "ftp"))],
                                     browser.execute_script("return arguments[0].map(address => new URL(address).href)", good_links))
                    beside = [unquote(urlsplit(target).path) for target, _ in links if target.startswith("file:")]
                    self.assertEqual([target for target in beside if not os.path.exists(target)], [])
                    self.assertEqual(len(beside), {"beside": len(FILES) + 2, None: len(FILES)}.get(place, 0))
                    for name, written in zip(FILES, (os.path.basename(target) for target in beside)):
                        self.assertEqual(written, FILES[name] or written)
                    self.assertEqual([name for name in self.files(folder) if name.endswith((".js", ".svg", ".html"))],
                                     [name for name in self.files(folder) if name.endswith(".html") and " files/" not in name])
                    self.assertFalse(browser.execute_script("return Boolean(window.harm)"))
                    for scheme in ("light", "dark"):
                        set_colors(browser, scheme)
                        poor = [(text, contrast) for text, contrast in contrasts(browser) if contrast < 4.5]
                        self.assertEqual(poor, [], scheme)
                    plain = browser.execute_script(STYLES)
                    browser.find_element("id", "styled").click()
                    self.assertNotEqual(browser.execute_script(STYLES), plain)
                    self.assertEqual(messages(browser), [])
            browser.get(Path(self.path("Out None/index.html")).as_uri())
            for words, count in (("zoe MULLER", 3), ("2006-02", 1), ("2006 ev", 0), ("", 4)):
                browser.execute_script("document.querySelector('#filter').value = ''")
                browser.find_element("id", "filter").send_keys(words or " ")
                WebDriverWait(browser, 30).until(lambda _: len(browser.execute_script(ROWS)) == count)
            for target in browser.execute_script(ROWS):
                self.assertTrue(os.path.exists(unquote(urlsplit(target).path)), target)
            self.assertEqual(messages(browser), [])
        self.assertEqual(remote.connections, 0)


main()
