"""Compares what `prattlebug inspect` reads from typed streams that the platform itself wrote with what they hold.

Call: typedstreams.py PRATTLEBUG FOLDER. The folder holds the streams, and expected.json with their contents by name.
"""

import json
import os
import sys

from compare import SKIPPED, differences, finish, inspect


def main():
    prattlebug, folder = sys.argv[1:]
    if not os.path.isdir(folder):
        print(f"{folder} is not there")
        sys.exit(SKIPPED)
    with open(os.path.join(folder, "expected.json"), encoding="utf-8") as file:
        expected = json.load(file)
    faults = []
    for name, contents in expected.items():
        faults += differences(contents, inspect(prattlebug, os.path.join(folder, name)), name)
    finish(faults, len(expected))


main()
