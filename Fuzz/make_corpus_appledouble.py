#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_appledouble: AppleDouble sidecar files, good and bad."""
import os
import struct

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "appledouble")
os.makedirs(out, exist_ok=True)


def header(entries, magic=0x00051607, version=0x00020000):
    head = struct.pack(">II16sH", magic, version, b"Mac OS X        ", len(entries))
    return head + b"".join(struct.pack(">III", *e) for e in entries)


finder = b"WAVEPvFo" + struct.pack(">H", 0x4000) + bytes(22)
one = header([(9, 38, 32)]) + finder
two = header([(2, 82, 4), (9, 50, 32)]) + finder + b"rsrc"
# Finder information followed by extended attributes, as Mac OS X writes it.
with_attrs = header([(9, 50, 3570), (2, 3620, 0)]) + finder + b"\0\0ATTR" + bytes(3532)

seeds = {
    "one_entry": one,
    "two_entries": two,
    "with_attrs": with_attrs,
    "resource_only": header([(2, 38, 4)]) + b"rsrc",
    "bad_magic": header([(9, 38, 32)], magic=0x00051600) + finder,
    "short_entry": header([(9, 38, 16)]) + finder,
    "offset_past_end": header([(9, 4000, 32)]) + finder,
    "offset_wraps": header([(9, 0xFFFFFFF0, 32)]) + finder,
    "many_entries": header([(1, 0, 0)] * 3) + struct.pack(">H", 0xFFFF),
    "count_too_big": header([]) [:-2] + struct.pack(">H", 0xFFFF) + bytes(40),
    "truncated_header": one[:20],
    "empty": b"",
}
for name, data in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(data)
