"""Attributes of text, and the pieces from which a message is put together."""

from dataclasses import dataclass

import model
from filewrapper import File
from model import Array, Attachment, Color, FileWrapper, Font, Number, ParagraphStyle, String, TextTab, Url

FONT = String("NSFont")
COLOR = String("NSColor")
BACKGROUND = String("NSBackgroundColor")
LINK = String("NSLink")
ATTACHMENT = String("NSAttachment")
PARAGRAPH = String("NSParagraphStyle")
UNDERLINE = String("NSUnderline")

LUCIDA = Font(String("LucidaGrande"), 12.0)
LUCIDA_BIG = Font(String("LucidaGrande"), 24.0)
LUCIDA_BOLD = Font(String("LucidaGrande-Bold"), 12.0)
HELVETICA = Font(String("Helvetica"), 12.0)
HELVETICA_OBLIQUE = Font(String("Helvetica-Oblique"), 12.0)
OPTIMA = Font(String("Optima-Regular"), 13.0)
VERDANA = Font(String("Verdana"), 11.0)
COURIER = Font(String("Courier"), 12.5, eight_bit=True)
GEORGIA = Font(String("Georgia"), 14.0)
HEITI = Font(String("STHeiti"), 14.0)
COMIC = Font(String("ComicSansMS"), 12.0, eight_bit=True)
MARKER = Font(String("MarkerFelt-Wide"), 36.0)

BLUE = Color(model.CALIBRATED_RGB, (0.0, 0.25, 0.75, 1.0))
RED = Color(model.CALIBRATED_RGB, (1.0, 0.0, 0.0, 1.0))
GREEN = Color(model.DEVICE_RGB, (0.0, 0.5, 0.25, 1.0))
VIOLET = Color(model.DEVICE_RGB, (0.4, 0.0, 0.6, 0.5))
GREY = Color(model.CALIBRATED_WHITE, (0.333333, 1.0))
BLACK = Color(model.DEVICE_WHITE, (0.0, 1.0))
FAINT = Color(model.DEVICE_WHITE, (0.0, 0.8))
OCHRE = Color(model.DEVICE_CMYK, (0.1, 0.55, 0.9, 0.2, 1.0))
TEXT_COLOR = Color(
    model.NAMED,
    catalog=String("System"),
    name=String("textColor"),
    fallback=Color(model.CALIBRATED_WHITE, (0.0, 1.0)),
)
TEAL = Color(
    model.NAMED,
    catalog=String("Crayons"),
    name=String("Teal"),
    fallback=Color(model.CALIBRATED_RGB, (0.0, 0.5, 0.5, 1.0)),
)
YELLOW = Color(model.CALIBRATED_RGB, (1.0, 1.0, 0.6, 1.0))
SKY = Color(model.DEVICE_RGB, (0.8, 0.9, 1.0, 1.0))

NATURAL = ParagraphStyle(mutable=True)
LEFT = ParagraphStyle(alignment=0)


def style_with_tabs():
    """Its tabs point back at the style that holds them."""
    style = ParagraphStyle(tabs=Array([]))
    style.tabs.items = [TextTab(28.0 * number, style) for number in range(1, 4)]
    return style


TABBED = style_with_tabs()


@dataclass(frozen=True)
class Piece:
    """Some text with attributes that go on top of its speaker's own."""

    text: str
    attributes: tuple


def styled(text, *attributes):
    return Piece(text, attributes)


def colored(text, color):
    return styled(text, (COLOR, color))


def highlighted(text, color=YELLOW):
    return styled(text, (BACKGROUND, color))


def in_font(text, font):
    return styled(text, (FONT, font))


def underlined(text):
    return styled(text, (UNDERLINE, Number(1)))


def url(text, base=None):
    return Url(String(text), url(base) if base else None)


def link(text, target=None):
    """A link to a Url or String of the model; without one, to a Url of the text itself."""
    return styled(text, (LINK, target or url(text)), (UNDERLINE, Number(1)))


def attachment(item):
    """@p item is a File or Folder (filewrapper.py)."""
    return Attachment(FileWrapper(item))


def attached(value):
    """The character that carries an Attachment; one Attachment may hang on several."""
    return styled(model.ATTACHMENT_CHARACTER, (ATTACHMENT, value))


def file(name, contents, **form):
    return attached(attachment(File(name, contents, **form)))
