#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_keyboard_config: keyboard configuration files in the
format of /etc/default/keyboard, well-formed and broken."""
import pathlib

SEEDS = {
    "debian": b'# KEYBOARD CONFIGURATION FILE\n\n# Consult the keyboard(5) manual page.\n\n'
              b'XKBMODEL="pc105"\nXKBLAYOUT="de"\nXKBVARIANT="nodeadkeys"\nXKBOPTIONS=""\n\n'
              b'BACKSPACE="guess"\n',
    "lists": b'XKBLAYOUT="us,ru"\nXKBVARIANT=",phonetic"\nXKBOPTIONS="grp:alt_shift_toggle"\n',
    "single_quotes_crlf": b"export XKBLAYOUT='fr'\r\nXKBVARIANT='bepo'\r\n",
    "unquoted_comment": b"XKBLAYOUT=us # default\nXKBVARIANT=intl\n",
    "unterminated": b'XKBLAYOUT="se\nXKBVARIANT="\n',
    "empty_values": b'XKBLAYOUT=""\nXKBVARIANT=\n=\n==\n"\n',
    "binary": bytes(range(256)) + b"\nXKBLAYOUT=\x00\xff,\xc3\xa9\n",
}

def main():
    out = pathlib.Path(__file__).resolve().parent / "corpus" / "keyboard_config"
    out.mkdir(parents=True, exist_ok=True)
    for name, data in SEEDS.items():
        (out / name).write_bytes(data)

if __name__ == "__main__":
    main()
