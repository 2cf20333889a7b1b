#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_pmname: a form byte (odd = 2-byte lengths, even =
4-byte lengths), then names as PMName::ToFile writes them, good and damaged."""
import os
import struct

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "pmname")
os.makedirs(out, exist_ok=True)


def short(text):
    return struct.pack("<h", len(text)) + text


def long(text):
    return struct.pack("<i", len(text)) + text


seeds = {
    "short_names": b"\x01" + short(b"Drums") + short(b":Kits:Acoustic:") + short(b""),
    "long_names": b"\x00" + long(b"Group:Sub:Leaf") + long(b"") + long(b"a//b/"),
    "short_cached": b"\x07" + short(b"abc") * 5,
    "long_cached": b"\x0a" + long(b"x" * 300),
    "short_negative": b"\x01" + b"\xff\xff",
    "short_0x8000": b"\x01" + b"\x00\x80",
    "long_negative": b"\x00" + b"\xfe\xff\xff\xff",
    "long_huge": b"\x00" + b"\xff\xff\xff\x7f" + b"abc",
    "short_truncated": b"\x01" + b"\x10\x00" + b"abc",
    "half_length": b"\x00" + b"\x05",
    "empty": b"\x01",
}
for name, payload in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(payload)
