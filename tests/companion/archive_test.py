"""The archiving command from the console, and what mail programs make of the mbox."""

import fcntl
import glob
import json
import mailbox
import os
import plistlib
import re
import shutil
import signal
import subprocess
import sys
import termios
import time
from pathlib import Path

from companion import CompanionTest, ORDINARY, PRATTLEBUG, SAMPLES, TRANSCRIPTS, main


class Archive(CompanionTest):
    def archive(self, *options, code=0, prefix=()):
        return self.run_companion("archive", *options, self.path("Out"), code=code, prefix=prefix)

    def mbox_path(self):
        return self.path("Out/Prattlebug Archive mbox")

    def counted(self):
        """How many chats the statistics have counted."""
        return json.loads(self.run_companion("stats", "--json")[0])["chatcount"]

    def test_every_sample_is_a_message_that_readers_find(self):
        self.add_samples()
        self.run_companion("prefs", "emailAddress", "sam@example.org")
        output, log = self.archive()
        self.assertEqual(output.splitlines(), [
            "The archive file is ready to be imported into your mail client.",
            "18 chats archived, 4 entries that are no transcripts.",
            self.mbox_path(),
        ])
        entries = [path for path, _, _ in os.walk(self.path(TRANSCRIPTS))][1:] + [
            path for path in glob.glob(self.path(TRANSCRIPTS, "**/*"), recursive=True) if os.path.isfile(path)]
        for entry in entries:
            self.assertRegex(log, r"(?m)^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} prattlebug\[\d+\] " + re.escape(entry) + "$")

        found = {}  # by subject, the texts of both parts
        mbox = mailbox.mbox(self.mbox_path())
        self.addCleanup(mbox.close)
        for key in mbox.keys():
            subject = re.search(rb"(?m)^Subject: (.*)$", mbox.get_bytes(key)).group(1).decode()
            parts = mbox[key].get_payload()
            self.assertEqual([part.get_content_type() for part in parts], ["text/plain", "text/html"])
            found.setdefault(subject, []).append([
                re.sub(r"(?m)^>(>*From )", r"\1", part.get_payload(decode=True).decode()).rstrip("\n") for part in parts])
        self.assertEqual(sum(map(len, found.values())), 18)
        self.assertEqual(len(found["[IM] Kim Lee"]), 4)
        for path in glob.glob(self.path(TRANSCRIPTS, "**/* on *chat"), recursive=True):
            if os.path.basename(path).startswith("Gus 2004"):
                continue  # its folder's name has the " on "
            subject, plain, html = (self.run_companion("show", "--as", form, path)[0].rstrip("\n")
                                    for form in ("subject", "plain", "html"))
            self.assertIn([plain, html], found[subject], path)

    def test_what_cannot_work_is_refused_before_anything_is_done(self):
        output, errors = self.archive(code=1)
        self.assertEqual(output, "")
        self.assertEqual(errors, "You must have Prattlebug set up in order to use this program. Please go to the Prattlebug "
                                 "preferences and click Start to finish setup.\n"
                                 "Run prattlebug setup for that: see prattlebug setup --help.\n")
        self.assertEqual(os.listdir(self.home), [])

        self.add_samples()
        file = self.write("file", b"an ordinary file")
        locked = self.path("locked")
        os.mkdir(locked, 0o555)
        for folder, code, reason in (
                ("", 2, "FOLDER: it is empty"),
                (file, 1, f"{file}: a file of this name is there already\n"),
                (self.path("a/b"), 1, f"{self.path('a/b')}: there is no folder {self.path('a')}\n"),
                (locked, 1, f"{locked}: you may not make anything in {locked}\n"),
                (self.path("x" * 256), 1, f"{self.path('x' * 256)}: the name is too long\n"),
        ):
            output, errors = self.run_companion("archive", folder, code=code, prefix=ORDINARY)
            self.assertEqual(output, "")
            self.assertIn(reason, errors)
        self.assertEqual(sorted(os.listdir(self.home)), ["Documents", "Library", "file", "locked"])
        self.assertEqual(sorted(os.listdir(self.path("Library/Prattlebug"))), ["contacts.vcf", "me.vcf"])

    def test_an_mbox_that_cannot_be_written_whole_is_named_with_the_reason(self):
        self.add_samples()
        for size in (0, 10_000):
            limited = ("sh", "-c", f"ulimit -f {size // 512}; exec \"$@\"", "sh")
            output, errors = self.archive("--quiet", code=1, prefix=limited)
            self.assertIn(f"The mbox could not be written whole: {self.mbox_path()}: File too large\n", errors)
            self.assertLessEqual(os.path.getsize(self.mbox_path()), size)

    def test_a_disk_with_less_room_than_the_earlier_mbox_takes_is_told_of_before_the_run(self):
        self.add_samples()
        warning = "The disk may fill: the earlier mbox, of 8.8 TB, stays until the new one is whole, and "
        for name in (self.mbox_path(), self.mbox_path() + ".previous"):
            self.archive("--quiet")
            with open(name, "ab") as mbox:
                mbox.truncate(2**43)  # takes no room
            _, told = self.archive("--quiet")
            self.assertIn(warning, told)
            self.assertEqual(os.listdir(self.path("Out")), [os.path.basename(self.mbox_path())])
        self.assertEqual(self.archive("--quiet")[1], "")

    def test_streams_that_are_closed_let_nothing_into_the_mbox(self):
        self.add_samples()
        for closed in ("2>&-", "<&- 2>&-", "<&- >&- 2>&-"):
            code = 1 if ">&- 2" in closed else 0  # its output could not be written whole
            self.archive(code=code, prefix=("sh", "-c", f"exec \"$@\" {closed}", "sh"))
            with open(self.mbox_path(), "rb") as mbox:
                self.assertNotIn(b"prattlebug[", mbox.read())

    def test_skip_new_passes_over_what_is_newer_than_the_folder(self):
        self.add_samples()
        os.utime(self.path(TRANSCRIPTS), (1_000_000_000, 1_000_000_000))
        output, _ = self.archive("--skip-new")
        self.assertIn("0 chats archived, 22 passed over as new.", output)

    def test_the_bar_keeps_the_last_line_of_a_terminal(self):
        self.add_samples()
        broken = self.write(os.path.join(TRANSCRIPTS, "broken on x.chat"), b"no chat")
        for option, logged in (("--verbose", 23), (None, 0)):
            code, shown = self.run_in_terminal(PRATTLEBUG, "archive", *filter(None, [option]), self.path("Out"))
            self.assertEqual(code, 0)
            entries = [line for line in shown.split(b"\r\n") if re.search(rb"prattlebug\[\d+\] [^:]*$", line)]
            self.assertEqual(len(entries), logged, shown)
            for line in entries:
                self.assertRegex(line, rb"entries\r\x1b\[K\d{4}-", "the bar is erased before the log goes on")
            self.assertIn(b"] 23 of 23 entries", shown)
            self.assertIn(f"{broken}: ".encode(), shown, "that one cannot be read is told at once")
            self.assertRegex(shown, rb"\r\x1b\[KThe archive file is ready")
        for colours in (True, False):
            self.environment["NO_COLOR"] = "" if colours else "1"
            _, quiet = self.run_in_terminal(PRATTLEBUG, "archive", "--quiet", self.path("Out"))
            self.assertEqual(re.findall(rb"\x1b\[(\d+)m(\w+)", quiet), [(b"1", b"18"), (b"31", b"Could")] if colours else [])
            self.assertEqual(quiet.count(b"\x1b"), 4 if colours else 0)
            self.assertEqual(quiet.count(b"\n"), 5)

    def test_what_could_not_be_archived_is_listed(self):
        self.add_samples()
        broken = self.write(os.path.join(TRANSCRIPTS, "broken on x.chat"), b"no chat")
        output, errors = self.archive("--quiet")
        self.assertIn("1 chat could not be read", output)
        self.assertRegex(errors, "^Could not be read: " + re.escape(broken) + ": .*\n$")

    def test_fresh_counts_each_chat_once_and_keeps_what_was_there(self):
        self.add_samples()
        self.run_companion("setup")
        support = self.path("Library/Prattlebug")
        stores = ("gatheredURLs.plist", "gatheredImages.plist", "talkmeter.plist")
        once = "19 of these chats were counted before; --fresh counts each once\n"

        def made():
            """What runs make in the support folder."""
            return {name for name in os.listdir(support) if name in stores or name == "chats.ledger"
                    or name.endswith(".html") and not name.endswith("template.html")}

        self.assertNotIn("counted before", "".join(self.archive()))
        pages = made()
        images = sorted(os.listdir(os.path.join(support, "Images")))
        output, errors = self.archive()
        self.assertIn(once, output)
        self.assertIn(once, errors)
        self.assertEqual(self.counted(), 38)

        # A store that somebody else has changed may hold anything.
        store = os.path.join(support, stores[2])
        with open(store, "rb") as file:
            counts = plistlib.load(file)
        with open(store, "wb") as file:
            plistlib.dump({**counts, "chatcount": 40}, file)
        before = {name: Path(support, name).read_bytes() for name in made()}
        output, errors = self.archive("--fresh")
        self.assertNotIn("counted before", output + errors)
        self.assertEqual(self.counted(), 19)
        self.assertEqual(made(), pages)
        self.assertEqual(sorted(os.listdir(os.path.join(support, "Images"))), images)
        aside = re.search(r"(?m)^The stores and pages of earlier runs are now in (.*/Set aside \d{4}-\d\d-\d\d \d\d\.\d\d\.\d\d)$", output).group(1)
        self.assertEqual({name: Path(aside, name).read_bytes() for name in os.listdir(aside) if name != "Images"}, before)
        self.assertEqual(os.path.realpath(os.path.join(aside, "Images")), os.path.realpath(os.path.join(support, "Images")))
        self.assertIn(once, self.archive()[0], "the ledger has begun anew as well")

    def test_a_signal_ends_the_run_after_the_chat_at_hand(self):
        """Holds the program in the middle of its work: its console log goes into a pipe that nobody empties."""
        self.add_samples()
        self.archive()
        for number in range(300):
            shutil.copy2(os.path.join(SAMPLES, "chats/Gus on 2005-04-02 at 09.12.chat"), self.path(TRANSCRIPTS, f"Gus on {number}.chat"))
        before = self.counted()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with subprocess.Popen([PRATTLEBUG, "archive", self.path("Out")], env=self.environment, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, pipesize=4096) as run:
                run.stderr.read(2048)
                run.send_signal(number)
                output, errors = run.communicate(timeout=60)
            self.assertEqual(run.returncode, 128 + number)
            self.assertNotIn(b"The archive file is ready", output)
            told = re.search(rb"(?m)^Interrupted: (\d+) of 318 chats are in (.*); the archive before it is (.*)$", errors)
            self.assertEqual(told.group(2, 3), (self.mbox_path().encode(), self.mbox_path().encode() + b".previous"))
            done = int(told.group(1))
            self.assertTrue(0 < done < 300, done)
            for path, count in ((self.mbox_path(), done), (self.mbox_path() + ".previous", 18)):
                mbox = mailbox.mbox(path)
                self.assertEqual(len(mbox), count)
                mbox.close()
            self.assertEqual(self.counted(), before + done, "what has been archived has been counted")
            before += done
        with subprocess.Popen([PRATTLEBUG, "archive", self.path("Out")], env=self.environment, stderr=subprocess.PIPE, pipesize=4096) as run:
            held = b""
            while int.from_bytes(held, sys.byteorder) < 3500:  # it waits for room in the pipe
                time.sleep(0.02)
                held = fcntl.ioctl(run.stderr, termios.FIONREAD, bytes(4))
            run.send_signal(signal.SIGINT)
            time.sleep(0.1)
            run.send_signal(signal.SIGINT)
            self.assertEqual(run.wait(60), -signal.SIGINT, "a second one ends it at once")


main()
