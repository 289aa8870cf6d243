"""Uses the installed program as somebody at the desktop does: program_test.py ARCHIVER COMPANION"""

import fcntl
import os
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from threading import Event, Thread
from urllib.parse import unquote

from desktop import Application, Desktop, wait_for

SOURCE = Path(__file__).resolve().parents[2]
WINDOW = "Prattlebug Archiver"
PANEL = "Generated mbox File"
MESSAGE = "After the Prattlebug Archiver has finished processing, import this file into your mail program."
COMPLETE = "Import Complete"
COMPLETE_TEXT = "The archive file is ready to be imported into your mail client."
ERROR = "Archiver Error"
ERROR_TEXT = ("You must have Prattlebug set up in order to use this program. Please go to the Prattlebug preferences "
              "and click Start to finish setup.")

NO_CHATS = "There are no chats yet. Import Chats…"
IMPORT = "Import Chats"


def everything_in(folder):
    return sorted((path.relative_to(folder), path.read_bytes() if path.is_file() else None)
                  for path in folder.rglob("*"))


def without_writing_times(mbox):
    """The bytes of an mbox without the moment of archiving, which stands in its separator lines."""
    return re.sub(rb"(?m)^(From \S* )\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}$", rb"\1", mbox)


class WindowTest(unittest.TestCase):
    def setUp(self):
        self.desktop = the_desktop
        folder = tempfile.TemporaryDirectory(prefix="prattlebug-window-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.home = self.folder / "home"
        self.transcripts = self.home / "Documents" / "iChats (Prattlebugged)"
        self.output = self.home / "Prattlebug Archive"
        self.mbox = self.output / "Prattlebug Archive mbox"

    def set_up_samples(self):
        subprocess.run([SOURCE / "scripts" / "sample-home.sh", self.home, companion], check=True)

    def start(self, **options):
        application = Application(self.desktop, archiver, self.home, **options)
        self.addCleanup(application.close)
        return application

    def companions_mbox(self, *options):
        folder = self.folder / "companion"
        subprocess.run([companion, "--home", self.home, "archive", "--quiet", *options, folder], check=True,
                       stdout=subprocess.DEVNULL)
        return (folder / "Prattlebug Archive mbox").read_bytes()

    def check_mbox(self, *options):
        self.assertEqual(without_writing_times(self.mbox.read_bytes()),
                         without_writing_times(self.companions_mbox(*options)))

    def dismiss_completion(self, application):
        """Waits for the alert at the end, and gives what the window's line says meanwhile."""
        alert = application.wait_for_window(COMPLETE)
        self.assertIn(COMPLETE_TEXT, alert.labels())
        line = application.window.labels()[-1]
        bar = application.window.find("progress bar")
        self.assertEqual(bar.value, bar.maximum)
        alert.find("push button", "OK").click()
        application.wait_for_window(WINDOW)
        return line


class ImportingTest(WindowTest):
    def open_dialog(self, folder):
        """Starts the program, and has the import look through a folder."""
        self.home.mkdir(exist_ok=True)
        application = self.start(PATH=f"{Path(companion).parent}:{os.environ['PATH']}")
        self.desktop.press("ctrl+i")
        dialog = application.wait_for_window(IMPORT)
        self.desktop.type(str(folder))
        self.desktop.press("Return")
        return application, dialog

    def wait_for_label(self, dialog, pattern):
        wait_for(lambda: any(re.search(pattern, label) for label in dialog.labels()), pattern)

    def test_a_disk_from_the_menu_to_the_line(self):
        disk = self.folder / "disk"
        shutil.copytree(SOURCE / "samples/chats", disk / "Users/kim/Documents/iChats")
        book = disk / "Users/kim/Library/Application Support/AddressBook/Metadata/1:ABPerson.abcdp"
        book.parent.mkdir(parents=True)
        book.write_bytes(plistlib.dumps({"First": "Kim", "Last": "Lee", "AIMInstant": {"values": ["kimlee77"]}}))
        application, dialog = self.open_dialog(disk)
        self.wait_for_label(dialog, "^19 transcripts found: 19 to be copied")
        self.wait_for_label(dialog, "has one person with an AIM screen name")
        self.assertFalse(self.transcripts.exists())
        email = dialog.find("text", "Your e-mail address:")
        email.click()
        self.desktop.type("sam@example.org")
        dialog.find("push button", "Import").click()
        self.wait_for_label(dialog, "^19 transcripts found: 19 copied")
        dialog.find("check box", "Details").click()
        self.assertIn("Contacts: 1 card", wait_for(lambda: dialog.find("text", "Details of the import").text, "the details"))
        dialog.find("push button", "Close").click()
        self.assertEqual(application.wait_for_window(WINDOW).labels()[-1], "Ready.")
        self.assertEqual(len([path for path in self.transcripts.rglob("*") if path.suffix in (".chat", ".ichat")]), 19)
        shown = subprocess.run([companion, "--home", self.home, "prefs", "emailAddress"], capture_output=True, text=True, check=True)
        self.assertIn("sam@example.org", shown.stdout)

    def test_cancelled_while_it_copies(self):
        chats = self.folder / "disk/Documents/iChats"
        chats.mkdir(parents=True)
        for number in range(20_000):
            (chats / f"Kim on {number}.chat").write_bytes(b"\x04\x0bstreamtyped%d" % number)
        application, dialog = self.open_dialog(chats)
        self.wait_for_label(dialog, "^20000 transcripts found")
        dialog.find("push button", "Import").click()
        self.wait_for_label(dialog, "transcripts copied$")
        dialog.find("push button", "Cancel").click()
        self.wait_for_label(dialog, "^Stopped after [0-9]+ of 20000 transcripts copied")
        copied = list(self.transcripts.glob("*.chat"))
        self.assertTrue(0 < len(copied) < 20_000)
        for path in copied:
            self.assertEqual(path.read_bytes(), (chats / path.name).read_bytes())
        self.desktop.press("Escape")
        application.wait_for_window(WINDOW)

    def test_a_folder_that_is_not_there(self):
        _, dialog = self.open_dialog(self.folder / "none")
        self.wait_for_label(dialog, "none cannot be read: No such file or directory")


class ArchivingTest(WindowTest):
    def test_from_the_button_to_the_end(self):
        self.set_up_samples()
        subprocess.run([companion, "--home", self.home, "prefs", "emailAddress", "sam@example.org"], check=True)
        broken = self.transcripts / "broken on x.chat"
        broken.write_bytes(b"no chat")
        application = self.start()
        application.window.find("push button", "Archive Chats…").click()
        panel = application.wait_for_window(PANEL)
        self.assertIn(MESSAGE, panel.labels())
        self.assertEqual(panel.find("text", "Name:").text, "Prattlebug Archive")
        self.assertEqual(panel.find("combo box").name, str(self.home))
        panel.find("push button", "Save").click()
        line = self.dismiss_completion(application)
        self.assertRegex(line, r"^19 chats archived, \d+ entries that are no transcripts, 1 chat could not be read\.$")
        self.assertEqual([unquote(uri) for uri in self.desktop.next_shown()], [f"file://{self.mbox}"])
        application.window.find("push button", "Details…").click()
        details = application.wait_for_window("What Could Not Be Archived")
        self.assertRegex(details.find("text").text, f"^Could not be read: {re.escape(str(broken))}: .+$")
        self.desktop.press("Escape")
        application.wait_for_window(WINDOW)
        self.assertEqual(self.mbox.read_bytes().count(b"\nTo: sam@example.org\n"), 19)
        self.check_mbox()
        self.desktop.press("ctrl+q")
        self.assertEqual(application.process.wait(), 0)

    def test_twice_with_the_same_name(self):
        self.set_up_samples()
        application = self.start()
        for _ in range(2):
            self.desktop.press("Return")
            application.wait_for_window(PANEL)
            self.desktop.press("Return")
            self.dismiss_completion(application)
            self.desktop.next_shown()
            self.assertEqual([path.name for path in self.output.iterdir()], [self.mbox.name])
            self.check_mbox()
            self.mbox.write_bytes(b"left over\n" * 100_000)
            (self.transcripts / "Gus on 2005-04-02 at 09.12.chat").unlink(missing_ok=True)

    def test_with_closed_streams_and_a_chat_that_does_not_fit_into_memory(self):
        self.set_up_samples()
        (self.transcripts / "hole on x.chat").touch()
        is_sanitized = b"__asan_init" in Path(archiver).read_bytes()  # which takes more memory than there is
        os.truncate(self.transcripts / "hole on x.chat", 0 if is_sanitized else 2**31 - 1)
        limit = "" if is_sanitized else "ulimit -v 2000000; "  # kB
        application = self.start(prefix=("sh", "-c", limit + "exec \"$@\" <&- >&- 2>&-", "sh"))
        self.desktop.press("Return")
        application.wait_for_window(PANEL)
        self.desktop.press("Return")
        self.assertRegex(self.dismiss_completion(application), "^19 chats archived, .* 1 chat could not be read")
        self.desktop.next_shown()
        (self.transcripts / "hole on x.chat").unlink()
        self.check_mbox()

    def test_another_name_in_another_folder(self):
        self.set_up_samples()
        (self.home / "Mail").mkdir()
        application = self.start()
        self.desktop.press("ctrl+s")
        application.wait_for_window(PANEL)
        self.desktop.type("Old")
        self.desktop.press("Tab", "Tab", "Tab", "End", "Return", "shift+Tab", "shift+Tab", "shift+Tab", "End")
        self.desktop.type(" chats")
        self.desktop.press("Return")
        self.dismiss_completion(application)
        self.mbox = self.home / "Mail" / "Old chats" / "Prattlebug Archive mbox"
        self.assertEqual([unquote(uri) for uri in self.desktop.next_shown()], [f"file://{self.mbox}"])
        self.check_mbox()

    def test_cancelled(self):
        self.set_up_samples()
        before = everything_in(self.home)
        application = self.start()
        application.window.find("push button", "Archive Chats…").click()
        application.wait_for_window(PANEL).find("push button", "Cancel").click()
        application.wait_for_window(WINDOW)
        self.desktop.press("Return")
        application.wait_for_window(PANEL)
        self.desktop.press("Escape")
        application.wait_for_window(WINDOW)
        self.assertEqual(everything_in(self.home), before)
        self.assertEqual(application.window.labels()[-1], "Ready.")

    def test_without_a_transcript_folder(self):
        self.home.mkdir()
        before = everything_in(self.home)
        application = self.start()
        self.assertEqual(application.window.labels()[-1], NO_CHATS)
        application.window.find("push button", "Archive Chats…").click()
        alert = application.wait_for_window(ERROR)
        self.assertIn(ERROR_TEXT, alert.labels())
        self.assertEqual([w.name for w in alert.descendants() if w.role == "push button"], ["Cancel"])
        alert.find("push button", "Cancel").click()
        self.assertEqual(application.wait_for_window(WINDOW).labels()[-1], NO_CHATS)
        self.assertEqual(everything_in(self.home), before)

    def test_with_the_check_box(self):
        self.set_up_samples()
        subprocess.run(["touch", "-d", "2005-06-01", self.transcripts], check=True)
        application = self.start()
        application.window.find("check box").click()
        wait_for(lambda: application.window.find("check box").has_state("CHECKED"), "the check mark")
        self.desktop.press("ctrl+s")
        application.wait_for_window(PANEL)
        self.desktop.press("Return")
        line = self.dismiss_completion(application)
        self.desktop.next_shown()
        self.assertRegex(line, r"^10 chats archived, .*\b\d+ passed over as new\.$")
        self.check_mbox("--skip-new")

    def test_empty_transcript_folder(self):
        self.transcripts.mkdir(parents=True)
        application = self.start()
        self.desktop.press("Return")
        application.wait_for_window(PANEL)
        self.desktop.press("Return")
        self.assertEqual(self.dismiss_completion(application), "0 chats archived.")
        self.assertEqual([unquote(uri) for uri in self.desktop.next_shown()], [f"file://{self.mbox}"])
        self.assertEqual(self.mbox.read_bytes(), b"")

    def test_reader_from_the_menu(self):
        program = self.home / "bin" / "prattlebug-reader"
        program.parent.mkdir(parents=True)
        program.write_text(f"#!/bin/sh\ntouch '{self.home}/started'\n")
        program.chmod(0o755)
        self.start(PATH=f"{program.parent}:{os.environ['PATH']}")
        self.desktop.press("ctrl+o")
        wait_for((self.home / "started").exists, "the reader")

    def test_file_in_the_way(self):
        self.set_up_samples()
        self.output.write_bytes(b"no folder\n")
        application = self.start()
        self.desktop.press("Return")
        panel = application.wait_for_window(PANEL)
        self.assertIn("No archive can be made: a file of this name is there already.", panel.labels())
        before = everything_in(self.home)
        self.desktop.press("Return")
        self.assertFalse(panel.find("push button", "Save").has_state("ENABLED"))
        self.desktop.press("Escape")
        application.wait_for_window(WINDOW)
        self.assertEqual(everything_in(self.home), before)

    def test_at_work(self):
        """Holds the program in the middle of its work: its console log goes into a pipe that nobody empties."""
        self.transcripts.mkdir(parents=True)
        for number in range(400):
            (self.transcripts / f"Entry {number}, whose name helps to fill the pipe").touch()
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        fcntl.fcntl(writing, fcntl.F_SETPIPE_SZ, 4096)
        application = self.start(stderr=writing)
        os.close(writing)
        bar_x, bar_y, bar_width, bar_height = application.window.find("progress bar").place
        start = bar_x + 6, bar_y + bar_height // 2
        end = bar_x + bar_width - 6, bar_y + bar_height // 2
        empty = self.desktop.pixel(*start)
        button = application.window.find("push button", "Archive Chats…").place
        icon = application.window.find("image").place
        headline = self.desktop.region(icon)
        self.desktop.press("Return")
        application.wait_for_window(PANEL)
        self.assertNotEqual(self.desktop.region(icon), headline, "the panel covers it")
        self.desktop.press("Return")

        wait_for(lambda: self.desktop.pixel(*start) != empty, "the bar to move")
        while self.desktop.region(icon) != headline:  # whatever the panel uncovers is drawn again
            os.read(reading, 512)
            time.sleep(0.02)
        self.assertEqual(self.desktop.pixel(*end), empty, "still at work")

        # Neither clicks nor keys of this time start a second run.
        x, y, width, height = button
        self.desktop.xdotool("mousemove", str(x + width // 2), str(y + height // 2), "click", "--repeat", "3", "1")
        self.desktop.press("Return", "ctrl+s")
        Thread(target=lambda: [None for _ in iter(lambda: os.read(reading, 65536), b"")], daemon=True).start()
        self.assertEqual(self.dismiss_completion(application), "0 chats archived, 400 entries that are no transcripts.")
        self.desktop.next_shown()
        self.desktop.press("F1")
        application.wait_for_window("Prattlebug Archiver Help")
        self.assertNotIn(PANEL, application.windows())


class PreferencesTest(WindowTest):
    def test_beside_the_companion(self):
        """Both write the preferences at once, again and again, and nobody ever finds half of them."""
        path = self.home / "Library" / "Preferences" / "com.velmoria.prattlebug.plist"
        path.parent.mkdir(parents=True)
        path.write_bytes(plistlib.dumps({"somebody else's": ["kept"]}))
        done = Event()

        def stored():
            return plistlib.loads(path.read_bytes())

        def prefer(key, value):
            subprocess.run([companion, "--home", self.home, "prefs", key, value], check=True)

        def write_again_and_again():
            number = 0
            while not done.is_set():
                number += 1
                prefer("subjectNumber", str(number))
                self.assertEqual(stored()["subjectNumber"], number)
            return number

        def read_again_and_again():
            while not done.is_set():
                self.assertEqual(stored()["somebody else's"], ["kept"])

        application = self.start()
        with ThreadPoolExecutor() as threads:
            writing = threads.submit(write_again_and_again)
            reading = threads.submit(read_again_and_again)
            try:
                for number in range(10):
                    self.desktop.press("ctrl+comma")
                    application.wait_for_window("Preferences")
                    prefer("emailUsername", f"user {number}")  # which the panel does not show
                    self.desktop.press("ctrl+a")
                    self.desktop.type(f"sam{number}@example.org")
                    self.desktop.press("Return")
                    application.wait_for_window(WINDOW)
                    self.assertEqual(stored()["emailAddress"], f"sam{number}@example.org")
                    self.assertEqual(stored()["emailUsername"], f"user {number}")
            finally:
                done.set()
            last = writing.result()
            reading.result()
        self.assertEqual(stored(), {"somebody else's": ["kept"], "subjectNumber": last, "emailUsername": "user 9",
                                    "emailAddress": "sam9@example.org"})
        self.assertEqual([entry.name for entry in path.parent.iterdir()], [path.name])


class DesktopTest(WindowTest):
    def test_folder_is_opened_without_a_file_manager_or_a_bus(self):
        self.desktop.tell_services("leave")
        self.addCleanup(self.desktop.tell_services, "return")
        self.transcripts.mkdir(parents=True)
        commands = self.folder / "commands"
        commands.mkdir()
        opened = self.folder / "opened"
        (commands / "xdg-open").write_text(f"#!/bin/sh\necho \"$1\" >'{opened}.new'; mv '{opened}.new' '{opened}'\n")
        (commands / "xdg-open").chmod(0o755)
        for bus in (os.environ["DBUS_SESSION_BUS_ADDRESS"], "unix:path=/nowhere"):
            process = subprocess.Popen([archiver], stderr=subprocess.DEVNULL, env={
                **os.environ, "HOME": str(self.home), "PATH": f"{commands}:{os.environ['PATH']}", "DBUS_SESSION_BUS_ADDRESS": bus})
            self.addCleanup(process.wait)
            self.addCleanup(process.kill)
            for title in (WINDOW, PANEL, COMPLETE):
                self.desktop.xdotool("search", "--sync", "--onlyvisible", "--name", f"^{title}$", "windowfocus", "--sync")
                self.desktop.press("Return")
            wait_for(opened.exists, "the folder to be opened")
            self.assertEqual(unquote(opened.read_text().strip()), f"file://{self.output}")
            opened.unlink()
            process.kill()
            process.wait()

    def background(self, application):
        x, y, width, height = application.window.place
        return sum(self.desktop.pixel(x + width // 2, y + height - 4)) / 3

    def test_follows_the_appearance(self):
        self.home.mkdir()
        self.addCleanup(self.desktop.tell_services, "light")
        application = self.start()
        wait_for(lambda: self.background(application) > 200, "light colours")
        self.desktop.tell_services("dark")
        wait_for(lambda: self.background(application) < 80, "dark colours")
        application.close()
        application = self.start()
        wait_for(lambda: self.background(application) < 80, "dark colours from the start")
        self.desktop.tell_services("light")
        wait_for(lambda: self.background(application) > 200, "light colours again")


if __name__ == "__main__":
    archiver, companion = sys.argv[1:3]
    the_desktop = Desktop()
    try:
        unittest.main(argv=[sys.argv[0], "-v", *sys.argv[3:]])
    finally:
        the_desktop.close()
