"""What the companion's tests share: the program, a home folder of samples, and a terminal to run it in.

Each test script is called with the program and the folder of samples.
"""

import os
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import unittest

PRATTLEBUG, SAMPLES = sys.argv[1:3]
TRANSCRIPTS = "Documents/iChats (Prattlebugged)"

# In front of a command: without root's right to read and write everything.
ORDINARY = () if os.geteuid() else ("setpriv", "--bounding-set=-dac_override,-dac_read_search",
                                    "--inh-caps=-dac_override,-dac_read_search")


class CompanionTest(unittest.TestCase):
    """A test with an empty home folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = folder.name
        self.environment = {**os.environ, "HOME": self.home, "USER": "sam", "TZ": "America/Los_Angeles", "LC_ALL": "C.UTF-8"}

    def add_samples(self):
        shutil.copytree(os.path.join(SAMPLES, "chats"), os.path.join(self.home, TRANSCRIPTS))
        support = os.path.join(self.home, "Library/Prattlebug")
        os.makedirs(support)
        for name in ("me.vcf", "contacts.vcf"):
            shutil.copy(os.path.join(SAMPLES, name), support)

    def path(self, *names):
        return os.path.join(self.home, *names)

    def write(self, name, data):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def run_companion(self, *arguments, code=0, stdin=b"", prefix=()):
        """Runs the companion, by the command `prefix`, expects the exit code, and returns what came out on its two streams."""
        result = subprocess.run([*prefix, PRATTLEBUG, *arguments], input=stdin, capture_output=True, env=self.environment,
                                timeout=60, check=False)
        self.assertEqual(result.returncode, code, f"{arguments}: {result.stdout!r} {result.stderr!r}")
        return result.stdout.decode(), result.stderr.decode()

    def start_in_terminal(self, program, *arguments):
        """Starts a program with a terminal on all three streams; returns its process and the terminal's other end."""
        child, terminal = pty.fork()
        if child == 0:
            os.execvpe(program, [program, *arguments], {**self.environment, "TERM": "xterm"})
        return child, terminal

    def read_until(self, terminal, end):
        shown = b""
        while end not in shown:
            self.assertTrue(select.select([terminal], [], [], 60)[0], f"no {end!r}: {shown!r}")
            shown += os.read(terminal, 65536)

    def run_in_terminal(self, program, *arguments, typed=b"", prompt=b"Password: "):
        """Runs a program with a terminal on all three streams, typing something when it is prompted for; returns its exit
        code and what the terminal showed."""
        child, terminal = self.start_in_terminal(program, *arguments)
        shown = b""
        while True:
            ready, _, _ = select.select([terminal], [], [], 60)
            self.assertTrue(ready, f"no end: {shown!r}")
            try:
                part = os.read(terminal, 65536)
            except OSError:  # the other end is closed
                part = b""
            if not part:
                break
            shown += part
            if typed and prompt in shown:
                os.write(terminal, typed)
                typed = b""
        _, status = os.waitpid(child, 0)
        os.close(terminal)
        return os.waitstatus_to_exitcode(status), shown


def main():
    unittest.main(argv=sys.argv[:1], module="__main__", verbosity=2)
