"""The pictures that the friends send each other."""

from functools import cache

import imagefiles
from canvas import Canvas, mix, wave


def drawn(width, height, *stops):
    canvas = Canvas(width, height)
    canvas.gradient(*stops)
    return canvas


@cache
def sunset():
    canvas = drawn(360, 240, (0, (38, 40, 92)), (0.35, (214, 96, 98)), (0.6, (255, 196, 112)), (1, (255, 214, 140)))
    for radius, opacity in ((64, 0.12), (50, 0.16), (38, 1.0)):
        canvas.disc(236, 140, radius, (255, 240, 190), opacity)
    canvas.ground(lambda x: 132 + 10 * wave(x / 170) + 5 * wave(x / 61), (112, 66, 98))
    canvas.ground(lambda x: 152, (62, 70, 118))
    for step in range(11):
        y = 157 + step * 7.5
        half = 46 - step * 2.6 + 9 * wave(step / 3.1)
        canvas.line(236 - half, y, 236 + half, y, 2.6, (255, 208, 132), 0.75)
    canvas.ground(lambda x: 214 + 8 * wave(x / 250 + 0.3), (34, 34, 62))
    return imagefiles.png(canvas)


def draw_cat(canvas, x, y, size, fur, stripe, eyes=(126, 176, 84)):
    dark = (44, 36, 40)
    for side in (-1, 1):
        ear = [(x + side * 0.9 * size, y - 1.15 * size), (x + side * 0.2 * size, y - 0.62 * size)]
        ear.append((x + side * 0.88 * size, y - 0.2 * size))
        canvas.polygon(ear if side < 0 else ear[::-1], fur)
    canvas.ellipse(x, y, size, size * 0.86, fur)
    for offset in (-0.3, 0.0, 0.3):
        canvas.line(x + offset * size, y - 0.74 * size, x + offset * 0.8 * size, y - 0.45 * size, size * 0.1, stripe)
    for side in (-1, 1):
        canvas.ellipse(x + side * 0.4 * size, y - 0.1 * size, size * 0.2, size * 0.17, eyes)
        canvas.ellipse(x + side * 0.4 * size, y - 0.1 * size, size * 0.07, size * 0.15, dark)
        canvas.disc(x + side * 0.36 * size, y - 0.16 * size, size * 0.04, (255, 255, 255))
        for rise in (-0.08, 0.04, 0.16):
            start, end = x + side * 0.22 * size, x + side * 1.22 * size
            canvas.line(start, y + 0.32 * size, end, y + (0.28 + rise) * size, max(1.0, size * 0.022), dark, 0.7)
        canvas.line(x, y + 0.3 * size, x + side * 0.2 * size, y + 0.45 * size, max(1.2, size * 0.04), dark)
    canvas.ellipse(x, y + 0.24 * size, size * 0.11, size * 0.08, (222, 128, 130))


@cache
def cat():
    canvas = drawn(280, 280, (0, (176, 206, 214)), (0.72, (206, 222, 214)), (0.73, (176, 128, 96)), (1, (150, 104, 78)))
    canvas.ellipse(140, 286, 104, 92, (206, 140, 84))
    draw_cat(canvas, 140, 142, 82, (218, 152, 92), (168, 104, 58))
    return imagefiles.png(canvas)


@cache
def kittens():
    canvas = drawn(360, 220, (0, (244, 226, 202)), (1, (226, 196, 164)))
    draw_cat(canvas, 96, 106, 44, (92, 88, 96), (62, 58, 66), (214, 188, 84))
    draw_cat(canvas, 264, 106, 44, (236, 228, 218), (206, 190, 172), (108, 158, 196))
    draw_cat(canvas, 180, 94, 48, (218, 152, 92), (168, 104, 58))
    canvas.polygon([(26, 142), (334, 142), (300, 210), (60, 210)], (158, 112, 72))
    for row in range(4):
        for column in range(19):
            x = 42 + column * 15.5 + (row % 2) * 7
            if 30 + row * 9 < x < 322 - row * 9:
                canvas.line(x - 5, 152 + row * 15, x + 5, 152 + row * 15, 6, (190, 142, 96))
    canvas.line(24, 142, 336, 142, 9, (132, 90, 56))
    return imagefiles.png(canvas)


@cache
def mars():
    canvas = drawn(400, 240, (0, (196, 140, 100)), (0.6, (232, 190, 150)), (1, (240, 204, 168)))
    canvas.disc(318, 52, 11, (255, 250, 240), 0.95)
    canvas.ground(lambda x: 128 + 12 * wave(x / 330 + 0.1) + 4 * wave(x / 83), (190, 124, 88))
    canvas.ground(lambda x: 152 + 7 * wave(x / 210 + 0.55), (164, 96, 66))
    canvas.ground(lambda x: 190 + 6 * wave(x / 290 + 0.2), (132, 72, 50))
    for x, y, size in ((40, 214, 9), (92, 200, 5), (330, 206, 8), (372, 222, 12), (286, 228, 6), (18, 182, 4)):
        canvas.ellipse(x, y, size * 1.5, size, (98, 52, 38))
    metal, shade = (226, 226, 220), (70, 72, 84)
    for x in (150, 186, 222):
        canvas.disc(x, 198, 11, shade)
        canvas.disc(x, 198, 4.5, (156, 156, 158))
    canvas.line(150, 190, 222, 190, 4, shade)
    canvas.polygon([(138, 168), (236, 168), (226, 186), (150, 186)], metal)
    canvas.polygon([(118, 160), (252, 160), (240, 168), (130, 168)], (56, 70, 128))
    canvas.line(212, 160, 212, 118, 4, metal)
    canvas.rectangle(200, 108, 226, 119, metal)
    canvas.disc(206, 113.5, 3.2, shade)
    canvas.disc(220, 113.5, 3.2, shade)
    return imagefiles.png(canvas)


@cache
def concert():
    canvas = drawn(360, 240, (0, (18, 12, 40)), (0.7, (54, 22, 84)), (1, (20, 10, 30)))
    beams = (
        (40, 96, (255, 90, 120)),
        (120, 60, (255, 200, 80)),
        (240, 286, (90, 200, 255)),
        (320, 262, (170, 110, 255)),
    )
    for top, bottom, color in beams:
        for spread, opacity in ((44, 0.18), (28, 0.22), (14, 0.3)):
            canvas.polygon([(top - 3, 0), (top + 3, 0), (bottom + spread, 176), (bottom - spread, 176)], color, opacity)
        canvas.disc(top, 3, 7, mix(color, (255, 255, 255), 0.7))
    canvas.rectangle(24, 170, 336, 182, (96, 60, 44))
    for x, color in ((110, (232, 196, 160)), (182, (206, 160, 126)), (252, (236, 206, 178))):
        canvas.ellipse(x, 150, 12, 24, (34, 26, 36))
        canvas.disc(x, 122, 8.5, color)
    canvas.line(96, 146, 136, 136, 4, (196, 96, 50))
    canvas.ellipse(99, 147, 9, 7, (196, 96, 50))
    canvas.line(182, 170, 186, 128, 2, (190, 190, 200))
    canvas.line(266, 140, 236, 158, 4, (60, 110, 190))
    for number in range(22):
        x = number * 17 + 6 * wave(number / 3.7)
        canvas.disc(x, 214 + 6 * wave(number / 5.3), 11, (12, 8, 18))
        if number % 3 == 1:
            canvas.line(x, 220, x + 9 * wave(number / 7), 188, 4.5, (12, 8, 18))
    canvas.rectangle(0, 222, 360, 240, (12, 8, 18))
    return imagefiles.png(canvas)


@cache
def cake():
    wall, table = ((0, (252, 236, 224)), (0.76, (248, 214, 212))), ((0.77, (186, 216, 214)), (1, (160, 196, 198)))
    canvas = drawn(300, 260, *wall, *table)
    colors = ((244, 120, 120), (250, 196, 90), (120, 190, 150), (120, 160, 220), (190, 140, 210))
    for number in range(46):
        x = (number * 67) % 300
        y = (number * 43 + number * number) % 104
        turn = wave(number / 5.0) * 4
        canvas.line(x, y, x + 4, y + turn, 3.4, colors[number % 5], 0.85)
    canvas.ellipse(150, 226, 122, 15, (250, 250, 248))
    canvas.rectangle(56, 150, 244, 224, (150, 92, 66))
    canvas.rectangle(56, 178, 244, 190, (250, 232, 208))
    canvas.rectangle(56, 138, 244, 160, (252, 184, 194))
    for number in range(10):
        canvas.disc(66 + number * 18.7, 160 + 5 * wave(number / 2.7), 9.4, (252, 184, 194))
    for number in range(7):
        x = 74 + number * 25.4
        canvas.rectangle(x - 3, 100, x + 3, 139, colors[number % 5])
        canvas.ellipse(x, 90, 5, 10, (255, 170, 60))
        canvas.ellipse(x, 93, 2.6, 6, (255, 240, 170))
    return imagefiles.png(canvas)


@cache
def fireworks():
    canvas = drawn(320, 240, (0, (8, 10, 34)), (0.8, (34, 36, 84)), (1, (64, 54, 96)))
    directions = ((1, 0), (0.92, 0.39), (0.71, 0.71), (0.39, 0.92), (0, 1), (-0.39, 0.92), (-0.71, 0.71), (-0.92, 0.39))
    directions += tuple((-x, -y) for x, y in directions)
    bursts = ((92, 82, 58, (255, 150, 110)), (222, 64, 46, (130, 220, 255)), (180, 136, 34, (200, 255, 150)))
    for x, y, radius, color in bursts:
        for dx, dy in directions:
            for step in range(3, 9):
                reach = radius * step / 8
                size = 0.8 + 0.2 * step
                canvas.disc(x + dx * reach, y + dy * reach + step * step * 0.12, size, color, 0.35 + step * 0.08)
        canvas.disc(x, y, 4, (255, 255, 240))
    heights = (34, 52, 40, 66, 30, 58, 46, 72, 38, 50, 62, 36, 56, 44)
    for number, height in enumerate(heights):
        left = number * 23
        canvas.rectangle(left, 240 - height, left + 23, 240, (14, 14, 30))
        for window in range(height // 14):
            if (number * 5 + window * 3) % 4:
                top = 246 - height + window * 13
                canvas.rectangle(left + 5, top, left + 10, top + 5, (250, 212, 120))
                canvas.rectangle(left + 14, top, left + 19, top + 5, (150, 120, 90))
    return imagefiles.png(canvas)


@cache
def tiles():
    canvas = drawn(240, 240, (0, (246, 246, 240)), (1, (238, 240, 236)))
    blue, light, yellow = (40, 84, 160), (126, 164, 212), (232, 190, 84)
    for row in range(3):
        for column in range(3):
            left, top = column * 80, row * 80
            x, y = left + 40, top + 40
            canvas.polygon([(x, top + 6), (left + 74, y), (x, top + 74), (left + 6, y)], light)
            canvas.polygon([(x, top + 16), (left + 64, y), (x, top + 64), (left + 16, y)], (250, 250, 246))
            for dx, dy in ((-1, 0), (1, 0), (0, -1), (0, 1)):
                canvas.ellipse(x + dx * 12, y + dy * 12, 11 if dx else 6, 6 if dx else 11, blue)
            canvas.disc(x, y, 7, yellow)
            for dx, dy in ((0, 0), (80, 0), (0, 80), (80, 80)):
                canvas.disc(left + dx, top + dy, 22, blue)
                canvas.disc(left + dx, top + dy, 15, (246, 246, 240))
                canvas.disc(left + dx, top + dy, 8, yellow)
    for place in range(0, 241, 80):
        canvas.line(place, 0, place, 240, 1.2, (204, 204, 198))
        canvas.line(0, place, 240, place, 1.2, (204, 204, 198))
    return imagefiles.png(canvas)


@cache
def garden():
    """Small: as a mosaic each pixel becomes a block of 8 by 8."""
    canvas = drawn(40, 30, (0, (138, 186, 226)), (0.5, (206, 226, 232)), (0.52, (120, 168, 92)), (1, (70, 120, 62)))
    canvas.disc(33, 5, 3.2, (255, 236, 150))
    canvas.ground(lambda x: 14.5 + 2 * wave(x / 29), (104, 152, 100))
    canvas.ground(lambda x: 18.5, (92, 142, 74))
    for number in range(13):
        x = 2 + number * 3.0
        y = 21 + 2.6 * wave(number / 4.3)
        canvas.line(x, y, x, 30, 0.8, (52, 96, 48))
        canvas.disc(x, y, 1.5, ((222, 70, 84), (246, 196, 80), (232, 134, 178))[number % 3])
    return imagefiles.jpeg_mosaic(canvas)


@cache
def rain():
    canvas = drawn(36, 28, (0, (96, 108, 126)), (0.7, (142, 152, 164)), (1, (84, 92, 104)))
    for number in range(30):
        x = (number * 7 + number // 5) % 36
        y = (number * 11) % 26
        canvas.line(x, y, x - 0.8, y + 3, 0.9, (196, 210, 226), 0.7)
    canvas.line(18, 14, 18, 23.5, 1, (56, 48, 52))
    canvas.line(18, 23.5, 20.5, 23.5, 1, (56, 48, 52))
    canvas.half_disc(18, 15.5, 8.4, (206, 62, 70))
    return imagefiles.jpeg_mosaic(canvas)


@cache
def paw():
    """Without smooth edges: a GIF has few colours."""
    canvas = Canvas(96, 96)
    pads = ((48, 62, 20, 16), (22, 42, 9, 12), (40, 26, 9, 12), (60, 26, 9, 12), (78, 44, 9, 12))
    squares = ((250, 238, 222), (246, 228, 206))
    for y in range(96):
        for x in range(96):
            inside = any(((x - px) / w) ** 2 + ((y - py) / h) ** 2 < 1 for px, py, w, h in pads)
            canvas.rows[y][x] = (196, 112, 84) if inside else squares[(x // 12 + y // 12) % 2]
    return imagefiles.gif(canvas)
