"""Writes chats to measure with, the same ones every time.

    makechats.py folder FOLDER FIRST COUNT   chats number FIRST to FIRST + COUNT - 1 of a long life: fifty messages each,
                                             of both kinds in turn, every tenth with a picture of some 60 kB
    makechats.py single FOLDER               the chats that the benchmarks take: a thousand messages, and 20,000 messages
                                             with 100,000 runs, of each kind
"""

import random
import struct
import sys
from datetime import datetime, timedelta, timezone
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "samples" / "make"))

import pictures  # noqa: E402
import styles  # noqa: E402
from chats.cast import BOB, KIM, LI_MING, PRIYA, ROBIN, ROBIN_ON_JABBER, TOMAS, ZOE  # noqa: E402
from transcript import Keyed, Transcript, Typed  # noqa: E402

MESSAGES_PER_CHAT = 50
PICTURE_BYTES = 60_000
WORDS = (
    "the a I you we it is was be do of to in on for with and but so if not no yes ok well maybe when where what who "
    "train coffee lake concert garden heron picture Thursday ticket balcony record kitchen window Zoë naïve café "
    "travelling remember forgotten tomorrow yesterday never always 你好 🌷 :-) lol, see hear think know come go there"
).split()
FRIENDS = (("Kim Lee", "AIM", KIM), ("Zoë Müller", "AIM", ZOE), ("Tomás Novák", "AIM", TOMAS), ("Bob", "AIM", BOB),
           ("Priya", "AIM", PRIYA), ("李明", "Jabber", LI_MING))


def sentence(chance, longest=14):
    return " ".join(chance.choices(WORDS, k=chance.randint(1, longest)))


def picture(chance):
    """A JPEG that decodes, brought to its size by comments, since flat blocks pack too well for a photograph."""
    whole = pictures.garden()
    comment = chance.randbytes(PICTURE_BYTES - len(whole))
    return whole[:2] + b"\xff\xfe" + struct.pack(">H", len(comment) + 2) + comment + whole[2:]


def say_something(chat, chance, speaker):
    pieces = [sentence(chance)]
    kind = chance.random()
    if kind < 0.06:
        pieces.append(styles.link(f"http://www.example.org/{chance.choice(WORDS[:30])}/{chance.randint(1, 999)}.html"))
    elif kind < 0.10:
        pieces.append(styles.underlined(" " + sentence(chance, 3)))
    elif kind < 0.12:
        pieces.append(styles.colored(" " + sentence(chance, 3), styles.RED))
    chat.say(speaker, chance.randint(2, 90), *pieces)


def conversation(number):
    chance = random.Random(number)
    name, service, friend = FRIENDS[number % len(FRIENDS)]
    me = ROBIN_ON_JABBER if service == "Jabber" else ROBIN
    begin = datetime(2002, 8, 1, 9, 0, tzinfo=timezone.utc) + timedelta(hours=11 * number)
    keyed = number // len(FRIENDS) % 2 == 1  # so that everybody has chats of both kinds
    path = f"{name} on {begin:%Y-%m-%d at %H.%M}.{'ichat' if keyed else 'chat'}"
    chat = Transcript(path, begin.isoformat(), Keyed() if keyed else Typed("big"), service, [friend])
    for message in range(MESSAGES_PER_CHAT):
        if message == 30 and number % 10 == 0:
            chat.say(friend, 9, "look: ", styles.file(f"picture {number}.jpg", picture(chance)))
        else:
            say_something(chat, chance, chance.choice((friend, me)))
    return chat


def one_long(name, form, messages, runs_per_message):
    """Equal attributes are one object, as in a chat that has been styled by a program."""
    chance = random.Random(messages)
    chat = Transcript(name, "2004-07-01T12:00:00Z", form, "AIM", [KIM], shared_dictionaries=True)
    for message in range(messages):
        speaker = (KIM, ROBIN)[message % 2]
        if runs_per_message == 1:
            say_something(chat, chance, speaker)
        else:
            colors = (styles.RED, styles.GREEN, styles.BLUE)
            chat.say(speaker, 1, *(styles.colored(sentence(chance, 3) + " ", colors[run % 3])
                                   for run in range(runs_per_message)))
    return chat


def write(folder, chat):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / chat.path).write_bytes(chat.data())


def main(what, folder, first=0, count=0):
    folder = Path(folder)
    if what == "folder":
        for number in range(int(first), int(first) + int(count)):
            write(folder, conversation(number))
    else:
        for extension, form in (("chat", Typed("big")), ("ichat", Keyed())):
            write(folder, one_long(f"Thousand messages on x.{extension}", form, 1000, 1))
            write(folder, one_long(f"Many runs on x.{extension}", form, 20_000, 5))


if __name__ == "__main__":
    main(*sys.argv[1:])
