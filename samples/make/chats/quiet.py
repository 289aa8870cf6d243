"""Chats in which hardly anything is said, and one whose file is misnamed."""

from chats.cast import GUS, PRIYA, ROBIN
from transcript import Transcript, Typed


def nothing():
    return Transcript("Priya on 2005-03-27 at 10.05.chat", "2005-03-27T10:05:00-06:00", Typed("big"), "AIM", [PRIYA])


def only_notices():
    chat = Transcript(
        "Gus on 2005-04-02 at 09.12.chat", "2005-04-02T09:12:30-06:00", Typed("little", later_groups=True), "AIM", [GUS]
    )
    chat.notice(0, "Gus is away: back in five")
    chat.notice(305.5, "Gus has come online.")
    chat.silence(GUS, 20)
    chat.notice(2, "Gus is away: back in five")
    chat.silence(ROBIN, 14, has_text=False)
    chat.notice(1200, "Gus has gone offline.")
    return chat


def without_its_word():
    chat = Transcript(
        "Chats on iBook/Gus 2004-03-03 at 12.30.chat", "2004-03-03T12:30:00-06:00", Typed("big"), "AIM", [GUS]
    )
    chat.say(GUS, 0, "back in five")
    chat.say(ROBIN, 4, "you just got here")
    return chat


TRANSCRIPTS = [nothing, only_notices, without_its_word]
