"""show, check, inspect, and how the companion is called."""

import json
import os
import re
import subprocess
from pathlib import Path

from companion import CompanionTest, PRATTLEBUG, SAMPLES, TRANSCRIPTS, main

KIM = os.path.join(SAMPLES, "chats", "Kim Lee on 2003-07-12 at 20.41.chat")
with open(KIM, "rb") as transcript:
    KIM_BYTES = transcript.read()


def keyed(*objects):
    """A keyed archive in XML of these objects, the first of which is number 2 and the root; 1 is the class NSArray.

    UID:5 stands for a reference to object 5, $class:5 for the member that names the class.
    """
    objects = ["<string>$null</string>", "<dict><key>$classname</key><string>NSArray</string></dict>", *objects]
    text = ("<plist><dict><key>$objects</key><array>" + "".join(objects) +
            "</array><key>$top</key><dict><key>root</key>UID:2 </dict></dict></plist>").replace("$class:", "<key>$class</key>UID:")
    return re.sub(r"UID:(\d+) ", r"<dict><key>CF$UID</key><integer>\1</integer></dict>", text).encode()


class Commands(CompanionTest):
    def test_wrong_usage_exits_with_2(self):
        for arguments in ([], ["nonsense"], ["archive"], ["archive", "a", "b"], ["show"], ["show", "--as", "pdf", KIM],
                          ["show", "--times", "--as", "json", KIM],
                          ["inspect"], ["--home"], ["prefs", "--delete"], ["prefs", "emailAddress", "a@b", "c"]):
            output, errors = self.run_companion(*arguments, code=2)
            self.assertEqual(output, "")
            self.assertTrue(errors, arguments)
        for arguments in (["--help"], ["archive", "--help"], ["--version"]):
            self.assertTrue(self.run_companion(*arguments)[0])

    def test_home_stands_before_or_after_the_subcommand(self):
        other = self.path("other")
        for arguments in (["--home", other, "prefs", "emailUsername", "kim"], ["prefs", "emailUsername", "kim", "--home", other]):
            self.run_companion(*arguments)
            self.assertEqual(os.listdir(self.home), ["other"])
            self.assertEqual(self.run_companion("--home", other, "prefs", "emailUsername")[0], "kim\n")
            self.run_companion("--home", other, "prefs", "--delete", "emailUsername")

    def test_show_gives_one_chat_in_each_form(self):
        plain, _ = self.run_companion("show", KIM)
        self.assertTrue(plain.endswith("Sent by Prattlebug ( https://prattlebug.example/ )\n"))
        self.assertTrue(self.run_companion("show", "--as", "html", KIM)[0].startswith("<html><head><title>Prattlebug log"))
        self.assertEqual(self.run_companion("show", "--as", "subject", KIM)[0], "[IM] Kim Lee\n")
        chat = json.loads(self.run_companion("show", "--as", "json", KIM)[0])
        self.assertEqual(chat["subject"], "[IM] Kim Lee")
        spoken = [message for message in chat["messages"] if not message["status"]]
        self.assertEqual(plain, "".join(f"{message['speaker']}: {message['text']}\n" for message in spoken)
                         + "Sent by Prattlebug ( https://prattlebug.example/ )\n")
        timed = self.run_companion("show", "--times", KIM)[0]
        self.assertRegex(timed, r"^Sat 2003-07-12\n18:41  .*\n(.*\n)*18:51  ")
        self.assertEqual(re.sub(r"(?m)^(\d\d:\d\d  | {7}|Sat .*\n)", "", timed).replace("[poster.png]", "\ufffc"), plain)

    def test_transcripts_may_have_any_name_and_be_named_as_search_names_them(self):
        for name, party in (("Kim.chat", "Kim"), ("Kim Lee #7.CHAT", "Kim Lee #7"), ("Kim on 2003.Chat", "Kim"), (".hidden.chat", ".hidden")):
            path = self.write(name, KIM_BYTES)
            self.assertEqual(self.run_companion("show", "--as", "subject", path)[0], f"[IM] {party}\n")
            self.assertEqual(self.run_companion("check", path)[0], "1 can be read, 0 cannot.\n")
        self.add_samples()
        relative = json.loads(self.run_companion("search", "--json", "--limit", "1", "e")[0])["path"]
        self.assertEqual(self.run_companion("show", relative)[0], self.run_companion("show", self.path(TRANSCRIPTS, relative))[0])

    def test_commands_that_there_are_not(self):
        for word, told in (("archvie", 'Did you mean "archive"?'), ("sear", 'Did you mean "search"?'), ("stat", 'Did you mean "stats"?'),
                           ("xyzzy", "prattlebug help lists them.")):
            for arguments in ([word], [word, "--quiet", "x"], ["help", word]):
                self.assertEqual(self.run_companion(*arguments, code=2)[1], f'There is no command "{word}". {told}\n')
        self.assertEqual(self.run_companion("help", "archive"), self.run_companion("archive", "--help"))
        self.assertEqual(self.run_companion("help"), self.run_companion("--help"))

    def test_show_lists_attached_files(self):
        seen = []
        for expected in Path(SAMPLES, "expected").rglob("*.json"):
            chat = Path(SAMPLES, "chats", expected.relative_to(Path(SAMPLES, "expected")).with_suffix(""))
            if " on " not in chat.name:
                continue
            shown = json.loads(self.run_companion("show", "--as", "json", chat)[0])["messages"]
            for message, held in zip(shown, json.loads(expected.read_text(encoding="utf-8"))["messages"]):
                files = [(file["name"], file["bytes"]) for file in message["files"]]
                self.assertEqual([(name, size or dict(files)[name]) for name, size in held["files"]], files)
                seen += files
        self.assertIn(("Boxes", 2425), seen, "a folder has the bytes of its files")
        self.assertIn(None, dict(seen))

    def test_show_says_why_a_file_is_no_transcript(self):
        for name, data, reason in (
                ("Notes.txt", b"", 'its name ends neither in ".chat" nor in ".ichat"'),
                ("Kim on x.chat", b"\x04\x0bstreamtyped\x81", "the file is cut off, or a length in it is wrong (offset 14)"),
                ("Kim on x.ichat", b"bplist00", "the file is cut off (offset 8)"),
        ):
            path = self.write(name, data)
            output, errors = self.run_companion("show", path, code=1)
            self.assertEqual(output, "")
            self.assertTrue(errors.startswith(f"{path}: {reason}"), errors)

    def test_output_that_does_not_fit_is_a_failure(self):
        self.add_samples()
        for arguments in (["show", KIM], ["show", "--as", "json", KIM], ["inspect", KIM], ["search", "e"], ["prefs"], ["check"]):
            with open("/dev/full", "wb") as full:
                run = subprocess.run([PRATTLEBUG, *arguments], stdout=full, stderr=subprocess.PIPE, env=self.environment, check=False)
            self.assertEqual((run.returncode, run.stderr), (1, b"The output could not be written whole.\n"), arguments)

    def test_check_lists_what_cannot_be_read(self):
        self.run_companion("check", code=1)  # no transcript folder
        self.add_samples()
        misnamed = self.path(TRANSCRIPTS, "Chats on iBook/Gus 2004-03-03 at 12.30.chat")
        self.assertEqual(self.run_companion("check")[0], "".join([
            f'{misnamed}: its name holds no " on " between the other party and the date\n',
            '18 can be read, 0 cannot. 1 more will not be archived for their names: prattlebug setup makes copies that will.\n']))
        broken = self.write(os.path.join(TRANSCRIPTS, "deep/Kim on x.chat"), KIM_BYTES[:-3])
        output, _ = self.run_companion("check", code=1)
        self.assertIn(f"{broken}: the file is cut off", output)
        self.assertIn("18 can be read, 1 cannot.", output)
        self.assertEqual(self.run_companion("check", self.path(TRANSCRIPTS, "deep"), code=1)[0].splitlines()[-1], "0 can be read, 1 cannot.")
        self.assertEqual(self.run_companion("check", KIM)[0], "1 can be read, 0 cannot.\n")
        odd = self.write("Kim on y.ichat", keyed(
            "<dict>$class:1 <key>NS.objects</key><array><true/><true/>UID:3 </array></dict>",
            "<dict>$class:1 <key>NS.objects</key><array>UID:4 UID:4 </array></dict>",
            "<dict>$class:5 <key>Time</key>UID:6 </dict>",
            "<dict><key>$classname</key><string>InstantMessage</string></dict>",
            "<dict>$class:7 </dict>",
            "<dict><key>$classname</key><string>NSDate</string></dict>"))
        output, _ = self.run_companion("check", odd, code=1)
        self.assertRegex(output, "^" + re.escape(odd) + r": 2 unreadable messages, the first: a date without its seconds "
                         r"\(offset \d+\)\n1 can be read, with 2 unreadable messages, 0 cannot\.\n$")
        os.rename(odd, self.path(TRANSCRIPTS, "Kim on y.ichat"))
        os.remove(broken)
        told = "Cannot be read whole: Kim on y.ichat: 2 unreadable messages"
        self.assertIn(told, self.run_companion("search", "photo")[1])
        self.assertEqual(self.run_companion("search", "photo")[1], "")
        self.assertIn(told, self.run_companion("search", "photo", "--no-index")[1])
        self.assertIn("0 can be read, 1 cannot.", self.run_companion("check", self.write("Notes.txt", b""), code=1)[0])

    def test_inspect_tells_the_kind_by_the_first_bytes(self):
        path = self.write("no name of a transcript", KIM_BYTES)
        root = json.loads(self.run_companion("inspect", path)[0])
        self.assertEqual(root[2][0]["object"], "InstantMessage")
        for data, reason in ((b"", "the file is empty"), (b"nonsense", ""), (b"\x04\x0btypedstream\x81\x03", "the file is cut off")):
            output, errors = self.run_companion("inspect", self.write("bad", data), code=1)
            self.assertEqual(output, "")
            self.assertTrue(errors.startswith(self.path("bad") + ": " + reason), errors)
        self.run_companion("inspect", self.path("missing"), code=1)

    def test_inspect_stops_before_it_has_filled_the_memory(self):
        # Forty arrays, each of which holds the next one twice: 2 to the 40th strings.
        arrays = [f"<dict>$class:1 <key>NS.objects</key><array>UID:{number} UID:{number} </array></dict>" for number in range(3, 43)]
        path = self.write("bomb", keyed(*arrays, "<string>x</string>"))
        output, errors = self.run_companion("inspect", path, code=1)
        self.assertEqual(output, "")
        self.assertEqual(errors, f"{path}: the output would be larger than 64 MiB\n")


main()
