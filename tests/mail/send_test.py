"""prattlebug send against real servers: what arrives there, and what the user and the preference pane are told."""

import base64
import email
import email.policy
import email.utils
import os
import plistlib
import shutil
import ssl
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../companion"))

from companion import CompanionTest, PRATTLEBUG, SAMPLES, main
from mailservers import bare_server, hang_up, last_words, mail_server, say_nothing, unused_port

KIM = os.path.join(SAMPLES, "chats", "Kim Lee on 2003-07-12 at 20.41.chat")
PREFERENCES = "Library/Preferences/com.velmoria.prattlebug.plist"
NAMES = sys.argv[3]
LOGIN = (b"sam", "s3crét-wört".encode())
ACCOUNT = {"emailNeedsUsername": 1, "emailUsername": "sam", "emailPassword": LOGIN[1].decode()}


class Send(CompanionTest):
    def setUp(self):
        super().setUp()
        self.environment.update(LD_PRELOAD=NAMES, ASAN_OPTIONS="verify_asan_link_order=0")

    def prefer(self, **values):
        path = self.write(PREFERENCES, plistlib.dumps({"emailAddress": "sam@example.org", **values}))
        os.chmod(path, 0o600)

    def preferences(self):
        with open(self.path(PREFERENCES), "rb") as file:
            return plistlib.load(file)

    def send(self, port, *arguments, file=KIM, host="127.0.0.1", code=0):
        """Sends a chat; returns what was said on standard error."""
        output, errors = self.run_companion("send", "--server", f"{host}:{port}", "--to", "kim@example.org", *arguments,
                                            file, code=code)
        self.assertEqual(output, "")
        return errors

    def assert_reported(self, code, text, errors, *lines):
        """Checks what the preference pane is told, and that standard error has the lines, each at a line's end."""
        stored = self.preferences()
        self.assertEqual((stored["errorStatus"], stored["reportThis"], stored["emailFails"]), (code, text, 1))
        for line in lines:
            self.assertIn(line + "\n", errors)

    def assert_nothing_reported(self):
        self.assertFalse({"errorStatus", "reportThis", "emailFails"} & self.preferences().keys())

    def assert_message(self, envelope, file, subject):
        """Checks a message that has arrived against what `show` says of the chat."""
        self.assertEqual((envelope.mail_from, envelope.rcpt_tos), ("sam@example.org", ["kim@example.org"]))
        content = envelope.content
        self.assertTrue(content.isascii())
        self.assertTrue(content.endswith(b"--\r\n"), content[-10:])
        lines = content.split(b"\r\n")
        self.assertFalse([line for line in lines if b"\n" in line or b"\r" in line or len(line) > 78])

        message = email.message_from_bytes(content, policy=email.policy.default)
        self.assertEqual(len(set(message.keys())), len(message.keys()))
        self.assertEqual((message["From"], message["To"], message["MIME-Version"]), ("sam@example.org", "kim@example.org", "1.0"))
        self.assertEqual(message["Subject"], subject)
        self.assertRegex(message["Message-ID"], r"^<[^<>@\s]+@example\.org>$")
        self.assertIsNotNone(email.utils.parsedate_to_datetime(message["Date"]).tzinfo)
        self.assertEqual(message.get_content_type(), "multipart/alternative")
        plain, html = message.iter_parts()
        for part, kind, shown in ((plain, "text/plain", self.run_companion("show", file)[0][:-1]),
                                  (html, "text/html", self.run_companion("show", "--as", "html", file)[0])):
            self.assertEqual((part.get_content_type(), part.get_content_charset()), (kind, "utf-8"))
            self.assertEqual(part.get_payload(decode=True).decode().replace("\r\n", "\n"), shown)
        self.assertFalse(message.defects + plain.defects + html.defects)
        return message

    def test_a_server_receives_the_chat(self):
        self.prefer()
        chats = os.path.join(SAMPLES, "chats")
        long = self.path("一二三四五六七八九十" * 7 + " 😀 on 2005-03-01.chat")
        shutil.copy(KIM, long)
        odd = self.path("=?utf-8?Q?Kim?= \r\nBcc: eve@example.org on 2005-03-01.chat")
        shutil.copy(KIM, odd)
        identifiers = set()
        with mail_server() as server:
            for file, subject in (
                    (KIM, "[IM] Kim Lee"),
                    (os.path.join(chats, "Zoë Müller on 2007-05-19 at 20.15.ichat"), "[IM] Zoë Müller"),
                    (os.path.join(chats, "李明 on 2005-12-31 at 23.50.ichat"), "[IM] 李明"),
                    (long, "[IM] " + "一二三四五六七八九十" * 7 + " 😀"),
                    (odd, "[IM] =?utf-8?Q?Kim?=   Bcc: eve@example.org"),
            ):
                self.assertEqual(self.send(server.port, file=file), "")
                identifiers.add(self.assert_message(server.received[-1], file, subject)["Message-ID"])
        self.assertEqual(len(identifiers), 5)
        self.assert_nothing_reported()

    def test_sender_and_subject_follow_options_and_preferences(self):
        self.prefer(forceUniqueSubjects=True, subjectNumber=4)
        with mail_server() as server:
            errors = self.send(server.port, "--verbose", "--from", "pat@example.com", host="both.test")
        self.assertRegex(errors, r"\A\S+ \S+ \S+ preparing to email with pantomime\n\Z")
        envelope, = server.received
        self.assertEqual(envelope.mail_from, "pat@example.com")
        message = email.message_from_bytes(envelope.content, policy=email.policy.default)
        self.assertEqual(message["From"], "pat@example.com")
        self.assertRegex(message["Subject"], r"^\[IM\] Kim Lee \(\d\d:\d\d:\d\d \d\d \w{3} \d{4}\)$")
        self.assertEqual(self.preferences()["subjectNumber"], 5)

    def test_the_servers_last_word_decides(self):
        long_reply = "554 5.6.0 " + "No mail from here, and %s %d none of this kind. " * 60 + "Sorry."
        lost, silent = "The connection has been lost.", "The server has been silent for 1 s."
        for answers, reply, reason in (
                ({"RCPT": "251 5.1.5 Will be forwarded"}, None, None),
                ({"RCPT": "251-5.1.5 Will\r\n251 be forwarded"}, None, None),
                ({"DATA": last_words("250 OK")}, None, None),
                ({"MAIL": "550 5.7.1 No such sender"}, "550 5.7.1 No such sender", None),
                ({"RCPT": "550 5.1.1 No such user"}, "550 5.1.1 No such user", None),
                ({"RCPT": "550-There is\r\n550 5.1.1 no such user"}, "550 5.1.1 no such user", None),
                ({"RCPT": last_words("550 5.1.1 No such user")}, "550 5.1.1 No such user", None),
                ({"RCPT": "421 Closing for the night"}, "421 Closing for the night", None),
                ({"RCPT": last_words("421 Closing for the night")}, "421 Closing for the night", None),
                ({"DATA": long_reply}, long_reply, None),
                ({"DATA": last_words("554 No")}, "554 No", None),
                ({"MAIL": last_words("250 OK")}, None, lost),
                ({"DATA": last_words("250-OK so far")}, None, lost),
                *(({command: hang_up}, None, lost) for command in ("MAIL", "RCPT", "DATA")),
                *(({command: say_nothing}, None, silent) for command in ("MAIL", "RCPT", "DATA")),
        ):
            with self.subTest(answers=answers):
                self.prefer()
                with mail_server(answers) as server:
                    errors = self.send(server.port, *(["--timeout", "1"] if reason == silent else []),
                                       code=1 if reply or reason else 0)
                if reply:
                    self.assert_reported(2, reply, errors, "An error occurred while sending email:", reply,
                                         "The mail server refuses the message: " + reply)
                elif reason:
                    self.assert_reported(2, "server not responding", errors, "The attempt to send email timed out.",
                                         "The mail was not sent: " + reason)
                else:
                    self.assertEqual(errors, "")
                    self.assert_message(server.received[0], KIM, "[IM] Kim Lee")
                    self.assert_nothing_reported()

    def test_what_a_terminal_would_obey_in_a_reply_is_shown(self):
        self.prefer()
        with mail_server({"RCPT": "550 no \x1b]0;title\x07\x1b[2J user"}) as server:
            code, shown = self.run_in_terminal(PRATTLEBUG, "send", "--server", f"127.0.0.1:{server.port}", "--to", "kim@example.org", KIM)
        self.assertEqual(code, 1)
        self.assertIn("550 no \ufffd]0;title\ufffd\ufffd[2J user".encode(), shown)
        self.assertNotRegex(shown, b"\x1b\\]|\x1b\\[2J|\a")

    def test_servers_that_turn_clients_away_or_make_no_sense(self):
        login = (b"220 hi\r\n", b"250-hi\r\n250 AUTH LOGIN\r\n", b"334 VXNlcm5hbWU6\r\n", b"334 UGFzc3dvcmQ6\r\n")
        for replies, closes, options, reported in (
                ((b"554 No mail here\r\n",), False, [], (2, "554 No mail here")),
                ((b"554 No mail here\r\n",), True, [], (2, "554 No mail here")),
                ((b"421 Busy\r\n",), False, [], (2, "421 Busy")),
                ((b"421 Busy\r\n",), True, [], (2, "421 Busy")),
                ((b"220 hi\r\n",), True, [], (2, "server not responding")),
                ((b"",), False, ["--timeout", "1"], (2, "server not responding")),
                ((b"220",), False, ["--timeout", "1"], (2, "server not responding")),
                ((b"250 \r\n\n\r\n\0\r\n" * 3,), False, ["--timeout", "1"], (2, "server not responding")),
                ((b"220 " + b"x" * 3000000,), False, [], (2, "server not responding")),
                ((*login, b"535 No\r\n"), True, [], (3, "login rejected")),
        ):
            with self.subTest(replies=replies[-1][:20], closes=closes):
                self.prefer(**ACCOUNT)
                with bare_server(*replies, closes=closes) as (port, said):
                    errors = self.send(port, *options, code=1)
                self.assert_reported(*reported, errors)
                self.assertNotIn(b"MAIL", b"".join(said))

    def test_logs_in_when_the_preferences_say_so(self):
        rejected, refused = "The mail server rejects the login: 535", "The mail server refuses the message: 530"
        for preferences, login, logins, reported, reason in (
                ({}, LOGIN, [("LOGIN", *LOGIN)], None, ""),
                ({"emailNeedsUsername": 0}, LOGIN, [], (2, "530 5.7.0 Authentication required"), refused),
                ({"emailPassword": "wrong"}, LOGIN, [("LOGIN", b"sam", b"wrong")], (3, "login rejected"), rejected),
                ({}, None, [], (3, "login rejected"), "The SMTP server rejected the username/password."),
        ):
            self.prefer(**{**ACCOUNT, **preferences})
            with mail_server(login=login) as server:
                errors = self.send(server.port, code=1 if reported else 0)
            self.assertEqual((server.logins, len(server.received)), (logins, 0 if reported else 1))
            self.assertIn(reason, errors)
            self.assertNotIn("wrong", errors)
            if reported:
                self.assert_reported(*reported, errors)

    def test_a_password_that_a_server_repeats_is_shown_to_nobody(self):
        password, encoded = LOGIN[1].decode(), base64.b64encode(LOGIN[1]).decode()
        withheld = "{} (withheld: the server repeats the password)".format
        for command, answer, password, reported in (
                ("AUTH", f"535 Not {password}", password, "login rejected"),
                ("AUTH", f"535 {encoded}?", password, "login rejected"),
                ("MAIL", f"550 5.7.1 {password}?", password, withheld(550)),
                ("RCPT", f"550-Not with\r\n550 {password}", password, withheld(550)),
                ("DATA", f"554 {encoded.rstrip('=')}", password, withheld(554)),
                ("DATA", f"421 {encoded}", password, withheld(421)),
                ("DATA", "554 No-such-user!", "such-user", withheld(554)),
                ("DATA", "554 No such-users", "such-user", "554 No such-users"),
                ("DATA", "554 Nosuch-user", "such-user", "554 Nosuch-user"),
                ("DATA", "554 No such mailbox", "mailbox", "554 No such mailbox"),
        ):
            with self.subTest(answer=answer):
                self.prefer(**{**ACCOUNT, "emailPassword": password})
                login = (b"sam", password.encode() if command != "AUTH" else b"another")
                with mail_server({command: answer}, login=login, enable_SMTPUTF8=True) as server:
                    errors = self.send(server.port, code=1)
                stored = self.preferences()
                self.assertEqual((stored.pop("emailPassword"), stored["reportThis"]), (password, reported))
                shown = "".join([errors, *self.run_companion("prefs"), *self.run_companion("status"), repr(stored)])
                for form in (password, password.encode().decode("latin-1"), encoded.rstrip("=")):
                    self.assertTrue(form not in shown or answer == reported, shown)

    def test_a_server_that_cannot_be_reached(self):
        with unused_port() as port:
            for host, timeout, reason in (
                    ("127.0.0.1", 60, "It refuses the connection or cannot be reached."),
                    ("255.255.255.255", 60, None),  # no way there; the reason depends on the network
                    ("x" * 63 + ".invalid", 60, None),  # so does this one
                    ("six.test", 60, "It has IPv6 addresses only, which the mail library cannot use."),
                    ("slow.test", 1, "Its address could not be found within 1 s."),
            ):
                with self.subTest(host=host):
                    self.prefer()
                    begun = time.monotonic()
                    errors = self.send(port, "--timeout", str(timeout), host=host, code=1)
                    self.assertLess(time.monotonic() - begun, 30)
                    self.assert_reported(2, "SMTP unreachable", errors, "Unable to connect to mail server.")
                    self.assertNotIn("silent", errors)
                    self.assertIn(f"No connection to the mail server {host}:{port}: {reason or ''}", errors)

    def test_speaks_only_after_the_greeting(self):
        self.prefer()
        with bare_server(b"220 late\r\n", b"221 bye\r\n", waits=2, closes=True) as (port, said):  # the client waits a second
            self.send(port, code=1)
        self.assertEqual([line[:5] for line in said], [b"EHLO "])

    def certificate(self, *names):
        """Makes a certificate for names that vouches for itself; returns its file and the server's settings."""
        file, key = self.path(names[0] + ".pem"), self.path(names[0] + ".key")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", file, "-days", "2",
                        "-subj", "/CN=a mail server", "-addext",
                        "subjectAltName=" + ",".join(("IP:" if name[0].isdigit() else "DNS:") + name for name in names)],
                       check=True, capture_output=True, timeout=60)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(file, key)
        return file, {"tls_context": context}

    def test_encrypts_to_a_trusted_server_alone(self):
        own, own_settings = self.certificate("127.0.0.1", "both.test")
        others, other_settings = self.certificate("mail.example.org")
        self.prefer(**ACCOUNT)
        with mail_server(login=LOGIN, **own_settings) as server:
            for host in ("127.0.0.1", "both.test"):
                self.assertEqual(self.send(server.port, "--starttls", "--ca-file", own, host=host), "")
                self.assert_message(server.received[-1], KIM, "[IM] Kim Lee")
            self.assertEqual(server.encrypted, [True, True])
        self.assert_nothing_reported()

        for settings, options, reason in (
                (own_settings, [], "certificate"),
                (other_settings, ["--ca-file", others], "name"),
                ({}, [], ": The server offers no encryption."),
        ):
            self.prefer(**ACCOUNT)
            with mail_server(login=LOGIN, **settings) as server:
                errors = self.send(server.port, "--starttls", *options, code=1)
            self.assert_reported(2, "SMTP unreachable", errors)
            self.assertIn(reason, errors.splitlines()[-1])
            self.assertEqual((server.received, server.logins), ([], []))

    def test_a_server_in_the_middle_learns_nothing(self):
        offers = (b"220 hi\r\n", b"250-hi\r\n250-AUTH LOGIN\r\n250 STARTTLS\r\n")
        for answers in ([b"454 Not today\r\n"], [b"220 go\r\n250-hi\r\n250 AUTH LOGIN\r\n"],
                        [b"220 go\r\n", *[b"250-hi\r\n250 AUTH LOGIN\r\n"] * 5],
                        [b"220 go\r\n"]):  # and no handshake
            with self.subTest(answers=answers):
                self.prefer(**ACCOUNT)
                begun = time.monotonic()
                with bare_server(*offers, *answers) as (port, said):
                    errors = self.send(port, "--starttls", "--timeout", "2", code=1)
                self.assertLess(time.monotonic() - begun, 15)
                self.assert_reported(2, "SMTP unreachable", errors)
                self.assertFalse([part for part in said if b"AUTH" in part or b"MAIL" in part], said)

    def test_wrong_usage_sends_nothing(self):
        self.prefer()
        empty = self.write("empty.pem", b"")
        server, to = ["--server", "127.0.0.1:1"], ["--to", "kim@example.org"]
        for arguments in (
                [], server, to,
                *(["--server", wrong, *to] for wrong in ("", ":25", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:25x", "a b",
                                                         "[::1]:25", "::1", "sam@127.0.0.1", "127.0.0.1/x", "x" * 250 + ".org")),
                *([*server, "--to", address] for address in (
                    "", "kim", "@", "kim@", "kim@eve@x.org", "kim,eve@x.org", "Kim <kim@example.org>",
                    "kim@example.org>\r\nRCPT TO:<eve@x", "kím@example.org", "k" * 250 + "@x.org")),
                *([*server, *to, *options] for options in (
                    ["--from", "sam"], ["--timeout", "0"], ["--timeout", "soon"], ["--ca-file", empty],
                    *(["--starttls", "--ca-file", file] for file in ("", self.path("missing.pem"), self.home, empty)))),
        ):
            with self.subTest(arguments=arguments):
                self.run_companion("send", *arguments, KIM, code=2)
        self.assert_nothing_reported()

    def test_a_chat_or_sender_that_is_not_there(self):
        for address, reason in (("", "There is no address to send from: give --from, or set it with prattlebug prefs emailAddress"),
                                ("Me <me@example.org>", "Me <me@example.org> is not an address that mail can be sent from."),
                                ("kim@exämple.org", "kim@exämple.org is not an address that mail can be sent from.")):
            self.prefer(emailAddress=address)
            self.assertIn(reason, self.send(1, code=1))
        self.prefer()
        self.assertIn("Notes.txt: its name ends neither", self.send(1, file=os.path.join(SAMPLES, "chats/Notes.txt"), code=1))
        self.assert_nothing_reported()


main()
