"""The committed samples are those that the program writes. (That they hold what samples/expected says is a witness test.)"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SAMPLES = Path(__file__).resolve().parents[2] / "samples"


def files_below(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class CommittedFiles(unittest.TestCase):
    def test_are_what_the_program_writes(self):
        with tempfile.TemporaryDirectory() as scratch:
            subprocess.run([sys.executable, SAMPLES / "make", scratch], check=True)
            for part in ("chats", "expected"):
                written, committed = files_below(Path(scratch) / part), files_below(SAMPLES / part)
                self.assertEqual(sorted(written), sorted(committed))
                for name, data in written.items():
                    self.assertTrue(data == committed[name], f"{part}/{name} differs")


if __name__ == "__main__":
    unittest.main()
