"""Draws Images/pdf.png, which stands for a PDF document: a sheet with a folded corner, lines of text and a red label."""

import struct
import zlib

WIDTH, HEIGHT = 144, 180  # shown at half of it
SAMPLES = 4  # for smooth edges, in each direction

PAPER, FOLD, EDGE, TEXT = (255, 255, 255), (221, 217, 207), (176, 171, 160), (214, 210, 200)
LABEL, LETTERS = (198, 52, 44), (255, 255, 255)

CORNER = 40
LEFT, TOP, RIGHT, BOTTOM = 10, 4, 134, 176


def rounded(x, y, left, top, right, bottom, radius):
    dx = max(left + radius - x, 0, x - (right - radius))
    dy = max(top + radius - y, 0, y - (bottom - radius))
    return left <= x <= right and top <= y <= bottom and dx * dx + dy * dy <= radius * radius


def on_sheet(x, y, inset=0):
    is_cut_off = x - (RIGHT - CORNER) > y - TOP - inset * 0.4
    return rounded(x, y, LEFT + inset, TOP + inset, RIGHT - inset, BOTTOM - inset, 10 - inset) and not is_cut_off


def in_fold(x, y):
    return rounded(x, y, RIGHT - CORNER, TOP - 20, RIGHT + 20, TOP + CORNER, 8) and on_sheet(x, y, 2.5)


def in_bowl(x, y, left, top, bottom, right, stroke):
    """The closed half of a letter that bulges to the right of @p left."""
    radius = min((bottom - top) / 2, right - left)

    def half(x, y, grow):
        dx = max(0, x - (right - radius))
        dy = max(top + radius - y, 0, y - (bottom - radius))
        return left <= x <= right - grow and top + grow <= y <= bottom - grow and dx * dx + dy * dy <= (radius - grow) ** 2

    return half(x, y, 0) and not half(x, y, stroke)


def in_letters(x, y):
    top, bottom, stroke = 108, 146, 8
    if any(left <= x <= left + stroke and top <= y <= bottom for left in (26, 59, 96)):
        return True
    if in_bowl(x, y, 26, top, top + 24, 50, stroke) or in_bowl(x, y, 59, top, bottom, 87, stroke):
        return True
    return (96 <= x <= 119 and top <= y <= top + stroke) or (96 <= x <= 115 and 124 <= y <= 124 + stroke)


def in_lines(x, y):
    return any(rounded(x, y, 28, top, right, top + 6, 3) for top, right in ((34, 78), (50, 92), (66, 112), (82, 104)))


def sample(x, y):
    """Colour and whether there is any."""
    if rounded(x, y, 2, 98, 142, 156, 8):
        return (LETTERS if in_letters(x, y) else LABEL), True
    if not on_sheet(x, y):
        return PAPER, False
    if not on_sheet(x, y, 2.5):
        return EDGE, True
    if in_fold(x, y):
        return FOLD, True
    return (TEXT if in_lines(x, y) else PAPER), True


def pixel(x, y):
    places = [(column + 0.5) / SAMPLES for column in range(SAMPLES)]
    colours = [colour for colour, there in (sample(x + dx, y + dy) for dy in places for dx in places) if there]
    if not colours:
        return bytes(4)
    mean = [round(sum(channel) / len(colours)) for channel in zip(*colours)]
    return bytes([*mean, round(255 * len(colours) / SAMPLES**2)])


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def png():
    rows = b"".join(b"\0" + b"".join(pixel(x, y) for x in range(WIDTH)) for y in range(HEIGHT))
    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 6, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")
