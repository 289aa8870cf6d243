"""What the witness tests share: running `prattlebug inspect` and comparing JSON."""

import json
import subprocess

SKIPPED = 77  # the exit code that the test runner takes for "skipped"


def inspect(prattlebug, path):
    """What `prattlebug inspect` prints of an archive, as Python values."""
    result = subprocess.run([prattlebug, "inspect", path], capture_output=True, check=False)
    if result.returncode != 0:
        raise AssertionError(f"{path}: inspect failed: {result.stderr.decode(errors='replace')}")
    return json.loads(result.stdout)
