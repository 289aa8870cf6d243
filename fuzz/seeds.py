"""Writes what the fuzzers start from: python3 fuzz/seeds.py FOLDER [WITNESSES]

A folder for each of them: the sample chats, and what lies in them; property lists, cards and pictures of every form; and,
where the folder WITNESSES holds any, archives that other programs wrote.
"""

import plistlib
import shutil
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "samples/make"))

import filewrapper
import imagefiles
from canvas import Canvas

LARGEST = 1 << 16  # larger ones only make a fuzzer slow

TEXT_LISTS = (
    '{ a = 1; "b c" = (x, "y\\n\\U00e9\\101", <0a 0b>, { }); /* c */ d = <*I-5>; // e\n f = <*R1.5e3>; }',
    '( <*BY>, <*BN>, <*D2005-03-01 21:07:45 -0800>, "\\"", a.b/c-d_e$f:g )',
    '"key" = "value";\nother = ();\n/* strings file */ "x";\n',
    '{"" = ""; a = {b = {c = {d = (((()))); }; }; }; }',
)

# The text form of a keyed archive, and files of both generations that end early or lie at their very start.
KEYED_TEXT = ('{ "$objects" = ("$null", { "$class" = { "CF$UID" = 2; }; "NS.objects" = ({ "CF$UID" = 0; }); }, '
              '{ "$classname" = NSArray; "$classes" = (NSArray, NSObject); }); "$top" = { root = { "CF$UID" = 1; }; }; }')
STARTS = (
    b"<", b"bplist00", b"<?xml version='1.0' encoding='", b"<?xml versio='1.0'?>\n<!DOCTYPE plist PUBLIC \"-//\" \"x\">\n<plist/>",
    "<?xml version='1.0' encoding='UTF-16'?><plist><array/></plist>".encode("utf-16"), b"\4\0", b"\4\x0bstreamtypedVV\0\0\0\0",
    b"\4\x0bstreamtyped\x81\xe8\x03\x84\x01@\x84\x84\x84\x85", b"\4\x0btypedstream\x81\x03\xe8\x84\x01@\x84\x84\x84\x07NSArray\0\x84",
    b"\4\x0bstreamtyped\x81\xe8\x03\x84\x01@\x84\x84\x84\x06NSDate\0\x84\x84\x08NSObject\0\x85\x84\x01d\x83\xaa\xf1B\x80?\xdc\xc4A\x86",
)

CARDS = (
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;Zo=\r\n=EB\r\nX-AIM;PREF:zoe\r\nEND:VCARD\r\n",
    "BEGIN:VCARD\nVERSION:3.0\nN:Lee\\;x;Kim;;;\nitem1.X-AIM;type=pref;type=HOME:kim\n lee\nIMPP;X-SERVICE-TYPE=AIM:aim:kim%20lee\n"
    "END:VCARD\n",
    "BEGIN:VCARD\nVERSION:4.0\nN:Lee;Kim\nIMPP;PREF=1:aim:goim?screenname=kim\nN;ENCODING=b:TGVlO0tpbQ==\n"
    "AGENT:BEGIN:VCARD\nN:a;b\nEND:VCARD\nEND:VCARD\n",
)

CALENDAR = ("March 2005", "%a %b %B %c %d %e %H %I %p %M %S %m %y %Y %z %%", "December 10000", "May 0", "%B %Y%q%")


def archives(kind, suffix, witnesses):
    chats = list(ROOT.glob("samples/chats/**/*" + suffix)) + list(witnesses.glob("chats/*" + suffix))
    return chats + (list(witnesses.glob("real-typedstreams/*.typedstream")) if kind == "typedstream" else [])


def wrappers():
    leaf = filewrapper.File("a.png", b"contents")
    large = filewrapper.File("b", bytes(300), utf8_name=False)
    folder = filewrapper.Folder("folder", [leaf, filewrapper.Folder("inner", [large]), filewrapper.File("../c", b"")])
    return [filewrapper.serialized(item) for item in (leaf, large, folder, filewrapper.File(None, b""))]


def property_lists():
    value = {"a": [1, -2, 2.5, True, b"data", "text", "日本"], "d": {"e": {}, "f": []}, "n": 1 << 40}
    forms = (plistlib.FMT_XML, plistlib.FMT_BINARY)
    return [text.encode() for text in TEXT_LISTS] + ["\ufeff{a=b;}".encode("utf-16-le")] + [
        plistlib.dumps(value, fmt=form) for form in forms]


def tiff(order):
    """A directory of width, height and resolution, and nothing that it describes."""
    entries = [(256, 4, 1, 60), (257, 4, 1, 40), (282, 5, 1, 62), (283, 5, 1, 62), (296, 3, 1, 2 if order == "<" else 2 << 16)]
    directory = struct.pack(order + "H", len(entries)) + b"".join(struct.pack(order + "HHII", *entry) for entry in entries)
    magic = b"II*\0" if order == "<" else b"MM\0*"
    return (magic + struct.pack(order + "I", 8) + directory).ljust(62, b"\0") + struct.pack(order + "II", 72, 1)


def pictures():
    canvas = Canvas(16, 16)
    png = imagefiles.png(canvas)
    resolution = imagefiles.png_chunk(b"pHYs", struct.pack(">IIB", 5669, 5669, 1))
    jpeg = imagefiles.jpeg_mosaic(canvas)
    exif = b"Exif\0\0" + tiff(">")
    bmp = b"BM" + struct.pack("<IHHI", 70, 0, 0, 54) + struct.pack("<IiiHHIIiiII", 40, 2, 2, 1, 24, 0, 16, 2835, 2835, 0, 0) + bytes(16)
    icon = struct.pack("<HHH", 0, 1, 1) + struct.pack("<BBBBHHII", 16, 16, 0, 0, 1, 32, len(png), 22) + png
    webp = b"RIFF" + struct.pack("<I", 22) + b"WEBPVP8L" + struct.pack("<I", 10) + b"\x2f\x0f\xc0\x03\0\0\0\0\0\0"
    return [png, png[:33] + resolution + png[33:], jpeg, jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + jpeg[2:],
            imagefiles.gif(canvas), bmp, icon, webp, tiff("<"), tiff(">")]


def write(folder, witnesses):
    shutil.rmtree(folder, ignore_errors=True)
    typed, keyed = archives("typedstream", ".chat", witnesses), archives("keyedarchive", ".ichat", witnesses)
    contents = {
        "typedstream": [*STARTS, *(path.read_bytes() for path in typed)],
        "keyedarchive": [*STARTS, KEYED_TEXT.encode(), *(path.read_bytes() for path in keyed), *property_lists()],
        "transcript": [*STARTS, *(path.read_bytes() for path in typed + keyed)],
        "filewrapper": wrappers(),
        "propertylist": property_lists(),
        "vcards": [card.encode() for card in CARDS] + [path.read_bytes() for path in ROOT.glob("samples/*.vcf")],
        "picture": pictures(),
        "calendar": [struct.pack("<d", 131432865.5 * number) + text.encode() for number, text in enumerate(CALENDAR)],
    }
    for subject, inputs in contents.items():
        (folder / subject).mkdir(parents=True)
        for number, data in enumerate(inputs):
            if len(data) <= LARGEST:
                (folder / subject / f"{number:03}").write_bytes(data)


if __name__ == "__main__":
    write(Path(sys.argv[1]), Path(sys.argv[2]) if len(sys.argv) > 2 else Path("/nonexistent"))
