"""Zoë and her cats."""

import pictures
import styles
from chats.cast import ROBIN, ZOE
from filewrapper import File, Folder
from model import String
from styles import attached, attachment, colored, file, in_font, link, underlined, url
from transcript import Keyed, Transcript, Typed


def valentine():
    chat = Transcript(
        "Old chats/Zoë Müller on 2003-02-14 at 21.00.chat",
        "2003-02-14T21:00:12-06:00",
        Typed("big"),
        "AIM",
        [ZOE],
        shared_dictionaries=True,
    )
    chat.say(ZOE, 0, "what are you doing home on Valentine's day")
    chat.say(ROBIN, 8, "reading. what are YOU doing home on Valentine's day")
    chat.say(ZOE, 13.5, "I have a date. he is orange and eight weeks old")
    chat.say(ROBIN, 5, "you did NOT get a kitten")
    chat.say(ZOE, 6, "his name is Möhre")
    chat.say(ROBIN, 29, "Möhre as in carrot?")
    chat.say(ZOE, 7.25, "carrot as in Möhre. he just fell into the bathtub. brb")
    chat.notice(31, "Zoë Müller is away: drying a cat")
    return chat


def cat_pictures():
    # A name as the platform's file system spells it: letters and their marks apart.
    name = "Zoe\u0308 Mu\u0308ller on 2003-11-30 at 16.02.chat"
    chat = Transcript(name, "2003-11-30T16:02:50-06:00", Typed("big", later_groups=True), "AIM", [ZOE])
    chat.say(ZOE, 0, "Möhre has grown into his ears. proof:")
    chat.say(ZOE, 18.5, file("Möhre.png", pictures.cat()))
    chat.say(ROBIN, 11, "those eyes! he looks like he pays the rent")
    chat.say(ZOE, 9, "he acts like it")
    chat.say(ZOE, 40, "he also writes. this is from this morning: ", in_font("ghhhhhhhhhhj,,,,,", styles.MARKER))
    chat.say(ROBIN, 17.75, "deep. can I quote that?")
    chat.say(ZOE, 8, "only with ", underlined("full"), " credit")
    chat.say(
        ROBIN,
        52,
        "found him a job: ",
        link("http://jobs.example.com/mouser"),
        " (",
        link("details", url("http://jobs.example.com/mouser#details")),
        ")",
    )
    chat.say(ZOE, 19, "\"must work nights\" ✓ \"team player\" ✗")
    chat.say(
        ROBIN, 12, "and his r\u00e9sum\u00e9? I mean his re\u0301sume\u0301, accents by hand"
    )
    paw = file("his paw.gif", pictures.paw())
    chat.say(ZOE, 33.5, "signed by his own ", paw, " in ", colored("mauve", styles.VIOLET), " ink")
    chat.say(ZOE, 21, "the photographer's other work ", file(None, pictures.rain()), " (it rained on all Saturday)")
    chat.say(ROBIN, 10, "\ufeffmoody. I like it")
    chat.say(ZOE, 4, "feeding time, he says. tschüss!")
    return chat


def kittens():
    chat = Transcript(
        "Zoë Müller on 2007-05-19 at 20.15.ichat",
        "2007-05-19T20:15:01-05:00",
        Keyed("binary", metadata=True),
        "AIM",
        [ZOE],
    )
    chat.say(ZOE, 0, "are you sitting down")
    chat.say(ROBIN, 6.5, "I am now")
    chat.say(ZOE, 4, "Möhre is a mother")
    chat.say(ROBIN, 7, "Möhre is a WHAT")
    chat.say(ZOE, 22, file("three of four.png", pictures.kittens()))
    chat.say(ROBIN, 14.25, "four years and nobody noticed?? 😹")
    chat.say(
        ZOE,
        16,
        "the vet laughed for a full minute. then she sent me ",
        link("this", String("http://vet.example.org/faq#boy%20or%20girl")),
    )
    chat.say(ROBIN, 28, "what are their names")
    chat.say(
        ZOE,
        18,
        "Zucchini, ",
        colored("Aubergine", styles.VIOLET),
        ", ",
        colored("Curry", styles.YELLOW),
        " and 小茴香 (Li Ming's idea, it is fennel)",
    )
    chat.say(ZOE, 12, "the fourth one hides. here is everything so far:")
    album = Folder(
        "Kittens",
        [
            File("paw.gif", pictures.paw()),
            File("names.txt", "Zucchini\nAubergine\nCurry\n小茴香\n".encode()),
            Folder("mother", [File("Möhre.png", pictures.cat())]),
        ],
    )
    chat.say(ZOE, 45, attached(attachment(album)))
    chat.say(ROBIN, 31, "I call dibs on ", underlined("Curry"), ". if Tomás says otherwise he lies")
    chat.say(ZOE, 9, "he said the same about you")
    chat.say(ROBIN, 6, "…")
    chat.say(ZOE, 11.5, "come over on Sunday, then the cats decide 🐈‍⬛")
    chat.say(ROBIN, 5, "👍🏽")
    return chat


TRANSCRIPTS = [valentine, cat_pictures, kittens]
