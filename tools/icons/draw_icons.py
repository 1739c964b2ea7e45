#!/usr/bin/env python3
"""Draws the library's icons and writes them as .ico files (16x16 and 32x32, 32-bit BGRA).

    tools/icons/draw_icons.py [OUTPUT_DIR]      (default: resources/icons)

Every shape is a signed distance function in a unit square (y grows downwards); each pixel
is sampled on an 8x8 grid, so edges are anti-aliased and the output is the same on every
run. Only the standard library is used.
"""

import math
import os
import struct
import sys

SIZES = (16, 32)
SUBSAMPLES = 8


def mix(a, b, t):
    return tuple(a[i] + (b[i] - a[i]) * t for i in range(4))


def hex_color(text, alpha=255):
    return (int(text[1:3], 16), int(text[3:5], 16), int(text[5:7], 16), alpha)


# --- signed distances (negative inside) -----------------------------------------------------


def disc(cx, cy, r):
    return lambda x, y: math.hypot(x - cx, y - cy) - r


def segment(ax, ay, bx, by, half_width):
    def distance(x, y):
        dx, dy = bx - ax, by - ay
        t = max(0.0, min(1.0, ((x - ax) * dx + (y - ay) * dy) / (dx * dx + dy * dy)))
        return math.hypot(x - (ax + t * dx), y - (ay + t * dy)) - half_width

    return distance


def polyline(points, half_width):
    parts = [segment(*points[i], *points[i + 1], half_width) for i in range(len(points) - 1)]
    return lambda x, y: min(p(x, y) for p in parts)


def triangle(a, b, c):
    # Convex polygon: the largest signed distance to its edge lines (exact inside).
    pts = [a, b, c]
    area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])
    sign = 1.0 if area > 0 else -1.0

    def distance(x, y):
        worst = -1e9
        for i in range(3):
            px, py = pts[i]
            qx, qy = pts[(i + 1) % 3]
            ex, ey = qx - px, qy - py
            length = math.hypot(ex, ey)
            # Outward normal for counter-clockwise (in y-down space: area sign) order.
            d = -sign * ((x - px) * ey - (y - py) * ex) / length
            worst = max(worst, -d)
        return worst

    return distance


def polar(cx, cy, r, angle):
    # Angle in degrees, clockwise from twelve o'clock.
    a = math.radians(angle)
    return (cx + r * math.sin(a), cy - r * math.cos(a))


def arc(cx, cy, r, half_width, start, span):
    tail = polar(cx, cy, r, start)
    head = polar(cx, cy, r, start + span)

    def distance(x, y):
        angle = math.degrees(math.atan2(x - cx, -(y - cy))) % 360.0
        if (angle - start) % 360.0 <= span:
            return abs(math.hypot(x - cx, y - cy) - r) - half_width
        return min(math.hypot(x - tail[0], y - tail[1]), math.hypot(x - head[0], y - head[1])) - \
            half_width

    return distance


def union(*shapes):
    return lambda x, y: min(s(x, y) for s in shapes)


# --- layers ----------------------------------------------------------------------------------


class Layer:
    """A shape filled with a colour (or a function of the point), with an optional outline."""

    def __init__(self, shape, fill, outline=None, outline_px=0.0):
        self.shape = shape
        self.fill = fill
        self.outline = outline
        self.outline_px = outline_px

    def colour_at(self, x, y, pixel):
        d = self.shape(x, y)
        if d <= 0:
            return self.fill(x, y) if callable(self.fill) else self.fill
        if self.outline and d <= self.outline_px * pixel:
            return self.outline
        return None


def render(layers, size):
    """Rows of premultiplied-then-unpremultiplied RGBA tuples, top row first."""
    pixel = 1.0 / size
    rows = []
    for py in range(size):
        row = []
        for px in range(size):
            acc = [0.0, 0.0, 0.0, 0.0]
            for sy in range(SUBSAMPLES):
                for sx in range(SUBSAMPLES):
                    x = (px + (sx + 0.5) / SUBSAMPLES) * pixel
                    y = (py + (sy + 0.5) / SUBSAMPLES) * pixel
                    colour = (0, 0, 0, 0)
                    for layer in layers:  # painter's order: later layers on top
                        c = layer.colour_at(x, y, pixel)
                        if c is not None:
                            a = c[3] / 255.0
                            colour = tuple(c[i] * a + colour[i] * (1 - a) for i in range(3)) + \
                                (c[3] + colour[3] * (1 - a),)
                    a = colour[3] / 255.0
                    for i in range(3):
                        acc[i] += colour[i] * a
                    acc[3] += a
            n = SUBSAMPLES * SUBSAMPLES
            alpha = acc[3] / n
            if alpha <= 0:
                row.append((0, 0, 0, 0))
            else:
                row.append(tuple(int(round(acc[i] / n / alpha)) for i in range(3)) +
                           (int(round(alpha * 255)),))
        rows.append(row)
    return rows


# --- the icons -------------------------------------------------------------------------------

BLUE_TOP = hex_color("#3A8EE6")
BLUE_BOTTOM = hex_color("#1C4F9E")
DARK = hex_color("#13304F", 230)
WHITE = hex_color("#FFFFFF")
GREEN = hex_color("#3DAA4E")
SKY = hex_color("#2D86D9")


def done_icon():
    """A blue disc with a white tick: the tool's icon and the sign of a finished job."""
    def gradient(_x, y):
        return mix(BLUE_TOP, BLUE_BOTTOM, max(0.0, min(1.0, (y - 0.06) / 0.88)))

    return [
        Layer(disc(0.5, 0.5, 0.44), gradient, DARK, 1.0),
        Layer(polyline([(0.27, 0.52), (0.43, 0.68), (0.74, 0.34)], 0.065), WHITE),
    ]


def sync_frame(rotation):
    """Two arrows chasing each other round a circle, turned by `rotation` degrees."""
    layers = []
    radius, half_width = 0.29, 0.085
    for start, colour in ((rotation + 200.0, SKY), (rotation + 20.0, GREEN)):
        span = 100.0
        end = start + span
        base_in = polar(0.5, 0.5, radius - 0.155, end)
        base_out = polar(0.5, 0.5, radius + 0.155, end)
        tip = polar(0.5, 0.5, radius, end + 38.0)
        shape = union(arc(0.5, 0.5, radius, half_width, start % 360.0, span),
                      triangle(base_in, base_out, tip))
        layers.append(Layer(shape, colour, DARK, 1.0))
    return layers


ICONS = {
    "done.ico": done_icon,                      # 6007
    "sync1.ico": lambda: sync_frame(0.0),       # 6022
    "sync2.ico": lambda: sync_frame(60.0),      # 6040
    "sync3.ico": lambda: sync_frame(120.0),     # 6041
}

# --- the .ico format -------------------------------------------------------------------------


def dib(rows):
    size = len(rows)
    header = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    pixels = b"".join(bytes((r, g, b, a)[i] for i in (2, 1, 0, 3))
                      for row in reversed(rows) for (r, g, b, a) in row)
    stride = ((size + 31) // 32) * 4
    mask = bytearray()
    for row in reversed(rows):
        bits = bytearray(stride)
        for x, (_r, _g, _b, a) in enumerate(row):
            if a == 0:
                bits[x // 8] |= 0x80 >> (x % 8)
        mask += bits
    return header + pixels + bytes(mask)


def ico(images):
    entries = b""
    data = b""
    offset = 6 + 16 * len(images)
    for rows in images:
        blob = dib(rows)
        size = len(rows)
        entries += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(blob),
                               offset + len(data))
        data += blob
    return struct.pack("<HHH", 0, 1, len(images)) + entries + data


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else os.path.join(
        os.path.dirname(os.path.abspath(__file__)), "..", "..", "resources", "icons")
    os.makedirs(out, exist_ok=True)
    out = os.path.normpath(out)
    for name, draw in ICONS.items():
        layers = draw()
        with open(os.path.join(out, name), "wb") as f:
            f.write(ico([render(layers, size) for size in SIZES]))
        print(os.path.join(out, name))


if __name__ == "__main__":
    main()
