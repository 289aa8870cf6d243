"""Pixels to files: PNG, baseline JPEG and GIF."""

import struct
import zlib


def png(canvas):
    """Truecolour, 8 bits; the whole picture in the one filter that packs it best."""
    rows = [bytes(part for pixel in row for part in pixel) for row in canvas.rows]
    filtered = [plain_rows(rows), left_differences(rows), upper_differences(rows)]
    packed = min((zlib.compress(data, 9) for data in filtered), key=len)
    header = struct.pack(">IIBBBBB", canvas.width, canvas.height, 8, 2, 0, 0, 0)
    chunks = png_chunk(b"IHDR", header) + png_chunk(b"IDAT", packed) + png_chunk(b"IEND", b"")
    return b"\x89PNG\r\n\x1a\n" + chunks


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def plain_rows(rows):
    return b"".join(b"\0" + row for row in rows)


def left_differences(rows):
    return b"".join(b"\1" + differences(row, b"\0\0\0" + row) for row in rows)


def upper_differences(rows):
    above = [bytes(len(rows[0]))] + rows
    return b"".join(b"\2" + differences(row, upper) for row, upper in zip(rows, above))


def differences(row, other):
    return bytes((a - b) & 0xFF for a, b in zip(row, other))


class BitWriter:
    """Bits from the most significant on, with the zero byte that JPEG wants after each 0xFF."""

    def __init__(self):
        self.bytes = bytearray()
        self._bits = 0
        self._count = 0

    def write(self, value, count):
        for shift in range(count - 1, -1, -1):
            self._bits = self._bits << 1 | value >> shift & 1
            self._count += 1
            if self._count == 8:
                self.bytes.append(self._bits)
                if self._bits == 0xFF:
                    self.bytes.append(0)
                self._bits = self._count = 0

    def finish(self):
        while self._count:
            self.write(1, 1)
        return bytes(self.bytes)


# The usual table for the mean of a block: how many codes of each length there are, and the sizes they stand for.
JPEG_MEAN_COUNTS = (0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0)
JPEG_MEAN_SIZES = tuple(range(12))
# Blocks are flat: the only thing said about their details is that there are none.
JPEG_DETAIL_COUNTS = (1,) + (0,) * 15
JPEG_DETAIL_VALUES = (0,)


def jpeg_mosaic(canvas):
    """A baseline JPEG of flat blocks of 8 by 8, one for each pixel of @p canvas."""
    codes = huffman_codes(JPEG_MEAN_COUNTS, JPEG_MEAN_SIZES)
    bits = BitWriter()
    before = [0, 0, 0]
    for row in canvas.rows:
        for pixel in row:
            for component, value in enumerate(luminance_and_colour(pixel)):
                write_mean(bits, codes, value - before[component])
                before[component] = value
    return b"\xff\xd8" + jpeg_tables(canvas) + bits.finish() + b"\xff\xd9"


def jpeg_tables(canvas):
    quantisation = bytes([0] + [8] * 64)
    frame = struct.pack(">BHHB", 8, canvas.height * 8, canvas.width * 8, 3)
    frame += b"".join(bytes([number, 0x11, 0]) for number in (1, 2, 3))
    means = bytes((0x00,) + JPEG_MEAN_COUNTS + JPEG_MEAN_SIZES)
    details = bytes((0x10,) + JPEG_DETAIL_COUNTS + JPEG_DETAIL_VALUES)
    scan = bytes([3, 1, 0, 2, 0, 3, 0, 0, 63, 0])
    segments = [
        (0xE0, b"JFIF\0\1\1\0\0\1\0\1\0\0"),
        (0xDB, quantisation),
        (0xC0, frame),
        (0xC4, means),
        (0xC4, details),
        (0xDA, scan),
    ]
    return b"".join(struct.pack(">BBH", 0xFF, marker, len(data) + 2) + data for marker, data in segments)


def luminance_and_colour(pixel):
    """Y, Cb, Cr around 0, in whole numbers."""
    red, green, blue = pixel
    return (
        (299 * red + 587 * green + 114 * blue) // 1000 - 128,
        (-168736 * red - 331264 * green + 500000 * blue) // 1000000,
        (500000 * red - 418688 * green - 81312 * blue) // 1000000,
    )


def huffman_codes(counts, values):
    codes = {}
    code = 0
    remaining = list(values)
    for length, count in enumerate(counts, start=1):
        for _ in range(count):
            codes[remaining.pop(0)] = (code, length)
            code += 1
        code <<= 1
    return codes


def write_mean(bits, codes, difference):
    size = abs(difference).bit_length()
    bits.write(*codes[size])
    bits.write(difference if difference >= 0 else difference + (1 << size) - 1, size)
    bits.write(0, 1)


def gif(canvas):
    """One picture of at most 256 colours."""
    palette = sorted({pixel for row in canvas.rows for pixel in row})
    depth = max(2, (len(palette) - 1).bit_length())
    numbers = {color: number for number, color in enumerate(palette)}
    table = b"".join(bytes(color) for color in palette).ljust(3 << depth, b"\0")
    screen = struct.pack("<HHBBB", canvas.width, canvas.height, 0xF0 | depth - 1, 0, 0)
    image = struct.pack("<BHHHHB", 0x2C, 0, 0, canvas.width, canvas.height, 0)
    pixels = [numbers[pixel] for row in canvas.rows for pixel in row]
    return b"GIF89a" + screen + table + image + bytes([depth]) + sub_blocks(lzw(pixels, depth)) + b";"


def sub_blocks(data):
    parts = [data[start : start + 255] for start in range(0, len(data), 255)]
    return b"".join(bytes([len(part)]) + part for part in parts) + b"\0"


def lzw(pixels, depth):
    clear, end = 1 << depth, (1 << depth) + 1
    bits = []

    def write(code, width):
        bits.extend(code >> shift & 1 for shift in range(width))

    known, width, word = {}, depth + 1, ()
    write(clear, width)
    for pixel in pixels:
        longer = word + (pixel,)
        if len(longer) == 1 or longer in known:
            word = longer
            continue
        write(known.get(word, word[0]), width)
        code = end + 1 + len(known)
        if code == 4095:
            write(clear, width)
            known, width = {}, depth + 1
        else:
            known[longer] = code
            width = max(width, code.bit_length())
        word = (pixel,)
    write(known.get(word, word[0]), width)
    write(end, width)
    bits.extend([0] * (-len(bits) % 8))
    eights = [bits[start : start + 8] for start in range(0, len(bits), 8)]
    return bytes(sum(bit << place for place, bit in enumerate(eight)) for eight in eights)
