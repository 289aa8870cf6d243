"""Kim: concerts, a holiday, a farewell."""

import documents
import pictures
import styles
from chats.cast import KIM, ROBIN
from filewrapper import File
from model import Attachment, String
from styles import attached, attachment, colored, file, highlighted, in_font, link, underlined, url
from transcript import Keyed, Transcript, Typed


def concert():
    chat = Transcript("Kim Lee on 2003-07-12 at 20.41.chat", "2003-07-12T20:41:05.25-05:00", Typed("big"), "AIM", [KIM])
    chat.say(KIM, 0, "hey! are you around?")
    chat.say(ROBIN, 14.5, "yes, just back from the lake. what's up?")
    chat.say(KIM, 22, "The Paper Lanterns are playing at the Rialto on the 26th ", in_font("!!!", styles.LUCIDA_BIG))
    chat.say(ROBIN, 9.125, "no way. THE Paper Lanterns?")
    chat.say(KIM, 31, "the very same. look: ", link("http://www.example.org/rialto/july.html"))
    tour = url("http://www.example.com/lanterns/tour?year=2003&leg=2")
    chat.say(
        KIM,
        12,
        link("tour dates", tour),
        " and the ",
        in_font("new", styles.HELVETICA_OBLIQUE),
        " ",
        link("record", tour),
    )
    chat.say(ROBIN, 44.75, "doors at 8, support by Sad Accordion. I am already happy")
    chat.say(KIM, 7, "shall I get tickets? they are $14 & going fast")
    chat.say(ROBIN, 6, underlined("yes please"), ". two for me, Tomás wants to come")
    chat.say(KIM, 95, "done. 4 tickets, row <b>7</b> of the balcony, which they call \"the gods\"")
    chat.say(ROBIN, 11, "<b>? are you writing HTML again")
    chat.say(KIM, 8, "occupational hazard :-)")
    chat.notice(61, "Kim Lee is idle at 8:49 PM.")
    chat.say(
        KIM, 240.5, "sorry, phone. this is the poster:\n", file("poster.png", pictures.concert()), "\nnice colours, no?"
    )
    chat.say(ROBIN, 37, "that goes on my wall")
    chat.say(KIM, 15, "From where you sit you will see the whole stage")
    chat.say(
        ROBIN,
        21,
        colored("red", styles.RED),
        ", ",
        colored("green", styles.GREEN),
        " and ",
        colored("red", styles.RED),
        " lights then. see you on the 26th!",
    )
    chat.say(KIM, 5, "see you! bring earplugs")
    return chat


def holiday():
    chat = Transcript(
        "Kim Lee on 2005-08-20 at 21.07.ichat", "2005-08-20T21:07:44.5-05:00", Keyed("binary"), "AIM", [KIM]
    )
    chat.say(KIM, 0, "back!! 1400 miles, one flat tire, no regrets")
    chat.say(ROBIN, 19.5, "welcome home :) how was the coast?")
    chat.say(KIM, 27, "cold, bright, full of sea lions 🦭🦭🦭")
    chat.say(KIM, 33, "every evening looked like this ", file("sunset, day 3.png", pictures.sunset()))
    chat.say(ROBIN, 16.75, "wow. that is a postcard")
    picture = attachment(File("garden of the inn.jpg", pictures.garden()))
    chat.say(KIM, 41, "and the inn: ", attached(picture), " breakfast was out there, yes ", attached(picture), " THERE")
    chat.say(ROBIN, 12, "I see tulips. in August?")
    chat.say(KIM, 8.5, "they might be something else. I am not a plant person 🌷")
    chat.say(ROBIN, 25, "did you try the place that Zoë told us about?")
    address = url("http://maps.example.org/?q=harbour+street+9")
    chat.say(
        KIM,
        36,
        "we did! ",
        link("here", address),
        " on the map, and again ",
        link("here", url("http://maps.example.org/?q=harbour+street+9")),
        " because we went back on Sunday",
    )
    chat.say(KIM, 14, "the chowder ", underlined("alone"), " is worth 1400 miles")
    chat.say(ROBIN, 20, "you are making me hungry")
    chat.say(KIM, 9, "good. dinner on Thursday? I will cook and bore everybody with 300 photos")
    chat.say(ROBIN, 13.25, "deal. I bring bread and patience")
    chat.notice(75, "Kim Lee has logged out.")
    return chat


def holiday_continued():
    chat = Transcript(
        "Kim Lee on 2005-08-20 at 21.07 #2.ichat",
        "2005-08-20T22:40:10-05:00",
        Keyed("binary", metadata=True),
        "AIM",
        [KIM],
    )
    chat.notice(0, "Kim Lee has logged in.")
    chat.say(KIM, 5, "me again. the album is up")
    base = "http://album.example.org/kim/2005/coast/"
    chat.say(
        KIM,
        6.5,
        link("day 1", url("day1.html", base)),
        ", ",
        link("day 2", url("day2.html", base)),
        ", ",
        link("the cover", url("../", base)),
    )
    chat.say(ROBIN, 90, "day 2, third from the left: is that a heron or a very thin dog?")
    chat.say(KIM, 12, "heron. its name is Gerald")
    chat.say(ROBIN, 5, "hello Gerald \U0001f44b")
    chat.say(KIM, 30, "I'm falling asleep on the keyboardddddd")
    chat.say(ROBIN, 4, "good night!")
    return chat


def farewell():
    chat = Transcript(
        "Kim Lee on 2009-01-20 at 17.00.ichat",
        "2009-01-20T17:00:30.125-06:00",
        Keyed("binary", metadata=True),
        "AIM",
        [KIM],
        shared_dictionaries=True,
    )
    chat.say(KIM, 0, "so. it is official. Lisbon, from March 1")
    chat.say(ROBIN, 10, "you got it!! congratulations 🎉🎉")
    chat.say(KIM, 15, "I have read the letter nine times. it still says yes")
    chat.say(ROBIN, 12.5, "what will I do on Thursdays without you")
    chat.say(KIM, 18, "visit. look at the wall across from my new flat: ", file("azulejos.png", pictures.tiles()))
    chat.say(ROBIN, 22, "I want that wall")
    ticket = documents.pdf(
        "Boarding pass",
        ["Passenger: LEE / KIM", "From ORD to LIS via (of course) somewhere else", "1 March 2009, gate 14"],
    )
    chat.say(KIM, 35, "and this is real too ", file("boarding pass.pdf", ticket), attached(Attachment(None)))
    chat.say(ROBIN, 17, "the second thing you sent never arrived, but the first one is very convincing")
    things = "1. the good pan\n2. the bad bicycle\n3. my half of the record collection"
    chat.say(KIM, 20, f"list of things I leave behind for you:\n{things}\nFrom the shelf take whatever you like")
    chat.say(ROBIN, 40, "not the Paper Lanterns record. that one goes with you, I carry it to the airport myself")
    ferry = String("ferry:cacilhas?at=18:05")
    chat.say(
        KIM,
        31,
        "you can take the ",
        link("ferry", ferry),
        " at sunset. and the ",
        link("tram", url("http://www.example.com/tram/28")),
        ". and the ",
        link("ferry", ferry),
        " back",
    )
    chat.say(ROBIN, 9, highlighted("booked"), ", in my head")
    chat.say(KIM, 14, "💙")
    chat.silence(ROBIN, 3)
    chat.say(ROBIN, 8.75, "see you on Thursday. we have six left")
    return chat


TRANSCRIPTS = [concert, holiday, holiday_continued, farewell]
