"""The archiving command from the console, and what mail programs make of the mbox."""

import glob
import mailbox
import os
import re

from companion import CompanionTest, ORDINARY, PRATTLEBUG, TRANSCRIPTS, main


class Archive(CompanionTest):
    def archive(self, *options, code=0, prefix=()):
        return self.run_companion("archive", *options, self.path("Out"), code=code, prefix=prefix)

    def mbox_path(self):
        return self.path("Out/Prattlebug Archive mbox")

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
                                 "prattlebug setup does that here: see prattlebug setup --help.\n")
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
        code, shown = self.run_in_terminal(PRATTLEBUG, "archive", self.path("Out"))
        self.assertEqual(code, 0)
        log_lines = [line for line in shown.split(b"\r\n") if b"prattlebug[" in line]
        self.assertEqual(len(log_lines), 22)
        for line in log_lines:
            self.assertRegex(line, rb"entries\r\x1b\[K\d{4}-", "the bar is erased before the log goes on")
        self.assertIn(b"] 22 entries", shown)
        self.assertRegex(shown, rb"\r\x1b\[KThe archive file is ready")
        _, quiet = self.run_in_terminal(PRATTLEBUG, "archive", "--quiet", self.path("Out"))
        self.assertNotIn(b"\x1b", quiet)
        self.assertEqual(quiet.count(b"\n"), 3)


main()
