"""The statistics that archiving the sample chats leaves, against sums made here from what the samples are known to hold.

    sample_totals_test.py PRATTLEBUG
"""

import json
import plistlib
import shutil
import subprocess
import sys
import tempfile
import unicodedata
import unittest
from datetime import datetime, timezone
from pathlib import Path

PRATTLEBUG = sys.argv.pop(1)
TOP = Path(__file__).resolve().parents[2]
SAMPLES = TOP / "samples"


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


class Samples(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.home = Path(scratch.name)
        self.support = self.home / "Library" / "Prattlebug"
        self.support.mkdir(parents=True)
        self.chats = self.home / "Documents" / "iChats (Prattlebugged)"
        shutil.copytree(SAMPLES / "chats", self.chats)
        for name in ("me.vcf", "contacts.vcf"):
            shutil.copy(SAMPLES / name, self.support)
        (self.support / "statstemplate.html").write_text("____SUMTOTAL words, last ____DATE2")

    def run_program(self, *arguments):
        return subprocess.run(
            [PRATTLEBUG, "--home", self.home, *arguments],
            env={"TZ": "UTC", "USER": "robin"},
            check=True,
            capture_output=True,
            text=True,
        )

    def archive(self):
        """@return the names of the archived chats, in their order, and the store."""
        log = self.run_program("archive", self.home / "archive").stderr
        entries = [line.split(f"{self.chats}/", 1)[1] for line in log.splitlines() if f"{self.chats}/" in line]
        chats = [name for name in entries if name.endswith(("chat", "ichat")) and " on " in Path(name).name]
        return chats, plistlib.loads((self.support / "talkmeter.plist").read_bytes())

    def messages(self, name):
        """What the samples are known to hold, with senders and dates as people are shown them."""
        shown = json.loads(self.run_program("show", "--as", "json", self.chats / name).stdout)["messages"]
        known = json.loads((SAMPLES / "expected" / f"{name}.json").read_text())["messages"]
        self.assertEqual([message["text"] for message in shown], [message["text"] for message in known])
        return [dict(message, speaker=one["speaker"], date=one["time"]) for message, one in zip(known, shown)]

    def expected_totals(self, chats, curses, netspeak):
        totals = dict.fromkeys(
            "usertextcount othertextcount cursecount othercursecount netspeakcount othernetspeakcount".split(), 0
        )
        totals.update(linkcount=0, imagecount=0, chatcount=len(chats))
        for name in chats:
            other = Path(name).name.rsplit(" on ", 1)[0]
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

    def test_totals_with_the_lists_that_are_installed(self):
        for name in ("curses.plist", "netspeak.plist"):
            shutil.copy(TOP / "resources" / name, self.support)
        lists = [set(plistlib.loads((self.support / name).read_bytes())) for name in ("curses.plist", "netspeak.plist")]
        chats, store = self.archive()
        expected = self.expected_totals(chats, *lists)
        self.assertEqual({key: store[key] for key in expected}, expected)
        self.assertGreater(store["netspeakcount"] + store["othernetspeakcount"], 0)

    def test_totals_with_lists_of_words_that_everybody_uses(self):
        lists = [{"the", "Is", "is", "no"}, {"I", "a", "\ufffc", "is"}]
        for name, some in zip(("curses.plist", "netspeak.plist"), lists):
            (self.support / name).write_bytes(plistlib.dumps(sorted(some), fmt=plistlib.FMT_BINARY))
        chats, store = self.archive()
        expected = self.expected_totals(chats, *lists)
        self.assertEqual({key: store[key] for key in expected}, expected)
        self.assertEqual(sorted(store), sorted([*expected, "startDate", "endDate"]))
        for key in expected:
            self.assertGreater(store[key], 0, f"nothing shows that {key} is counted")

    def test_dates(self):
        chats, store = self.archive()
        age = datetime.now(timezone.utc) - store["startDate"].replace(tzinfo=timezone.utc)
        self.assertLess(abs(age.total_seconds()), 3600)
        end = datetime.fromisoformat(self.messages(chats[-1])[-1]["date"]).replace(microsecond=0)
        self.assertEqual(store["endDate"].replace(tzinfo=timezone.utc), end)
        total = store["usertextcount"] + store["othertextcount"]
        page = (self.support / "stats.html").read_text()
        self.assertEqual(page, f"{total} words, last {end:%B} {end.day}, {end.year}")


if __name__ == "__main__":
    unittest.main()
