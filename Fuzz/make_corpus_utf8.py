#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_utf8: [capacity byte][text bytes]."""
import os

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "utf8")
os.makedirs(out, exist_ok=True)

seeds = {
    "ascii": (32, b"plain ASCII text, long enough for the sixteen-byte scan"),
    "accents": (7, "abcd\u20ac caf\u00e9 na\u00efve".encode()),
    "emoji": (9, "music \U0001F3B5 and \u65e5\u672c".encode()),
    "five_six_byte": (12, b"\xF8\x88\x80\x80\x80 \xFC\x84\x80\x80\x80\x80"),
    "lone_continuation": (4, b"\x80\xBFabc\x80"),
    "truncated": (16, b"ok\xE2\x82"),
    "ff_fe": (5, b"\xFF\xC3\xA9\xFE"),
    "overlong": (10, b"\xC0\xAF\xE0\x80\xAF"),
    "surrogate": (10, b"\xED\xA0\x80x"),
    "bom": (3, b"\xEF\xBB\xBFname"),
    "slashes": (ord("/"), b"a/b/c\xC3\xA9/d"),
    "decomposed": (31, b"Cafe\xCC\x81 \xE2\x80\xA2 Menu"),
    "long_name": (255, ("n" * 300).encode()),
    "empty": (0, b""),
}
for name, (capacity, text) in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(bytes([capacity]) + text)
