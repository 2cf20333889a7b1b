#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_decompress: zlib streams, good and damaged."""
import os
import random
import zlib

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "decompress")
os.makedirs(out, exist_ok=True)

rng = random.Random(3)
text = b"the quick brown fox jumps over the lazy dog " * 20
noise = bytes(rng.randrange(256) for _ in range(600))
good = zlib.compress(text)
seeds = {
    "text": good,
    "noise": zlib.compress(noise),
    "level0_stored": zlib.compress(noise[:200], 0),
    "level9_runs": zlib.compress(b"\0" * 20000, 9),
    "empty_stream": zlib.compress(b""),
    "truncated": good[: len(good) // 2],
    "bad_adler": good[:-1] + bytes([good[-1] ^ 1]),
    "raw_deflate": zlib.compressobj(6, zlib.DEFLATED, -15).compress(text) + zlib.compressobj(6, zlib.DEFLATED, -15).flush(),
    "gzip_wrapper": zlib.compressobj(6, zlib.DEFLATED, 31).compress(text),
    "trailing_junk": good + b"junk",
    "one_byte": b"\x78",
    "header_only": b"\x78\x9c",
}
# A dictionary-preset stream, which inflate refuses without the dictionary.
c = zlib.compressobj(zdict=b"quick brown fox")
seeds["needs_dictionary"] = c.compress(text) + c.flush()
for name, payload in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(payload)
