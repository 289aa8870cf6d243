"""The classes of a transcript in a typed stream: for each its chain with versions, and its groups in order."""

import filewrapper
import model
from typedstream import TypedStream

OBJECT = (("NSObject", 0),)
STRING = (("NSString", 1),) + OBJECT
MUTABLE_STRING = (("NSMutableString", 1),) + STRING
DATA = (("NSData", 0),) + OBJECT
MUTABLE_DATA = (("NSMutableData", 0),) + DATA
ARRAY = (("NSArray", 0),) + OBJECT
MUTABLE_ARRAY = (("NSMutableArray", 0),) + ARRAY
DICTIONARY = (("NSDictionary", 0),) + OBJECT
MUTABLE_DICTIONARY = (("NSMutableDictionary", 0),) + DICTIONARY
ATTRIBUTED_STRING = (("NSAttributedString", 0),) + OBJECT
MUTABLE_ATTRIBUTED_STRING = (("NSMutableAttributedString", 0),) + ATTRIBUTED_STRING
PARAGRAPH_STYLE = (("NSParagraphStyle", 3),) + OBJECT
MUTABLE_PARAGRAPH_STYLE = (("NSMutableParagraphStyle", 3),) + PARAGRAPH_STYLE

FONT_NAME_8_BIT = 5
FONT_NAME_UTF16 = 6


class TypedObjects(TypedStream):
    """A typed stream that takes objects of the model.

    With @p later_groups, messages and presentities end with the groups that a later version appends to them.
    """

    def __init__(self, byte_order="little", later_groups=False):
        super().__init__(byte_order)
        self._utf16 = "utf-16-le" if byte_order == "little" else "utf-16-be"
        self._later_groups = later_groups

    def object(self, value):
        if value is None or self.has_object(value):
            super().object(value)
        else:
            WRITERS[type(value)](self, value)

    def simple_object(self, value, class_chain, *groups):
        """Groups are tuples of an encoding and its values."""
        self.begin_object(value, class_chain)
        for group in groups:
            self.group(*group)
        self.end_object()

    def string(self, value):
        chain = MUTABLE_STRING if value.mutable else STRING
        self.simple_object(value, chain, ("+", value.text.encode("utf-8")))

    def bytes_object(self, value):
        length = len(value.contents)
        chain = MUTABLE_DATA if value.mutable else DATA
        self.simple_object(value, chain, ("i", length), (f"[{length}c]", value.contents))

    def number(self, value):
        chain = (("NSNumber", 0), ("NSValue", 0)) + OBJECT
        self.simple_object(value, chain, ("*", value.code), (value.code, value.value))

    def date(self, value):
        self.simple_object(value, (("NSDate", 0),) + OBJECT, ("d", value.seconds))

    def array(self, value):
        chain = MUTABLE_ARRAY if value.mutable else ARRAY
        self.simple_object(value, chain, ("i", len(value.items)), *(("@", item) for item in value.items))

    def dictionary(self, value):
        chain = MUTABLE_DICTIONARY if value.mutable else DICTIONARY
        flat = [part for pair in value.pairs for part in pair]
        self.simple_object(value, chain, ("i", len(value.pairs)), *(("@", part) for part in flat))

    def url(self, value):
        base = [("@", value.base)] if value.base else []
        chain = (("NSURL", 0),) + OBJECT
        self.simple_object(value, chain, ("c", 1 if value.base else 0), *base, ("@", value.relative))

    def attributed_string(self, value):
        self.begin_object(value, MUTABLE_ATTRIBUTED_STRING if value.mutable else ATTRIBUTED_STRING)
        self.group("@", value.string)
        set_numbers = {}
        for length, attributes in value.runs:
            known = id(attributes) in set_numbers
            set_number = set_numbers.setdefault(id(attributes), len(set_numbers) + 1)
            self.group("iI", set_number, length)
            if not known:
                self.group("@", attributes)
        self.end_object()

    def font(self, value):
        name = self.serialized_font_name(value)
        flags = [("c", 0)] * 4
        self.simple_object(
            value,
            (("NSFont", 21),) + OBJECT,
            ("i", len(name)),
            (f"[{len(name)}c]", name),
            ("f", value.size),
            *flags,
        )

    def serialized_font_name(self, font):
        if font.eight_bit:
            kind, name = FONT_NAME_8_BIT, font.name.text.encode("ascii")
        else:
            kind, name = FONT_NAME_UTF16, ("\ufeff" + font.name.text).encode(self._utf16)
        head = kind.to_bytes(4, "little") + len(name).to_bytes(4, "little")
        return head + name + bytes(-len(name) % 4)

    def color(self, value):
        if value.space == model.NAMED:
            components = ("@@@", value.catalog, value.name, value.fallback)
        else:
            components = ("f" * len(value.components), *value.components)
        self.simple_object(value, (("NSColor", 0),) + OBJECT, ("c", value.space), components)

    def paragraph_style(self, value):
        chain = MUTABLE_PARAGRAPH_STYLE if value.mutable else PARAGRAPH_STYLE
        measures = [0.0, 0.0, 0.0, 0.0, 1.5, 0.0, 0.0]
        self.simple_object(value, chain, ("CC@SSfffffff", value.alignment, 0, value.tabs, 0, 0, *measures))

    def text_tab(self, value):
        self.simple_object(value, (("NSTextTab", 1),) + OBJECT, ("Cf", 0, value.location), ("@", value.owner))

    def file_wrapper(self, value):
        contents = model.Data(filewrapper.serialized(value.item), mutable=True)
        self.simple_object(value, (("NSFileWrapper", 0),) + OBJECT, ("@", contents))

    def attachment(self, value):
        self.simple_object(value, (("NSTextAttachment", 1),) + OBJECT, ("i@", 0, value.wrapper), ("@", None))

    def presentity(self, value):
        later = [("@", model.String("")), ("cI", 1, 3)] if self._later_groups else []
        chain = (("Presentity", 1),) + OBJECT
        self.simple_object(value, chain, ("@", value.service), ("@", value.identifier), *later)

    def person(self, value):
        self.simple_object(value, (("Person", 0),) + OBJECT, ("@", value.identifier), ("[2i]ic", b"\1\2", 7, 0))

    def instant_message(self, value):
        later = [("@", value.guid), ("id", 2, 0.25)] if self._later_groups else []
        self.simple_object(
            value,
            (("InstantMessage", 1),) + OBJECT,
            ("@", value.sender),
            ("@", value.time),
            ("@", value.text),
            ("I", value.flags),
            *later,
        )


WRITERS = {
    model.String: TypedObjects.string,
    model.Data: TypedObjects.bytes_object,
    model.Number: TypedObjects.number,
    model.Date: TypedObjects.date,
    model.Array: TypedObjects.array,
    model.Dictionary: TypedObjects.dictionary,
    model.Url: TypedObjects.url,
    model.AttributedString: TypedObjects.attributed_string,
    model.Font: TypedObjects.font,
    model.Color: TypedObjects.color,
    model.ParagraphStyle: TypedObjects.paragraph_style,
    model.TextTab: TypedObjects.text_tab,
    model.FileWrapper: TypedObjects.file_wrapper,
    model.Attachment: TypedObjects.attachment,
    model.Presentity: TypedObjects.presentity,
    model.Person: TypedObjects.person,
    model.InstantMessage: TypedObjects.instant_message,
}


def typed_archive(root, byte_order="little", later_groups=False):
    stream = TypedObjects(byte_order, later_groups)
    stream.group("@", root)
    return stream.data()
