"""The friends: how each is known, and how each likes their text."""

import styles
from styles import BACKGROUND, COLOR, FONT, PARAGRAPH
from transcript import Speaker

ROBIN = Speaker.of(
    "AIM", "robinashby", (FONT, styles.LUCIDA), (COLOR, styles.BLUE), (PARAGRAPH, styles.NATURAL), local=True
)
KIM = Speaker.of("AIM", "kimlee77", (FONT, styles.HELVETICA), (COLOR, styles.GREEN))
ZOE = Speaker.of("AIM", "zoemueller", (FONT, styles.OPTIMA), (COLOR, styles.TEXT_COLOR), (PARAGRAPH, styles.LEFT))
TOMAS = Speaker.of("AIM", "tnovak", (FONT, styles.VERDANA), (COLOR, styles.OCHRE))
BOB = Speaker.of("AIM", "bobonmars", (FONT, styles.COURIER), (COLOR, styles.GREY))
PRIYA = Speaker.of("AIM", "priya.r", (FONT, styles.COMIC), (COLOR, styles.VIOLET), (BACKGROUND, styles.SKY))
GUS = Speaker.of("AIM", "gusgus", (FONT, styles.HELVETICA))

# The second name that Robin's card knows, and the one that stands for the user of this machine on the local network.
ROBIN_AT_WORK = Speaker.of("AIM", "rashby.work", (FONT, styles.LUCIDA), local=True)
MYSELF = Speaker.of("SubNet", " myself ", (FONT, styles.LUCIDA), (COLOR, styles.BLACK), local=True)
KIM_NEARBY = Speaker.of("SubNet", "kim@powerbook", (FONT, styles.HELVETICA), (COLOR, styles.GREEN))
MARTA = Speaker.of("SubNet", "marta@imac@office", (FONT, styles.GEORGIA), (COLOR, styles.FAINT))

LI_MING = Speaker.of("Jabber", "liming@jabber.example.org", (FONT, styles.HEITI), (COLOR, styles.TEAL))
ROBIN_ON_JABBER = Speaker.of(
    "Jabber", "robin@jabber.example.org", (FONT, styles.LUCIDA), (COLOR, styles.BLUE), local=True
)
