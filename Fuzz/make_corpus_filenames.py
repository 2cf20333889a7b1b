#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_filenames: [size byte][flags byte][name][0][extension]."""
import os

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "filenames")
os.makedirs(out, exist_ok=True)

seeds = {
    "stereo_wav": (32, 0, b"Kick.R.wav", b".aif"),
    "stereo_cut": (32, 1, b"Drums.L.aif", b".wav"),
    "position": (32, 2, b"Pad(L)", b".sd2"),
    "plain_ext": (32, 4, b"Loop.aiff", b".caf"),
    "hash_number": (32, 0, b"Vox#7.aif", b".aif"),
    "full_31": (32, 7, b"abcdefghijklmnopqrstuvwxyz01234", b".aif"),
    "utf8_cut": (9, 0, "a\u00e9\u20ac\u00e9xyz".encode(), b".w"),
    "emoji": (12, 3, "Take \U0001F3B5.L.wav".encode(), b".mp3"),
    "mac_roman": (16, 0, b"Caf\x8e Mix.wal", b".wav"),
    "only_dots": (5, 7, b"...", b"."),
    "only_suffix": (8, 5, b".L.aif", b".aif"),
    "empty": (1, 0, b"", b""),
    "digits": (32, 0, b"Take.12", b""),
    "aupreset": (32, 0, b"Preset.AUpreset", b".aupreset"),
    "negative_size": (0xF0, 6, b"Name.wav", b".aif"),
    "long_name": (0x7F, 0, b"n" * 300 + b".R.wav", b".aiff"),
    "long_ext": (40, 0, b"x", b".extension-longer-than-the-buffer-" * 2),
    "lead_bytes_only": (9, 0, b"a\xc3" + b"\xcb" * 12 + b"\xe2\xa9\xffz", b".w"),
}
for name, (size, flags, text, ext) in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(bytes([size, flags]) + text + b"\0" + ext)
