#!/usr/bin/env python3
"""Draws the framework's own pictures (textured window frame, bevel) into images/ and
writes pavo.qrc, which compiles them into PavoUI under :/Pavo/Images/ beside the
other framework pictures, so pv_loadPavoBundleImage finds them by name. Run it after changing a
picture: python3 Resources/make_images.py"""

import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "images")


def write_png(path, width, height, pixel):
    """pixel(x, y) -> (r, g, b, a) with components 0..255."""
    rows = bytearray()
    for y in range(height):
        rows.append(0)  # filter: none
        for x in range(width):
            rows.extend(bytes(max(0, min(255, int(round(c)))) for c in pixel(x, y)))

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    png = b"\x89PNG\r\n\x1a\n"
    png += chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0))
    png += chunk(b"IDAT", zlib.compress(bytes(rows), 9))
    png += chunk(b"IEND", b"")
    with open(path, "wb") as f:
        f.write(png)


def lerp(a, b, t):
    return a + (b - a) * t


def grey(v, a=255):
    return (v, v, v, a)


# The metal: a light band at the top that darkens gently towards the bottom.
TITLE_H = 22
BOTTOM_H = 10
SIDE_W = 6
OUTLINE = 92
HIGHLIGHT = 250


def top_shade(y):
    t = y / (TITLE_H - 1)
    return lerp(232, 200, t)


def body_shade(t):
    return lerp(200, 178, t)


def bottom_shade(y):
    return lerp(178, 164, y / (BOTTOM_H - 1))


def top(x, y):
    if y == 0:
        return grey(OUTLINE)
    if y == 1:
        return grey(HIGHLIGHT)
    return grey(top_shade(y))


def corner_alpha(x, y, w, h, radius, left, upper):
    """Coverage of a rounded corner of radius at the outer corner of a w x h piece."""
    cx = radius if left else w - radius
    cy = radius if upper else h - radius
    px, py = x + 0.5, y + 0.5
    inside_x = px < cx if left else px > cx
    inside_y = py < cy if upper else py > cy
    if not (inside_x and inside_y):
        return 1.0, False
    d = ((px - cx) ** 2 + (py - cy) ** 2) ** 0.5
    cover = max(0.0, min(1.0, radius - d + 0.5))
    edge = abs(d - (radius - 0.5)) < 0.9
    return cover, edge


def top_corner(left):
    def pixel(x, y):
        outer = x == 0 if left else x == SIDE_W - 1
        cover, edge = corner_alpha(x, y, SIDE_W, TITLE_H, 5, left, True)
        if outer or edge:
            r, g, b, _ = grey(OUTLINE)
        else:
            r, g, b, _ = top(x, y)
        return (r, g, b, 255 * cover)
    return pixel


def side(left):
    # Only the outline and a thin highlight: the centre picture shows through the rest.
    def pixel(x, y):
        if (x == 0) if left else (x == SIDE_W - 1):
            return grey(OUTLINE)
        if (x == 1) if left else (x == SIDE_W - 2):
            return grey(255, 90)
        return grey(0, 0)
    return pixel


def bottom(x, y):
    if y == BOTTOM_H - 1:
        return grey(OUTLINE)
    if y == 0:
        return grey(150)
    return grey(bottom_shade(y))


def bottom_corner(left):
    def pixel(x, y):
        outer = x == 0 if left else x == SIDE_W - 1
        cover, edge = corner_alpha(x, y, SIDE_W, BOTTOM_H, 4, left, False)
        if outer or edge:
            r, g, b, _ = grey(OUTLINE)
        else:
            r, g, b, _ = bottom(x, y)
        return (r, g, b, 255 * cover)
    return pixel


def title_ornament(x, y):
    # A soft light spot behind the title, fading out to both sides.
    w = 160
    t = 1.0 - abs((x + 0.5) - w / 2) / (w / 2)
    a = 70 * t * t * (1.0 if 2 <= y < TITLE_H - 1 else 0.0)
    return (255, 255, 255, a)


def centre(x, y):
    return grey(body_shade(y / 63))


def bevel_part(kind):
    def pixel(x, y):
        h = 24
        if y == 0:
            return grey(255, 200)
        if y == h - 1:
            return grey(120)
        shade = lerp(236, 204, y / (h - 1))
        if kind == "left" and x == 0 or kind == "right" and x == 3:
            return grey(150)
        return grey(shade)
    return pixel


PICTURES = [
    ("PV_TexturedTopLeft", SIDE_W, TITLE_H, top_corner(True)),
    ("PV_TexturedTopRight", SIDE_W, TITLE_H, top_corner(False)),
    ("PV_TexturedBottomLeft", SIDE_W, BOTTOM_H, bottom_corner(True)),
    ("PV_TexturedBottomRight", SIDE_W, BOTTOM_H, bottom_corner(False)),
    ("PV_TexturedTitle", 160, TITLE_H, title_ornament),
    ("PV_TexturedTop", 1, TITLE_H, top),
    ("PV_TexturedLeft", SIDE_W, 1, side(True)),
    ("PV_TexturedRight", SIDE_W, 1, side(False)),
    ("PV_TexturedBottom", 1, BOTTOM_H, bottom),
    ("PV_TexturedCenter", 1, 64, centre),
    ("PV_BevelLeft", 4, 24, bevel_part("left")),
    ("PV_BevelMiddle", 1, 24, bevel_part("middle")),
    ("PV_BevelRight", 4, 24, bevel_part("right")),
]


def main():
    os.makedirs(OUT, exist_ok=True)
    entries = []
    for name, w, h, pixel in PICTURES:
        write_png(os.path.join(OUT, name + ".png"), w, h, pixel)
        entries.append('        <file alias="%s.png">images/%s.png</file>' % (name, name))
    with open(os.path.join(HERE, "pavo.qrc"), "w") as f:
        f.write("<!DOCTYPE RCC>\n<RCC version=\"1.0\">\n    <qresource prefix=\"/Pavo/Images\">\n")
        f.write("\n".join(entries) + "\n")
        f.write("    </qresource>\n</RCC>\n")


if __name__ == "__main__":
    main()
