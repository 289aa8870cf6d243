"""The statistics that archiving the samples leaves, against totals that were once counted by another program."""

import json
import os
import plistlib
import shutil
from datetime import datetime, timedelta, timezone

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"
LISTS = ("curses.plist", "netspeak.plist")

# A new sample changes these: count what it adds, and do not copy what the archiver says.
TOTALS = {"usertextcount": 1008, "othertextcount": 452, "linkcount": 27, "imagecount": 20, "chatcount": 18}
INSTALLED = {"cursecount": 0, "othercursecount": 0, "netspeakcount": 2, "othernetspeakcount": 1}
EVERYDAY = {"cursecount": 68, "othercursecount": 46, "netspeakcount": 85, "othernetspeakcount": 37}


class Statistics(CompanionTest):
    def setUp(self):
        super().setUp()
        self.add_samples()
        self.environment["TZ"] = "UTC"
        self.write(f"{SUPPORT}/statstemplate.html", b"____SUMTOTAL words, last ____DATE2")

    def archive(self):
        """@return the store, and the console log."""
        _, log = self.run_companion("archive", self.path("Out"))
        with open(self.path(SUPPORT, "talkmeter.plist"), "rb") as store:
            return plistlib.load(store), log

    def test_totals(self):
        # Words that everybody uses, and an attachment, which is a word too.
        everyday = [{"the", "Is", "is", "no"}, {"I", "a", "\ufffc", "is"}]
        for name, words in zip(LISTS, everyday):
            self.write(f"{SUPPORT}/{name}", plistlib.dumps(sorted(words), fmt=plistlib.FMT_BINARY))
        store, _ = self.archive()
        age = datetime.now(timezone.utc) - store.pop("startDate").replace(tzinfo=timezone.utc)
        self.assertLess(abs(age), timedelta(hours=1))
        del store["endDate"]
        self.assertEqual(store, {**TOTALS, **EVERYDAY})

    def test_totals_with_the_lists_that_are_installed(self):
        for name in LISTS:
            shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))
        store, log = self.archive()
        self.assertEqual({key: store[key] for key in TOTALS | INSTALLED}, TOTALS | INSTALLED)

        # The end is that of the chat that came last.
        chats = [line for line in log.splitlines() if line.endswith("chat") and " on " in os.path.basename(line)]
        last = chats[-1][chats[-1].index(self.path(TRANSCRIPTS)):]
        shown = json.loads(self.run_companion("show", "--as", "json", last)[0])["messages"][-1]["time"]
        end = datetime.fromisoformat(shown).replace(microsecond=0)
        self.assertEqual(store["endDate"].replace(tzinfo=timezone.utc), end)
        with open(self.path(SUPPORT, "stats.html"), encoding="utf-8") as page:
            self.assertEqual(page.read(), f"1460 words, last {end:%B} {end.day}, {end.year}")


main()
