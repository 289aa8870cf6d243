"""Compares what the companion reads from transcripts with JSON files that say what they hold.

Call: transcripts.py PRATTLEBUG TRANSCRIPTS EXPECTED. For TRANSCRIPTS/NAME there is EXPECTED/NAME.json: `participants`, and
for each of `messages` the sender (`raw`, `service`), `time` in Unix seconds, `text`, `status`, `files` and `links`.
"""

import glob
import json
import os
import sys
import tempfile

from compare import SKIPPED, companion_json, differences, finish, inspect

REFERENCE_DATE = 978307200  # 2001-01-01 in Unix time


def contents(prattlebug, path):
    """What the companion says of a transcript, in the shape of the JSON files."""
    archived = inspect(prattlebug, path)
    shown = companion_json(prattlebug, "show", "--as", "json", path)
    messages = []
    for message, line in zip(archived[2], shown["messages"], strict=True):
        sender = message["sender"] or {"name": None, "service": None}
        messages.append({
            "raw": sender["name"],
            "service": sender["service"],
            "time": message["time"] and message["time"]["date"] + REFERENCE_DATE,
            "text": message["text"] and message["text"]["text"],
            "status": line["status"],
            "files": [[file["name"], file["bytes"]] for file in line["files"]],
            "links": line["links"],
        })
    return {"messages": messages, "participants": shown["participants"]}


def without_folder_sizes(expected, actual):
    """A folder's size is left open in the files: takes what was read for it."""
    for one, other in zip(expected["messages"], actual["messages"]):
        for file, read in zip(one["files"], other["files"]):
            if file[1] is None:
                file[1] = read[1]


def main():
    prattlebug, folder, expected_folder = sys.argv[1:]
    if not os.path.isdir(folder):
        print(f"{folder} is not there")
        sys.exit(SKIPPED)
    faults = []
    compared = 0
    for path in sorted(glob.glob(os.path.join(glob.escape(expected_folder), "**/*.json"), recursive=True)):
        name = os.path.relpath(path, expected_folder).removesuffix(".json")
        with open(path, encoding="utf-8") as file:
            expected = json.load(file)
        with tempfile.TemporaryDirectory() as link_folder:
            # `show` goes by the name, and one of the samples has none that it takes.
            link = os.path.join(link_folder, "x on y" + os.path.splitext(name)[1])
            os.symlink(os.path.abspath(os.path.join(folder, name)), link)
            actual = contents(prattlebug, link)
        without_folder_sizes(expected, actual)
        faults += differences(expected, actual, name)
        compared += 1
    finish(faults, compared)


main()
