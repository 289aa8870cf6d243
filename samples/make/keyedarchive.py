"""The keyed archive: a property list of numbered objects that refer to one another by UID.

KeyedArchive knows nothing of any class; keyedobjects.py writes the classes with it. Every step is public, so that a
test can also put together an archive that no archiver would write.

    archive = KeyedArchive()
    text = archive.append("hello")
    archive.top["root"] = archive.append_object(("NSArray", "NSObject"), {"NS.objects": [text]})
    data = archive.data("binary")
"""

import plistlib
from plistlib import UID

NIL = UID(0)


class KeyedArchive:
    def __init__(self):
        self.objects = ["$null"]
        self.top = {}
        self._classes = {}

    def append(self, value):
        """Adds a plain value or a finished record; gives its UID."""
        self.objects.append(value)
        return UID(len(self.objects) - 1)

    def reserve(self):
        """A UID whose record is still to come (set), for objects that point back at what holds them."""
        return self.append(None)

    def set(self, uid, class_chain, keys):
        self.objects[uid.data] = dict(keys, **{"$class": self.class_record(class_chain)})

    def append_object(self, class_chain, keys):
        uid = self.reserve()
        self.set(uid, class_chain, keys)
        return uid

    def class_record(self, class_chain):
        """The record of a class, made at its first use: names from the class up to its root."""
        class_chain = tuple(class_chain)
        if class_chain not in self._classes:
            record = {"$classname": class_chain[0], "$classes": list(class_chain)}
            self._classes[class_chain] = self.append(record)
        return self._classes[class_chain]

    def property_list(self):
        return {
            "$archiver": "NSKeyedArchiver",
            "$version": 100000,
            "$objects": self.objects,
            "$top": self.top,
        }

    def data(self, form="binary"):
        """The archive's bytes; @p form is "binary" or "xml"."""
        if form == "binary":
            return plistlib.dumps(self.property_list(), fmt=plistlib.FMT_BINARY)
        return plistlib.dumps(with_uids_as_dictionaries(self.property_list()), fmt=plistlib.FMT_XML)


def with_uids_as_dictionaries(value):
    """XML has no element for a UID; there it is a dictionary with one key."""
    if isinstance(value, UID):
        return {"CF$UID": value.data}
    if isinstance(value, dict):
        return {key: with_uids_as_dictionaries(item) for key, item in value.items()}
    if isinstance(value, list):
        return [with_uids_as_dictionaries(item) for item in value]
    return value
