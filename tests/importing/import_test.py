"""Imports a whole disk: what comes of every file on it, also in parts, again, and after it was stopped or killed."""

import json
import os
import re
import shutil
import signal
import subprocess
import time
from pathlib import Path

from disk import ARCHIVE, CHATS, DAY, HOUR, Chat, Disk, put
from companion import PRATTLEBUG, SAMPLES, TRANSCRIPTS, CompanionTest, main
from transcript import Keyed

LEDGER = "Library/Prattlebug/copies.ledger"
SAMPLE = Path(SAMPLES, "chats/Kim Lee on 2003-07-12 at 20.41.chat")


def transcripts_in(folder):
    return {str(path.relative_to(folder)): (path.read_bytes(), path.stat().st_mtime)
            for path in Path(folder).rglob("*") if path.is_file()}


class ImportTest(CompanionTest):
    maxDiff = None

    def setUp(self):
        super().setUp()
        os.environ["TZ"] = self.environment["TZ"]
        time.tzset()
        self.disk_folder = Path(self.path("disk"))
        self.home = self.path("home")
        self.environment["HOME"] = self.home
        os.makedirs(self.home)
        self.folder = Path(self.path(TRANSCRIPTS))

    def check_folder(self, expected):
        there = transcripts_in(self.folder)
        self.assertEqual(sorted(there), sorted(expected))
        for place, (data, modified) in expected.items():
            self.assertEqual((there[place][0] == data, there[place][1]), (True, modified), place)

    def events(self, *arguments, code=0):
        """What `setup --json` tells: its events by name, in order."""
        events = {}
        for line in self.run_companion("setup", "--json", *arguments, code=code)[0].splitlines():
            event = json.loads(line)
            events.setdefault(event["event"], []).append(event)
        return events

    def summary(self, *arguments, code=0):
        summary = self.events(*arguments, code=code)["summary"][0]
        return {key: value for key, value in summary.items() if value and key not in ("event", "text")}


class WholeDisk(ImportTest):
    def setUp(self):
        super().setUp()
        self.disk = Disk(self.disk_folder)

    def test_everything_comes_once_and_a_second_time_nothing(self):
        self.assertEqual(self.events("--dry-run", self.disk.root, code=1)["summary"][0]["copied"], len(self.disk.expected))
        self.assertEqual(os.listdir(self.home), [])
        output, errors = self.run_companion("setup", self.disk.root, code=1)
        self.check_folder(self.disk.expected)
        self.assertEqual(errors, f"Could not be read: {self.disk.huge}: larger than 2 GiB\n")
        for told in (
                "25 transcripts found: 18 copied, 3 the same as others, 2 superseded by longer ones, 1 left out, 4 dates mended, "
                "8 renamed, 2 damaged, 1 not readable\n",
                f"sam: 3 found, 3 copied, from {self.disk.sam}\n", f", from {self.disk.kim} and 2 more places\n",
                "    2004/Kim Lee le 2004-05-06 à 10.00 #2.CHAT is now 2004/Kim Lee on 2004-05-06 at 10.00 #2.chat\n",
                "/irc.chat: not a typed stream", "/Cut.ICHAT: ", "/Empty on 2006-01-01 at 00.00.chat: it is empty\n",
                "/chat.db: the database of later Messages\n", "/Old.zip: ", "/Old.dmg: ", "/Old.sparsebundle: ",
                "the words of people who are shown under another name\n"):
            self.assertIn(told, output)
        # Again, from where clocks tell another time, nothing changes, and it has been told of nothing to do.
        ledger = Path(self.path(LEDGER)).read_bytes()
        self.environment["TZ"] = "Asia/Tokyo"
        again = self.events(self.disk.root, code=1)
        self.assertEqual([again["summary"][0][key] for key in ("found", "copied", "same", "superseded", "renamed", "datesMended")],
                         [25, 0, 21, 2, 0, 0])
        self.check_folder(self.disk.expected)
        self.assertEqual(Path(self.path(LEDGER)).read_bytes(), ledger)
        self.assertEqual(ledger.count(b"\n"), len(self.disk.expected))

    def test_in_parts_the_same_comes(self):
        home, *later = self.disk.kim, self.disk.sam, self.disk.root
        for part in (self.disk.backups[0], home / CHATS / "2004", home, *later):
            self.run_companion("setup", part, code=int(part == self.disk.root))
        # Of two chats of one name the one that came later is numbered.
        expected = dict(self.disk.expected)
        one, two = ("Bob on 2006-01-01 at 00.00 #2.ichat", "Bob on 2006-01-01 at 00.00.ichat")
        expected[one], expected[two] = expected[two], expected[one]
        self.check_folder(expected)


class Additions(ImportTest):
    """What a disk brings that holds more than the last time, or what somebody has put there meanwhile."""

    name = "Kim on 2005-03-01 at 21.07.ichat"

    def chat(self, messages, **options):
        return Chat("2005-03-02T05:07", messages, Keyed("binary"), **options)

    def put(self, messages, name=name, late=0, **options):
        chat = self.chat(messages, **options)
        put(self.disk_folder, f"{CHATS}/{name}", chat.data, chat.time + late)
        return chat.data, chat.time + late

    def test_a_longer_one_takes_the_place_of_our_copy_alone(self):
        self.put(2)
        self.run_companion("setup", self.disk_folder)
        longer = self.put(4)
        self.assertEqual(self.summary(self.disk_folder), {"found": 1, "copied": 1, "replaced": 1})
        self.check_folder({self.name: longer})
        self.put(3)  # an older backup
        self.assertEqual(self.summary(self.disk_folder), {"found": 1, "superseded": 1})
        self.check_folder({self.name: longer})
        # What somebody else has put there stays, and so does a copy that has been changed.
        mine = self.chat(4, last="mine")
        put(self.folder, self.name, mine.data, mine.time)
        changed = self.put(5, last="mine, and more")
        longest = self.put(6)
        self.assertEqual(self.summary(self.disk_folder), {"found": 1, "copied": 1, "renamed": 1})
        self.check_folder({self.name: (mine.data, mine.time), self.name.replace(".ichat", " #2.ichat"): longest})
        self.assertNotEqual(changed, longest)

    def test_bytes_that_are_not_in_the_ledger_stay(self):
        mine = self.chat(2)
        put(self.folder, self.name, mine.data, mine.time)
        self.assertEqual(self.summary(self.disk_folder.parent / "home"), {})
        longer = self.put(4)
        self.run_companion("setup", self.disk_folder)
        self.check_folder({self.name: (mine.data, mine.time), self.name.replace(".ichat", " #2.ichat"): longer})
        with open(self.path(LEDGER), "a", encoding="utf-8") as ledger:
            ledger.write("torn lin")  # the power failed
        longest = self.put(6)
        self.run_companion("setup", self.disk_folder)
        self.check_folder({self.name: (mine.data, mine.time), self.name.replace(".ichat", " #2.ichat"): longest})
        self.run_companion("setup", self.disk_folder)

    def test_the_same_messages_in_other_bytes_come_once(self):
        chat = self.put(3)
        other = Chat("2005-03-02T05:07", 3, Keyed("xml"))
        put(self.disk_folder, f"{CHATS}/Kim on 2005-03-01 at 21.08.ichat", other.data, other.time)
        self.assertEqual(self.summary(self.disk_folder), {"found": 2, "copied": 1, "superseded": 1})
        self.assertEqual(len(transcripts_in(self.folder)), 1)
        self.assertIn(next(iter(transcripts_in(self.folder).values()))[0], (chat[0], other.data))

    def test_dates(self):
        last = self.chat(3).time
        for there, times, expected in (
                (None, [last + 60], last + 60), (None, [last + DAY], last + DAY), (None, [last + DAY + 1], last),
                (None, [last - HOUR], last - HOUR), (None, [last - DAY, last - HOUR], last - HOUR),
                (None, [last + 900, last + 60, last - HOUR], last + 60), (None, [last + 9 * DAY, last - HOUR], last),
                (last + 9 * DAY, [last + 60], last + 60), (last + 60, [last + 900], last + 60), (last - HOUR, [last + 9], last + 9),
                (last + 9 * DAY, [last + 8 * DAY], last)):
            with self.subTest(there=there and there - last, times=[modified - last for modified in times]):
                for folder in (self.folder, self.disk_folder):
                    shutil.rmtree(folder, ignore_errors=True)
                if there:
                    put(self.folder, "mine/" + self.name, self.chat(3).data, there)
                for number, modified in enumerate(times):
                    self.put(3, f"{number}/{self.name}", modified - last)
                self.run_companion("setup", self.disk_folder)
                self.check_folder({("mine/" if there else "0/") + self.name: (self.chat(3).data, expected)})
                self.assertNotIn("datesMended", self.summary(self.disk_folder))

    def test_what_lies_there_under_names_that_are_passed_over(self):
        data, old = SAMPLE.read_bytes(), 1_000_000_000
        for name in ("Kim Lee.chat", "deep/Kim Lee #7.CHAT"):
            put(self.folder, name, data, old)
        put(self.folder, "deep/Kim le 2003-07-12 à 20.41.ichat", self.chat(2).data, old)
        put(self.folder, "no chat.chat", b"nothing", old)
        before = transcripts_in(self.folder)
        checked = self.run_companion("check", code=1)[0]
        self.assertIn("1 can be read, 1 cannot. 2 more will not be archived for their names: prattlebug setup", checked.replace("0 can", "1 can"))
        for arguments in ([], [self.folder], [self.folder / "Kim Lee.chat"]):
            output = self.run_companion("setup", *arguments)[0]
            after = transcripts_in(self.folder)
            self.assertEqual({name: after[name] for name in before}, before)
            added = {name: after[name][0] for name in after if name not in before}
            kim = next(name for name in added if name.startswith("Kim Lee on 2003-07-1"))
            self.assertEqual(added, {kim: data, "deep/Kim on 2003-07-12 at 20.41.ichat": self.chat(2).data})
            self.assertEqual(f"Kim Lee.chat is now also {kim}\n" in output, not arguments)
        self.assertIn("2 can be read, 1 cannot.\n", self.run_companion("check", code=1)[0])


class Stopping(ImportTest):
    """Thousands of transcripts, damaged ones, which are made fast."""

    COUNT = 4000

    def setUp(self):
        super().setUp()
        self.expected = {}
        for number in range(self.COUNT):
            name, data = f"{number % 50}/Kim on {number}.chat", b"\x04\x0bstreamtyped%d" % number
            put(self.disk_folder, f"{ARCHIVE}/{name}", data, 1_000_000_000)
            self.expected[name] = (data, 1_000_000_000)

    def interrupt(self, stage, how):
        """Runs setup until it is at a stage, and gives its exit code and what it told."""
        with subprocess.Popen([PRATTLEBUG, "setup", "--json", self.disk_folder], env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
            for line in process.stdout:
                if json.loads(line).get("stage") == stage:
                    process.send_signal(how)
                    break
            output, errors = process.communicate()
        return process.returncode, output, errors

    def test_only_whole_transcripts_are_left_and_the_next_run_goes_on(self):
        for stage, how, told in (("looking", signal.SIGHUP, "files looked at"), ("reading", signal.SIGINT, "of 4000 transcripts read")):
            code, _, errors = self.interrupt(stage, how)
            self.assertEqual((code, os.listdir(self.home)), (128 + how, []))
            self.assertRegex(errors, rf"^Stopped after \d+ {told}: nothing has been changed\.\n$")
        stopped = {}
        for how in (signal.SIGINT, signal.SIGTERM):
            before, (code, output, errors) = len(stopped), self.interrupt("copying", how)
            stopped = transcripts_in(self.folder)
            self.assertEqual(code, 128 + how)
            self.assertEqual(errors, f"Stopped after {len(stopped) - before} of {self.COUNT - before} transcripts copied: "
                             "the next setup goes on.\n")
            self.assertIn('"stopped":true', output)
            self.assertLess(len(stopped), self.COUNT)
            self.assertEqual(stopped, {name: self.expected[name] for name in stopped})
        code, *_ = self.interrupt("copying", signal.SIGKILL)
        self.assertEqual(code, -signal.SIGKILL)
        killed = {name: held for name, held in transcripts_in(self.folder).items() if not name.startswith(".")}
        self.assertEqual(killed, {name: self.expected[name] for name in killed})
        self.assertGreaterEqual(len(killed), len(stopped))
        self.run_companion("setup", self.disk_folder)
        self.check_folder(self.expected)

    def test_the_terminal_shows_a_bar_with_a_total(self):
        code, shown = self.run_in_terminal(PRATTLEBUG, "setup", self.disk_folder)
        self.assertEqual(code, 0)
        for told in (rb"\[#* *\] \d+ files looked at", rb"\[#+\] 4000 of 4000 transcripts read",
                     rb"\[#+\] 4000 of 4000 transcripts copied"):
            self.assertRegex(shown, told)
        self.assertLess(len(re.findall(rb"transcripts read", shown)), 200)


main()
