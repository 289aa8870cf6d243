"""The archiving command from the console, and what mail programs make of the mbox."""

import glob
import mailbox
import os
import re

from companion import CompanionTest, PRATTLEBUG, TRANSCRIPTS, main


class Archive(CompanionTest):
    def archive(self, *options, code=0):
        return self.run_companion("archive", *options, self.path("Out"), code=code)

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

    def test_runs_without_a_transcript_folder_and_with_an_output_that_cannot_be(self):
        output, errors = self.archive(code=1)
        self.assertEqual(output, "")
        self.assertEqual(errors, "You must have Prattlebug set up in order to use this program. Please go to the Prattlebug "
                                 "preferences and click Start to finish setup.\n"
                                 "prattlebug setup does that here: see prattlebug setup --help.\n")
        self.assertEqual(os.listdir(self.home), [])

        os.makedirs(self.path(TRANSCRIPTS))
        self.write("Out", b"an ordinary file")
        output, errors = self.archive("--quiet", code=1)
        self.assertIn("The archive file is ready", output)
        self.assertEqual(errors, f"The mbox could not be written whole: {self.mbox_path()}\n")

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
