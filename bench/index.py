"""Measures the index of chats: making it, keeping it up to date, asking it, beside archiving and beside notmuch.

    index.py PRATTLEBUG ARCHIVE_BENCH FOLDER COUNT [--runs N]

For COUNT chats of measure.py, made in FOLDER. notmuch gets the same chats, each as one mail from the other party with the date of
its first message. All programs run by turns, N times (3). Of making and checking the medians of the processor time count, since
other work on the machine does not prolong that much; with several processors, the elapsed time, too. Of answers, which take
milliseconds, the shortest of three times as many runs counts, as the program itself tells it.
"""

import argparse
import json
import os
import re
import shutil
import statistics
import subprocess
import tempfile
from collections import namedtuple
from email.utils import formatdate
from datetime import datetime
from pathlib import Path

import makechats
from measure import MEBIBYTE, MEGABYTE, line, make_home, set_up, size_of

Cost = namedtuple("Cost", "elapsed processor memory")
OWNER = makechats.ROBIN.presentity.identifier.text
RARE = makechats.ALL_WORDS[30_000]
# What is asked: of prattlebug, and of notmuch where that has an answer.
QUESTIONS = {
    "a rare word": ([RARE], [RARE]),
    "the oldest 100 of a common word": (["the", "--limit", "100"], ["--sort=oldest-first", "--limit=100", "the"]),
    "the newest 100 of a common word": (["the", "--newest", "--limit", "100"], ["--sort=newest-first", "--limit=100", "the"]),
    "the oldest 100 of a short word": (["ok", "--limit", "100"], ["--sort=oldest-first", "--limit=100", "ok"]),
    "a Chinese word": (["电影", "--limit", "100"], None),
    "a part of a word": (["orrow", "--limit", "100"], None),
    "everything by the owner in a year": (["--from", OWNER, "--since", "2003", "--until", "2003", "--limit", "100"], None),
    "a friend's of a month": (["--with", "friend9", "--since", "2003-03", "--until", "2003-03", "--limit", "100"],
                              ["--sort=oldest-first", "--limit=100", "from:friend9", "date:2003-03..2003-03"]),
}


def run(*command, environment):
    with tempfile.NamedTemporaryFile("r") as report:
        subprocess.run(["/usr/bin/time", "-o", report.name, "-f", "%e %U %S %M", *command], check=True, env=environment,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        elapsed, user, system, memory = map(float, report.read().split())
        return Cost(elapsed, user + system, memory * 1024)


def median(costs):
    return Cost(*map(statistics.median, zip(*costs)))


class Bench:
    def __init__(self, options):
        self.options = options
        self.home = options.folder / f"home-{options.count}"
        make_home(self.home, options.count)
        self.mails = self.home / "mails"
        settings = self.home / "notmuch-config"
        settings.write_text(f"[database]\npath={self.mails}\n[user]\nname=Robin\nprimary_email={OWNER}@example.org\n",
                            encoding="utf-8")
        self.environment = {**os.environ, "HOME": str(self.home), "NOTMUCH_CONFIG": str(settings)}

    def run(self, *command):
        return run(*command, environment=self.environment)

    def make_mails(self):
        """One a chat, from what the index holds."""
        shutil.rmtree(self.mails, ignore_errors=True)
        (self.mails / "cur").mkdir(parents=True)
        found = subprocess.Popen([self.options.prattlebug, "search", "", "--json"], env=self.environment,
                                 stdout=subprocess.PIPE, text=True, encoding="utf-8")
        path, mail = None, None
        with found:
            for number, row in enumerate(map(json.loads, found.stdout)):
                if row["path"] != path:
                    path = row["path"]
                    if mail:
                        mail.close()
                    mail = open(self.mails / "cur" / f"{number}:2,S", "w", encoding="utf-8", errors="replace")
                    name = path.split(" on ")[0]
                    date = datetime.fromisoformat(row["time"].replace("Z", "+00:00")).timestamp()
                    mail.write(f"From: {name}@example.org\nTo: {OWNER}@example.org\nDate: {formatdate(date)}\n"
                               f"Message-ID: <{number}@example.org>\nSubject: Chat with {name}\nMIME-Version: 1.0\n"
                               "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n\n")
                mail.write(f"{row['speaker']}: {row['text']}\n")
        mail.close()

    def forget(self):
        shutil.rmtree(self.home / "Library/Caches", ignore_errors=True)

    def build(self):
        """Makes all of it by turns."""
        prattlebug, output = self.options.prattlebug, self.home / "out"
        output.mkdir(exist_ok=True)
        commands = {
            "archive": (self.options.archive_bench, "without", output),
            "cat": ("find", self.home / "Documents", "-type", "f", "-exec", "cat", "{}", "+"),
            "check": (prattlebug, "check"),
            "one core": ("taskset", "--cpu-list", "0", prattlebug, "index"),
            "all cores": (prattlebug, "index"),
            "update": (prattlebug, "index"),
            "notmuch": ("notmuch", "new"),
        }
        costs = {name: [] for name in commands}
        with tempfile.TemporaryDirectory(dir=self.home) as spent:
            set_up(self.home, spent)
        self.run(prattlebug, "index")
        if not self.mails.exists():
            self.make_mails()
        for _ in range(self.options.runs):
            for name, command in commands.items():
                if name in ("one core", "all cores"):
                    self.forget()
                if name == "notmuch":
                    shutil.rmtree(self.mails / ".notmuch", ignore_errors=True)
                costs[name].append(self.run(*command))
        return {name: median(measured) for name, measured in costs.items()}

    def show_building(self, costs):
        chats = size_of(self.home / "Documents")
        index = size_of(self.home / "Library/Caches")
        print(f"The index of {self.options.count} chats, {chats / MEGABYTE:.0f} MB")

        def ratio(of, to, field):
            return f"{getattr(costs[of], field) / getattr(costs[to], field):.2f}"

        for field in ("processor", "elapsed"):
            print(f"  by {field} time")
            line("made on one core, in times archiving", ratio("one core", "archive", field), "5")
            line(f"on {os.cpu_count()} cores", ratio("all cores", "archive", field), "3.5")
            line("on one core, in times notmuch", ratio("one core", "notmuch", field), "0.2")
            line("check, in times cat", ratio("check", "cat", field), "2.5")
        line("its size, in times the transcripts", f"{index / chats:.2f}", "1")
        line("peak memory", f"{costs['all cores'].memory / MEBIBYTE:.1f} MiB", "96 MiB")
        line("with nothing new, elapsed", f"{costs['update'].elapsed * 1000:.0f} ms")

    def ask(self):
        told = re.compile(r"(\d+) found in \d+ chats in ([\d.]+) s, after ([\d.]+) s")
        print(f"  Answers, in ms{'':>34}here   notmuch   found here    aim: 50 ms at 50,000 chats")
        updates = []
        for name, (question, for_notmuch) in QUESTIONS.items():
            here, there = [], []
            for _ in range(3 * self.options.runs):
                result = subprocess.run([self.options.prattlebug, "search", "-v", *question], env=self.environment,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
                count, seconds, update = told.search(result.stderr).groups()
                here.append(float(seconds))
                updates.append(float(update))
                if for_notmuch:
                    there.append(self.run("notmuch", "search", *for_notmuch).elapsed)
            print(f"    {name:<42}{min(here) * 1000:>8.1f}{f'{min(there) * 1000:.0f}' if there else 'none':>10}{count:>13}")
        line("bringing it up to date before", f"{min(updates) * 1000:.0f} ms", "200 ms at 50,000 chats")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("prattlebug", type=Path)
    parser.add_argument("archive_bench", type=Path)
    parser.add_argument("folder", type=Path)
    parser.add_argument("count", type=int)
    parser.add_argument("--runs", type=int, default=3)
    bench = Bench(parser.parse_args())
    bench.show_building(bench.build())
    bench.ask()


if __name__ == "__main__":
    main()
