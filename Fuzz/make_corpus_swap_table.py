#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_swap_table: [limit selector][table length][table][record]."""
import os

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "swap_table")
os.makedirs(out, exist_ok=True)

seeds = {
    "plain_fields": (0, [7, 15, 0], bytes(range(1, 7))),
    "repeat_byte_count": (0, [1, 15, 3, 0], bytes(range(1, 7))),
    "repeat_word_count": (0, [2, 7, 0, 2, 0], bytes(range(1, 9))),
    "all_codes": (0, list(range(3, 23)) + [0], bytes(range(200))),
    "limit_inside": (100, [7, 7, 12, 18, 0], bytes(range(48))),
    "record_length": (0, [21, 16, 7, 11, 0], bytes([0, 8]) + bytes(range(1, 30))),
    "negative_length": (0, [21, 8, 0], bytes([0x80, 0x00]) + bytes(range(8))),
    "copy_table": (3, [4, 0xFE, 8, 0x83, 2, 0], bytes(range(40))),
    "big_repeat": (254, [2, 20, 1, 0, 0], bytes(range(256))),
}
for name, (selector, table, record) in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(bytes([selector, len(table)]) + bytes(table) + record)
