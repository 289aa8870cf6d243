"""Chats exported as mails, as mail programs and Python's parser see them."""

import email
import email.policy
import glob
import os
import subprocess
import sys
from email.utils import parsedate_to_datetime
from pathlib import Path

sys.path += [os.path.join(os.path.dirname(__file__), folder) for folder in ("../companion", "../../samples/make")]
import pictures  # noqa: E402
from companion import TRANSCRIPTS, CompanionTest, main  # noqa: E402
from styles import file  # noqa: E402
from transcript import Keyed, Speaker, Transcript  # noqa: E402

EVIL = 'Ev"il\\ \r\nBcc: all@example.org\r\n\r\n<b@x>, ü' + "x" * 300
CARD = b"BEGIN:VCARD\r\n\nFrom x\n.\n\x00\xff"
HOSTILE = ["From somebody\n.\n--=_\x00\x1b\u2028</body>" + "ü" * 2000, file("photo.png", pictures.garden()),
           file('a"b\r\nBcc: c\\;.html', CARD), file("card.vcf", CARD)]


class Mails(CompanionTest):
    def chat(self, *said, name="Kim Lee", people=None, folder=""):
        """Writes a chat of these messages, each a list of pieces, and returns its path."""
        chat = Transcript(f"{folder}{name} on 2005-03-01 at 21.07.ichat", "2005-03-01T20:00:00Z", Keyed(), "AIM",
                          [Speaker.of("AIM", person) for person in people or [name]])
        for pieces in said:
            chat.say(Speaker.of("AIM", "kimlee"), 60, *pieces)
        return self.write(f"{TRANSCRIPTS}/{chat.path}", chat.data())

    def export(self, *options, form="eml", folder="Out", told):
        output, errors = self.run_companion("export", "--as", form, self.path(folder), *options)
        self.assertEqual((output.splitlines()[0], errors), (told, ""))

    def mails(self, folder="Out"):
        """The mails in a folder by the names of their files."""
        return {Path(path).name: email.message_from_bytes(Path(path).read_bytes(), policy=email.policy.default)
                for path in glob.glob(self.path(folder, "*/*")) if os.path.isfile(path)}

    def assert_sound(self, mail):
        for part in mail.walk():
            self.assertEqual(part.defects, [])
            for name, value in part.items():
                self.assertEqual(list(value.defects), [], f"{name}: {value}")
            if not part.is_multipart():
                part.get_content()

    def test_every_mail_is_sound_and_says_what_its_chat_does(self):
        """Each row: a chat, and address and name of From, addresses of To and Cc, Date, pictures and attached files of its mail."""
        self.add_samples()
        self.chat(HOSTILE, name="Hostile", people=[EVIL])
        self.chat(["hi"], name="Crowd", people=[EVIL, *(f"person {number}" for number in range(200))])
        self.export(told="20 documents written.")
        mails = self.mails()
        for name, mail in mails.items():
            with self.subTest(name=name):
                self.assert_sound(mail)
                self.assertIsNone(mail["Bcc"])
                for field in ("From", "To", "Cc"):
                    for address in mail[field].addresses if mail[field] else ():
                        self.assertTrue(address.domain.endswith(".invalid"), address)
        rows = {
            "Hostile on 2005-03-01 at 21.07": (
                'Ev"il\\ Bcc: all@example.org <b@x>, %C3%BCxx', 'Ev"il\\ Bcc: all@example.org <b@x>, üxx', "kimlee@aim.invalid", 0,
                "2005-03-01T12:01:00-08:00", ["photo.png"], ['a"b Bcc: c\\;.html', "card.vcf"]),
            "Crowd on 2005-03-01 at 21.07": ("Crowd", "Crowd", "kimlee@aim.invalid", 201, "2005-03-01T12:01:00-08:00", [], []),
            "Kim Lee, Zoë Müller on 2005-02-11 at 18.47": (
                "Kim Lee, Zo%C3%AB M%C3%BCller", "Kim Lee, Zoë Müller", "robinashby@aim.invalid", 4,
                "2005-02-11T16:47:09-08:00", ["test cake.png"], []),
            "marta@imac@office on 2006-10-29 at 17.30": (
                "marta@imac@office", "marta", "myself@subnet.invalid", 0, "2006-10-29T15:30:00-08:00", ["garden, spring.jpg"], []),
            "Tomás Novák on 2004-09-18 at 19.33": (
                "tnovak", "Tomás Novák", "robinashby@aim.invalid", 0, "2004-09-18T17:33:20-07:00", [],
                ["floor plan.pdf", "Boxes - list.txt", "Boxes - labels.pdf", "Boxes - photos - umbrella stand.jpg", "Boxes - photos - empty.txt",
                 "old key.txt"])}
        for name, (sender, display, receiver, copies, date, pictured, attached) in rows.items():
            with self.subTest(name=name):
                mail = mails[name + ".eml"]
                self.assertTrue(mail["From"].addresses[0].username.startswith(sender), mail["From"])
                self.assertTrue(mail["From"].addresses[0].display_name.startswith(display), mail["From"])
                self.assertEqual([address.addr_spec for address in mail["To"].addresses], [receiver])
                self.assertEqual(len(mail["Cc"].addresses) if mail["Cc"] else 0, copies)
                self.assertEqual(parsedate_to_datetime(mail["Date"]).isoformat(), date)
                page = mail.get_body(("html",)).get_content()
                shown = [part for part in mail.walk() if part["Content-ID"]]
                self.assertEqual([part.get_filename() for part in shown], pictured)
                for part in shown:
                    self.assertIn('<img src="cid:' + part["Content-ID"].strip("<>") + '"', page)
                self.assertEqual([part.get_filename() for part in mail.walk() if part.get_content_disposition() == "attachment"], attached)
        hostile = mails["Hostile on 2005-03-01 at 21.07.eml"]
        for part in hostile.iter_attachments():
            self.assertEqual(part.get_payload(decode=True), CARD)
        text = hostile.get_body(("plain",)).get_content().replace("\r\n", "\n")
        self.assertIn("12:01  kimlee: From somebody\n         .\n         --=_", text)
        self.assertIn("ü" * 2000, text)

        self.export("--attachments", "none", folder="None", told="20 documents written.")
        self.assertFalse([part for mail in self.mails("None").values() for part in mail.walk() if part.get_filename()])
        for options, reason in ((["--by", "person"], "one chat"), (["--attachments", "beside"], "hold their files")):
            self.assertIn(reason, self.run_companion("export", "--as", "maildir", *options, self.path("Out"), code=2)[1])

    def test_no_two_mails_are_taken_for_one_and_a_grown_one_is_the_same(self):
        """Each row: what the chat and its copy in another folder say, what the export tells, and which of both has the Message-ID
        that the chat had at first."""
        path = self.path(TRANSCRIPTS, "Kim Lee on 2005-03-01 at 21.07.ichat")
        name, other = "Kim Lee on 2005-03-01 at 21.07.eml", "Kim Lee on 2005-03-01 at 21.07 (2).eml"
        first = None
        for said, copied, told, owner in (
                (["a"], None, "1 document written.", name),
                (["a", "b"], None, "1 document written.", name),
                (["a", "b"], ["a"], "1 document written, 1 unchanged.", name),
                (["a", "b"], ["x"], "1 document written, 1 unchanged.", name),
                (["a", "b"], ["a", "b", "c"], "2 documents written.", other)):
            with self.subTest(said=said, copied=copied):
                self.chat(*([text] for text in said))
                if copied:
                    self.chat(*([text] for text in copied), folder="Old/")
                self.export(told=told)
                identities = {name: mail["Message-ID"] for name, mail in self.mails().items()}
                first = first or identities[name]
                self.assertEqual([name for name, identity in identities.items() if identity == first], [owner])
                self.assertEqual(len(set(identities.values())), len(identities))
        self.export(path, folder="Alone", told="1 document written.")
        self.assertEqual(Path(self.path("Alone/Kim Lee", name)).read_bytes(), Path(self.path("Out/Kim Lee", name)).read_bytes())

    def test_mail_programs_read_a_maildir(self):
        """Each row: what notmuch is asked, and how many mails it finds."""
        self.add_samples()
        self.chat(HOSTILE, name="Hostile", people=[EVIL])
        os.mkdir(self.path("Mail"))
        self.export(form="maildir", folder="Mail/Chats", told="19 documents written.")
        settings = self.write("notmuch", f"[database]\npath={self.path('Mail')}\n[user]\nname=Sam\nprimary_email=s@example.org\n".encode())
        self.environment["NOTMUCH_CONFIG"] = settings

        def notmuch(*arguments):
            return subprocess.run(["notmuch", *arguments], env=self.environment, capture_output=True, check=True, text=True).stdout

        notmuch("new")
        for question, count in (("*", 19), ("from:kimlee77", 4), ("from:Tomás", 3), ("to:robinashby", 13), ("date:2005-08-20..2005-08-20", 2),
                                ("attachment:boarding", 1), ("attachment:card.vcf", 1), ("lanterns", 2), ("abracadabra", 0)):
            self.assertEqual(int(notmuch("count", question)), count, question)
        mail, = notmuch("search", "--output=files", "attachment:boarding").splitlines()
        os.rename(mail, mail.replace(":2,S", ":2,FS"))  # as mail programs do
        self.export(form="maildir", folder="Mail/Chats", told="0 documents written, 19 unchanged.")
        self.export(form="maildir", folder="Mail/Again", told="19 documents written.")
        notmuch("new")
        self.assertEqual(notmuch("count", "*"), "19\n")

        script = self.write("muttrc", f"""
            set folder='{self.home}' spoolfile=/dev/null charset=utf-8 quit=yes wait_key=no
            set print=yes print_decode=yes print_command="cat >> '{self.path('printed')}'"
            alternative_order text/plain
        """.encode())
        saving = "".join(f"<search>{name}<enter><save-entry><kill-line>{self.path(name)}<enter>" for name in ("azulejos", "boarding"))
        code, shown = self.run_in_terminal("mutt", "-n", "-F", script, "-R", "-f", self.path("Mail/Chats"), "-e",
                                           f"push '<limit>~F<enter><print-message><view-attachments>{saving}<exit><exit>'")
        self.assertEqual(code, 0, shown)
        self.assertIn("Robin Ashby: ", Path(self.path("printed")).read_text(encoding="utf-8"))
        files = {part.get_filename(): part.get_payload(decode=True) for part in self.mails("Mail/Chats")[os.path.basename(mail).replace(
            ":2,S", ":2,FS")].walk()}
        for name, saved in (("azulejos.png", "azulejos"), ("boarding pass.pdf", "boarding")):
            self.assertEqual(Path(self.path(saved)).read_bytes(), files[name])


main()
