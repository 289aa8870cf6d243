"""setup: from an empty home to an archive, and what it does with files in its way and with bad input."""

import contextlib
import hashlib
import mailbox
import os
import shutil
import sys
from pathlib import Path

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path += [os.path.join(SAMPLES, "make"), os.path.join(os.path.dirname(__file__), "../support")]
from browser import open_browser  # noqa: E402

SUPPORT = "Library/Prattlebug"
RESOURCES = Path(SAMPLES, "../resources")
SHIPPED = ["Images/pdf.png", "curses.plist", "imagetemplate.html", "linktemplate.html", "netspeak.plist", "statstemplate.html"]
KIM = Path(SAMPLES, "chats/Kim Lee on 2003-07-12 at 20.41.chat")
OLD = 1_000_000_000


def tree(folder):
    """Everything below a folder: bytes and time of files, None for folders."""
    return {str(path.relative_to(folder)): (path.read_bytes(), path.stat().st_mtime_ns) if path.is_file() else None
            for path in Path(folder).rglob("*")}


class Setup(CompanionTest):
    def setUp(self):
        super().setUp()
        self.chats = Path(self.path("disk"))  # beside the home
        self.home = self.path("home")
        self.environment["HOME"] = self.home
        os.makedirs(self.home)

    def chat(self, name, source=KIM, data=None, time=OLD):
        path = self.chats / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(source.read_bytes() if data is None else data)
        os.utime(path, (time, time))

    def test_from_nothing_to_mails_and_pages(self):
        shutil.copytree(Path(SAMPLES, "chats"), self.chats / "Library/Messages/Archive")
        self.chat("Documents/iChats/Kim Lee.chat")
        output, errors = self.run_companion("setup", "--email", "sam@example.org", "--me", Path(SAMPLES, "me.vcf"),
                                            "--contacts", Path(SAMPLES, "contacts.vcf"), self.chats)
        self.assertEqual(errors, "")
        self.assertIn("20 transcripts found: 19 copied, 1 the same as others", output)
        self.assertNotIn("Still missing", output)
        self.assertIn("Next: prattlebug archive", output)
        # The entries are folders.
        self.assertIn("19 chats archived, 2 entries that are no transcripts.\n", self.run_companion("archive", "--quiet", self.path("Out"))[0])
        mbox = self.path("Out/Prattlebug Archive mbox")
        settings = self.write("muttrc", f"""
            set folder='{self.home}' spoolfile=/dev/null charset=utf-8 quit=yes wait_key=no
            set print=yes print_decode=yes print_command="cat >> '{self.path('printed')}'"
            alternative_order text/plain
        """.encode())
        code, _ = self.run_in_terminal("mutt", "-n", "-F", settings, "-R", "-f", mbox,
                                       "-e", "push '<tag-pattern>~A<enter><tag-prefix><print-message><exit>'")
        self.assertEqual(code, 0)
        printed = Path(self.path("printed")).read_text(encoding="utf-8")
        for text in ("To: sam@example.org\n", "Subject: [IM] ", "Sent by Prattlebug ( https://prattlebug.example/ )\n"):
            self.assertEqual(printed.count(text), 19, text)
        self.assertIn("Subject: [IM] 李明\n", printed)
        with contextlib.closing(mailbox.mbox(mbox)) as mails:
            self.assertEqual(len(mails), 19)
        browser = open_browser(self)
        for page, text in (("Links.html", "Kim Lee"), ("Images.html", "Kim Lee"), ("stats.html", "1467")):
            browser.get(Path(self.path(SUPPORT, page)).as_uri())
            self.assertIn(text, browser.find_element("tag name", "body").text, page)
            self.assertNotIn("____", browser.page_source)

        before = tree(self.home)
        output, _ = self.run_companion("setup", "--email", "sam@example.org", "--me", Path(SAMPLES, "me.vcf"), self.chats)
        self.assertIn("20 transcripts found: 0 copied, 20 the same as others\n", output)
        after = tree(self.home)
        preferences = "Library/Preferences/com.velmoria.prattlebug.plist"
        self.assertEqual(after.pop(preferences)[0], before.pop(preferences)[0])
        self.assertEqual(after, before)

    def test_templates_of_the_user_stay(self):
        self.run_companion("setup")
        support = Path(self.path(SUPPORT))
        self.assertEqual(sorted(str(path.relative_to(support)) for path in support.rglob("*") if path.is_file()), SHIPPED)
        for name in SHIPPED:
            self.assertEqual((support / name).read_bytes(), (RESOURCES / Path(name).name).read_bytes())
        netspeak = (support / "netspeak.plist").read_text(encoding="utf-8")
        older = netspeak.replace("\t<string>&lt;3</string>\n\t<string>+1</string>\n", "")
        self.assertIn(hashlib.sha256(older.encode()).hexdigest(), (RESOURCES / "shipped.sha256").read_text(encoding="utf-8"))
        (support / "netspeak.plist").write_text(older, encoding="utf-8")
        (support / "linktemplate.html").write_bytes(b"mine")
        (support / "curses.plist").unlink()
        output, _ = self.run_companion("setup")
        self.assertIn("Put in place: curses.plist, netspeak.plist\n", output)
        self.assertIn("Kept as you have changed it: linktemplate.html (", output)
        self.assertEqual((support / "linktemplate.html").read_bytes(), b"mine")
        self.assertEqual((support / "netspeak.plist").read_text(encoding="utf-8"), netspeak)
        self.run_companion("setup", "--reset-templates")
        self.assertEqual((support / "linktemplate.html").read_bytes(), (RESOURCES / "linktemplate.html").read_bytes())

    def test_bad_input_changes_nothing(self):
        self.chat("Kim on 2003.chat")
        self.chats.joinpath("cards.vcf").write_bytes(b"BEGIN:VCARD\r\nEND:VCARD\r\n")
        self.chats.joinpath("closed").mkdir()
        for arguments, before, reason in (
                (["--email", "sam"], [], '^"sam" is no mail address'), (["--email", ""], [], '^"" is no mail address'),
                (["--email", "Sam <sam@example.org>"], [], "is no mail address"),
                (["--me", "none.vcf"], [], "^none.vcf cannot be read: No such file"),
                (["--me", self.chats / "Kim on 2003.chat"], [], "2003.chat is no vCard file"),
                (["--contacts", self.chats / "cards.vcf"], [], "cards.vcf is no vCard file"),

                (["--contacts", self.chats / "closed"], [], "There is no address book with people who have AIM screen names in .*closed"),
                ([self.chats / "none"], [], "none cannot be read: No such file"),
                ([self.chats, self.chats / "cards.vcf"], [], "cards.vcf is neither a folder nor a transcript"),
                ([self.chats], ["Documents"], "Documents is a file where a folder must be"),
                ([self.chats], [TRANSCRIPTS], r"\(Prattlebugged\) is a file where"),
                ([self.chats], [SUPPORT], "Prattlebug is a file where"),
                ([self.chats], [SUPPORT + "/Images"], "Images is a file where"),
                ([self.chats, "--email", "a@b"], ["Library/Preferences"], "Preferences is a file where"),
                (["--email", "a@b", self.chats], ["Library/Preferences/com.velmoria.prattlebug.plist/"],
                 "preferences could not be written"),
        ):
            for path in before:
                os.makedirs(os.path.dirname(self.path(path)), exist_ok=True)
                if not path.endswith("/"):
                    self.write(path, b"a file")
            there = tree(self.home)
            output, errors = self.run_companion("setup", *arguments, code=1)
            self.assertEqual((output, errors.count("\n"), tree(self.home)), ("", 1, there), (arguments, errors))
            self.assertRegex(errors, reason)
            shutil.rmtree(self.home)
            os.makedirs(self.home)
        self.assertIn("There is no home folder", self.run_companion("--home", self.path("none"), "setup", code=1)[1])


main()
