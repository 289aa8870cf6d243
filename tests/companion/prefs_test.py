"""The companion's preferences command."""

import os
import plistlib
import signal
import stat
import termios

from companion import CompanionTest, PRATTLEBUG, main

FILE = "Library/Preferences/com.velmoria.prattlebug.plist"


class Prefs(CompanionTest):
    def stored(self):
        with open(self.path(FILE), "rb") as file:
            return plistlib.load(file)

    def test_each_key_keeps_its_type(self):
        for key, value, stored, shown in (
                ("emailAddress", "sam@example.org", "sam@example.org", "sam@example.org"),
                ("forceUniqueSubjects", "yes", True, "YES"),
                ("forceUniqueSubjects", "0", False, "NO"),
                ("subjectNumber", "41", 41, "41"),
                ("emailNeedsUsername", "1", 1, "1"),
                ("emailUsername", "Säm", "Säm", "Säm"),
                ("bookmarkEntry", "%@ <%@>\n", "%@ <%@>\n", "%@ <%@>\n"),
                ("imageEntry", "", "", ""),
                ("errorStatus", "-2", -2, "-2"),
                ("reportThis", "x", "x", "x"),
                ("emailFails", "3", 3, "3"),
        ):
            arguments = ["prefs", key, "--", value] if value.startswith("-") else ["prefs", key, value]
            self.run_companion(*arguments)
            self.assertEqual(self.stored()[key], stored)
            self.assertIs(type(self.stored()[key]), type(stored))
            self.assertEqual(self.run_companion("prefs", key)[0], shown + "\n")
        self.assertEqual(stat.S_IMODE(os.stat(self.path(FILE)).st_mode), 0o600)

    def test_wrong_keys_and_values_are_refused_with_what_is_taken(self):
        keys, integer, truth = "There is no preference called colour. There are:\n", "subjectNumber takes an integer.\n", "takes YES or NO.\n"
        address, password = "emailAddress takes a mail address without a name, ", "leave it out, and you are asked for it.\n"
        for arguments, told in ((["colour"], keys), (["colour", "red"], keys), (["--delete", "colour"], keys), (["subjectNumber", "many"], integer),
                                (["subjectNumber", "1.5"], integer), (["subjectNumber", "99999999999999999999"], integer),
                                (["forceUniqueSubjects", "maybe"], truth), (["emailAddress", "Sam <sam@example.org>"], address),
                                (["emailAddress", "sam @example.org"], address), (["emailAddress", "sam"], address), (["emailAddress", "@"], address),
                                (["emailAddress", ""], address), (["emailAddress", "a@b\nBcc: c@d"], address),
                                (["emailAddress", "sam@example,org"], address), (["emailAddress", "sam@example..org"], address),
                                (["emailAddress", "sam@kim@example.org"], address), (["emailPassword", "hunter2"], password)):
            output, errors = self.run_companion("prefs", *arguments, code=2)
            self.assertEqual(output, "")
            self.assertIn(told, errors, arguments)
            self.assertEqual(errors.count("\n"), 12 if told == keys else 1, arguments)
            self.assertNotIn("hunter2", errors)
        self.assertFalse(os.path.exists(self.path(FILE)))

    def test_lists_and_deletes(self):
        self.run_companion("prefs", "emailUsername", "sam")
        listed = self.run_companion("prefs")[0].splitlines()
        self.assertEqual(len(listed), 11)
        self.assertIn("emailUsername: sam", listed)
        self.assertIn("emailAddress: (not set)", listed)
        self.run_companion("prefs", "--delete", "emailUsername")
        self.assertEqual(self.stored(), {})
        self.assertEqual(self.run_companion("prefs", "emailUsername", code=1), ("", "emailUsername is not set.\n"))

    def test_a_password_is_asked_for_and_never_shown(self):
        self.run_companion("prefs", "emailPassword", stdin=b"hunter2\n")
        self.assertEqual(self.stored()["emailPassword"], "hunter2")
        code, shown = self.run_in_terminal(PRATTLEBUG, "prefs", "emailPassword", typed=b"s3cret\n")
        self.assertEqual((code, shown), (0, b"Password: \r\n"))
        self.assertEqual(self.stored()["emailPassword"], "s3cret")
        self.assertNotIn("s3cret", "".join(self.run_companion("prefs")))
        self.assertIn("emailPassword: (set)", self.run_companion("prefs")[0])
        self.run_companion("prefs", "emailPassword", code=1)  # nothing is typed
        self.assertEqual(self.stored()["emailPassword"], "s3cret")

    def test_the_terminal_shows_what_is_typed_after_the_prompt_is_broken_off(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            child, terminal = self.start_in_terminal(PRATTLEBUG, "prefs", "emailPassword")
            self.read_until(terminal, b"Password: ")
            self.assertFalse(termios.tcgetattr(terminal)[3] & termios.ECHO)
            if number == signal.SIGINT:
                os.write(terminal, b"\x03")
            else:
                os.kill(child, number)
            self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]), -number)
            self.assertTrue(termios.tcgetattr(terminal)[3] & termios.ECHO, number)
            os.close(terminal)

    def test_an_unwritable_place_is_an_error(self):
        self.write("Library/Preferences", b"a file where a folder must be")
        _, errors = self.run_companion("prefs", "emailUsername", "sam", code=1)
        self.assertEqual(errors, "The preferences could not be written.\n")


main()
