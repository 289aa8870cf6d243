"""Every command that the manual and its chapters show, typed into a shell as it stands there."""

import os
import re
import shutil

from companion import PRATTLEBUG, SAMPLES, CompanionTest, main

DOCUMENTS = ("manual.md", "export.md", "moving-chats.md", "importing.md", "templates.md")
# What a reader has that stands for something else here.
STANDS_FOR = (
    ("--me /media/you/Macintosh\\ HD/Users/kim --contacts /media/you/Macintosh\\ HD/Users/kim",
     "--me me.vcf --contacts contacts.vcf"),  # there is no address book of a Mac here
    ("/media/you/Macintosh\\ HD", "~/mac"),
    ("/media/you/Backup", "~/mac/Documents"),
    ("mutt ", "mutt -n -F /dev/null -e 'set folder=/ spoolfile=/dev/null quit=yes' -e 'push <exit>' "),
)


class Manual(CompanionTest):
    def test_every_command(self):
        shutil.copytree(os.path.join(SAMPLES, "chats"), self.path("mac/Documents/iChats"))
        os.makedirs(self.path("from-mac"))
        os.makedirs(self.path(".thunderbird/abcd1234.default-release/Mail/Local Folders"))
        for name in ("me.vcf", "contacts.vcf"):
            shutil.copy(os.path.join(SAMPLES, name), self.home)
        self.environment["PATH"] = os.path.dirname(os.path.abspath(PRATTLEBUG)) + ":" + os.environ["PATH"]
        commands = []
        for document in DOCUMENTS:
            with open(os.path.join(SAMPLES, "../docs", document), encoding="utf-8") as file:
                commands += re.findall(r"(?m)^ {4,}((?:[a-z-]+) (?:[^'\n]|'[^']*')+)$", file.read())
        self.assertGreater(len(commands), 7, commands)
        for command in commands:
            for shown, here in STANDS_FOR:
                command = command.replace(shown, here)
            code, output = self.run_in_terminal("sh", "-c", f'cd && {command}')
            self.assertEqual(code, 0, (command, output))
        with open(self.path(".thunderbird/abcd1234.default-release/Mail/Local Folders/Chats"), "rb") as mbox:
            self.assertTrue(mbox.read().startswith(b"From you@example.org "))


main()
