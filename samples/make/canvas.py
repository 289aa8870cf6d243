"""A small canvas with smooth edges.

Only +, -, *, / and the square root go into it, so that every machine draws alike.
"""

from math import sqrt


def wave(x):
    """A smooth wave of period 1 between -1 and 1, close to a sine."""
    x = (x % 1.0) * 2.0 - 1.0
    return -4.0 * x * (1.0 - abs(x))


def mix(a, b, share):
    return tuple(round(x + (y - x) * share) for x, y in zip(a, b))


class Canvas:
    """RGB pixels, colours as tuples of 0 to 255. A shape is a signed distance: negative inside."""

    def __init__(self, width, height):
        self.width = width
        self.height = height
        self.rows = [[(0, 0, 0)] * width for _ in range(height)]

    def gradient(self, *stops):
        """From top to bottom through @p stops, pairs of height share and colour."""
        for y in range(self.height):
            share = y / (self.height - 1)
            for (start, first), (end, second) in zip(stops, stops[1:]):
                if start <= share <= end:
                    color = mix(first, second, (share - start) / (end - start))
                    self.rows[y] = [color] * self.width
                    break

    def blend(self, x, y, color, share):
        if share >= 1.0:
            self.rows[y][x] = color
        elif share > 0.0:
            self.rows[y][x] = mix(self.rows[y][x], color, share)

    def shape(self, box, distance, color, opacity=1.0):
        left, top, right, bottom = box
        for y in range(max(0, int(top) - 1), min(self.height, int(bottom) + 2)):
            for x in range(max(0, int(left) - 1), min(self.width, int(right) + 2)):
                share = 0.5 - distance(x + 0.5, y + 0.5)
                if share > 0.0:
                    self.blend(x, y, color, min(share, 1.0) * opacity)

    def disc(self, x, y, radius, color, opacity=1.0):
        box = (x - radius, y - radius, x + radius, y + radius)
        self.shape(box, lambda px, py: sqrt((px - x) ** 2 + (py - y) ** 2) - radius, color, opacity)

    def half_disc(self, x, y, radius, color):
        """The upper half."""
        box = (x - radius, y - radius, x + radius, y)
        self.shape(box, lambda px, py: max(sqrt((px - x) ** 2 + (py - y) ** 2) - radius, py - y), color)

    def ellipse(self, x, y, width, height, color, opacity=1.0):
        """@p width and @p height are half axes."""
        smaller = min(width, height)

        def distance(px, py):
            return (sqrt(((px - x) / width) ** 2 + ((py - y) / height) ** 2) - 1.0) * smaller

        self.shape((x - width, y - height, x + width, y + height), distance, color, opacity)

    def line(self, x1, y1, x2, y2, thickness, color, opacity=1.0):
        half = thickness / 2.0
        dx, dy = x2 - x1, y2 - y1
        square = dx * dx + dy * dy

        def distance(px, py):
            along = min(1.0, max(0.0, ((px - x1) * dx + (py - y1) * dy) / square))
            return sqrt((px - x1 - along * dx) ** 2 + (py - y1 - along * dy) ** 2) - half

        box = (min(x1, x2) - half, min(y1, y2) - half, max(x1, x2) + half, max(y1, y2) + half)
        self.shape(box, distance, color, opacity)

    def polygon(self, points, color, opacity=1.0):
        """A convex polygon, its points clockwise on the screen."""
        edges = []
        for (x1, y1), (x2, y2) in zip(points, points[1:] + points[:1]):
            length = sqrt((x2 - x1) ** 2 + (y2 - y1) ** 2)
            edges.append((x1, y1, (x2 - x1) / length, (y2 - y1) / length))

        def distance(px, py):
            return max(dy * (px - x) - dx * (py - y) for x, y, dx, dy in edges)

        across = [x for x, _ in points]
        down = [y for _, y in points]
        self.shape((min(across), min(down), max(across), max(down)), distance, color, opacity)

    def rectangle(self, left, top, right, bottom, color, opacity=1.0):
        self.polygon([(left, top), (right, top), (right, bottom), (left, bottom)], color, opacity)

    def ground(self, height_at, color):
        """Everything below a skyline."""
        for x in range(self.width):
            skyline = height_at(x)
            for y in range(max(0, int(skyline)), self.height):
                self.blend(x, y, color, y + 1 - skyline)
