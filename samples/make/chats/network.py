"""Chats without the usual service: the local network, and Li Ming's Jabber."""

import documents
import pictures
import styles
from chats.cast import KIM_NEARBY, LI_MING, MARTA, MYSELF, ROBIN_ON_JABBER
from model import String
from styles import colored, file, in_font, link, underlined, url
from transcript import Keyed, Transcript, Typed


def nearby():
    chat = Transcript(
        "kim@powerbook on 2004-06-05 at 13.20.chat",
        "2004-06-05T13:20:41-05:00",
        Typed("little"),
        "SubNet",
        [KIM_NEARBY],
    )
    chat.say(KIM_NEARBY, 0, "psst. two desks to your left")
    chat.say(MYSELF, 6.5, "I can see you typing")
    chat.say(KIM_NEARBY, 9, "is this thing logged?")
    chat.say(MYSELF, 5, "everything is logged")
    chat.say(KIM_NEARBY, 12, "then for the record: the meeting is a nap with slides")
    chat.say(MYSELF, 14.25, "for the record: slide 40 of 61")
    notes = documents.plain_text("Minutes", "- budget: yes", "- coffee machine: no", "- naps: under review")
    chat.say(KIM_NEARBY, 33, "my notes so far ", file("minutes.txt", notes))
    chat.say(MYSELF, 18, "\"naps: under review\" ", colored("+1", styles.GREEN))
    menu = "http://lunch.example.com/menu.cgi?day=6;veg=1"
    chat.say(KIM_NEARBY, 61, "lunch? ", link("today", String(menu)), " is ", link("always", String(menu)), " soup")
    chat.say(MYSELF, 7, "after slide 61")
    chat.say(KIM_NEARBY, 3, "so, dinner")
    chat.notice(240, "The connection to kim@powerbook was lost.")
    return chat


def office():
    chat = Transcript(
        "marta@imac@office on 2006-10-29 at 17.30.ichat",
        "2006-10-29T17:30:00.5-06:00",
        Keyed("xml", metadata=True),
        "SubNet",
        [MARTA],
        login=" myself ",
    )
    chat.say(MARTA, 0, "the clocks went back and nobody told my iMac")
    chat.say(MYSELF, 10, "it told mine twice")
    chat.say(MARTA, 16.5, "so it is 5:30? or 6:30? or is time a circle")
    chat.say(MYSELF, 8, "a circle & a meeting at 9")
    chat.say(MARTA, 44, "\ufeffpasted from my other editor: 250 g lentils, 1 onion, 2 carrots")
    chat.say(
        MARTA, 11, "\ufeff", underlined("and"), " cumin. ", link("full recipe", url("http://soups.example.org/lentil"))
    )
    chat.say(MYSELF, 23, "there is something invisible in front of your lentils")
    chat.say(MARTA, 9.75, "love, probably")
    chat.say(MYSELF, 13, "if (soup < hot) { wait(); } // \"&amp;\" is not a spice")
    chat.say(
        MARTA, 18, "NERD. this is what it should look like outside ", file("garden, spring.jpg", pictures.garden())
    )
    chat.say(MYSELF, 7, "five months to go. or six. circle.")
    chat.silence(MARTA, 30)
    return chat


def new_year():
    chat = Transcript(
        "李明 on 2005-12-31 at 23.50.ichat",
        "2005-12-31T23:50:02-06:00",
        Keyed("xml"),
        "Jabber",
        [LI_MING],
        login="robin@jabber.example.org",
    )
    chat.say(LI_MING, 0, "新年快乐! already 2006 here for ten hours")
    chat.say(ROBIN_ON_JABBER, 20, "how is the future?")
    chat.say(LI_MING, 13.5, "same noodles, new calendar 🍜📅")
    chat.say(ROBIN_ON_JABBER, 31, "teach me to say it")
    chat.say(LI_MING, 17, in_font("新年快乐", styles.LUCIDA_BIG), " = xīnnián kuàilè")
    chat.say(ROBIN_ON_JABBER, 29, "xi\u0304nnia\u0301n kua\u0300ile\u0300! (I typed every mark by hand)")
    chat.say(LI_MING, 8, "好! 很好! 👏👏👏")
    chat.say(LI_MING, 55.25, "from our window at midnight ", file("除夕.png", pictures.fireworks()))
    chat.say(ROBIN_ON_JABBER, 14, "beautiful. we have rain & Bob on the roof")
    chat.say(
        LI_MING,
        26,
        link("日出的照片", url("http://photos.example.org/%E6%97%A5%E5%87%BA")),
        " follow on ",
        colored("Monday", styles.TEAL),
    )
    chat.say(ROBIN_ON_JABBER, 240, "3… 2… 1…")
    chat.say(ROBIN_ON_JABBER, 3, "🎆 happy new year 🎆")
    return chat


TRANSCRIPTS = [nearby, office, new_year]
