"""Measures an import of a disk on which every chat lies twice, beside `cp -r` of the same files, by turns.

    importing.py PRATTLEBUG CHATS [--runs N]

CHATS is a folder of transcripts. The median of N runs (3) counts.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import tempfile
import time
from pathlib import Path


def timed(*command, **options):
    os.sync()  # what others have left to write is not counted
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options)
    return time.perf_counter() - start


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("prattlebug")
    parser.add_argument("chats", type=Path)
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    times = {"import": [], "again": [], "cp -r": []}
    with tempfile.TemporaryDirectory(dir=options.chats.parent) as work:
        disk = Path(work, "disk")
        for home in ("Users/kim", "Backup/Users/kim"):
            shutil.copytree(options.chats, disk / home / "Documents/iChats")
        count = sum(len(files) for _, _, files in os.walk(disk))
        for turn in range(options.runs):
            home = Path(work, f"home-{turn}")
            home.mkdir()
            setup = (options.prattlebug, "--home", home, "setup", disk)
            times["import"].append(timed(*setup))
            times["again"].append(timed(*setup))
            times["cp -r"].append(timed("cp", "-r", disk, Path(work, f"copy-{turn}")))
            assert sum(len(files) for _, _, files in os.walk(home / "Documents")) == count // 2
    medians = {name: statistics.median(measured) for name, measured in times.items()}
    print(f"An import of {count} transcripts, half of them copies: {medians['import']:.1f} s, again {medians['again']:.1f} s, "
          f"cp -r {medians['cp -r']:.1f} s")
    print(f"    in times cp -r                             {medians['import'] / medians['cp -r']:.1f}    aim: 3")


if __name__ == "__main__":
    main()
