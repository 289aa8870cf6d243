"""Compares what GNUstep put into its archives with what `prattlebug inspect` reads from them.

Call: compare_with_inspect.py WITNESS PRATTLEBUG, the two programs. Exits with 77 where there is no witness (an empty
WITNESS: it was not built) or where it cannot run because there is no display and no xvfb-run to make one.
"""

import json
import math
import os
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77


def is_number(value):
    # A boolean counts: archives hold YES and NO as numbers or as booleans.
    return isinstance(value, (int, float))


def differences(expected, actual, where):
    """Yields a line for each place where the two JSON values differ."""
    if is_number(expected) and is_number(actual):
        if isinstance(expected, float) or isinstance(actual, float):
            same = math.isclose(expected, actual, rel_tol=1e-12, abs_tol=1e-9)
        else:
            same = expected == actual
        if not same:
            yield f"{where}: {expected!r} was archived, {actual!r} was read"
    elif isinstance(expected, dict) and isinstance(actual, dict):
        for key in expected.keys() | actual.keys():
            if key not in actual:
                yield f"{where}: {key!r} was not read"
            elif key not in expected:
                yield f"{where}: {key!r} was read, but never archived"
            else:
                yield from differences(expected[key], actual[key], f"{where}.{key}")
    elif isinstance(expected, list) and isinstance(actual, list):
        if len(expected) != len(actual):
            yield f"{where}: {len(expected)} elements were archived, {len(actual)} were read"
        for index, (one, other) in enumerate(zip(expected, actual)):
            yield from differences(one, other, f"{where}[{index}]")
    elif type(expected) is not type(actual) or expected != actual:
        yield f"{where}: {expected!r} was archived, {actual!r} was read"


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


def inspect(prattlebug, path):
    run = subprocess.run([prattlebug, "inspect", path], stdout=subprocess.PIPE, check=True, timeout=60)
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
