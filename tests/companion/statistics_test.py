"""The statistics that archiving the samples leaves, against sums made here from what the samples are known to hold."""

import json
import os
import plistlib
import shutil
import unicodedata
from datetime import datetime, timezone

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"
LISTS = ("curses.plist", "netspeak.plist")


def is_white_space(character):
    return character in "\t\n\v\f\r\x85" or unicodedata.category(character).startswith("Z")


def words(text):
    """Split at blanks; white space in front of a word is then skipped, and what is behind it stays."""
    pieces = []
    for piece in text.split(" "):
        while piece and is_white_space(piece[0]):
            piece = piece[1:]
        if piece:
            pieces.append(piece)
    return pieces


class Statistics(CompanionTest):
    def setUp(self):
        super().setUp()
        self.add_samples()
        self.environment["TZ"] = "UTC"
        self.write(f"{SUPPORT}/statstemplate.html", b"____SUMTOTAL words, last ____DATE2")

    def archive(self):
        """@return the names of the archived chats, in their order, and the store."""
        _, log = self.run_companion("archive", self.path("Out"))
        folder = self.path(TRANSCRIPTS) + "/"
        entries = [line.split(folder, 1)[1] for line in log.splitlines() if folder in line]
        chats = [name for name in entries if name.endswith("chat") and " on " in os.path.basename(name)]
        with open(self.path(SUPPORT, "talkmeter.plist"), "rb") as store:
            return chats, plistlib.load(store)

    def messages(self, name):
        """What the samples are known to hold, with senders and dates as people are shown them."""
        output, _ = self.run_companion("show", "--as", "json", self.path(TRANSCRIPTS, name))
        shown = json.loads(output)["messages"]
        with open(os.path.join(SAMPLES, "expected", f"{name}.json"), encoding="utf-8") as file:
            known = json.load(file)["messages"]
        self.assertEqual([message["text"] for message in shown], [message["text"] for message in known])
        return [dict(message, speaker=one["speaker"], date=one["time"]) for message, one in zip(known, shown)]

    def expected_totals(self, chats, curses, netspeak):
        totals = dict.fromkeys(
            "usertextcount othertextcount cursecount othercursecount netspeakcount othernetspeakcount".split(), 0
        )
        totals.update(linkcount=0, imagecount=0, chatcount=len(chats))
        for name in chats:
            other = os.path.basename(name).rsplit(" on ", 1)[0]
            for message in self.messages(name):
                if message["status"]:
                    continue
                side = "other" if message["speaker"] == other else ""
                said = words(message["text"])
                totals[f"{side or 'user'}textcount"] += len(said)
                totals[f"{side}cursecount"] += sum(word in curses for word in said)
                totals[f"{side}netspeakcount"] += sum(word in netspeak for word in said)
                if message["time"] is not None:
                    totals["linkcount"] += len(message["links"])
                    totals["imagecount"] += len(message["files"])
        return totals

    def check_totals(self, *lists):
        chats, store = self.archive()
        expected = self.expected_totals(chats, *lists)
        self.assertEqual({key: store[key] for key in expected}, expected)
        self.assertEqual(sorted(store), sorted([*expected, "startDate", "endDate"]))
        return store

    def test_totals_with_the_lists_that_are_installed(self):
        lists = []
        for name in LISTS:
            path = shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))
            with open(path, "rb") as file:
                lists.append(set(plistlib.load(file)))
        store = self.check_totals(*lists)
        self.assertGreater(store["netspeakcount"] + store["othernetspeakcount"], 0)

    def test_totals_with_lists_of_words_that_everybody_uses(self):
        lists = [{"the", "Is", "is", "no"}, {"I", "a", "\ufffc", "is"}]
        for name, some in zip(LISTS, lists):
            self.write(f"{SUPPORT}/{name}", plistlib.dumps(sorted(some), fmt=plistlib.FMT_BINARY))
        store = self.check_totals(*lists)
        for key in store.keys() - {"startDate", "endDate"}:
            self.assertGreater(store[key], 0, f"nothing shows that {key} is counted")

    def test_dates(self):
        chats, store = self.archive()
        age = datetime.now(timezone.utc) - store["startDate"].replace(tzinfo=timezone.utc)
        self.assertLess(abs(age.total_seconds()), 3600)
        end = datetime.fromisoformat(self.messages(chats[-1])[-1]["date"]).replace(microsecond=0)
        self.assertEqual(store["endDate"].replace(tzinfo=timezone.utc), end)
        total = store["usertextcount"] + store["othertextcount"]
        with open(self.path(SUPPORT, "stats.html"), encoding="utf-8") as page:
            self.assertEqual(page.read(), f"{total} words, last {end:%B} {end.day}, {end.year}")


main()
