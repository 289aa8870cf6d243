"""The committed samples are those that the program writes.

Python's own reader of property lists finds in the keyed ones what samples/expected says.
"""

import json
import plistlib
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SAMPLES = Path(__file__).resolve().parents[2] / "samples"
REFERENCE_DATE = 978307200.0


def files_below(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class CommittedFiles(unittest.TestCase):
    def test_are_what_the_program_writes(self):
        with tempfile.TemporaryDirectory() as scratch:
            subprocess.run([sys.executable, SAMPLES / "make", scratch], check=True)
            for part in ("chats", "expected"):
                written, committed = files_below(Path(scratch) / part), files_below(SAMPLES / part)
                self.assertEqual(sorted(written), sorted(committed))
                for name, data in written.items():
                    self.assertTrue(data == committed[name], f"{part}/{name} differs")


class KeyedArchive:
    """Just enough of a reader: plain values, and the records of dictionaries under their UIDs."""

    def __init__(self, path):
        archive = plistlib.loads(path.read_bytes())
        self.objects = archive["$objects"]
        self.top = archive["$top"]

    def index(self, uid):
        return uid.data if isinstance(uid, plistlib.UID) else uid["CF$UID"]

    def is_uid(self, value):
        return isinstance(value, plistlib.UID) or isinstance(value, dict) and list(value) == ["CF$UID"]

    def at(self, uid):
        """Nothing for nil."""
        index = self.index(uid)
        return None if index == 0 else self.objects[index]

    def items(self, uid):
        return [self.at(item) for item in self.at(uid)["NS.objects"]]

    def string(self, uid):
        value = self.at(uid)
        return value["NS.string"] if isinstance(value, dict) else value

    def uids(self):
        for holder in [self.top, *self.objects]:
            if isinstance(holder, dict):
                for value in holder.values():
                    yield from (item for item in (value if isinstance(value, list) else [value]) if self.is_uid(item))


class KeyedTranscripts(unittest.TestCase):
    def archives(self):
        paths = sorted((SAMPLES / "chats").rglob("*.ichat"))
        self.assertGreater(len(paths), 5)
        for path in paths:
            with self.subTest(path.name):
                expected = SAMPLES / "expected" / path.relative_to(SAMPLES / "chats")
                yield KeyedArchive(path), json.loads(Path(f"{expected}.json").read_text("utf-8"))

    def test_every_reference_leads_to_an_object(self):
        for archive, _ in self.archives():
            self.assertEqual(archive.objects[0], "$null")
            for uid in archive.uids():
                self.assertLess(archive.index(uid), len(archive.objects))
            for record in archive.objects:
                if isinstance(record, dict) and "$classname" not in record:
                    kind = archive.at(record["$class"])
                    self.assertEqual(kind["$classname"], kind["$classes"][0])

    def test_hold_what_is_expected_of_them(self):
        for archive, expected in self.archives():
            root = archive.items(archive.top["root"])
            participants = [archive.string(person["ID"]) for person in map(archive.at, root[3]["NS.objects"])]
            self.assertEqual(participants, expected["participants"])
            messages = [self.message(archive, archive.at(uid)) for uid in root[2]["NS.objects"]]
            self.assertEqual(messages, [self.without_attributes(message) for message in expected["messages"]])

    def test_runs_cover_the_text(self):
        for archive, _ in self.archives():
            for record in archive.objects:
                if isinstance(record, dict) and "NSAttributeInfo" in record:
                    numbers = list(self.seven_bit_numbers(archive.at(record["NSAttributeInfo"])["NS.data"]))
                    text = archive.string(record["NSString"])
                    self.assertEqual(sum(numbers[::2]), len(text.encode("utf-16-le")) // 2)
                    self.assertLess(max(numbers[1::2]), len(archive.items(record["NSAttributes"])))

    def message(self, archive, record):
        sender, time, text = (archive.at(record[key]) for key in ("Sender", "Time", "MessageText"))
        return {
            "raw": archive.string(sender["ID"]) if sender else None,
            "service": archive.string(sender["ServiceName"]) if sender else None,
            "time": time["NS.time"] + REFERENCE_DATE if time else None,
            "text": archive.string(text["NSString"]) if text else None,
        }

    def without_attributes(self, message):
        return {key: message[key] for key in ("raw", "service", "time", "text")}

    def seven_bit_numbers(self, data):
        number = shift = 0
        for byte in data:
            number |= (byte & 0x7F) << shift
            shift += 7
            if byte < 0x80:
                yield number
                number = shift = 0


if __name__ == "__main__":
    unittest.main()
