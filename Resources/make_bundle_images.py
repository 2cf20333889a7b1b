#!/usr/bin/env python3
"""Draws the framework's bundle pictures into bundle/ as PNG files, loaded by name.

The pictures are simple enough to be described in code: a splitter grip for browser
columns and the parts of the octave picker (background, keyboard, range edges and fill),
each in a light form and a darker "_pro" form, and each again at twice the pixels as
"NAME@2x.png" for dense screens. Run it again after changing a drawing;
the PNG files are committed so that building needs no Python.
"""
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "bundle")


SCALE = 1  # pixels per point of the pictures being drawn


class Canvas:
    """A picture measured in points; it holds SCALE x SCALE pixels per point."""

    def __init__(self, width, height, fill=(0, 0, 0, 0)):
        self.w, self.h = width * SCALE, height * SCALE
        self.px = [list(fill) for _ in range(self.w * self.h)]

    def _fill(self, x0, y0, x1, y1, colour):  # in pixels
        for y in range(max(0, y0), min(self.h, y1)):
            for x in range(max(0, x0), min(self.w, x1)):
                self.px[y * self.w + x] = list(colour)

    def rect(self, x0, y0, x1, y1, colour):
        self._fill(x0 * SCALE, y0 * SCALE, x1 * SCALE, y1 * SCALE, colour)

    def vgradient(self, x0, y0, x1, y1, top, bottom):
        y0, y1 = y0 * SCALE, y1 * SCALE
        span = max(1, y1 - y0 - 1)
        for y in range(y0, y1):
            t = (y - y0) / span
            colour = tuple(round(a + (b - a) * t) for a, b in zip(top, bottom))
            self._fill(x0 * SCALE, y, x1 * SCALE, y + 1, colour)

    def png(self, name):
        raw = b"".join(b"\x00" + bytes(c for p in self.px[y * self.w:(y + 1) * self.w] for c in p)
                       for y in range(self.h))

        def chunk(tag, data):
            return struct.pack(">I", len(data)) + tag + data + struct.pack(">I", zlib.crc32(tag + data))

        data = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", self.w, self.h, 8, 6, 0, 0, 0))
                + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))
        suffix = "@%dx" % SCALE if SCALE > 1 else ""
        with open(os.path.join(OUT, name + suffix + ".png"), "wb") as f:
            f.write(data)


def splitter(name, light, dark):
    c = Canvas(10, 16)
    c.vgradient(0, 0, 10, 16, light, dark)
    for y in (5, 8, 11):  # three grip lines
        c.rect(3, y, 7, y + 1, (90, 90, 90, 255))
    c.rect(0, 0, 1, 16, (120, 120, 120, 255))
    c.rect(9, 0, 10, 16, (120, 120, 120, 255))
    c.png(name)


def keyboard(name, white_keys, key_w=6, height=22):
    # White keys are translucent, so the octave picker's highlight drawn under the
    # keyboard tints them; lines and black keys are opaque.
    c = Canvas(white_keys * key_w, height, (250, 250, 250, 150))
    for k in range(white_keys):
        c.rect(k * key_w, 0, k * key_w + 1, height, (110, 110, 110, 255))
    # Black keys follow the C D E F G A B pattern: after C, D, F, G and A.
    for k in range(white_keys):
        if k % 7 in (0, 1, 3, 4, 5) and k + 1 < white_keys:
            x = k * key_w + key_w - 2
            c.rect(x, 0, x + 4, height * 3 // 5, (25, 25, 25, 255))
    c.rect(0, height - 1, white_keys * key_w, height, (110, 110, 110, 255))
    c.png(name)


def background(name, width, top, bottom):
    c = Canvas(width, 30)
    c.vgradient(0, 0, width, 30, top, bottom)
    c.rect(0, 0, width, 1, (150, 150, 150, 255))
    c.rect(0, 29, width, 30, (150, 150, 150, 255))
    c.png(name)


def range_parts(suffix, colour):
    edge = (colour[0] // 2, colour[1] // 2, colour[2] // 2, 255)
    fill = (colour[0], colour[1], colour[2], 110)
    left = Canvas(3, 22, fill)
    left.rect(0, 0, 2, 22, edge)
    left.png("octave-L_edge" + suffix)
    right = Canvas(3, 22, fill)
    right.rect(1, 0, 3, 22, edge)
    right.png("octave-R_edge" + suffix)
    middle = Canvas(1, 22, fill)
    middle.rect(0, 0, 1, 2, edge)
    middle.rect(0, 20, 1, 22, edge)
    middle.png("octave-fill" + suffix)


def draw_all():
    splitter("PV_BrowserColumnSplitter", (236, 236, 236, 255), (200, 200, 200, 255))
    splitter("PV_BrowserColumnSplitter_pro", (92, 92, 92, 255), (60, 60, 60, 255))
    keyboard("octave-glyphKeys", 75)
    keyboard("octave-glyphKeys-short", 74)
    background("octave-control-bg", 462, (232, 232, 232, 255), (196, 196, 196, 255))
    background("octave-control-bg-short", 456, (232, 232, 232, 255), (196, 196, 196, 255))
    background("octave-control-bg_pro", 462, (80, 80, 80, 255), (50, 50, 50, 255))
    background("octave-control-bg-short_pro", 456, (80, 80, 80, 255), (50, 50, 50, 255))
    range_parts("", (40, 120, 230))
    range_parts("_pro", (250, 160, 40))


def main():
    global SCALE
    os.makedirs(OUT, exist_ok=True)
    for SCALE in (1, 2):
        draw_all()
    SCALE = 1
    names = sorted(os.listdir(OUT))
    with open(os.path.join(HERE, "PavoBundle.qrc"), "w") as f:
        f.write('<!DOCTYPE RCC>\n<RCC version="1.0">\n  <qresource prefix="/Pavo/Images">\n')
        for n in names:
            f.write('    <file alias="%s">bundle/%s</file>\n' % (n, n))
        f.write("  </qresource>\n</RCC>\n")


if __name__ == "__main__":
    main()
