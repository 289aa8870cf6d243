"""The typed stream writer, against bytes put together by hand from the description of the format."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "samples" / "make"))

from filewrapper import File, data_record, serialized
from model import Array, AttributedString, Dictionary, Number, String
from typedobjects import TypedObjects, typed_archive
from typedstream import TypedStream


def bare(byte_order="little"):
    return TypedStream(byte_order, header=False)


class Numbers(unittest.TestCase):
    def test_integers_take_the_shortest_form_that_is_no_tag(self):
        for value, little, big in (
            (0, "00", "00"),
            (-1, "ff", "ff"),
            (127, "7f", "7f"),
            (128, "81 80 00", "81 00 80"),
            (-110, "92", "92"),
            (-111, "81 91 ff", "81 ff 91"),
            (0x7FFF, "81 ff 7f", "81 7f ff"),
            (0x8000, "82 00 80 00 00", "82 00 00 80 00"),
            (-0x8001, "82 ff 7f ff ff", "82 ff ff 7f ff"),
            (0xFFFFFFFF, "82 ff ff ff ff", "82 ff ff ff ff"),
        ):
            for byte_order, expected in (("little", little), ("big", big)):
                with self.subTest(value=value, byte_order=byte_order):
                    stream = bare(byte_order)
                    stream.integer(value)
                    self.assertEqual(stream.data(), bytes.fromhex(expected))

    def test_reals_without_a_fraction_are_integers(self):
        stream = bare("big")
        stream.group("ffd", 12.0, 1.5, -0.25)
        self.assertEqual(stream.data(), bytes.fromhex("84 03 66 66 64  0c  83 3f c0 00 00  83 bf d0 00 00 00 00 00 00"))


class Tables(unittest.TestCase):
    def test_header(self):
        self.assertEqual(TypedStream("little").data(), b"\x04\x0bstreamtyped\x81\xe8\x03")
        self.assertEqual(TypedStream("big").data(), b"\x04\x0btypedstream\x81\x03\xe8")

    def test_objects_classes_and_strings_come_back_as_references(self):
        # Objects: the array, its two classes, the string, its class. Strings: @ NSArray NSObject i NSString +
        text = String("hi")
        body = (
            b"\x84\x01@\x84\x84\x84\x07NSArray\0\x84\x84\x08NSObject\0\x85\x84\x01i\x03"
            b"\x92\x84\x84\x84\x08NSString\x01\x94\x84\x01+\x02hi\x86"
            b"\x92\x95\x92\x85\x86"
        )
        self.assertEqual(typed_archive(Array([text, text, None])), TypedStream().data() + body)

    def test_c_strings_take_numbers_among_the_objects(self):
        stream = TypedObjects()
        stream.object(Number(5))
        # Object 0 is the number, 1 to 3 its classes, 4 its encoding. Strings 3 and 4: * and i.
        stream.object(Number(6))
        second = b"\x84\x93\x95\x96\x96\x06\x86"
        self.assertEqual(stream.data()[-len(second) :], second)
        self.assertEqual(stream.object_count, 6)

    def test_an_attribute_set_is_written_once(self):
        plain, bold = Dictionary([]), Dictionary([])
        stream = TypedObjects()
        stream.object(AttributedString(String("abcdef"), [(1, plain), (2, bold), (3, plain)]))
        runs = (
            b"\x84\x02iI\x01\x01\x94\x84\x84\x84\x0cNSDictionary\0\x94\x84\x01i\0\x86"
            b"\x97\x02\x02\x94\x84\x98\x99\0\x86"
            b"\x97\x01\x03\x86"
        )
        self.assertEqual(stream.data()[-len(runs) :], runs)


class FileWrappers(unittest.TestCase):
    def test_entries_have_names_then_lengths_then_records(self):
        wrapper = (
            b"rtfd\0\0\0\0"
            b"\3\0\0\0\2\0\0\0"
            b"\2\0\0\0..\1\0\0\0."
            b"\x09\0\0\0\x1c\0\0\0"
            b"\1\0\0\0\1\0\0\0x"
            b"\1\0\0\0\x14\0\0\0"
        )
        self.assertEqual(serialized(File(None, b"x"))[: len(wrapper)], wrapper)

    def test_large_contents_stand_behind_padding(self):
        contents = b"y" * 300
        record = data_record(contents)
        self.assertEqual(record[:12], b"\1\0\0\0\0\0\0\x80\x2c\1\0\0")
        padding = int.from_bytes(record[12:16], "little")
        self.assertEqual(record[16:], bytes(padding) + contents)


if __name__ == "__main__":
    unittest.main()
