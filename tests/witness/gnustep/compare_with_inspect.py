"""Compares what GNUstep put into its archives with what `prattlebug inspect` reads from them.

Call: compare_with_inspect.py WITNESS PRATTLEBUG, the two programs. Exits with 77 where there is no witness (an empty
WITNESS: it was not built) or where it cannot run because there is no display and no xvfb-run to make one.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), ".."))
from compare import SKIPPED, differences, inspect  # noqa: E402 (the folder has to be known first)


def archive(witness, folder):
    """Has the witness write its archives into folder. Returns what each of them holds."""
    command = [witness, folder]
    if shutil.which("xvfb-run"):
        command = ["xvfb-run", "-a", *command]
    elif not os.environ.get("DISPLAY"):
        print("no display, and no xvfb-run to make one")
        sys.exit(SKIPPED)
    # GNUstep keeps its defaults below the home folder.
    environment = {**os.environ, "HOME": folder, "LC_ALL": "C.UTF-8"}
    # Only its output counts: the display's back end complains of cursors on the other stream.
    run = subprocess.run(command, env=environment, stdout=subprocess.PIPE, check=True, timeout=120)
    return json.loads(run.stdout)


def main():
    witness, prattlebug = sys.argv[1:]
    if not witness:
        print("GNUstep's Objective-C was not there when this was built")
        sys.exit(SKIPPED)
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        archives = archive(witness, folder)
        if not archives:
            sys.exit("the witness wrote nothing")
        for name, expected in archives.items():
            found = list(differences(expected, inspect(prattlebug, os.path.join(folder, name)), "root"))
            print(f"{name}: {len(found)} differences")
            for line in found[:20]:
                print(f"  {line[:300]}")
            failed = failed or bool(found)
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
