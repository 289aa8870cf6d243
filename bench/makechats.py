"""Writes chats to measure with, the same ones every time.

    makechats.py folder FOLDER COUNT         the first COUNT chats of a long life: fifty messages each, of both kinds in
                                             turn, a link in every third, a picture of some 60 kB in every tenth, a new
                                             friend with every thirtieth
    makechats.py single FOLDER               the chats that the benchmarks take: a thousand messages, and 20,000 messages
                                             with 100,000 runs, of each kind
"""

import itertools
import random
import struct
import sys
from datetime import datetime, timedelta, timezone
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "samples" / "make"))

import pictures  # noqa: E402
import styles  # noqa: E402
from chats.cast import BOB, KIM, PRIYA, ROBIN, TOMAS, ZOE  # noqa: E402
from transcript import Keyed, Speaker, Transcript, Typed  # noqa: E402

MESSAGES_PER_CHAT = 50
PICTURE_BYTES = 60_000
# The words that everybody uses, most frequent first; after them come made-up ones.
WORDS = (
    "the a I you we it is was be do of to in on for with and but so if not no yes ok well maybe when where what who "
    "train coffee lake concert garden heron picture Thursday ticket balcony record kitchen window Zoë naïve café "
    "travelling remember forgotten tomorrow yesterday never always 你好 🌷 :-) lol, see hear think know come go there"
).split()
VOCABULARY = 40_000
CHINESE = "我们今天去看电影好吗明晚一起吃饭吧火车站见面天气很冷记得带伞照片收到了谢谢你真漂亮生日快乐"


def vocabulary():
    """Words of natural lengths, used in natural proportions: the n-th word 1/n as often as the first (Zipf's law)."""
    chance = random.Random(40_000)
    syllables = [first + vowel + last for first in "b d f g h k l m n p r s t v w st tr pl".split()
                 for vowel in "a e i o u ee ou".split() for last in ("", "n", "r", "s", "t")]
    words = list(dict.fromkeys(WORDS))
    known = set(words)
    while len(words) < VOCABULARY:
        word = "".join(chance.choices(syllables, k=chance.choice((1, 2, 2, 2, 3, 3, 4))))
        if word not in known:
            known.add(word)
            words.append(word)
    return words, list(itertools.accumulate(1 / rank for rank in range(1, len(words) + 1)))


ALL_WORDS, CUMULATIVE_WEIGHTS = vocabulary()
CHATS_PER_FRIEND = 30
STYLES = [friend.style for friend in (BOB, KIM, PRIYA, TOMAS, ZOE)]


def sentence(chance, longest=14):
    if chance.random() < 0.03:
        start = chance.randrange(len(CHINESE) - 8)
        return CHINESE[start:start + chance.randint(2, 8)]
    return " ".join(chance.choices(ALL_WORDS, cum_weights=CUMULATIVE_WEIGHTS, k=chance.randint(1, longest)))


def picture(chance):
    """A JPEG that decodes, brought to its size by the segment for an editor's notes: flat blocks pack too well."""
    whole = pictures.garden()
    notes = chance.randbytes(PICTURE_BYTES - len(whole))
    return whole[:2] + b"\xff\xed" + struct.pack(">H", len(notes) + 2) + notes + whole[2:]


def say_something(chat, chance, speaker):
    pieces = [sentence(chance)]
    kind = chance.random()
    if kind < 0.04:
        pieces.append(styles.underlined(" " + sentence(chance, 3)))
    elif kind < 0.06:
        pieces.append(styles.colored(" " + sentence(chance, 3), styles.RED))
    chat.say(speaker, chance.randint(2, 90), *pieces)


def conversation(number):
    chance = random.Random(number)
    friend = chance.randint(0, number // CHATS_PER_FRIEND) if number % CHATS_PER_FRIEND else number // CHATS_PER_FRIEND
    name, style = f"friend{friend}", STYLES[friend % len(STYLES)]
    them = Speaker.of("AIM", name, *style)
    begin = datetime(2002, 8, 1, 9, 0, tzinfo=timezone.utc) + timedelta(hours=2 * number)
    keyed = number % 2 == 1
    path = f"{name} on {begin:%Y-%m-%d at %H.%M}.{'ichat' if keyed else 'chat'}"
    chat = Transcript(path, begin.isoformat(), Keyed() if keyed else Typed("big"), "AIM", [them])
    for message in range(MESSAGES_PER_CHAT):
        speaker = chance.choice((them, ROBIN))
        if message == 20 and number % 3 == 0:
            chat.say(speaker, 9, "look: ", styles.link(f"http://www.example.org/{chance.randint(1, 999_999)}.html"))
        elif message == 30 and number % 10 == 0:
            chat.say(them, 9, "look: ", styles.file(f"picture {number}.jpg", picture(chance)))
        else:
            say_something(chat, chance, speaker)
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


def main(what, folder, count=0):
    folder = Path(folder)
    if what == "folder":
        for number in range(int(count)):
            write(folder, conversation(number))
    else:
        for extension, form in (("chat", Typed("big")), ("ichat", Keyed())):
            write(folder, one_long(f"Thousand messages on x.{extension}", form, 1000, 1))
            write(folder, one_long(f"Many runs on x.{extension}", form, 20_000, 5))


if __name__ == "__main__":
    main(*sys.argv[1:])
