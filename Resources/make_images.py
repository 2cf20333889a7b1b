#!/usr/bin/env python3
"""Draws the framework's own pictures (textured window frame, bevel) into images/ and
writes pavo.qrc, which compiles them into PavoUI under :/Pavo/Images/ beside the
other framework pictures, so pv_loadPavoBundleImage finds them by name. Every picture is
drawn twice: light metal for light palettes, and "<name>_dark" in dark greys for dark
palettes (pv_loadPavoBundleImage picks it when the application palette is dark). Run it
after changing a picture: python3 Resources/make_images.py"""

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


# The metal: a light band at the top that darkens gently towards the bottom. A theme gives
# the greys; everything else (sizes, shapes) is shared by both.
TITLE_H = 22
BOTTOM_H = 10
SIDE_W = 6

LIGHT = {
    "outline": 92, "highlight": (250, 255), "side_highlight": (255, 90),
    "title": (232, 200), "body": (200, 178), "bottom": (178, 164), "bottom_top": 150,
    "ornament": ((255, 255, 255), 70),
    "bevel": (236, 204), "bevel_top": (255, 200), "bevel_bottom": 120, "bevel_edge": 150,
    "well": (196, 222), "well_line": 120, "well_glow": (255, 150),
}
DARK = {
    "outline": 14, "highlight": (255, 40), "side_highlight": (255, 22),
    "title": (70, 56), "body": (54, 46), "bottom": (46, 40), "bottom_top": 30,
    "ornament": ((255, 255, 255), 18),
    "bevel": (74, 56), "bevel_top": (255, 45), "bevel_bottom": 16, "bevel_edge": 30,
    "well": (36, 46), "well_line": 16, "well_glow": (255, 40),
}
T = LIGHT  # the theme being drawn


def top_shade(y):
    t = y / (TITLE_H - 1)
    return lerp(*T["title"], t)


def body_shade(t):
    return lerp(*T["body"], t)


def bottom_shade(y):
    return lerp(*T["bottom"], y / (BOTTOM_H - 1))


def over(base, colour):
    """colour (grey, alpha) laid over an opaque grey base."""
    v, a = colour
    return grey(lerp(base, v, a / 255))


def top(x, y):
    if y == 0:
        return grey(T["outline"])
    if y == 1:
        return over(top_shade(1), T["highlight"])
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
            r, g, b, _ = grey(T["outline"])
        else:
            r, g, b, _ = top(x, y)
        return (r, g, b, 255 * cover)
    return pixel


def side(left):
    # Only the outline and a thin highlight: the centre picture shows through the rest.
    def pixel(x, y):
        if (x == 0) if left else (x == SIDE_W - 1):
            return grey(T["outline"])
        if (x == 1) if left else (x == SIDE_W - 2):
            return grey(*T["side_highlight"])
        return grey(0, 0)
    return pixel


def bottom(x, y):
    if y == BOTTOM_H - 1:
        return grey(T["outline"])
    if y == 0:
        return grey(T["bottom_top"])
    return grey(bottom_shade(y))


def bottom_corner(left):
    def pixel(x, y):
        outer = x == 0 if left else x == SIDE_W - 1
        cover, edge = corner_alpha(x, y, SIDE_W, BOTTOM_H, 4, left, False)
        if outer or edge:
            r, g, b, _ = grey(T["outline"])
        else:
            r, g, b, _ = bottom(x, y)
        return (r, g, b, 255 * cover)
    return pixel


def title_ornament(x, y):
    # A soft light spot behind the title, fading out to both sides.
    w = 160
    t = 1.0 - abs((x + 0.5) - w / 2) / (w / 2)
    rgb, alpha = T["ornament"]
    a = alpha * t * t * (1.0 if 2 <= y < TITLE_H - 1 else 0.0)
    return rgb + (a,)


def centre(x, y):
    return grey(body_shade(y / 63))


def bevel_part(kind):
    def pixel(x, y):
        h = 24
        shade = lerp(*T["bevel"], y / (h - 1))
        if y == 0:
            return over(shade, T["bevel_top"])
        if y == h - 1:
            return grey(T["bevel_bottom"])
        if kind == "left" and x == 0 or kind == "right" and x == 3:
            return grey(T["bevel_edge"])
        return grey(shade)
    return pixel


def bevel_well(x, y):
    """A sunken field with rounded ends, drawn whole: the bevel's picture for a fixed
    place (a counter or a status field inside the bar)."""
    w, h, r = 160, 24, 8
    top_y, bottom_y = 3, h - 3
    cx = min(max(x + 0.5, r), w - r)
    cy = min(max(y + 0.5, top_y + r), bottom_y - r)
    d = ((x + 0.5 - cx) ** 2 + (y + 0.5 - cy) ** 2) ** 0.5
    if y + 0.5 < top_y or y + 0.5 > bottom_y:
        d = max(d, r + 1)
    cover = max(0.0, min(1.0, r - d + 0.5))
    if cover <= 0:
        return grey(0, 0)
    t = (y - top_y) / (bottom_y - top_y)
    v = lerp(*T["well"], t)
    if d > r - 1.2:
        v = T["well_line"]  # the rim
    elif y + 0.5 > bottom_y - 2:
        v = lerp(v, T["well_glow"][0], T["well_glow"][1] / 255 * 0.5)
    return (v, v, v, 255 * cover)


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
    ("PV_BevelWell", 160, 24, bevel_well),
]


def main():
    global T
    os.makedirs(OUT, exist_ok=True)
    entries = []
    for theme, suffix in ((LIGHT, ""), (DARK, "_dark")):
        T = theme
        for name, w, h, pixel in PICTURES:
            file = name + suffix + ".png"
            write_png(os.path.join(OUT, file), w, h, pixel)
            entries.append('        <file alias="%s">images/%s</file>' % (file, file))
    with open(os.path.join(HERE, "pavo.qrc"), "w") as f:
        f.write("<!DOCTYPE RCC>\n<RCC version=\"1.0\">\n    <qresource prefix=\"/Pavo/Images\">\n")
        f.write("\n".join(entries) + "\n")
        f.write("    </qresource>\n</RCC>\n")


if __name__ == "__main__":
    main()
