"""An archiving run that comes upon chats which are small as files and would be gigabytes as text."""

import os
import plistlib
import re
import resource
import shutil
import sys

from companion import SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path.append(os.path.join(SAMPLES, "make"))
from model import Font, String  # noqa: E402
from styles import FONT, Piece  # noqa: E402
from transcript import Keyed, Speaker, Transcript, Typed  # noqa: E402

RESOURCES = os.path.join(SAMPLES, "../resources")
SUPPORT = "Library/Prattlebug"
MALLORY = Speaker.of("AIM", "mallory")


def chat(form):
    return Transcript("mallory", "2005-03-01 12:00:00+00:00", form, "AIM", [MALLORY], shared_dictionaries=True)


def long_font_name(form, length=1_000_000, runs=4_000):
    """One text of many runs, whose fonts have a long name."""
    hostile = chat(form)
    fonts = [Font(String("x" * length), size, eight_bit=True) for size in (12, 24)]
    hostile.say(MALLORY, 1, *(Piece("x", ((FONT, fonts[number % 2]),)) for number in range(runs)))
    return hostile.data()


def repeated_message(form, words=100_000, times=8_000):
    """One large message, named many times."""
    hostile = chat(form)
    hostile.say(MALLORY, 1, "word " * words)
    hostile.messages *= times
    return hostile.data()


HOSTILE = {  # by name, with how many words mallory has said
    "mallory on 1.chat": (long_font_name(Typed()), 1),
    "mallory on 2.ichat": (long_font_name(Keyed()), 1),
    "mallory on 3.chat": (repeated_message(Typed()), 800_000_000),
    "mallory on 4.ichat": (repeated_message(Keyed()), 800_000_000),
}
MOST_MEMORY = 2 << 20  # kilobytes, sanitizers included


class Amplification(CompanionTest):
    def archive(self, names, code, ending):
        """Archives the samples, and these chats beside them, in a home folder of its own.

        Returns the messages, every file of the support folder but the statistics, these, and the log.
        """
        self.setUp()
        self.add_samples()
        for name in names:
            self.write(os.path.join(TRANSCRIPTS, name), HOSTILE[name][0])
        for name in os.listdir(RESOURCES):
            if name.endswith("template.html"):
                shutil.copy(os.path.join(RESOURCES, name), self.path(SUPPORT))
        output, log = self.run_companion("archive", self.path("Out"), code=code)
        self.assertIn("18 chats archived, 4 entries that are no transcripts" + ending + ".\n", output)
        with open(self.path("Out/Prattlebug Archive mbox"), "rb") as file:
            messages = re.sub(rb"(?m)^(From \S*) .*$", rb"\1", file.read())  # without the time of writing
        made = {}
        for folder, _, names in os.walk(self.path(SUPPORT)):
            for path in (os.path.join(folder, name) for name in names):
                with open(path, "rb") as file:
                    made[os.path.relpath(path, self.path(SUPPORT))] = file.read()
        made.pop("stats.html")
        return sorted(messages.split(b"\n\nFrom ")), made, plistlib.loads(made.pop("talkmeter.plist")), log

    def test_the_other_chats_are_archived_as_without_them(self):
        messages, made, statistics, _ = self.archive([], 0, "")
        messages_beside, made_beside, statistics_beside, log = self.archive(
            HOSTILE, 1, f", {len(HOSTILE)} chats could not be written")
        self.assertEqual(len(messages), 18)
        self.assertTrue(messages_beside == messages)
        self.assertGreater(len(made), 20)
        self.assertEqual([name for name in made if made_beside.get(name) != made[name]], [])
        self.assertEqual(made_beside.keys(), made.keys())
        words = sum(words for _, words in HOSTILE.values())
        for key, more in (("chatcount", len(HOSTILE)), ("othertextcount", words), ("usertextcount", 0), ("linkcount", 0),
                          ("imagecount", 0)):
            self.assertEqual(statistics_beside[key], statistics[key] + more, key)
        for reason in ("to be rendered", "for a mail message and has been left out"):
            self.assertEqual(log.count(f"The chat with mallory is too large {reason}.\n"), len(HOSTILE))
        self.assertLess(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss, MOST_MEMORY)


main()
