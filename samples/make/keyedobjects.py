"""The classes of a transcript in a keyed archive: for each its chain and its keys."""

import filewrapper
import model
from keyedarchive import NIL, KeyedArchive

OBJECT = ("NSObject",)
MUTABLE_STRING = ("NSMutableString", "NSString") + OBJECT
MUTABLE_DATA = ("NSMutableData", "NSData") + OBJECT
ARRAY = ("NSArray",) + OBJECT
MUTABLE_ARRAY = ("NSMutableArray",) + ARRAY
DICTIONARY = ("NSDictionary",) + OBJECT
MUTABLE_DICTIONARY = ("NSMutableDictionary",) + DICTIONARY
ATTRIBUTED_STRING = ("NSAttributedString",) + OBJECT
MUTABLE_ATTRIBUTED_STRING = ("NSMutableAttributedString",) + ATTRIBUTED_STRING
PARAGRAPH_STYLE = ("NSParagraphStyle",) + OBJECT
MUTABLE_PARAGRAPH_STYLE = ("NSMutableParagraphStyle",) + PARAGRAPH_STYLE

COMPONENT_KEYS = {
    model.CALIBRATED_RGB: "NSRGB",
    model.DEVICE_RGB: "NSRGB",
    model.CALIBRATED_WHITE: "NSWhite",
    model.DEVICE_WHITE: "NSWhite",
    model.DEVICE_CMYK: "NSCMYK",
}


class KeyedObjects(KeyedArchive):
    """A keyed archive that takes objects of the model. An object gets its UID before those it refers to."""

    def __init__(self, login_identifier=""):
        super().__init__()
        self._uids = {}
        self._kept = []
        self._login = model.String(login_identifier)

    def uid(self, value):
        if value is None:
            return NIL
        if id(value) not in self._uids:
            self._kept.append(value)
            self._uids[id(value)] = self.reserve()
            WRITERS[type(value)](self, value, self._uids[id(value)])
        return self._uids[id(value)]

    def uids(self, values):
        return [self.uid(value) for value in values]

    def plain(self, uid, value):
        self.objects[uid.data] = value

    def string(self, value, uid):
        if value.mutable:
            self.set(uid, MUTABLE_STRING, {"NS.string": value.text})
        else:
            self.plain(uid, value.text)

    def bytes_object(self, value, uid):
        if value.mutable:
            self.set(uid, MUTABLE_DATA, {"NS.data": value.contents})
        else:
            self.plain(uid, value.contents)

    def number(self, value, uid):
        self.plain(uid, value.value)

    def date(self, value, uid):
        self.set(uid, ("NSDate",) + OBJECT, {"NS.time": value.seconds})

    def array(self, value, uid):
        items = self.uids(value.items)
        self.set(uid, MUTABLE_ARRAY if value.mutable else ARRAY, {"NS.objects": items})

    def dictionary(self, value, uid):
        keys = self.uids(key for key, _ in value.pairs)
        values = self.uids(item for _, item in value.pairs)
        chain = MUTABLE_DICTIONARY if value.mutable else DICTIONARY
        self.set(uid, chain, {"NS.keys": keys, "NS.objects": values})

    def url(self, value, uid):
        keys = {"NS.base": self.uid(value.base), "NS.relative": self.uid(value.relative)}
        self.set(uid, ("NSURL",) + OBJECT, keys)

    def attributed_string(self, value, uid):
        keys = {"NSString": self.uid(value.string)}
        dictionaries = list({id(attributes): attributes for _, attributes in value.runs}.values())
        if len(dictionaries) == 1:
            keys["NSAttributes"] = self.uid(dictionaries[0])
        elif dictionaries:
            keys["NSAttributes"] = self.uid(model.Array(dictionaries))
            keys["NSAttributeInfo"] = self.uid(model.Data(attribute_info(value.runs, dictionaries), mutable=True))
        self.set(uid, MUTABLE_ATTRIBUTED_STRING if value.mutable else ATTRIBUTED_STRING, keys)

    def font(self, value, uid):
        keys = {"NSName": self.uid(value.name), "NSSize": float(value.size), "NSfFlags": 16}
        self.set(uid, ("NSFont",) + OBJECT, keys)

    def color(self, value, uid):
        keys = {"NSColorSpace": value.space}
        if value.space == model.NAMED:
            keys["NSCatalogName"] = self.uid(value.catalog)
            keys["NSColorName"] = self.uid(value.name)
            keys["NSColor"] = self.uid(value.fallback)
        else:
            keys[COMPONENT_KEYS[value.space]] = component_text(value)
        self.set(uid, ("NSColor",) + OBJECT, keys)

    def paragraph_style(self, value, uid):
        keys = {"NSTabStops": self.uid(value.tabs), "NSAlignment": value.alignment, "NSDefaultTabInterval": 36.0}
        self.set(uid, MUTABLE_PARAGRAPH_STYLE if value.mutable else PARAGRAPH_STYLE, keys)

    def text_tab(self, value, uid):
        keys = {"NSLocation": float(value.location), "NSOwner": self.uid(value.owner)}
        self.set(uid, ("NSTextTab",) + OBJECT, keys)

    def file_wrapper(self, value, uid):
        contents = model.Data(filewrapper.serialized(value.item), mutable=True)
        self.set(uid, ("NSFileWrapper",) + OBJECT, {"NSFileWrapperData": self.uid(contents)})

    def attachment(self, value, uid):
        keys = {"NSFileWrapper": self.uid(value.wrapper), "NSCell": NIL}
        self.set(uid, ("NSTextAttachment",) + OBJECT, keys)

    def presentity(self, value, uid):
        keys = {
            "ServiceName": self.uid(value.service),
            "ID": self.uid(value.identifier),
            "ServiceLoginID": self.uid(self._login),
            "AccountID": NIL,
            "ChatHandleKey": False,
        }
        self.set(uid, ("Presentity", "DirectlyObservableObject") + OBJECT, keys)

    def person(self, value, uid):
        self.set(uid, ("Person",) + OBJECT, {"PersonID": self.uid(value.identifier)})

    def instant_message(self, value, uid):
        keys = {
            "Sender": self.uid(value.sender),
            "Time": self.uid(value.time),
            "MessageText": self.uid(value.text),
            "Flags": value.flags,
            "GUID": self.uid(value.guid),
            "Subject": NIL,
        }
        if value.text is not None:
            body = f"<html><body>{value.text.string.text[:12]}</body></html>"
            keys["OriginalMessage"] = self.uid(model.String(body))
        self.set(uid, ("InstantMessage",) + OBJECT, keys)


WRITERS = {
    model.String: KeyedObjects.string,
    model.Data: KeyedObjects.bytes_object,
    model.Number: KeyedObjects.number,
    model.Date: KeyedObjects.date,
    model.Array: KeyedObjects.array,
    model.Dictionary: KeyedObjects.dictionary,
    model.Url: KeyedObjects.url,
    model.AttributedString: KeyedObjects.attributed_string,
    model.Font: KeyedObjects.font,
    model.Color: KeyedObjects.color,
    model.ParagraphStyle: KeyedObjects.paragraph_style,
    model.TextTab: KeyedObjects.text_tab,
    model.FileWrapper: KeyedObjects.file_wrapper,
    model.Attachment: KeyedObjects.attachment,
    model.Presentity: KeyedObjects.presentity,
    model.Person: KeyedObjects.person,
    model.InstantMessage: KeyedObjects.instant_message,
}


def attribute_info(runs, dictionaries):
    """Pairs of run length and dictionary index, each in 7-bit groups, least significant first."""
    indexes = {id(attributes): index for index, attributes in enumerate(dictionaries)}
    return b"".join(seven_bit_groups(length) + seven_bit_groups(indexes[id(attributes)]) for length, attributes in runs)


def seven_bit_groups(value):
    groups = bytearray()
    while value > 0x7F:
        groups.append(value & 0x7F | 0x80)
        value >>= 7
    groups.append(value)
    return bytes(groups)


def component_text(color):
    """The components as text, alpha only when the colour is not opaque."""
    components = color.components
    if components[-1] == 1:
        components = components[:-1]
    return " ".join(f"{component:g}" for component in components).encode("ascii") + b"\0"


def keyed_archive(root, form="binary", metadata=None, login_identifier=""):
    archive = KeyedObjects(login_identifier)
    if metadata is not None:
        archive.top["metadata"] = archive.uid(metadata)
    archive.top["root"] = archive.uid(root)
    return archive.data(form)
