"""The address books on a Mac's disk: all forms of them, and what hostile ones can do."""

import os
import re
import shutil
import sqlite3
from pathlib import Path

from disk import BOOK, CHATS, DATABASE, SCHEMA, Chat, add_people, card, database, put
from companion import CompanionTest, main

SUPPORT = "Library/Prattlebug"
SAM = ("Sam", "Ashby", ["samash"], True)
KIM = ("Kim", "Lee", ["kimlee", "kim77"], False)


def people_in(path):
    """The N and X-AIM of each card, the preferred one first."""
    people = []
    for text in Path(path).read_text(encoding="utf-8").split("BEGIN:VCARD")[1:]:
        lines = text.splitlines()
        last, first = re.split(r"(?<!\\);", next(line for line in lines if line.startswith("N:"))[2:])[:2]
        people.append((first, last, [line.split(":")[1] for line in lines if line.startswith("X-AIM")]))
    return people


class AddressBook(CompanionTest):
    def setUp(self):
        super().setUp()
        self.disk = Path(self.path("disk"))
        self.mac = self.disk / "Users/kim"
        self.home = self.path("home")
        self.environment["HOME"] = self.home
        os.makedirs(self.home)
        chat = Chat("2005-03-02T05:07")
        put(self.mac, f"{CHATS}/Kim on 2005-03-01 at 21.07.chat", chat.data, chat.time)
        self.contacts = Path(self.path(SUPPORT, "contacts.vcf"))
        self.own = Path(self.path(SUPPORT, "me.vcf"))

    def test_every_form_of_book_is_found_and_read(self):
        book = self.mac / BOOK
        database(book / DATABASE, [SAM, KIM, ("No", "Name", [], False)], in_log=[("Late", "Comer; the, 2nd", ["late"], False)])
        database(book / "Sources/A-B" / DATABASE, [("Kim", "Lee", ["kimlee", "kim@work"], False), ("Kim", "Other", ["kimlee"], False)])
        card(book / "Metadata/1:ABPerson.abcdp", "Zoë", "Müller", ["zoe1", "zoe2"], primary=1)
        card(book / "Sources/A-B/Metadata/2:ABPerson.abcdp", "Kim", "Lee", ["kimlee"], binary=False)
        put(book, "Metadata/3:ABPerson.abcdp", b"bplist00 damaged", 0)
        put(book, "AddressBook.data", b"?", 0)
        before = {path: path.read_bytes() for path in book.rglob("*") if path.is_file()}
        output, _ = self.run_companion("setup", self.disk)
        self.assertEqual(people_in(self.own), [("Sam", "Ashby", ["samash"])])
        self.assertEqual(sorted(people_in(self.contacts)), [
            ("Kim", "Lee", ["kim77", "kimlee", "kim@work"]), ("Kim", "Other", ["kimlee"]),
            ("Late", "Comer\\; the\\, 2nd", ["late"]), ("Zoë", "Müller", ["zoe2", "zoe1"])])
        for told in ("has your own card: ", "has 4 people with AIM screen names: ", "Metadata/3:ABPerson.abcdp: ",
                     "AddressBook.data: an address book in the form before Mac OS X 10.6", "Contacts: 4 cards, 4 with an AIM screen name\n"):
            self.assertIn(told, output)
        self.assertEqual({path: path.read_bytes() for path in book.rglob("*") if path.is_file()}, before, "nothing is written there")
        self.assertNotIn("already; to take it instead", self.run_companion("setup", self.disk)[0])

    def test_cards_that_are_there_are_kept(self):
        book = database(self.mac / BOOK / DATABASE, [SAM, KIM])
        database(self.mac.parent / "sam" / BOOK / DATABASE, [("Sam", "Other", ["x"], True)])
        put(self.mac.parent / "sam", f"{CHATS}/Kim on 2006-03-01 at 21.07.chat", Chat("2006-03-02T05:07").data, 0)
        mine = b"BEGIN:VCARD\r\nVERSION:3.0\r\nN:Mine;All;;;\r\nEND:VCARD\r\n"
        put(self.home, f"{SUPPORT}/contacts.vcf", mine, 0)
        output, _ = self.run_companion("setup", self.disk)
        self.assertEqual(self.contacts.read_bytes(), mine)
        self.assertIn('to take it instead: --contacts "', output)
        self.assertFalse(self.own.exists(), "two are marked as the user's own")
        for given, own, contacts in ((book, "Sam", "Kim"), (self.mac / BOOK, "Sam", "Kim"), (self.mac, "Sam", "Kim")):
            self.contacts.write_bytes(mine)
            self.run_companion("setup", "--me", given, "--contacts", given)
            self.assertEqual((people_in(self.own)[0][0], people_in(self.contacts)[0][0]), (own, contacts))
            kept = list(self.contacts.parent.glob("contacts until *.vcf"))
            self.assertEqual([path.read_bytes() for path in kept], [mine])
            kept[0].unlink()

    def test_hostile_databases(self):
        def script(text):
            def make(path):
                connection = sqlite3.connect(path)
                connection.executescript(text)
                connection.close()
            return make

        def without(table, instead=""):
            return script(SCHEMA + f"DROP TABLE {table};" + instead)

        def whole(path):
            database(path, [SAM, KIM])

        def changed(change):
            def make(path):
                whole(path)
                path.write_bytes(change(path.read_bytes()))
            return make

        def filled(text, before=""):
            def make(path):
                script(before + SCHEMA)(path)
                connection = sqlite3.connect(path)
                add_people(connection, [KIM])
                connection.executescript(text)
                connection.close()
            return make

        endless = "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) "
        columns = "x AS Z_PK, x AS ZOWNER, 'kim' AS ZADDRESS, 'AIMInstant' AS ZSERVICENAME"
        rows = endless + "INSERT INTO ZABCDMESSAGINGADDRESS (ZOWNER, ZADDRESS, ZSERVICE) SELECT x, %s, 2 FROM n LIMIT %d;"
        for name, make, reason in (
                ("no database", lambda path: path.write_bytes(b"AddressBook" * 1000), "file is not a database"),
                ("empty", lambda path: path.write_bytes(b""), "it has no table ZABCDMESSAGINGADDRESS"),
                ("cut", changed(lambda data: data[:len(data) // 2]), "malformed"),
                ("torn", changed(lambda data: data[:4096] + b"\xff" * 4096 + data[8192:]), "malformed|not a database|no table"),
                ("another schema", script("CREATE TABLE notes (id INTEGER)"), "it has no table ZABCDMESSAGINGADDRESS with a column ZOWNER"),
                ("an endless view", without("ZABCDMESSAGINGADDRESS", f"CREATE VIEW ZABCDMESSAGINGADDRESS AS {endless} SELECT {columns} FROM n;"),
                 "no table ZABCDMESSAGINGADDRESS"),
                ("a view of records", without("ZABCDRECORD", "CREATE VIEW ZABCDRECORD AS SELECT 1 AS Z_PK;"), "no table ZABCDRECORD"),
                ("a virtual table", without("ZABCDRECORD", "CREATE VIRTUAL TABLE ZABCDRECORD USING fts5(Z_PK);"), "no table ZABCDRECORD"),
                ("a column that is worked out", without("ZABCDRECORD", "CREATE TABLE ZABCDRECORD (x, Z_PK AS (length(zeroblob(1000000000))));"),
                 "no table ZABCDRECORD with a column Z_PK"),
                ("too many rows", filled(rows % ("'kim'", 1_100_000)), "more rows than any address book"),
                ("too much text", filled(rows % ("printf('%1000000c', 'x')", 80)), "more text than any address book"),
                ("one long value", filled(rows % ("printf('%2000000c', 'x')", 1)), "too big"),
                ("huge", lambda path: (whole(path), os.truncate(path, 600 << 20)), "larger than any address book, 600 MiB"),
        ):
            with self.subTest(name):
                shutil.rmtree(self.mac / BOOK, ignore_errors=True)
                path = self.mac / BOOK / DATABASE
                path.parent.mkdir(parents=True)
                make(path)
                card(path.parent / "Metadata/1:ABPerson.abcdp", "Zoë", "Müller", ["zoe1"])
                self.contacts.unlink(missing_ok=True)
                output, _ = self.run_companion("setup", self.mac)
                self.assertRegex(output, f"could not be read whole:\n    .*{DATABASE}: .*({reason})")
                self.assertIn("Zoë", [first for first, *_ in people_in(self.contacts)], "the other file of the book is read")
                kept = self.contacts.read_bytes()
                self.assertRegex(self.run_companion("setup", "--contacts", path, code=1)[1], f"cannot be read: .*({reason})")
                self.assertEqual(self.contacts.read_bytes(), kept)
        for name, *texts in (("triggers", "CREATE TRIGGER t AFTER UPDATE ON ZABCDRECORD BEGIN DELETE FROM ZABCDRECORD; END;"),
                             ("UTF-16", "", "PRAGMA encoding = 'UTF-16';"),
                             ("fewer columns", "ALTER TABLE ZABCDRECORD DROP COLUMN ZNICKNAME; "
                                               "DROP TABLE ZABCDEMAILADDRESS; DROP TABLE Z_PRIMARYKEY;")):
            with self.subTest(name):
                shutil.rmtree(self.mac / BOOK)
                path = self.mac / BOOK / DATABASE
                path.parent.mkdir(parents=True)
                filled(*texts)(path)
                path.with_name(DATABASE + "-wal").write_bytes(b"no log")
                self.contacts.unlink()
                self.run_companion("setup", self.mac)
                self.assertEqual(people_in(self.contacts), [("Kim", "Lee", ["kim77", "kimlee"])])


main()
