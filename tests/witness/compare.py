"""What the witness tests share: reading archives with the companion, and comparing what comes out."""

import json
import math
import subprocess
import sys

SKIPPED = 77  # the exit code that the test runner takes for "skipped"


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


def companion_json(prattlebug, *arguments):
    """What the companion prints, as Python values."""
    run = subprocess.run([prattlebug, *arguments], stdout=subprocess.PIPE, check=True, timeout=60)
    return json.loads(run.stdout)


def inspect(prattlebug, path):
    return companion_json(prattlebug, "inspect", path)


def finish(faults, compared):
    """Ends a test: prints what was compared and the differences, if any."""
    print(f"{compared} archives compared, {len(faults)} differences")
    for line in faults[:40]:
        print(f"  {line[:300]}")
    sys.exit(1 if faults or compared == 0 else 0)
