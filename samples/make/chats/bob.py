"""Bob, who watches the sky."""

import pictures
import styles
from chats.cast import BOB, ROBIN
from model import String
from styles import colored, file, highlighted, in_font, link, underlined, url
from transcript import Keyed, Transcript, Typed


def landing():
    chat = Transcript(
        "Bob on Mars on 2004-01-24 at 22.50.chat", "2004-01-24T22:50:33-06:00", Typed("big"), "AIM", [BOB]
    )
    chat.say(BOB, 0, "15 minutes. I can't feel my hands")
    chat.say(ROBIN, 12, "is there something to see?")
    mission = url("http://rover.example.org/live/")
    chat.say(BOB, 9.5, link("the live page", mission), ". reload it every minute. no, every ", underlined("second"))
    chat.say(ROBIN, 48, "it says entry, descent, landing. what comes after landing")
    chat.say(BOB, 14, "either science or silence")
    chat.say(BOB, 300.5, "parachute!")
    chat.say(BOB, 77, "bouncing!!")
    chat.say(ROBIN, 6, "bouncing is good?")
    chat.say(BOB, 5, "it has airbags. bouncing is VERY good")
    chat.say(BOB, 130.25, in_font("SIGNAL!!!", styles.MARKER))
    chat.say(ROBIN, 3, "!!!!!!")
    chat.say(BOB, 20, "they wrote:\n\nFrom Meridiani Planum, hello\n>From the crater, too\n\nI am crying a bit")
    chat.say(BOB, 6, "Li Ming writes: 着陆了！ 🎉")
    chat.say(ROBIN, 11, "From here I can hear you cheering")
    chat.say(ROBIN, 2, ">From the balcony, in fact")
    chat.say(BOB, 900, "this is how I imagine it ", file("rover.png", pictures.mars()), " (I drew it in the ad breaks)")
    chat.say(ROBIN, 24, "better than the artist's impression on ", link("their page", mission), ". go to bed, Bob")
    chat.say(BOB, 8, colored("never", styles.RED))
    return chat


def solstice():
    chat = Transcript(
        "Bob on Mars on 2006-06-21 at 12.00.ichat",
        "2006-06-21T12:00:00.75-05:00",
        Keyed("binary", metadata=True),
        "AIM",
        [BOB],
    )
    chat.say(BOB, 0, "happy longest day!")
    chat.say(ROBIN, 40, "and to you. how long exactly?")
    chat.say(
        BOB,
        33.5,
        "15 h 13 min here. on Mars it depends: ",
        link("sol clock", String("http://clock.example.org/mars?tz=Airy-0&lang=en")),
    )
    chat.say(ROBIN, 19, "of course you have a bookmark for that")
    plain, other = String("clock.example.org/earth"), String("clock.example.org/mars")
    chat.say(
        BOB,
        27,
        link("earth", plain),
        " / ",
        link("mars", other),
        " / ",
        link("earth", plain),
        ": three tabs, always open",
    )
    chat.say(BOB, 16, "look at the signs: ☉ ♂ 🜨 𝔐𝔞𝔯𝔰 and 𐃏, which is a jar")
    chat.say(ROBIN, 13, "half of these are boxes on my screen")
    chat.say(BOB, 6, "get a better font ", highlighted("(hint)", styles.SKY))
    chat.say(ROBIN, 75, "\tbarbecue at eight?\n\tTomás has charcoal")
    chat.say(BOB, 9.25, "only if we stay out till it is properly dark")
    chat.say(ROBIN, 12, "on the longest day. you planned this")
    chat.say(BOB, 4, "for six months :-D")
    chat.silence(BOB, 10, has_text=False)
    chat.notice(50, "Bob is away: outside, looking up")
    return chat


TRANSCRIPTS = [landing, solstice]
