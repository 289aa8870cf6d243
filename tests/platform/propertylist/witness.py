"""The property list module of Python as a witness for our readers and our writer.

witness.py make binary|xml FILE   writes a sample list to FILE and prints what it holds
witness.py read FILE              prints what the list in FILE holds
witness.py text FILE              writes the sample in the older text form, which has strings and data only
"""

import datetime
import plistlib
import struct
import sys

EPOCH = datetime.datetime(2001, 1, 1)


def sample():
    shared = ["shared", {"deep": ["er"]}]
    return {
        "integers": [0, 1, -1, 127, 128, 255, 256, 65535, 65536, 2**31, 2**32 - 1, 2**32, 2**63 - 1, -(2**63), -129],
        "reals": [-0.0, 1.5, -1e300, 5e-324, 0.1, 1e16, float("inf"), float("-inf"), float("nan")],
        "booleans": [True, False],
        "dates": [datetime.datetime(2005, 3, 1, 21, 7, 45), datetime.datetime(1, 1, 1), datetime.datetime(1969, 12, 31, 23, 59, 59),
                  datetime.datetime(9999, 12, 31, 23, 59, 59)],
        "data": [b"", b"\0", bytes(range(256)) * 5],
        "strings": ["", "plain", "fifteen letters", "sixteen letters!", "x" * 70000, "tab\there\nline", "& < > \" ' ]]>",
                    "Gr\u00fc\u00dfe", "\u65e5\u672c\u8a9e", "\U0001f600 and \U0010fffd", "\ufeffmark", " white ", "\u0085\u2028"],
        "empty": [[], {}, [[]], {"": ""}],
        "Schl\u00fcssel \U0001f511 <&>": "value",
        "many": [str(i) for i in range(300)],
        "same": [shared, shared, shared],
    }


def textual(value):
    """The part of a list that the text form can hold."""
    if isinstance(value, dict):
        return {key: textual(each) for key, each in value.items()}
    if isinstance(value, list):
        return [textual(each) for each in value]
    return value if isinstance(value, (str, bytes)) else str(value)


def quoted(text):
    units = struct.unpack(">%dH" % (len(text.encode("utf-16-be")) // 2), text.encode("utf-16-be"))
    return '"' + "".join(chr(u) if 32 <= u < 127 and chr(u) not in '"\\' else "\\U%04x" % u for u in units) + '"'


def text_form(value):
    if isinstance(value, dict):
        return "{ " + " ".join("%s = %s;" % (quoted(key), text_form(each)) for key, each in value.items()) + " }"
    if isinstance(value, list):
        return "( " + ",\n".join(text_form(each) for each in value) + " )"
    return "<" + value.hex(" ", 4) + ">" if isinstance(value, bytes) else quoted(value)


def shown(value):
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, plistlib.UID):
        return "u%d" % value.data
    if isinstance(value, int):
        return "i%d" % value
    if isinstance(value, float):
        return "r" + ("nan" if value != value else struct.pack(">d", value).hex())
    if isinstance(value, datetime.datetime):
        return "d%d" % ((value - EPOCH).days * 86400 + (value - EPOCH).seconds)
    if isinstance(value, bytes):
        return "b" + value.hex()
    if isinstance(value, str):
        return "s" + value.encode().hex()
    if isinstance(value, list):
        return "(" + "".join(shown(each) + "\n" for each in value) + ")"
    return "{" + "".join(shown(key) + "=" + shown(each) + "\n" for key, each in value.items()) + "}"


def main():
    action, path = sys.argv[1], sys.argv[-1]
    if action == "read":
        with open(path, "rb") as file:
            value = plistlib.load(file)
    elif action == "text":
        value = textual(sample())
        with open(path, "w", encoding="ascii") as file:
            file.write(text_form(value))
    else:
        value = sample()
        form = plistlib.FMT_BINARY if sys.argv[2] == "binary" else plistlib.FMT_XML
        with open(path, "wb") as file:
            plistlib.dump(value, file, fmt=form, sort_keys=False)
    sys.stdout.write(shown(value))


main()
