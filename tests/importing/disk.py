"""Makes what lies on an old Mac's disk: homes, backups of them, chats in every state, address books."""

import os
import plistlib
import shutil
import sqlite3
import sys
from datetime import datetime
from pathlib import Path

sys.path += [os.path.join(sys.argv[2], "make"), os.path.join(os.path.dirname(__file__), "../companion")]

from chats.cast import BOB, KIM, ROBIN, ZOE  # noqa: E402
from styles import file, in_font, link  # noqa: E402
import styles  # noqa: E402
from transcript import Keyed, Transcript, Typed  # noqa: E402

CHATS = "Documents/iChats"
ARCHIVE = "Library/Messages/Archive"
CONTAINER = "Library/Containers/com.apple.iChat/Data/Library/Messages/Archive"
BOOK = "Library/Application Support/AddressBook"
DATABASE = "AddressBook-v22.abcddb"
HOUR, DAY = 3600, 86400


def local(text):
    """Unix time of a local date and time."""
    return datetime.fromisoformat(text).timestamp()


class Chat:
    """A transcript's bytes, and the time of its last message."""

    def __init__(self, begin, messages=4, form=None, speakers=(KIM, ROBIN), last="", timed=True):
        chat = Transcript("chat", begin + "+00:00", form or Typed("big"), "AIM", list(speakers[:-1]))
        for number in range(messages):
            ending = [last] if last and number == messages - 1 else []
            chat.say(speakers[number % len(speakers)], 60, f"{begin} {number} ", in_font("!", styles.LUCIDA_BIG),
                     link(f"http://www.example.org/{number}"), file("note.txt", b"%d" % number), *ending, timed=timed)
        self.data = chat.data()
        self.time = chat.last_time


def put(folder, name, data, time):
    path = Path(folder, name)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)
    os.utime(path, (time, time))
    return path


SCHEMA = """
    CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR);
    CREATE TABLE ZABCDRECORD (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, ZDISPLAYFLAGS INTEGER, ZFIRSTNAME VARCHAR,
        ZLASTNAME VARCHAR, ZNICKNAME VARCHAR, ZORGANIZATION VARCHAR, ZCONTAINERWHERECONTACTISME INTEGER);
    CREATE TABLE ZABCDSERVICE (Z_PK INTEGER PRIMARY KEY, ZSERVICENAME VARCHAR);
    CREATE TABLE ZABCDMESSAGINGADDRESS (Z_PK INTEGER PRIMARY KEY, ZOWNER INTEGER, ZADDRESS VARCHAR, ZSERVICE INTEGER,
        ZISPRIMARY INTEGER, ZORDERINGINDEX INTEGER);
    CREATE TABLE ZABCDEMAILADDRESS (Z_PK INTEGER PRIMARY KEY, ZOWNER INTEGER, ZADDRESS VARCHAR, ZISPRIMARY INTEGER,
        ZORDERINGINDEX INTEGER);
    INSERT INTO Z_PRIMARYKEY VALUES (19, 'ABCDGroup'), (22, 'ABCDContact'), (23, 'ABCDSubscribedContact');
    INSERT INTO ZABCDSERVICE VALUES (1, 'JabberInstant'), (2, 'AIMInstant');
"""


def add_people(connection, people):
    """People as (first, last, [AIM names, the preferred one last], own or not)."""
    for first, last, names, own in people:
        key = connection.execute("INSERT INTO ZABCDRECORD (Z_ENT, ZFIRSTNAME, ZLASTNAME, ZCONTAINERWHERECONTACTISME) "
                                 "VALUES (22, ?, ?, ?)", (first, last, 1 if own else None)).lastrowid
        for index, name in enumerate(names):
            connection.execute("INSERT INTO ZABCDMESSAGINGADDRESS (ZOWNER, ZADDRESS, ZSERVICE, ZISPRIMARY, ZORDERINGINDEX) "
                               "VALUES (?, ?, 2, ?, ?)", (key, name, name == names[-1], index))
        connection.execute("INSERT INTO ZABCDMESSAGINGADDRESS (ZOWNER, ZADDRESS, ZSERVICE) VALUES (?, 'no@jabber', 1)", (key,))


def database(path, people, in_log=(), script=""):
    """An address book; the people `in_log` are in its -wal alone."""
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    work = path.with_name("work")
    connection = sqlite3.connect(work)
    connection.executescript("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0;" + SCHEMA + script)
    add_people(connection, people)
    connection.commit()
    connection.execute("PRAGMA wal_checkpoint(TRUNCATE)")
    add_people(connection, in_log)
    connection.commit()
    shutil.copy(work, path)
    if in_log:
        shutil.copy(f"{work}-wal", f"{path}-wal")
    connection.close()
    work.unlink()
    return path


def card(path, first, last, names, primary=0, binary=True):
    """A person as the search of the Mac has it."""
    path = Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    identifiers = [f"id-{name}" for name in names]
    path.write_bytes(plistlib.dumps({
        "First": first, "Last": last, "UID": path.stem,
        "AIMInstant": {"values": names, "labels": ["_$!<Home>!$_"] * len(names), "identifiers": identifiers,
                       "primary": identifiers[primary]}},
        fmt=plistlib.FMT_BINARY if binary else plistlib.FMT_XML))


class Disk:
    """The disk of the tests. `expected` is the transcript folder that a whole import of it makes: each place with its
    bytes and its time."""

    def __init__(self, folder):
        self.root = Path(folder)
        self.kim = self.root / "Users/kim"
        self.sam = self.root / "Users/sam"
        self.backups = [self.root / f"Backups.backupdb/Mac/{name}/Macintosh HD/Users/kim" for name in ("2005-03-01", "2006-03-01")]
        self.expected = {}
        now = datetime.now().timestamp()

        def come(home, source, place, data, time, mended=None):
            """A file, and what must come of it."""
            put(home, source, data, time)
            self.expected[place] = (data, mended or time)

        keyed = Keyed("binary")
        whole = Chat("2005-03-02T05:07", 6, keyed)
        beginning = Chat("2005-03-02T05:07", 3, keyed)
        come(self.kim, f"{CHATS}/Zoë on 2005-03-01 at 21.07.ichat", "Zoë on 2005-03-01 at 21.07.ichat", whole.data, whole.time + HOUR)
        put(self.backups[0], f"{CHATS}/Zoë on 2005-03-01 at 21.07.ichat", beginning.data, beginning.time + 60)
        put(self.kim, f"{CHATS}/._Zoë on 2005-03-01 at 21.07.ichat", b"resources", now)

        localised = Chat("2004-05-06T17:00", 5)
        come(self.kim, f"{CHATS}/2004/Kim Lee le 2004-05-06 à 10.00 #2.CHAT", "2004/Kim Lee on 2004-05-06 at 10.00 #2.chat",
             localised.data, now, localised.time)
        for name, word in (("Bob am 2004-05-07 um 10.00", "01"), ("Bob el 2004-05-07 a las 10.00", "02"),
                           ("Bob on Mars il 2004-05-07 alle 10.00", "03")):
            chat = Chat(f"2004-05-07T17:{word}")
            person = name.split(" am ")[0].split(" el ")[0].split(" il ")[0]
            number = " #2" if word == "02" else ""
            come(self.kim, f"{CHATS}/{name}.chat", f"{person} on 2004-05-07 at 10.00{number}.chat", chat.data, chat.time)

        # The same bytes under another name, and in a backup with the time that was lost elsewhere.
        twice = Chat("2003-02-02T20:00", form=Typed("little"))
        come(self.kim, f"{CHATS}/Bob on 2003-02-02 at 12.00.chat", "Bob on 2003-02-02 at 12.00.chat", twice.data, now, twice.time + 2 * HOUR)
        put(self.kim, "Desktop/saved.chat", twice.data, twice.time - HOUR)
        put(self.backups[1], f"{CHATS}/Bob on 2003-02-02 at 12.00.chat", twice.data, twice.time + 2 * HOUR)
        undated = Chat("2003-01-02T11:22")
        come(self.kim, f"{CHATS}/Ann #7.chat", "Ann on 2003-01-02 at 03.26 #7.chat", undated.data, undated.time + 5)

        # Two chats that go on in two ways, one of them in a backup; both hold what the third has.
        for home, ending in ((self.kim, "one"), (self.backups[1], "two")):
            chat = Chat("2006-01-01T08:00", 3, keyed, last=ending)
            number = " #2" if ending == "one" else ""
            come(home, f"{CHATS}/Bob on 2006-01-01 at 00.00.ichat", f"Bob on 2006-01-01 at 00.00{number}.ichat", chat.data, chat.time)
        put(self.root, "lost+found/#12.ichat", Chat("2006-01-01T08:00", 2, keyed).data, now)
        # A beginning of the other kind is no beginning, and neither is a chat with somebody else.
        for source, chat in (("Zoë on 2005-03-01 at 21.08.chat", Chat("2005-03-02T05:07", 3)),
                             ("Zoë on 2005-03-01 at 21.09.ichat", Chat("2005-03-02T05:07", 3, keyed, (ZOE, KIM, ROBIN)))):
            come(self.kim, f"{CHATS}/{source}", source, chat.data, chat.time)

        # Without a last message that tells the time.
        for name, chat in (("Gus on 2006-05-05 at 05.05.ichat", Chat("2006-05-05T12:05", 0, keyed)),
                           ("Gus on 2006-05-05 at 05.06.ichat", Chat("2006-05-05T12:06", 2, keyed, timed=False))):
            come(self.kim, f"{CHATS}/{name}", name, chat.data, now, local(name[7:17] + "T" + name[21:26].replace(".", ":")))
        come(self.kim, f"{CHATS}/Empty on 2006-01-01 at 00.00.chat", "Empty on 2006-01-01 at 00.00.chat", b"", now, local("2006-01-01T00:00"))
        come(self.kim, f"{CHATS}/Cut.ICHAT", f"Cut on {datetime.fromtimestamp(local('2006-02-02T02:02')):%Y-%m-%d at %H.%M}.ichat",
             whole.data[:-100], local("2006-02-02T02:02"))
        put(self.kim, f"{CHATS}/irc.chat", b"<kim> hello", now)

        # Somebody else's, one under a name that is taken.
        for folder, name, place, chat in (
                (ARCHIVE, "2006-01-02/Kim on 2006-01-02 at 03.04.ichat", None, Chat("2006-01-02T11:04", 4, keyed, (BOB, ROBIN))),
                (CONTAINER, "2013-01-02/Kim on 2013-01-02 at 03.04.ichat", None, Chat("2013-01-02T11:04", 4, keyed, (BOB, ROBIN))),
                (CHATS, "Zoë on 2005-03-01 at 21.07.ichat", "Zoë on 2005-03-01 at 21.07 #2.ichat",
                 Chat("2005-03-02T05:07", 4, keyed, (ZOE, ROBIN)))):
            come(self.sam, f"{folder}/{name}", place or name, chat.data, chat.time)
        os.makedirs(self.backups[1] / ARCHIVE)
        os.link(self.sam / ARCHIVE / "2006-01-02/Kim on 2006-01-02 at 03.04.ichat", self.backups[1] / ARCHIVE / "Kim.ichat")

        # What is not looked into, and what cannot be read.
        put(self.root, "Library/Messages/chat.db", b"", now)
        put(self.root, "Old.zip", b"", now)
        put(self.root, "Old.dmg", b"", now)
        put(self.root, "Old.sparsebundle/bands/Kim on 2001.chat", b"", now)
        self.huge = put(self.root, "huge on 2001.chat", b"", now)
        os.truncate(self.huge, 1 << 31)
