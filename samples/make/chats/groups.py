"""Chats of more than two."""

import pictures
import styles
from chats.cast import KIM, PRIYA, ROBIN, TOMAS, ZOE
from styles import COLOR, PARAGRAPH, colored, file, highlighted, in_font, link, styled, underlined, url
from transcript import Keyed, Transcript, Typed


def birthday():
    chat = Transcript(
        "Kim Lee, Zoë Müller on 2005-02-11 at 18.47.chat",
        "2005-02-11T18:47:09.5-06:00",
        Typed("little", later_groups=True),
        "AIM",
        [KIM, ZOE, PRIYA, TOMAS],
    )
    chat.notice(0, "Zoë Müller has joined the chat.")
    chat.say(KIM, 4, "ok. Operation Birthday. Tomás suspects nothing")
    chat.say(ZOE, 9.5, "he asked me today if I know how to keep a secret")
    chat.say(ROBIN, 6, "and?")
    chat.say(ZOE, 3, "I said no")
    chat.say(
        KIM,
        11,
        "perfect. shopping list:",
        styled("\n\tflour\t1 kg\n\teggs\t12\n\tcandles\t7\n", (PARAGRAPH, styles.TABBED)),
        "who takes what?",
    )
    chat.say(ROBIN, 26, "eggs & candles")
    chat.say(ZOE, 8, "why seven candles? he turns 34")
    chat.say(KIM, 5, "3 + 4")
    chat.say(ZOE, 7.75, "I ", underlined("love"), " this logic")
    recipe = url("http://kitchen.example.org/cakes/pink?layers=3")
    chat.say(
        ROBIN,
        50,
        "is it this one? ",
        link("recipe", recipe),
        " says 3 layers, the photo in the ",
        link("recipe", recipe),
        " has 4",
    )
    chat.say(KIM, 16, "3. I tried on Tuesday, and it came out like so: ", file("test cake.png", pictures.cake()))
    chat.say(ZOE, 12, "KIM. that is the best cake I have seen")
    chat.say(ROBIN, 2.5, "wow")
    chat.say(KIM, 14, "it was also ", colored("delicious", styles.OCHRE), ", sorry, you had to be there")
    chat.notice(20, "Priya has joined the chat.")
    chat.say(PRIYA, 13, "hi hi! I bring the music, ", highlighted("no accordion", styles.SKY), ", I promise")
    chat.say(ZOE, 9, "a little accordion")
    chat.say(PRIYA, 4, "a ", in_font("little", styles.LUCIDA), " accordion")
    chat.say(
        KIM,
        31,
        "Saturday at 7, my place. lights out, be quiet on the stairs",
        styled("\n\t(third step creaks)", (PARAGRAPH, styles.TABBED), (COLOR, styles.GREY)),
    )
    chat.say(ROBIN, 6, "roger")
    chat.silence(ZOE, 2)
    chat.notice(330, "Tomás Novák has joined the chat.")
    chat.say(TOMAS, 8.5, "hello! what are we all doing here")
    chat.say(KIM, 3, "nothing")
    chat.say(ZOE, 1, "nothing at all")
    chat.say(PRIYA, 2, "talking about ", in_font("accordions", styles.COURIER))
    chat.say(TOMAS, 12.25, "suspicious. anyway, does somebody have time on ", underlined("Saturday"), " at 7?")
    chat.say(ROBIN, 5, "no")
    chat.say(KIM, 0.5, "no, sorry, dentist")
    chat.say(TOMAS, 9, "at ", colored("seven in the evening", styles.RED), "?")
    chat.say(KIM, 6, "it is a very ", colored("good", styles.RED), " dentist")
    chat.say(TOMAS, 4, "ok, ok. I'll buy my own cake then 🎂")
    return chat


def independence_day():
    name = "Chats on iBook/Priya, Tomás Novák on 2005-07-04 at 19.45 #3.ichat"
    chat = Transcript(name, "2005-07-04T19:45:00-05:00", Keyed("xml"), "AIM", [PRIYA, TOMAS])
    chat.say(PRIYA, 0, "roof or river for the fireworks?")
    chat.say(TOMAS, 21, "roof. the river has mosquitoes & \"live music\"")
    chat.say(ROBIN, 12.5, "roof <3")
    chat.say(
        PRIYA, 17, "9 o'clock then, bring chairs. last year: ", file("2004 from the roof.png", pictures.fireworks())
    )
    chat.say(
        TOMAS, 14, "I will need the ", link("weather", url("http://weather.example.net/today")), ", it says 10% rain"
    )
    chat.say(
        PRIYA, 6, "10% is ", underlined("nothing"), styled(" (it is one chair in ten)", (PARAGRAPH, styles.TABBED))
    )
    chat.say(ROBIN, 9, "ten chairs it is")
    chat.notice(40, "Tomás Novák has left the chat.")
    return chat


TRANSCRIPTS = [birthday, independence_day]
