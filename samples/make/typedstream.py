"""The non-keyed archive ("typed stream") as bytes: tags, numbers, strings, the two tables.

TypedStream knows nothing of any class; typedobjects.py writes the classes with it. Every step is public, so that a
test can also put together a stream that no archiver would write.

    stream = TypedStream("big")
    stream.types("@")
    stream.begin_object(None, (("NSString", 1), ("NSObject", 0)))
    stream.group("+", b"hello")
    stream.end_object()
    data = stream.data()
"""

import struct

TAG_INTEGER_2 = 0x81
TAG_INTEGER_4 = 0x82
TAG_REAL = 0x83
TAG_NEW = 0x84
TAG_NIL = 0x85
TAG_END_OF_OBJECT = 0x86
FIRST_REFERENCE = -110

STREAMER_VERSION = 4
SYSTEM_VERSION = 1000
SIGNATURES = {"little": b"streamtyped", "big": b"typedstream"}


class TypedStream:
    """A growing stream. Strings and objects that were written get the numbers that a reader will give them."""

    def __init__(self, byte_order="little", header=True):
        self._prefix = "<" if byte_order == "little" else ">"
        self._bytes = bytearray()
        self._strings = {}
        self._c_strings = {}
        self._classes = {}
        self._objects = {}
        self._kept = []
        self.string_count = 0
        self.object_count = 0
        if header:
            self.header(SIGNATURES[byte_order])

    def data(self):
        return bytes(self._bytes)

    # Bytes and numbers

    def raw(self, data):
        self._bytes += data

    def byte(self, value):
        self._bytes.append(value & 0xFF)

    def header(self, signature, streamer_version=STREAMER_VERSION, system_version=SYSTEM_VERSION):
        self.byte(streamer_version)
        self.unshared_string(signature)
        self.integer(system_version)

    def integer(self, value):
        """The shortest form; values that would be taken for a tag, and all below them, are written longer."""
        if FIRST_REFERENCE <= value <= 127:
            self.byte(value)
        elif -0x8000 <= value <= 0x7FFF:
            self.byte(TAG_INTEGER_2)
            self.raw(struct.pack(self._prefix + "h", value))
        else:
            self.byte(TAG_INTEGER_4)
            self.raw(struct.pack(self._prefix + ("i" if value < 0 else "I"), value))

    def real(self, value, code="d"):
        """A float (code "f") or double (code "d"); a value without a fraction goes as an integer."""
        if float(value).is_integer() and abs(value) < 0x80000000:
            self.integer(int(value))
        else:
            self.byte(TAG_REAL)
            self.raw(struct.pack(self._prefix + code, value))

    # Tags

    def new(self):
        self.byte(TAG_NEW)

    def nil(self):
        self.byte(TAG_NIL)

    def reference(self, number):
        """Stands for entry @p number of the string or the object table, whichever the place asks for."""
        self.integer(number + FIRST_REFERENCE)

    # Strings

    def unshared_string(self, text):
        if text is None:
            self.nil()
            return
        self.integer(len(text))
        self.raw(text)

    def shared_string(self, text):
        if text is None:
            self.nil()
        elif text in self._strings:
            self.reference(self._strings[text])
        else:
            self.new()
            self.unshared_string(text.encode("ascii"))
            self._strings[text] = self.string_count
            self.string_count += 1

    def c_string(self, text):
        if text is None:
            self.nil()
        elif text in self._c_strings:
            self.reference(self._c_strings[text])
        else:
            self.new()
            self._c_strings[text] = self._take_object_number()
            self.shared_string(text)

    # Groups

    def types(self, encoding):
        """Opens a group: the values that @p encoding announces have to follow."""
        self.shared_string(encoding)

    def group(self, encoding, *values):
        """A whole group of plain values; "@" takes what object() takes."""
        self.types(encoding)
        for code, value in zip(split_types(encoding), values, strict=True):
            self.value(code, value)

    def value(self, code, value):
        if code == "@":
            self.object(value)
        elif code in "cCB":
            self.byte(value)
        elif code in "fd":
            self.real(value, code)
        elif code == "+":
            self.unshared_string(value)
        elif code == "*":
            self.c_string(value)
        elif code in ":%":
            self.shared_string(value)
        elif code.startswith("["):
            self.raw(value)
        else:
            self.integer(value)

    # Objects

    def object(self, value):
        """What an "@" holds: nil, or an object that stands in the stream already. Derived writers do the others."""
        if value is None:
            self.nil()
        else:
            self.reference(self._objects[id(value)])

    def has_object(self, value):
        return id(value) in self._objects

    def begin_object(self, value, class_chain):
        """Opens an object; @p value, when there is one, can be referred to from now on."""
        self.new()
        number = self._take_object_number()
        if value is not None:
            self._objects[id(value)] = number
            self._kept.append(value)
        self.class_chain(class_chain)
        return number

    def end_object(self):
        self.byte(TAG_END_OF_OBJECT)

    def class_chain(self, class_chain):
        """Pairs of name and version, from the class up to its root."""
        for name, version in class_chain:
            if name in self._classes:
                self.reference(self._classes[name])
                return
            self.new()
            self._classes[name] = self._take_object_number()
            self.shared_string(name)
            self.integer(version)
        self.nil()

    def _take_object_number(self):
        self.object_count += 1
        return self.object_count - 1


def split_types(encoding):
    """The type codes of one encoding: "i[4c]@" is "i", "[4c]", "@"."""
    codes = []
    position = 0
    while position < len(encoding):
        end = encoding.index("]", position) if encoding[position] == "[" else position
        codes.append(encoding[position : end + 1])
        position = end + 1
    return codes
