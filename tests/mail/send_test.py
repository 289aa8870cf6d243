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

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../companion"))

from companion import CompanionTest, SAMPLES, main
from mailservers import hang_up, mail_server, say_nothing, socket_server, unused_port

KIM = os.path.join(SAMPLES, "chats", "Kim Lee on 2003-07-12 at 20.41.chat")
PREFERENCES = "Library/Preferences/com.velmoria.prattlebug.plist"
LOGIN = (b"sam", "s3crét".encode())


class Send(CompanionTest):
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
            self.send(server.port, "--from", "pat@example.com", host="localhost")
        envelope, = server.received
        self.assertEqual(envelope.mail_from, "pat@example.com")
        message = email.message_from_bytes(envelope.content, policy=email.policy.default)
        self.assertEqual(message["From"], "pat@example.com")
        self.assertRegex(message["Subject"], r"^\[IM\] Kim Lee \(\d\d:\d\d:\d\d \d\d \w{3} \d{4}\)$")
        self.assertEqual(self.preferences()["subjectNumber"], 5)

    def test_a_refusal_is_told_in_the_servers_words(self):
        long_reply = "554 5.6.0 " + "No mail from here, and %s %d none of this kind. " * 60 + "Sorry."
        for answers, reply in (
                ({"MAIL": "550 5.7.1 No such sender"}, "550 5.7.1 No such sender"),
                ({"RCPT": "550 5.1.1 No such user"}, "550 5.1.1 No such user"),
                ({"RCPT": "550-There is\r\n550 5.1.1 no such user"}, "550 5.1.1 no such user"),
                ({"DATA": long_reply}, long_reply),
                ({"RCPT": "421 Closing for the night"}, "421 Closing for the night"),
        ):
            self.prefer()
            with mail_server(answers) as server:
                errors = self.send(server.port, code=1)
            self.assertEqual(server.received, [])
            self.assert_reported(2, reply, errors, "An error occurred while sending email:", reply,
                                 "The mail server refuses the message: " + reply)

    def test_logs_in_when_the_preferences_say_so(self):
        account = {"emailUsername": "sam", "emailPassword": LOGIN[1].decode()}
        with mail_server(login=LOGIN) as server:
            self.prefer(emailNeedsUsername=1, **account)
            self.assertEqual(self.send(server.port), "")
            self.assertEqual(server.logins, [("LOGIN", *LOGIN)])
            self.assert_message(server.received[0], KIM, "[IM] Kim Lee")
            self.assert_nothing_reported()

            self.prefer(emailNeedsUsername=0, **account)
            errors = self.send(server.port, code=1)
            self.assertEqual(len(server.logins), 1)
            self.assert_reported(2, "530 5.7.0 Authentication required", errors)

            self.prefer(emailNeedsUsername=1, emailUsername="sam", emailPassword="wrong")
            errors = self.send(server.port, code=1)
            self.assert_reported(3, "login rejected", errors, "The SMTP server rejected the username/password.")
            self.assertIn("The mail server rejects the login: 535", errors)
            self.assertNotIn("wrong", errors)
        self.assertEqual(len(server.received), 1)

        with mail_server() as server:  # offers none
            self.prefer(emailNeedsUsername=1, **account)
            errors = self.send(server.port, code=1)
            self.assert_reported(3, "login rejected", errors, "The SMTP server rejected the username/password.")
        self.assertEqual(server.received, [])

    def test_a_server_that_repeats_the_password_makes_nobody_read_it(self):
        password, encoded = LOGIN[1].decode(), base64.b64encode(LOGIN[1]).decode()
        withheld = " (withheld: the server repeats the password)"
        for command, answer, reported in (
                ("AUTH", f"535 Not {password}", "login rejected"),
                ("AUTH", f"535 {encoded}?", "login rejected"),
                ("MAIL", f"550 5.7.1 {password}?", "550" + withheld),
                ("RCPT", f"550-Not with\r\n550 {password}", "550" + withheld),
                ("DATA", f"554 {encoded.rstrip('=')}", "554" + withheld),
                ("DATA", f"421 {encoded}", "421" + withheld),
        ):
            self.prefer(emailNeedsUsername=1, emailUsername="sam", emailPassword=password)
            login = LOGIN if command != "AUTH" else (b"sam", b"another")
            with mail_server({command: answer}, login=login, enable_SMTPUTF8=True) as server:
                errors = self.send(server.port, code=1)
            stored = self.preferences()
            self.assertEqual((stored.pop("emailPassword"), stored["reportThis"]), (password, reported))
            shown = "".join([errors, *self.run_companion("prefs"), *self.run_companion("status"), repr(stored)])
            for form in (password, LOGIN[1].decode("latin-1"), encoded.rstrip("=")):
                self.assertNotIn(form, shown, answer)

    def test_a_lost_connection_and_a_silent_server_time_out(self):
        for command in ("MAIL", "RCPT", "DATA"):
            for answer, options, reason in (
                    (hang_up, [], "The connection has been lost."),
                    (say_nothing, ["--timeout", "1"], "The server has been silent for 1 s."),
            ):
                self.prefer()
                with mail_server({command: answer}) as server:
                    errors = self.send(server.port, *options, code=1)
                self.assertEqual(server.received, [])
                self.assert_reported(2, "server not responding", errors, "The attempt to send email timed out.",
                                     "The mail was not sent: " + reason)

    def test_an_unreachable_server(self):
        with unused_port() as port:
            for host, reason in (("127.0.0.1", "The server refuses the connection."),
                                 ("x" * 64, "There is no such host.")):
                self.prefer()
                errors = self.send(port, host=host, code=1)
                self.assert_reported(2, "SMTP unreachable", errors, "Unable to connect to mail server.",
                                     f"No connection to the mail server {host}:{port}: {reason}")

    def test_speaks_only_after_the_greeting(self):
        def greets_late(connection, said):
            connection.settimeout(2)  # longer than the client waits by itself
            try:
                said.append(connection.recv(100))
            except TimeoutError:
                pass
            connection.sendall(b"220 late\r\n")
            said.append(connection.recv(100))

        self.prefer()
        with socket_server(greets_late) as (port, said):
            self.send(port, code=1)
        self.assertEqual([line[:5] for line in said], [b"EHLO "])

    def test_a_server_that_turns_clients_away(self):
        def says(*lines):
            def conversation(connection, said):
                for line in lines:
                    connection.sendall(line)
                    while data := connection.recv(1000):
                        said.append(data)
                        if len(said) < len(lines):
                            break
            return conversation

        for greeting, reported, options in (
                (b"554 No mail here\r\n", "554 No mail here", []),
                (b"421 Busy\r\n", "421 Busy", []),
                (b"", "server not responding", ["--timeout", "1"]),
                (b"220", "server not responding", ["--timeout", "1"]),
                (b"250 \r\n\n\r\n\0\r\n" * 3, "server not responding", ["--timeout", "1"]),
                (b"220 " + b"x" * 3000000, "server not responding", []),
        ):
            self.prefer()
            with socket_server(says(greeting)) as (port, said):
                errors = self.send(port, *options, code=1)
            self.assert_reported(2, reported, errors)
            self.assertNotIn(b"MAIL", b"".join(said))

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
        login = {"emailNeedsUsername": 1, "emailUsername": "sam", "emailPassword": LOGIN[1].decode()}
        own, own_settings = self.certificate("127.0.0.1", "localhost")
        others, other_settings = self.certificate("mail.example.org")
        self.prefer(**login)
        with mail_server(login=LOGIN, **own_settings) as server:
            for host in ("127.0.0.1", "localhost"):
                self.assertEqual(self.send(server.port, "--starttls", "--ca-file", own, host=host), "")
                self.assert_message(server.received[-1], KIM, "[IM] Kim Lee")
            self.assertEqual(server.encrypted, [True, True])
        self.assert_nothing_reported()

        with mail_server(login=LOGIN, **own_settings) as server:
            errors = self.send(server.port, "--starttls", code=1)
            self.assert_reported(2, "SMTP unreachable", errors)
            self.assertIn("certificate", errors.splitlines()[-1])
        self.prefer(**login)
        with mail_server(login=LOGIN, **other_settings) as other:
            errors = self.send(other.port, "--starttls", "--ca-file", others, code=1)
            self.assert_reported(2, "SMTP unreachable", errors)
            self.assertIn("name", errors.splitlines()[-1])
        self.prefer(**login)
        with mail_server(login=LOGIN) as plain:
            errors = self.send(plain.port, "--starttls", code=1)
            self.assert_reported(2, "SMTP unreachable", errors)
            self.assertTrue(errors.endswith(": The server offers no encryption.\n"), errors)
        for refusing in (server, other, plain):
            self.assertEqual((refusing.received, refusing.logins), ([], []))

    def test_a_server_in_the_middle_learns_nothing(self):
        def offers_but(answer):
            def conversation(connection, said):
                connection.sendall(b"220 hi\r\n")
                connection.recv(1000)
                connection.sendall(b"250-hi\r\n250-AUTH LOGIN\r\n250 STARTTLS\r\n")
                connection.recv(1000)
                connection.sendall(answer)
                while data := connection.recv(1000):
                    said.append(data)
                    connection.sendall(b"250-hi\r\n250 AUTH LOGIN\r\n")
            return conversation

        for answer in (b"454 Not today\r\n", b"220 go\r\n250-hi\r\n250 AUTH LOGIN\r\n", b"220 go\r\n"):
            self.prefer(emailNeedsUsername=1, emailUsername="sam", emailPassword="s3cret")
            with socket_server(offers_but(answer)) as (port, said):
                errors = self.send(port, "--starttls", "--timeout", "2", code=1)
            self.assert_reported(2, "SMTP unreachable", errors)
            self.assertFalse([part for part in said if b"AUTH" in part or b"MAIL" in part], said)

    def test_wrong_usage_sends_nothing(self):
        self.prefer()
        for arguments in ([], ["--server", "127.0.0.1:1"], ["--to", "kim@example.org"],
                          *(["--server", server, "--to", "kim@example.org"]
                            for server in ("", ":25", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:25x",
                                           "a b", "[::1]:25", "ümlaut")),
                          *(["--server", "127.0.0.1:1", "--to", address]
                            for address in ("", "kim", "@", "kim@", "kim@eve@x.org", "kim,eve@x.org", "Kim <kim@example.org>",
                                            "kim@example.org>\r\nRCPT TO:<eve@x",
                                            "kím@example.org", "k" * 250 + "@x.org")),
                          *(["--server", "127.0.0.1:1", "--to", "kim@example.org", *options]
                            for options in (["--from", "sam"], ["--timeout", "0"], ["--timeout", "soon"], ["--ca-file", "x"]))):
            self.run_companion("send", *arguments, KIM, code=2)
        self.assert_nothing_reported()

    def test_a_chat_or_sender_that_is_not_there(self):
        self.assertIn("prattlebug prefs emailAddress", self.send(1, code=1))
        self.prefer()
        self.assertIn("Notes.txt: its name ends neither", self.send(1, file=os.path.join(SAMPLES, "chats/Notes.txt"), code=1))
        self.assert_nothing_reported()


main()
