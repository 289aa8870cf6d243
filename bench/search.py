"""Measures how long a search of all chats without the index takes, beside what anybody needs for one.

    search.py PRATTLEBUG HOME [--runs N]

Looks for one word in the chats that measure.py has made in HOME, by turns with reading the same files with cat and looking for
the word's bytes in them with grep. The median of N runs (7) counts.
"""

import argparse
from pathlib import Path

from measure import MEBIBYTE, MEGABYTE, line, median, run, size_of

WORD = "heron"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("prattlebug")
    parser.add_argument("home", type=Path)
    parser.add_argument("--runs", type=int, default=7)
    options = parser.parse_args()
    chats = options.home / "Documents"
    commands = {
        "search": (options.prattlebug, "search", "--no-index", "--count", WORD),
        "cat": ("find", chats, "-type", "f", "-exec", "cat", "{}", "+"),
        "grep": ("grep", "-r", WORD, chats),
    }
    costs = {name: [] for name in commands}
    for _ in range(options.runs):
        for name, command in commands.items():
            costs[name].append(run(*command, home=options.home))
    cost = {name: median(measured) for name, measured in costs.items()}
    print(f"A search of {size_of(chats) / MEGABYTE:.0f} MB")
    line("a second", f"{size_of(chats) / MEGABYTE / cost['search'].seconds:.0f} MB")
    for other in ("cat", "grep"):
        line(f"in times {other}", f"{cost['search'].seconds / cost[other].seconds:.1f}")
    line("peak memory", f"{cost['search'].peak_memory / MEBIBYTE:.1f} MiB")


if __name__ == "__main__":
    main()
