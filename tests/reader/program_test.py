"""Uses the reader as somebody at the desktop does: program_test.py READER COMPANION"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from desktop import Application, Desktop, wait_for

SOURCE = Path(__file__).resolve().parents[2]
TITLE = "Prattlebug Reader"


def everything_in(folder):
    return sorted((path.relative_to(folder), path.read_bytes() if path.is_file() else None)
                  for path in folder.rglob("*"))


class ReaderTest(unittest.TestCase):
    def setUp(self):
        self.desktop = the_desktop
        folder = tempfile.TemporaryDirectory(prefix="prattlebug-reader-test-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.home = self.folder / "home"

    def set_up_samples(self):
        subprocess.run([SOURCE / "scripts" / "sample-home.sh", self.home, companion], check=True)

    def start(self, *arguments, title=TITLE, **environment):
        application = Application(self.desktop, reader, self.home, arguments, title, TZ="America/Los_Angeles",
                                  PATH=f"{Path(companion).parent}:{os.environ['PATH']}", **environment)
        self.addCleanup(application.close)
        return application

    def rows(self, window, name):
        try:
            return [row.name for row in window.find("list", name).descendants() if row.role == "list item"]
        except self.desktop.gone:
            return []  # the list has changed while it was read

    def pasted(self, window):
        """What the clipboard holds, on one line, by way of the filter's field."""
        field = window.find("text", "Filter people")
        field.click()
        self.desktop.press("ctrl+a", "ctrl+v")
        return wait_for(lambda: field.text, "the clipboard's text")

    def chat_of_kim(self):
        """The chat of a picture, a file and odd links."""
        application = self.start()
        wait_for(lambda: len(self.rows(application.window, "People")) > 5, "the people")
        self.desktop.press("alt+1")
        self.desktop.type("Kim Lee")
        wait_for(lambda: len([row for row in self.rows(application.window, "Chats") if "Kim Lee" in row]) == 4,
                 "the chats of one person")
        self.desktop.press("alt+2", "Home")
        window = application.wait_for_window("Kim Lee – " + TITLE)
        self.desktop.press("alt+3")
        return application, window

    def test_from_a_person_to_what_they_said(self):
        self.set_up_samples()
        application, window = self.chat_of_kim()
        self.assertTrue(any("14 messages" in label for label in window.labels()), window.labels())
        self.assertEqual(self.rows(window, "Chat")[0], "Kim Lee, 15:00: so. it is official. Lisbon, from March 1")
        self.desktop.press("ctrl+a", "ctrl+c")
        text = self.pasted(window)
        self.assertRegex(text, r"Tuesday, 20 January 2009\s15:00 Kim Lee: so\. it is official\. Lisbon, from March 1")
        self.assertIn("[boarding pass.pdf]", text)
        x, y, width, height = window.find("text", "Filter people").place
        chat = (x + 520, y + 60, 300, 300)
        plain = self.desktop.region(chat)
        self.desktop.press("ctrl+t")
        wait_for(lambda: self.desktop.region(chat) != plain, "the styles of the chat")

    def test_picture_file_and_link(self):
        self.set_up_samples()
        application, window = self.chat_of_kim()
        self.desktop.press("Tab", "Return")
        application.wait_for_window("azulejos.png")
        self.desktop.press("Escape")
        application.wait_for_window(window.name)
        self.desktop.press("Tab", "Tab", "Return")
        application.wait_for_window("Save File")
        saved = self.folder / "pass.pdf"
        self.desktop.press("ctrl+a")
        self.desktop.type(str(saved))
        self.desktop.press("Return")
        wait_for(saved.exists, "the saved file")
        self.assertEqual(saved.read_bytes()[:4], b"%PDF")
        self.assertEqual(saved.stat().st_mode & 0o111, 0)
        application.wait_for_window(window.name)
        self.desktop.press("Tab", "Return")
        question = application.wait_for_window(TITLE)
        self.assertIn("ferry:cacilhas?at=18:05", question.labels())
        self.desktop.press("Escape")
        application.wait_for_window(window.name)

    def test_search_and_back(self):
        self.set_up_samples()
        application = self.start()
        wait_for(lambda: len(self.rows(application.window, "People")) > 5, "the people")
        self.desktop.press("alt+1", "alt+2", "Home")
        first = wait_for(lambda: next((title for title in application.windows() if title != TITLE), None), "a chat")
        self.desktop.press("ctrl+shift+f")
        self.desktop.type("has:link")
        wait_for(lambda: len(self.rows(application.window, "Results")) > 0, "results")
        self.desktop.press("ctrl+a")
        self.desktop.type("nine times")
        wait_for(lambda: len(self.rows(application.window, "Results")) == 1, "the one result")
        self.desktop.press("Return", "Return")
        window = application.wait_for_window("Kim Lee – " + TITLE)
        self.desktop.press("ctrl+c")  # what is marked
        self.assertEqual(self.pasted(window), "nine")
        self.desktop.press("ctrl+shift+f", "Escape", "alt+3", "ctrl+f")
        self.desktop.type("the")
        wait_for(lambda: any(label.endswith(" of 6") for label in window.labels()), "the matches in the chat")
        self.desktop.press("Escape", "alt+Left")
        application.wait_for_window(first)

    def test_new_transcripts_come_by_themselves(self):
        self.set_up_samples()
        application = self.start()
        wait_for(lambda: len(self.rows(application.window, "People")) > 5, "the people")
        self.assertNotIn("newcomer", " ".join(self.rows(application.window, "People")))
        folder = next(self.home.rglob("Gus on 2005-04-02 at 09.12.chat")).parent
        shutil.copy(SOURCE / "samples/chats/Gus on 2005-04-02 at 09.12.chat", folder / "newcomer on 2009-04-02 at 09.12.chat")
        shown = len(self.rows(application.window, "Chats"))
        wait_for(lambda: len(self.rows(application.window, "Chats")) > shown, "the new chat")

    def test_named_files_are_only_read(self):
        self.set_up_samples()
        given = self.folder / "given"
        given.mkdir()
        shutil.copy(SOURCE / "samples/chats/Gus on 2005-04-02 at 09.12.chat", given / "old.CHAT")
        (given / "other.chat").write_bytes(b"what another program calls a chat\n")
        (given / "list.txt").write_text("milk\n")
        before = everything_in(self.folder)
        application = self.start(given / "old.CHAT", title="gusgus – " + TITLE)
        wait_for(lambda: len(self.rows(application.window, "People")) == 2, "the one person")
        application.close()
        for name, reason in (("other.chat", "cannot be read as a chat"), ("list.txt", "cannot be read as a chat")):
            application = self.start(given / name)
            wait_for(lambda: any(reason in widget.accessible.get_description()
                                 for widget in application.window.descendants()), reason)
            wait_for(lambda: any(name in row for row in self.rows(application.window, "Chats")), name)
            application.close()
        self.assertEqual(everything_in(self.folder), before)

    def test_without_chats_it_offers_to_import_some(self):
        self.home.mkdir()
        application = self.start()
        application.window.find("push button", "Import Chats…").click()
        application.wait_for_window("Import Chats")


if __name__ == "__main__":
    reader, companion = sys.argv[1:3]
    the_desktop = Desktop()
    try:
        unittest.main(argv=[sys.argv[0], "-v", *sys.argv[3:]])
    finally:
        the_desktop.close()
