"""What a transcript is made of, before it is written in either form.

Everything compares by identity: one Python object becomes one archived object, however often it is used, and two that
look the same stay two.
"""

from dataclasses import dataclass, field
from datetime import datetime

UNIX_SECONDS_AT_REFERENCE_DATE = 978307200.0  # 2001-01-01 00:00:00 UTC
ATTACHMENT_CHARACTER = "\ufffc"


def entity(kind):
    return dataclass(eq=False)(kind)


@entity
class String:
    text: str
    mutable: bool = False


@entity
class Data:
    contents: bytes
    mutable: bool = False


@entity
class Number:
    value: float
    code: str = "i"


@entity
class Date:
    """Seconds since the reference date."""

    seconds: float

    @property
    def unix_seconds(self):
        return self.seconds + UNIX_SECONDS_AT_REFERENCE_DATE

    @staticmethod
    def from_unix(seconds):
        return Date(seconds - UNIX_SECONDS_AT_REFERENCE_DATE)

    @staticmethod
    def from_text(text):
        """From a date and time with its offset from UTC: "2004-07-01 20:15:03.25-05:00"."""
        return Date.from_unix(datetime.fromisoformat(text).timestamp())


@entity
class Array:
    items: list
    mutable: bool = False


@entity
class Dictionary:
    pairs: list
    mutable: bool = False


@entity
class Url:
    relative: String
    base: "Url | None" = None


@entity
class Font:
    name: String
    size: float
    # The name in a typed stream: UTF-16 with a byte-order mark, or the 8-bit encoding of older systems.
    eight_bit: bool = False


CALIBRATED_RGB, DEVICE_RGB, CALIBRATED_WHITE, DEVICE_WHITE, DEVICE_CMYK, NAMED = range(1, 7)


@entity
class Color:
    """Components 0 to 1, alpha last. A named colour has none, but its catalogue, name and a plain colour to fall to."""

    space: int
    components: tuple = ()
    catalog: String | None = None
    name: String | None = None
    fallback: "Color | None" = None


@entity
class ParagraphStyle:
    alignment: int = 4
    tabs: Array | None = None
    mutable: bool = False


@entity
class TextTab:
    location: float
    owner: ParagraphStyle | None = None


@entity
class FileWrapper:
    """A file or folder (filewrapper.py) that hangs on an attachment."""

    item: object


@entity
class Attachment:
    wrapper: FileWrapper | None


@entity
class AttributedString:
    """Text and its runs, each a length in UTF-16 units and an attribute dictionary."""

    string: String
    runs: list
    mutable: bool = False


@entity
class Presentity:
    service: String
    identifier: String


@entity
class Person:
    identifier: String


@entity
class InstantMessage:
    sender: Presentity | None
    time: Date | None
    text: AttributedString | None
    flags: int
    guid: String = field(default_factory=lambda: String(""))


def utf16_length(text):
    return len(text.encode("utf-16-le", "surrogatepass")) // 2
