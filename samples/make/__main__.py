"""Writes the sample chats: python3 samples/make [FOLDER]

Into FOLDER (the folder above this one, when none is named) go chats/, the transcripts, and expected/, what each of them
holds. A transcript's modification time is that of its chat's end.
"""

import os
import sys
from pathlib import Path

import expected
from chats import transcripts

NOTES = "Kim: return the good pan\nTomás: no pianos\n"


def write(folder):
    for transcript in transcripts():
        chat = folder / "chats" / transcript.path
        chat.parent.mkdir(parents=True, exist_ok=True)
        chat.write_bytes(transcript.data())
        os.utime(chat, (transcript.last_time, transcript.last_time))
        held = folder / "expected" / (transcript.path + ".json")
        held.parent.mkdir(parents=True, exist_ok=True)
        held.write_text(expected.json_text(transcript), encoding="utf-8")
    (folder / "chats" / "Notes.txt").write_text(NOTES, encoding="utf-8")


if __name__ == "__main__":
    write(Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent)
