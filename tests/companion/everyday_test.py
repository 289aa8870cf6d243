"""The commands beside archiving: search, stats, pages, the two logs, status; and the help of every command."""

import json
import os
import plistlib
import shutil
import subprocess
from pathlib import Path

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

SUPPORT = "Library/Prattlebug"
PREFERENCES = "Library/Preferences/com.velmoria.prattlebug.plist"
KIM_2005 = os.path.join(SAMPLES, "chats", "Kim Lee on 2005-08-20 at 21.07.ichat")
COMMANDS = (
    "archive", "check", "image-log", "index", "inspect", "link-log", "list", "pages", "people", "prefs",
    "search", "setup", "show", "stats", "status")


class Everyday(CompanionTest):
    def preferences(self, **values):
        self.write(PREFERENCES, plistlib.dumps(values))

    def test_help_has_an_example_that_names_the_command(self):
        for command in COMMANDS:
            output, _ = self.run_companion(command, "--help")
            self.assertIn(f"Example: prattlebug {command}", output)
            self.assertIn("Exit code: ", output)

    def test_search_finds_what_the_chats_hold(self):
        self.add_samples()
        spoken = []  # path, message
        for expected in Path(self.path(TRANSCRIPTS)).rglob("* on *chat"):
            if " on " in expected.name:
                chat = json.loads(self.run_companion("show", "--as", "json", expected)[0])
                spoken += [(str(expected.relative_to(self.path(TRANSCRIPTS))), message)
                           for message in chat["messages"] if not message["status"]]

        def found(*arguments):
            return [json.loads(line) for line in self.run_companion("search", "--json", *arguments)[0].splitlines()]

        every = found("")
        self.assertCountEqual([(match["path"], match["text"]) for match in every],
                              [(path, message["text"]) for path, message in spoken])
        for arguments, matching in (
                (["PHOTO"], lambda m: "photo" in m["text"].lower()),
                (["the", "piano"], lambda m: "the" in m["text"].lower() and "piano" in m["text"].lower()),
                (["the", "--from", "kim"], lambda m: "the" in m["text"].lower() and "kim" in m["speaker"].lower()),
                (["a", "--from", "KIMLEE77"], lambda m: "a" in m["text"].lower() and m["rawSpeaker"] == "kimlee77"),
                (["--since", "2006", "--until", "2007"], lambda m: "2006-01-01T08" <= (m["time"] or "") < "2008-01-01T08"),
                (["e", "--until", "2003-07-12"], lambda m: "e" in m["text"].lower() and (m["time"] or "9") < "2003-07-13T07"),
                (["--has", "picture"], lambda m: any((file["name"] or "").endswith((".jpg", ".png", ".gif", ".tiff")) for file in m["files"])),
        ):
            expected = [message["text"] for _, message in spoken if matching(message)]
            self.assertTrue(expected, arguments)
            self.assertCountEqual([match["text"] for match in found(*arguments)], expected, arguments)
            self.assertCountEqual([match["text"] for match in found("--no-index", *arguments)], expected, arguments)
            self.assertEqual(self.run_companion("search", "--count", *arguments)[0], f"{len(expected)}\n")
        self.assertEqual(found("the", "--newest", "--limit", "3"), found("the")[:-4:-1])
        self.assertEqual(found("--newest", "--limit", "3"), every[:-4:-1])
        # 02:12 UTC on the 21st; a message before it and one after.
        output = self.run_companion("search", "300", "photos", "--context", "1")[0].splitlines()
        self.assertRegex(output[0], r"^Kim Lee  Sat 2005-08-20  Kim Lee on 2005-08-20 at 21\.07.*chat$")
        self.assertRegex(output[2], "^  19:12 > Kim Lee: good. dinner")
        self.assertEqual(len(output), 4)

    def test_lists_and_people_come_from_the_index(self):
        self.add_samples()
        chats = [json.loads(line) for line in self.run_companion("list", "--json")[0].splitlines()]
        times = [chat["first"] for chat in chats if chat["first"]]
        self.assertEqual(times, sorted(times))
        with_zoe = self.run_companion("list", "--with", "zoe muller", "--json")[0].splitlines()
        self.assertTrue(0 < len(with_zoe) < len(chats))
        people = {person["name"]: person for person in map(json.loads, self.run_companion("people", "--json")[0].splitlines())}
        self.assertGreaterEqual(people["Kim Lee"]["chats"], 5)
        self.assertIn("Kim Lee", self.run_companion("people")[0])
        self.assertIn(f"{len(chats)} chats with ", self.run_companion("index", "--rebuild")[0])
        # Where the index cannot be kept, the answer is the same.
        shutil.rmtree(self.path("Library/Caches"))
        self.write("Library/Caches", b"")
        output, errors = self.run_companion("list", "--json")
        self.assertEqual([json.loads(line) for line in output.splitlines()], chats)
        self.assertIn("cannot be used", errors)

    def test_search_is_safe_to_look_at_and_says_when_there_is_nothing(self):
        self.assertIn("prattlebug setup", self.run_companion("search", "x", code=1)[1])
        self.write(f"{TRANSCRIPTS}/Kim on 2003.chat", b"damaged")
        self.assertIn("Kim on 2003.chat: ", self.run_companion("search", "x", code=1)[1])
        self.assertEqual(self.run_companion("search", "x", code=1), ("", ""))  # it was told
        self.assertRegex(self.run_companion("search", "x", "-v", code=1)[1], r"0 found in 0 chats in \d")
        self.run_companion("search", code=2)
        for date in ("05", "2005-13", "2005-3", "2005-03-01T10:00", "2005-03-01 24", "2005-", "today", "2005-03-01 10:00:00", "٢٠٠٥"):
            self.assertIn("is not a date", self.run_companion("search", "x", "--since", date, code=2)[1], date)

    def test_stats_shows_the_store(self):
        self.assertIn("no statistics yet", self.run_companion("stats", code=1)[1])
        self.write(f"{SUPPORT}/talkmeter.plist", b"no list")
        self.run_companion("stats", code=1)
        self.add_samples_beside()
        self.run_companion("archive", self.path("Out"), "--quiet")
        with open(self.path(SUPPORT, "talkmeter.plist"), "rb") as file:
            store = plistlib.load(file)
        shown = json.loads(self.run_companion("stats", "--json")[0])
        self.assertEqual(shown, {key: value.strftime("%Y-%m-%dT%H:%M:%SZ") if key.endswith("Date") else value
                                 for key, value in store.items()})
        table = {line.split("  ")[0]: line.split()[-3:] for line in self.run_companion("stats")[0].splitlines()}
        self.assertEqual(table["Words"], [str(number) for number in (
            store["usertextcount"], store["othertextcount"], store["usertextcount"] + store["othertextcount"])])
        self.assertEqual(table["Chats"][-1], "18")

    def add_samples_beside(self):
        shutil.rmtree(self.path(SUPPORT))
        self.add_samples()

    def test_pages_come_from_the_stores(self):
        self.assertEqual(self.run_companion("pages", code=1)[1].count("prattlebug setup"), 3)
        self.run_companion("setup", os.path.join(SAMPLES, "chats"), "--quiet")
        self.run_companion("archive", self.path("Out"), "--quiet")
        pages = [self.path(SUPPORT, name) for name in ("Links.html", "Images.html", "stats.html")]
        stores = [Path(self.path(SUPPORT, name)) for name in ("gatheredURLs.plist", "gatheredImages.plist", "talkmeter.plist")]
        before = [store.stat().st_mtime_ns for store in stores]
        self.write(f"{SUPPORT}/linktemplate.html", b"<p>anew ____LINKS")
        self.assertEqual(self.run_companion("pages")[0].splitlines(), pages)
        self.assertIn(b"<p>anew ", Path(pages[0]).read_bytes())
        self.assertEqual([store.stat().st_mtime_ns for store in stores], before)
        page = Path(pages[0]).read_bytes()
        for broken in (b"no list", plistlib.dumps([{"speaker": "Ann", "urls": [{"linkurl": "without a date"}]}])):
            stores[0].write_bytes(broken)
            self.assertIn("gatheredURLs.plist: cannot be read", self.run_companion("pages", "-q", code=1)[1])
            self.assertEqual(Path(pages[0]).read_bytes(), page)

    def test_links_and_files_are_added_to_logs(self):
        chat = json.loads(self.run_companion("show", "--as", "json", KIM_2005)[0])
        links = [link for message in chat["messages"] for link in message["links"]]
        log = self.write("logs/links.txt", b"before\n")
        for arguments, reason in ((["link-log", KIM_2005, log], "bookmarkEntry is not set"),
                                  (["image-log", KIM_2005, log], "imageEntry is not set"),
                                  (["link-log", KIM_2005, self.path("none")], "make an empty file first"),
                                  (["link-log", log, log], "links.txt: its name")):
            self.assertIn(reason, self.run_companion(*arguments, code=1)[1])
        self.preferences(bookmarkEntry="%@|%@|%@|%@\n", imageEntry="%@|%@|%@\n")
        self.assertEqual(self.run_companion("link-log", KIM_2005, log)[0], f"{len(links)} links added\n")
        one = os.path.join(SAMPLES, "chats", "Tomás Novák on 2004-09-18 at 19.33.chat")
        self.assertEqual(self.run_companion("link-log", one, log)[0], "1 link added\n")
        lines = Path(log).read_text(encoding="utf-8").splitlines()
        self.assertEqual([line.split("|")[:2] for line in lines[1:-1]], [[link, link] for link in links])

        with_files = os.path.join(SAMPLES, "chats", "Kim Lee on 2009-01-20 at 17.00.ichat")
        self.assertIn("logs/Images: no such folder", self.run_companion("image-log", with_files, log, code=1)[1])
        dead = subprocess.Popen(["true"])
        dead.wait()
        for left in (f".prattlebug-{dead.pid}.tmp", f"Images/.prattlebug-{dead.pid}.folder/x"):
            self.write("logs/" + left, b"what a call that was killed has left")
        self.run_companion("image-log", with_files, log, "--quiet")
        self.assertEqual(sorted(os.listdir(self.path("logs"))), ["Images", "links.txt"])
        names = [line.split("|")[0] for line in Path(log).read_text(encoding="utf-8").splitlines()[len(lines):]]
        self.assertTrue(names)
        self.assertEqual(sorted(set(names)), sorted(os.listdir(self.path("logs/Images"))))
        shutil.rmtree(self.path("logs/Images"))
        os.symlink("/proc", self.path("logs/Images"))  # where nothing can be written
        output, errors = self.run_companion("image-log", with_files, log, code=1)
        self.assertIn(f"logs/Images/{names[0]}: ", errors)
        self.assertEqual(Path(log).read_text(encoding="utf-8").count(names[0]), 2)

    def test_status_tells_of_failures_and_clears_the_count(self):
        self.assertEqual(self.run_companion("status")[0], "No failure has been reported.\n")
        self.assertEqual(self.run_companion("status", "--clear")[0], "No failure has been reported.\n")
        for values, shown in (
                ({"errorStatus": 3, "reportThis": "LOGIN", "emailFails": 4},
                 "4 failures since the count was last cleared.\nThe latest: the login at the mail server (LOGIN).\n"),
                ({"errorStatus": 1, "emailFails": "1"},
                 "1 failure since the count was last cleared.\nThe latest: a file could not be written.\n"),
                ({"errorStatus": 9, "reportThis": "x", "emailFails": -2},
                 "No failure since the count was last cleared.\nThe latest: code 9 (x).\n"),
                ({"emailFails": 1}, "1 failure since the count was last cleared.\nThe latest: an unknown failure.\n"),
                ({"errorStatus": 0, "reportThis": "x"}, "No failure since the count was last cleared.\nThe latest: an unknown failure (x).\n"),
        ):
            self.preferences(**values)
            self.assertEqual(self.run_companion("status")[0], shown)
        self.preferences(errorStatus=2, reportThis="gone", emailFails=3, other="kept")
        self.assertTrue(self.run_companion("status", "-q")[0])
        self.assertTrue(self.run_companion("status", "--clear")[0].startswith("No failure since"))
        self.assertEqual(self.run_companion("status", "-q")[0], "")
        with open(self.path(PREFERENCES), "rb") as file:
            self.assertEqual(plistlib.load(file), {"errorStatus": 2, "reportThis": "gone", "other": "kept"})


main()
