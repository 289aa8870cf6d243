"""Tomás moves house, twice."""

import documents
import pictures
import styles
from chats.cast import ROBIN, ROBIN_AT_WORK, TOMAS
from filewrapper import File, Folder
from styles import attached, attachment, colored, file, highlighted, in_font, link, underlined, url
from transcript import Keyed, Transcript, Typed


def move():
    chat = Transcript(
        "Tomás Novák on 2004-09-18 at 19.33.chat",
        "2004-09-18T19:33:20-05:00",
        Typed("little", later_groups=True),
        "AIM",
        [TOMAS],
    )
    chat.say(TOMAS, 0, "I have the keys 🔑")
    chat.say(ROBIN, 7, "finally! how is it?")
    chat.say(TOMAS, 15.5, "empty. echoes. smells of paint & promise")
    plan = documents.pdf(
        "Floor plan", ["Kitchen 3 x 4 m", "Bedroom 4 x 4 m (window to the yard)", "Room for one (1) piano"]
    )
    chat.say(TOMAS, 60, "here, with measures: ", file("floor plan.pdf", plan))
    chat.say(ROBIN, 90, "\"room for one (1) piano\"")
    chat.say(TOMAS, 6, "a man may dream")
    chat.say(ROBIN, 11, "when do we carry")
    chat.say(
        TOMAS, 22.125, underlined("Saturday, 9:00"), ". I bought ", in_font("so many", styles.LUCIDA_BOLD), " boxes"
    )
    boxes = Folder(
        "Boxes",
        [
            File("list.txt", documents.plain_text("1 books", "2 books", "3 books, 1 lamp", "4-9 books")),
            File("labels.pdf", documents.pdf("FRAGILE", ["this side up", "(no, this one)"])),
            Folder("photos", [File("umbrella stand.jpg", pictures.rain()), File("empty.txt", b"")]),
        ],
    )
    chat.say(TOMAS, 48, attached(attachment(boxes)), " everything about the boxes. yes, I am that kind of person")
    chat.say(ROBIN, 33, "nine boxes of books and one lamp. how did you read before")
    chat.say(TOMAS, 9, "near the window")
    chat.say(
        ROBIN,
        41,
        "I can borrow the van from ",
        link("these people", url("van.html", "http://www.example.net/rent/index.html")),
        ", Kim drives",
    )
    chat.say(TOMAS, 14, colored("Kim drives?", styles.RED), " then pack the lamp twice")
    chat.say(ROBIN, 5, "I will tell her")
    chat.say(TOMAS, 3, "please don't", timed=False)
    old = file("old key.txt", documents.plain_text("Return to the landlord on the 30th"), utf8_name=False)
    chat.say(TOMAS, 66, "don't let me forget: ", old)
    chat.say(ROBIN, 8, "noted. see you on Saturday!")
    return chat


def leap_day():
    chat = Transcript(
        "Tomás Novák on 2008-02-29 at 08.30.ichat",
        "2008-02-29T08:30:15-06:00",
        Keyed("binary"),
        "AIM",
        [TOMAS],
        login="rashby.work",
        shared_dictionaries=True,
    )
    chat.say(TOMAS, 0, "a free day! nobody planned anything for today four years ago")
    chat.say(ROBIN_AT_WORK, 25, "my boss did, apparently")
    chat.say(TOMAS, 12.5, "rain again here ", file("Regen.jpg", pictures.rain()))
    chat.say(ROBIN_AT_WORK, 31, "same. at least your umbrella matches the sofa")
    chat.say(TOMAS, 44, "about the sofa. it has to go down four floors by the end of March")
    chat.say(ROBIN_AT_WORK, 10, "you are moving AGAIN?")
    chat.say(TOMAS, 8, "the piano did not fit", timed=False)
    chat.say(ROBIN_AT_WORK, 6, "there is a PIANO??")
    chat.say(
        TOMAS,
        19.75,
        "there will be. see ",
        link("http://pianos.example.com/used/1911-upright"),
        ", ",
        highlighted("only"),
        " 212 kg",
    )
    chat.say(ROBIN_AT_WORK, 38, "From now on I am busy every weekend")
    chat.say(TOMAS, 7, "I will cook svíčková for all who carry")
    chat.say(ROBIN_AT_WORK, 9.5, "From now on I am free every weekend")
    chat.notice(30, "Tomás Novák has gone offline.")
    return chat


TRANSCRIPTS = [move, leap_day]
