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
BOB = Path(SAMPLES, "chats/Bob on Mars on 2006-06-21 at 12.00.ichat")
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

    def copies(self):
        folder = Path(self.path(TRANSCRIPTS))
        return {str(path.relative_to(folder)): path for path in folder.rglob("*") if path.is_file()}

    def test_from_nothing_to_mails_and_pages(self):
        shutil.copytree(Path(SAMPLES, "chats"), self.chats / "Library/Messages/Archive")
        self.chat("Documents/iChats/Kim Lee.chat")
        output, errors = self.run_companion("setup", "--email", "sam@example.org", "--me", Path(SAMPLES, "me.vcf"),
                                            "--contacts", Path(SAMPLES, "contacts.vcf"), self.chats)
        self.assertEqual(errors, "")
        self.assertIn("Kim Lee.chat is now Kim Lee on ", output)
        self.assertNotIn("Still missing", output)
        self.assertIn("Next: prattlebug archive", output)
        # The entries are folders.
        self.assertIn("20 chats archived, 2 entries that are no transcripts.\n",
                      self.run_companion("archive", "--quiet", self.path("Out"))[0])
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
            self.assertEqual(printed.count(text), 20, text)
        self.assertIn("Subject: [IM] 李明\n", printed)
        with contextlib.closing(mailbox.mbox(mbox)) as mails:
            self.assertEqual(len(mails), 20)
        browser = open_browser(self)
        for page, text in (("Links.html", "Kim Lee"), ("Images.html", "Kim Lee"), ("stats.html", "20")):
            browser.get(Path(self.path(SUPPORT, page)).as_uri())
            self.assertIn(text, browser.find_element("tag name", "body").text, page)
            self.assertNotIn("____", browser.page_source)

        before = tree(self.home)
        output, _ = self.run_companion("setup", "--email", "sam@example.org", "--me", Path(SAMPLES, "me.vcf"), self.chats)
        self.assertIn("0 transcripts copied, 20 there already", output)
        after = tree(self.home)
        preferences = "Library/Preferences/com.velmoria.prattlebug.plist"
        self.assertEqual(after.pop(preferences)[0], before.pop(preferences)[0])
        self.assertEqual(after, before)

    def test_names_places_and_dates_of_copies(self):
        at = " on 2003-07-12 at "
        self.chat("a/b/Kim Lee on 2003-07-12 at 20.41.chat")
        self.chat("Library/Messages/Archive/2006/Bob on Mars.ichat", BOB)  # a folder of iChat's is no sub-folder
        self.chat("Kim Lee.chat")
        self.chat("Kim Lee #7.chat")
        self.chat("Kim am 2003-07-12 um 20.41 #2.chat")
        self.chat("Kim #x #12.chat")
        self.chat("Ü" * 120 + ".chat")
        self.chat("x/no chat.chat", data=b"nothing")
        self.chat("x/._Kim on 2003.chat")
        self.chat("x/Notes.txt")
        output, _ = self.run_companion("setup", self.chats)
        copies = self.copies()
        last = next(name for name in copies if name.startswith("Kim Lee" + at) and "#" not in name and "/" not in name)[-10:-5]
        self.assertEqual(sorted(copies), sorted([
            "a/b/Kim Lee on 2003-07-12 at 20.41.chat",
            "2006/Bob on Mars.ichat",
            f"Kim Lee{at}{last}.chat", f"Kim Lee{at}{last} #7.chat",
            f"Kim am 2003-07-12 um 20.41{at}{last} #2.chat",
            f"Kim #x{at}{last} #12.chat",
            "Ü" * 113 + f"{at}{last}.chat",
        ]))
        self.assertEqual({path.stat().st_mtime for path in copies.values()}, {OLD})
        self.environment["TZ"] = "Asia/Tokyo"  # where the clock tells another time
        self.assertIn("0 transcripts copied, 7 there already\n", self.run_companion("setup", self.chats)[0])
        self.assertRegex(output, "Left out, since they are no transcripts:\n    .*/x/no chat.chat: ")
        shown = self.run_companion("show", "--as", "json", KIM)[0]
        self.assertIn("2003-07-1", shown[shown.rindex('"time"'):], "the sample's last message is what the name tells")

    def test_transcripts_that_lie_there_under_other_names_get_copies(self):
        folder = self.chats = Path(self.path(TRANSCRIPTS))
        self.chat("Kim Lee.chat")
        self.chat("deep/Kim Lee #7.chat")
        self.chat("deep/Bob on Mars.ichat", BOB)
        self.chat("no chat.chat", data=b"nothing")
        before = tree(folder)
        checked = self.run_companion("check", code=1)[0]
        self.assertIn("1 can be read, 1 cannot. 2 more will not be archived for want of", checked)
        self.assertIn("prattlebug setup", checked)
        for run in range(3):
            output = self.run_companion("setup", *([], [folder], [folder / "deep/Kim Lee #7.chat"])[run])[0]
            after = tree(folder)
            self.assertEqual({name: after[name] for name in before}, before)
            added = sorted(set(after) - set(before))
            self.assertRegex("|".join(added), r"^Kim Lee on 2003-07-1\d at [\d.]{5}\.chat\|deep/Kim Lee on [^|]* #7\.chat$")
            self.assertEqual([after[name] for name in added], [before["Kim Lee.chat"]] * 2)
            self.assertEqual("2 transcripts copied" in output, run == 0)
            for old, new in zip(("Kim Lee.chat", "deep/Kim Lee #7.chat"), added):
                self.assertEqual(f"{old} is now also {new}\n" in output, run == 0)
        self.assertIn("3 can be read, 1 cannot.\n", self.run_companion("check", code=1)[0])
        self.assertIn("3 chats archived", self.run_companion("archive", "-q", self.path("Out"))[0])

    def test_never_over_a_different_file(self):
        name = "Kim on 2003-07-12.chat"
        self.chat(f"Documents/iChats/{name}", data=b"one")
        self.chat(f"Library/Messages/Archive/{name}", data=b"two", time=OLD + 1)
        self.chat("Documents/iChats/Bob on 2003 #2.chat", data=b"three")
        taken = Path(self.path(TRANSCRIPTS, "Bob on 2003 #2.chat"))
        taken.parent.mkdir(parents=True)
        taken.write_bytes(b"other")
        for _ in range(2):
            self.run_companion("setup", self.chats)
            copies = {name: path.read_bytes() for name, path in self.copies().items()}
            self.assertEqual({copies.pop(name), copies.pop("Kim on 2003-07-12 #2.chat")}, {b"one", b"two"})
            self.assertEqual(copies, {"Bob on 2003 #2.chat": b"other", "Bob on 2003 #3.chat": b"three"})
        # A copy that has lost its date gets it back; one of the home itself is no source.
        copy = self.copies()["Bob on 2003 #3.chat"]
        os.utime(copy)
        self.run_companion("setup", self.chats)
        self.assertEqual(copy.stat().st_mtime, OLD)
        self.assertIn("0 transcripts copied\n", self.run_companion("setup", self.home)[0])

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
                (["--contacts", self.chats], [], "cannot be read: Is a directory"),
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
