"""What the companion shows on a terminal: nothing that a terminal would obey, and no more than a person reads."""

import os
import plistlib
import sys
import unicodedata

from companion import PRATTLEBUG, SAMPLES, TRANSCRIPTS, CompanionTest, main

sys.path.append(os.path.join(SAMPLES, "make"))
from transcript import Keyed, Speaker, Transcript, Typed  # noqa: E402

ESCAPE = "\x1b]0;title\x07\x1b[2J\x9b1m"
SHOWN = "\ufffd]0;title\ufffd\ufffd[2J\ufffd1m"
MALLORY = Speaker.of("AIM", "mallory" + ESCAPE)


def chat(text, form=Typed, times=1):
    transcript = Transcript("mallory", "2005-03-01 12:00:00+00:00", form(), "AIM", [MALLORY])
    transcript.say(MALLORY, 1, text)
    transcript.messages *= times
    return transcript.data()


class Terminal(CompanionTest):
    def test_escapes_are_shown_not_obeyed_and_stay_as_they_are_in_pipes(self):
        name = f"mallory{ESCAPE} on 1.chat"
        path = self.write(os.path.join(TRANSCRIPTS, name), chat("line\r\nsecond\x1b[31m"))
        self.write(os.path.join(TRANSCRIPTS, f"{ESCAPE} on 2.chat"), b"damaged")
        os.makedirs(self.path("Library/Prattlebug/Images"))
        preferences = plistlib.dumps({"reportThis": ESCAPE, "errorStatus": 2, "emailUsername": ESCAPE}, fmt=plistlib.FMT_BINARY)
        self.write("Library/Preferences/com.velmoria.prattlebug.plist", preferences)
        self.environment["NO_COLOR"] = "1"
        for code, arguments in (
                (0, ("show", path)), (0, ("show", "--as", "html", path)), (0, ("show", "--as", "subject", path)),
                (0, ("search", "second")), (1, ("check",)), (0, ("status",)), (0, ("prefs",)), (0, ("prefs", "emailUsername")),
                (0, ("archive", self.path("Out"))), (1, ("show", self.path(ESCAPE))), (2, ("prefs", ESCAPE)),
                (2, ("search", "x", "--since", ESCAPE))):
            result, shown = self.run_in_terminal(PRATTLEBUG, *arguments)
            shown = shown.replace(b"\r\x1b[K", b"").replace(b"\a", b"", 1 if arguments[0] == "archive" else 0)  # our own
            self.assertEqual(result, code, arguments)
            self.assertIn(SHOWN.encode(), shown, arguments)
            for obeyed in (b"\x1b", b"\a", "\x9b".encode()):
                self.assertNotIn(obeyed, shown, arguments)
            self.assertIn(ESCAPE, "".join(self.run_companion(*arguments, code=code)), arguments)
        with open(self.path("Library/Preferences/com.velmoria.prattlebug.plist"), "rb") as file:
            self.assertEqual(file.read(), preferences)
        self.assertIn(b": line\r\nsecond", self.run_in_terminal(PRATTLEBUG, "show", path)[1])

    def test_search_looks_at_a_text_once_and_cuts_it_on_a_terminal_only(self):
        self.environment["NO_COLOR"] = "1"
        text = "word " * 20_000
        self.write(os.path.join(TRANSCRIPTS, "mallory on 1.chat"), chat(text, times=500_000))
        self.run_companion("search", "absent", code=1)
        self.write(os.path.join(TRANSCRIPTS, "mallory on 1.chat"), chat(text + "needle " + text, times=3))
        shown = self.run_in_terminal(PRATTLEBUG, "search", "needle")[1].decode()
        heading, *lines = shown.split("\r\x1b[K")[-1].splitlines()  # without the bar
        self.assertRegex(heading, "^mallory .* mallory on 1.chat$")
        self.assertEqual(len(lines), 3)
        for line in lines:
            self.assertRegex(line, "^  04:00   mallory.{1,40}: ….{1,40}needle .{1,80}…$")
        self.assertIn(text, self.run_companion("search", "needle")[0])

    def test_search_finds_what_stands_beside_a_nul_or_half_a_character(self):
        self.write(os.path.join(TRANSCRIPTS, "Ann on 1.chat"), chat("a\0needle b"))
        self.write(os.path.join(TRANSCRIPTS, "Ann on 1.ichat"), chat("a\0needle b\ue000c", Keyed).replace(b"\xe0\0", b"\xdc\0"))
        for word, count in (("needle", 2), ("a\ufffdneedle", 2), ("b\ufffdc", 1), ("\ufffd", 2)):
            for how in ((), ("--no-index",)):
                self.assertEqual(self.run_companion("search", "--count", word, *how)[0], f"{count}\n", word)

    def test_columns_are_cells_in_any_script(self):
        self.environment["NO_COLOR"] = "1"
        for name in ("Ann", "李明", "Zoe\u0308"):
            self.write(os.path.join(TRANSCRIPTS, f"{name} on 1.chat"), chat("漢字" * 500 + "needle" + "字" * 500))

        def cells(line):
            return sum(0 if unicodedata.combining(letter) else 2 if unicodedata.east_asian_width(letter) == "W" else 1 for letter in line)

        listed = self.run_in_terminal(PRATTLEBUG, "list")[1].decode().splitlines()[-3:]
        self.assertEqual(len({cells(line[:line.index(" messages")]) for line in listed}), 1, listed)
        found = [line for line in self.run_in_terminal(PRATTLEBUG, "search", "needle")[1].decode().splitlines() if "needle" in line]
        for line in listed + found:
            self.assertIn(cells(line), (79, 80), line)
        self.assertEqual(len(found), 3)


main()
