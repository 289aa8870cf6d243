#!/usr/bin/env python3
"""Tells which faults in the readers no test would notice.

Call: scripts/mutate.py [-k TEXT] [FILE…]. Puts one small fault after the other into the readers of archives and property
lists (or the FILEs), runs their tests each time, and prints the faults that every test survived: a comparison turned round
or moved by one, a condition negated, a check or a charge of the memory budget left out, a one that is none. With -k only
faults whose line holds TEXT.

All faults are compiled into one copy of the project, in build/mutants, and an environment variable says which is at work:
so there is one build, and a run of the tests takes a second or two. A fault that makes a test hang, crash or fill the memory
counts as noticed. Some survivors are no faults, as they change nothing that anybody could see.
"""

import argparse
import concurrent.futures
import os
import re
import resource
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
BUILD = ROOT / "build" / "mutants"
SOURCE = BUILD / "source"
FOLDERS = ("platform/archive", "platform/propertylist", "platform/appkit")
NOT_READERS = ("imageresolution", "nsimage", "xmlwriter")
# The quickest first.
TESTS = ("platform_propertylist_tests", "archive_tests", "model_tests", "archive_memory_tests")
LONGEST = 60  # seconds for one test program
MOST_MEMORY = 3 << 30

HEADER = """#pragma once
#pragma GCC system_header
#include <cstdlib>
namespace mutation {
inline const int active = std::getenv("MUTANT") ? std::atoi(std::getenv("MUTANT")) : 0;
template <int N> bool flip(bool value) { return (active == N) != value; }
template <int N> int one() { return active == N ? 0 : 1; }
template <int N, char Kind> struct Operator {};
template <int N, char Kind, class Left> struct Half { const Left &left; };
#define COMPARISON(kind, in, out, as, mutant)                                                                          \\
    template <int N, class Left> Half<N, kind, Left> operator in(const Left &left, Operator<N, kind>) { return {left}; } \\
    template <int N, class Left, class Right> bool operator out(Half<N, kind, Left> half, const Right &right)          \\
    { return active == N ? half.left mutant right : half.left as right; }
COMPARISON('l', <, >, <, <=)
COMPARISON('L', <, >, <=, <)
COMPARISON('g', <, >, >, >=)
COMPARISON('G', <, >, >=, >)
COMPARISON('e', ==, ==, ==, !=)
COMPARISON('n', ==, ==, !=, ==)
template <int N, char Kind> inline constexpr Operator<N, Kind> op{};
}
"""
KINDS = {"<": "l", "<=": "L", ">": "g", ">=": "G", "==": "e", "!=": "n"}
SKIPPED = re.compile(r"^\s*(//|#|case |template|static_assert|friend|using)|constexpr|operator")
COMPARISON = re.compile(r" (<=|>=|==|!=|<|>) (?!>)")
STATEMENT = re.compile(r"^(\s*)((?:\w+(?:\.|->))?(?:charge|m_charge|m_budget\.charge|fail)\(|throw )")
CONDITION = re.compile(r"\bif \((.*)\)( \{)?$")
DECLARATION = re.compile(r"^(const )?(auto|[\w:<>]+)( |\s*[*&])+\w+ = |;")
ONE = re.compile(r" ([+-]) 1(?![\w.])")


def in_string(line, at):
    return line[:at].replace("\\\\", "").replace('\\"', "").replace("'\"'", "").count('"') % 2 == 1


class Instrumented:
    """The copied sources with all faults in them; `faults` says where each stands."""

    def __init__(self, only):
        self.faults = []
        self.only = only

    def number(self, path, line_number, line, what):
        if self.only and self.only not in line:
            return 0
        self.faults.append(f"{path}:{line_number}: {what}: {line.strip()}")
        return len(self.faults)

    def line(self, path, line_number, line):
        if SKIPPED.search(line):
            return line
        code, comment, rest = line.partition("//")
        original = code
        condition = CONDITION.search(code.rstrip())

        def compared(match):
            if in_string(code, match.start()):
                return match.group()
            number = self.number(path, line_number, original, match.group(1))
            symbol = "==" if match.group(1) in ("==", "!=") else None
            if not number:
                return match.group()
            operator = f"mutation::op<{number}, '{KINDS[match.group(1)]}'>"
            return f" == {operator} == " if symbol else f" < {operator} > "

        def made_none(match):
            number = 0 if in_string(code, match.start()) else self.number(path, line_number, original, "1")
            return f" {match.group(1)} mutation::one<{number}>()" if number else match.group()

        if condition and not COMPARISON.search(code) and not DECLARATION.search(condition.group(1)):
            number = self.number(path, line_number, original, "negated")
            if number:
                inside = condition.group(1)
                code = code.replace(f"if ({inside})", f"if (mutation::flip<{number}>(bool({inside})))", 1)
        code = ONE.sub(made_none, COMPARISON.sub(compared, code))
        if statement := STATEMENT.match(code):
            number = self.number(path, line_number, original, "left out")
            if number:
                code = f"{statement.group(1)}if (mutation::flip<{number}>(false)) {{}} else {code.lstrip()}"
        for value in ("true", "false"):
            if f"return {value};" in code and (number := self.number(path, line_number, original, "negated")):
                code = code.replace(f"return {value};", f"return mutation::flip<{number}>({value});")
        return code + comment + rest

    def file(self, path):
        lines = (SOURCE / path).read_text("utf-8").split("\n")
        written = [self.line(path, number, line) for number, line in enumerate(lines, 1)]
        head = '#include "scripts/mutation.h"\n'
        text = "\n".join(written)
        (SOURCE / path).write_text(text.replace("#pragma once\n", "#pragma once\n" + head, 1)
                                   if "#pragma once" in text else head + text, "utf-8")


def copy_sources():
    shutil.rmtree(SOURCE, ignore_errors=True)
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True,
                            text=True).stdout
    for name in listed.splitlines():
        if (ROOT / name).is_file():
            (SOURCE / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / name, SOURCE / name)
    (SOURCE / "scripts/mutation.h").write_text(HEADER, "utf-8")


def programs():
    found = {path.name: path for path in (BUILD / "build").rglob("*_tests") if path.is_file()}
    return [found[name] for name in TESTS]


def bound_memory():
    resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def noticed_by(number):
    """The name of the test program that notices the fault, or nothing."""
    environment = dict(os.environ, MUTANT=str(number), GTEST_FAIL_FAST="1", GTEST_BRIEF="1")
    for program in programs():
        try:
            run = subprocess.run([program], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 timeout=LONGEST, preexec_fn=bound_memory)
        except subprocess.TimeoutExpired:
            return program.name
        if run.returncode != 0:
            return program.name
    return None


def main():
    arguments = argparse.ArgumentParser(usage=__doc__)
    arguments.add_argument("-k", dest="only", default="")
    arguments.add_argument("files", nargs="*")
    given = arguments.parse_args()
    copy_sources()
    instrumented = Instrumented(given.only)
    files = given.files or [str(path.relative_to(SOURCE)) for folder in FOLDERS
                            for path in sorted((SOURCE / folder).rglob("*.*")) if path.suffix in (".h", ".cpp")
                            and path.stem not in NOT_READERS]
    for file in files:
        instrumented.file(file)
    subprocess.run(["cmake", "-S", SOURCE, "-B", BUILD / "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                    "-DCMAKE_CXX_FLAGS=-w", "-DPRATTLEBUG_MAIL=OFF"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", BUILD / "build", "--target", *TESTS], check=True)
    if by := noticed_by(0):
        sys.exit(f"{by} fails without any fault")
    survivors = []
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        numbers = range(1, len(instrumented.faults) + 1)
        for number, by in zip(numbers, pool.map(noticed_by, numbers)):
            if by is None:
                survivors.append(number)
                print(instrumented.faults[number - 1], flush=True)
    print(f"{len(instrumented.faults) - len(survivors)} of {len(instrumented.faults)} faults noticed")


main()
