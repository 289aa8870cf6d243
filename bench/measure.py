"""Measures whole runs over folders of chats of growing sizes.

    measure.py PROGRAM FOLDER COUNTS [--alone] [--runs N]

    COUNTS      how many chats: "1000,2000". They are made in FOLDER and archived with PROGRAM, without the galleries
                and with them
    --alone     and once with each call for the galleries by itself, which takes the square of the number of chats
    --runs N    of each other kind; the median counts (3)

Beside each run stands, by turns in the same minute, the least that anybody needs: reading the same files with cat and
writing the same mbox with cp. Prints a table with what is aimed at, and writes FOLDER/growth.tsv for a plot.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

import makechats

TOP = Path(__file__).resolve().parent.parent
MEGABYTE = 1e6
MEBIBYTE = 2**20
ALONE = "alone"


@dataclass
class Cost:
    seconds: float
    peak_memory: float  # bytes


def run(*command, home=None):
    """Runs a command under time(1): what Python itself could ask would count Python's own memory in."""
    environment = {**os.environ, "HOME": str(home)} if home else None
    with tempfile.NamedTemporaryFile("r") as report:
        start = time.perf_counter()
        subprocess.run(["/usr/bin/time", "-o", report.name, "-f", "%M", *command], check=True, env=environment,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return Cost(time.perf_counter() - start, int(report.read()) * 1024)


def median(costs):
    return Cost(*(statistics.median(getattr(cost, field) for cost in costs) for field in Cost.__dataclass_fields__))


def make_home(home, count):
    if not home.exists():
        unfinished = home.with_name(home.name + ".new")
        shutil.rmtree(unfinished, ignore_errors=True)
        makechats.main("folder", unfinished / "Documents/iChats (Prattlebugged)", count)
        unfinished.rename(home)


def set_up(home, spent):
    """Makes a support folder without galleries. An earlier one is moved to @p spent, not removed: some file systems take
    long to make files soon after many have been removed."""
    support = home / "Library/Prattlebug"
    if support.exists():
        support.rename(Path(tempfile.mkdtemp(dir=spent)) / "spent")
    (support / "Images").mkdir(parents=True)
    for name in ("linktemplate.html", "imagetemplate.html", "statstemplate.html", "curses.plist", "netspeak.plist"):
        shutil.copy(TOP / "resources" / name, support)
    for card in ("me.vcf", "contacts.vcf"):
        shutil.copy(TOP / "samples" / card, support)


def measure(program, home, modes, runs):
    output = home / "out"
    output.mkdir(exist_ok=True)
    costs = {mode: [] for mode in [*modes, "cat and cp"]}
    with tempfile.TemporaryDirectory(dir=home) as spent:
        for turn in range(runs):
            for mode in modes if turn == 0 else (mode for mode in modes if mode != ALONE):
                set_up(home, spent)
                costs[mode].append(run(program, mode, output, home=home))
            reading = run("find", home / "Documents", "-type", "f", "-exec", "cat", "{}", "+")
            writing = run("cp", output / "mbox", output / "copy")
            costs["cat and cp"].append(Cost(reading.seconds + writing.seconds, 0))
    return {mode: median(measured) for mode, measured in costs.items()}


def size_of(*paths):
    return sum(file.stat().st_size for path in paths for file in path.rglob("*") if file.is_file())


def line(name, value, aim=""):
    print(f"    {name:<42}{value:>10}{'    aim: ' + aim if aim else ''}")


def show(count, costs, home):
    floor, run_cost, without = costs["cat and cp"], costs["run"], costs["without"]
    chats = home / "Documents"
    stores = sum(store.stat().st_size for store in (home / "Library/Prattlebug").glob("*.plist"))
    print(f"{count} chats, {size_of(chats) / MEGABYTE:.0f} MB in, {(home / 'out/mbox').stat().st_size / MEGABYTE:.0f} MB out")
    line("a second", f"{count / run_cost.seconds:.0f} chats")
    line("in", f"{size_of(chats) / MEGABYTE / run_cost.seconds:.0f} MB/s")
    line("without galleries, in times cat and cp", f"{without.seconds / floor.seconds:.1f}", "5")
    line("with galleries, in times without", f"{run_cost.seconds / without.seconds:.2f}", "1.5")
    line("peak memory", f"{run_cost.peak_memory / MEBIBYTE:.1f} MiB", f"{96 + stores / MEBIBYTE:.0f} MiB")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("folder", type=Path)
    parser.add_argument("counts")
    parser.add_argument("--alone", action="store_true")
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    counts = [int(count) for count in options.counts.split(",")]
    modes = ["without", "run"] + ([ALONE] if options.alone else [])
    growth = []
    for count in counts:
        home = options.folder / f"home-{count}"
        make_home(home, count)
        costs = measure(options.program, home, modes, options.runs)
        growth.append([count, *(costs[mode].seconds / count * 1e6 for mode in modes)])
        show(count, costs, home)
    print("Microseconds a chat")
    table = "\n".join("\t".join(map(str, row)) for row in (
        ["chats", *modes], *([row[0], *(f"{cost:.0f}" for cost in row[1:])] for row in growth)))
    print(table)
    (options.folder / "growth.tsv").write_text(table + "\n", encoding="utf-8")
    line(f"a chat of {counts[-1]} in times one of {counts[0]}", f"{growth[-1][2] / growth[0][2]:.2f}", "1.2")


if __name__ == "__main__":
    main()
