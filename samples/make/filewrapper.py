"""The serialised file wrapper: how a file or folder lies in the data of an attachment."""

import struct
from dataclasses import dataclass

DATA_RECORD = 1
DIRECTORY_RECORD = 3
LARGE_DATA = 0x80000000
LARGE_DATA_FROM = 256
LARGE_DATA_ALIGNMENT = 16

CONTENTS = b".."
FILE_ATTRIBUTES = b"."
NAME_UTF8 = b"__@UTF8PreferredName@__"
NAME_8_BIT = b"__@PreferredName@__"


@dataclass(eq=False)
class File:
    name: str | None
    contents: bytes
    utf8_name: bool = True


@dataclass(eq=False)
class Folder:
    name: str | None
    children: list


def serialized(item):
    return b"rtfd" + struct.pack("<I", 0) + wrapper_record(item)


def wrapper_record(item):
    """The record of a file or folder with its name, as it stands at the top."""
    entries = name_entries(item)
    if isinstance(item, File):
        entries = [(CONTENTS, data_record(item.contents))] + entries
        entries.append((FILE_ATTRIBUTES, data_record(attributes(0o644))))
    else:
        entries.append((FILE_ATTRIBUTES, data_record(attributes(0o755))))
        entries += child_entries(item)
    return directory_record(entries)


def child_entries(folder):
    return [(child.name.encode("utf-8"), child_record(child)) for child in folder.children]


def child_record(item):
    """Inside a folder the entry's own name says enough."""
    if isinstance(item, File):
        return data_record(item.contents)
    return directory_record(child_entries(item))


def name_entries(item):
    if item.name is None:
        return []
    entries = [(NAME_8_BIT, data_record(item.name.encode("mac_roman", "replace")))]
    if not isinstance(item, File) or item.utf8_name:
        entries.append((NAME_UTF8, data_record(item.name.encode("utf-8"))))
    return entries


def attributes(mode):
    return struct.pack("<IIHHII", 1, 2, 0, mode, 2, 1)


def data_record(contents):
    if len(contents) < LARGE_DATA_FROM:
        return struct.pack("<II", DATA_RECORD, len(contents)) + contents
    head = struct.calcsize("<IIII")
    padding = -head % LARGE_DATA_ALIGNMENT + LARGE_DATA_ALIGNMENT // 2
    return struct.pack("<IIII", DATA_RECORD, LARGE_DATA, len(contents), padding) + bytes(padding) + contents


def directory_record(entries):
    """Entries are pairs of name and record, both bytes."""
    names = b"".join(struct.pack("<I", len(name)) + name for name, _ in entries)
    lengths = b"".join(struct.pack("<I", len(record)) for _, record in entries)
    records = b"".join(record for _, record in entries)
    return struct.pack("<II", DIRECTORY_RECORD, len(entries)) + names + lengths + records
