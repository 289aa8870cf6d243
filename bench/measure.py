"""Measures whole runs of the archiver: measure.py PRATTLEBUG FOLDER COUNT

Makes homes with COUNT and twice COUNT chats in FOLDER, archives each, and sets the time against the least that anybody
needs: reading the same files and writing the same mbox with `cp`.
"""

import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass
from pathlib import Path

import makechats

SAMPLES = Path(__file__).resolve().parent.parent / "samples"
RUNS = 5
AIM = 5
MEGABYTE = 1e6


@dataclass
class Cost:
    seconds: float
    processor_seconds: float
    peak_memory: float  # bytes


def run(*command):
    """Runs a command under time(1): what Python itself could ask would count Python's own memory in."""
    with tempfile.NamedTemporaryFile("r") as report:
        start = time.perf_counter()
        subprocess.run(["/usr/bin/time", "-o", report.name, "-f", "%U %S %M", *command], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        seconds = time.perf_counter() - start
        user, system, kilobytes = report.read().split()
    return Cost(seconds, float(user) + float(system), int(kilobytes) * 1024)


def median(costs):
    return Cost(*(statistics.median(getattr(cost, field) for cost in costs) for field in Cost.__dataclass_fields__))


def make_home(home, count):
    if not home.exists():
        print(f"Making {count} chats…", file=sys.stderr)
        unfinished = home.with_name(home.name + ".new")
        shutil.rmtree(unfinished, ignore_errors=True)
        makechats.main("folder", unfinished / "Documents" / "iChats (Prattlebugged)", 0, count)
        support = unfinished / "Library" / "Prattlebug"
        support.mkdir(parents=True)
        for card in ("me.vcf", "contacts.vcf"):
            shutil.copy(SAMPLES / card, support)
        unfinished.rename(home)


def measure(prattlebug, home, count):
    make_home(home, count)
    files = [path for path in (home / "Documents").rglob("*") if path.is_file()]
    output = home / "Prattlebug Archive"
    mbox = output / "Prattlebug Archive mbox"
    copy = home / "copy of the mbox"
    archiving, reading, writing, searching = [], [], [], []
    for _ in range(RUNS):  # by turns, so that a busy spell of the machine falls on all of them
        shutil.rmtree(output, ignore_errors=True)
        archiving.append(run(prattlebug, "--home", home, "archive", output))
        reading.append(run("find", home / "Documents", "-type", "f", "-exec", "cat", "{}", "+"))
        searching.append(run(prattlebug, "--home", home, "search", "heron", "--from", "Zoë"))
        copy.unlink(missing_ok=True)
        writing.append(run("cp", mbox, copy))
    return {
        "chats": len(files),
        "read": sum(path.stat().st_size for path in files),
        "written": mbox.stat().st_size,
        "archiving": median(archiving),
        "searching": median(searching).seconds,
        "floor": median(reading).seconds + median(writing).seconds,
    }


def show(result):
    cost = result["archiving"]
    print(f"{result['chats']} chats, {result['read'] / MEGABYTE:.1f} MB in, {result['written'] / MEGABYTE:.1f} MB out")
    print(f"    archiving        {cost.seconds:.3f} s, {cost.processor_seconds:.3f} s of it on the processor")
    print(f"                     {result['chats'] / cost.seconds:.0f} chats/s, "
          f"{result['read'] / MEGABYTE / cost.seconds:.1f} MB/s in, "
          f"{result['written'] / MEGABYTE / cost.seconds:.1f} MB/s out")
    print(f"    peak memory      {cost.peak_memory / MEGABYTE:.1f} MB")
    print(f"    searching        {result['searching']:.3f} s, {result['read'] / MEGABYTE / result['searching']:.1f} MB/s")
    print(f"    cat and cp       {result['floor']:.3f} s")
    print(f"    ratio            {cost.seconds / result['floor']:.1f} (aim: {AIM})")


def main(prattlebug, folder, count):
    results = [measure(prattlebug, Path(folder) / f"home-{number}", number) for number in (int(count), 2 * int(count))]
    for result in results:
        show(result)
    growth = results[1]["archiving"].peak_memory / results[0]["archiving"].peak_memory
    print(f"Peak memory with twice the chats: {growth:.2f} times")


if __name__ == "__main__":
    main(*sys.argv[1:])
