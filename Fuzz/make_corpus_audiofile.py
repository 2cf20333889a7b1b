#!/usr/bin/env python3
"""Writes the seed corpora of the audio file fuzz targets: small valid files of every
container and sample format the service reads, plus a few with extra chunks, odd sizes
and the RF64 and unknown-size variants.  Run from anywhere; writes Fuzz/corpus/audiofile_*."""
import math
import os
import struct

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")


# Files that recorders allocated ahead end in zeros; the fuzz targets pad an input that
# ends in zeros to many megabytes, so a few hundred stand for them here.
ZERO_TAIL = bytes(512)


def samples(n, width, big):
    out = bytearray()
    for i in range(n):
        v = int(math.sin(i * 0.3) * (2 ** (8 * width - 1) - 1))
        out += v.to_bytes(width, "big" if big else "little", signed=True)
    return bytes(out)


def floats(n, fmt):
    return b"".join(struct.pack(fmt, math.sin(i * 0.2) * 0.8) for i in range(n))


def extended(rate):
    e = math.frexp(rate)
    exponent = e[1] - 1 + 16383
    mantissa = int(math.ldexp(e[0], 64))
    return struct.pack(">HQ", exponent, mantissa)


def chunk_be(cid, body):
    pad = b"\0" if len(body) & 1 else b""
    return cid + struct.pack(">I", len(body)) + body + pad


def chunk_le(cid, body):
    pad = b"\0" if len(body) & 1 else b""
    return cid + struct.pack("<I", len(body)) + body + pad


def aiff(channels, bits, data, comp=None, extra=b""):
    width = (bits + 7) // 8
    frames = len(data) // (width * channels) if comp not in (b"fl32", b"fl64", b"ima4") else len(data) // (
        {b"fl32": 4, b"fl64": 8, b"ima4": 34}[comp] * channels)
    comm = struct.pack(">hIh", channels, frames, bits) + extended(44100)
    form = b"AIFF"
    body = b""
    if comp is not None:
        form = b"AIFC"
        comm += comp + b"\x00\x00"
        body += chunk_be(b"FVER", struct.pack(">I", 0xA2805140))
    body += chunk_be(b"COMM", comm) + extra + chunk_be(b"SSND", struct.pack(">II", 0, 0) + data)
    return b"FORM" + struct.pack(">I", len(body) + 4) + form + body


def wave(tag, channels, bits, data, extensible=False, extra=b"", rf64=False, mask=None):
    width = (bits + 7) // 8
    align = width * channels
    fmt = struct.pack("<HHIIHH", 0xFFFE if extensible else tag, channels, 48000, 48000 * align, align, width * 8)
    if extensible:
        guid = struct.pack("<H", tag) + bytes([0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71])
        fmt += struct.pack("<HHI", 22, bits, (1 << channels) - 1 if mask is None else mask) + guid
    if rf64:
        ds64 = struct.pack("<QQQI", 0, len(data), len(data) // align, 0)
        body = chunk_le(b"ds64", ds64) + chunk_le(b"fmt ", fmt) + extra + b"data" + struct.pack("<I", 0xFFFFFFFF) + data
        return b"RF64" + struct.pack("<I", 0xFFFFFFFF) + b"WAVE" + body
    body = chunk_le(b"fmt ", fmt) + extra + chunk_le(b"data", data)
    return b"RIFF" + struct.pack("<I", len(body) + 4) + b"WAVE" + body


def caf(channels, bits, data, is_float=False, little=False, unknown=False, extra=b""):
    width = bits // 8
    flags = (1 if is_float else 0) | (2 if little else 0)
    desc = struct.pack(">dIIIIII", 44100.0, int.from_bytes(b"lpcm", "big"), flags, width * channels, 1, channels, bits)
    size = 0xFFFFFFFFFFFFFFFF if unknown else len(data) + 4
    return (b"caff" + struct.pack(">HH", 1, 0) + b"desc" + struct.pack(">q", 32) + desc + extra
            + b"data" + struct.pack(">Q", size) + struct.pack(">I", 0) + data)


def caf_chunk(cid, body):
    return cid + struct.pack(">q", len(body)) + body


def resource_fork(width, rate, channels, more=()):
    resources = [(b"STR ", 1000, b"sample-size", bytes([len(str(width))]) + str(width).encode()),
                 (b"STR ", 1001, b"sample-rate", bytes([len(rate)]) + rate.encode()),
                 (b"STR ", 1002, b"channels", bytes([len(str(channels))]) + str(channels).encode())]
    resources += list(more)
    types = []
    for r in resources:
        if r[0] not in types:
            types.append(r[0])
    data = b""
    refs = b""
    names = b""
    type_list = struct.pack(">H", len(types) - 1)
    ref_start = 2 + 8 * len(types)
    for t in types:
        members = [r for r in resources if r[0] == t]
        type_list += t + struct.pack(">HH", len(members) - 1, ref_start + len(refs))
        for _, rid, name, payload in members:
            refs += struct.pack(">hH", rid, len(names)) + bytes([0]) + len(data).to_bytes(3, "big") + b"\0\0\0\0"
            names += bytes([len(name)]) + name
            data += struct.pack(">I", len(payload)) + payload
    map_body = type_list + refs + names
    map_len = 28 + len(map_body)
    map_off = 256 + len(data)
    header = struct.pack(">IIII", 256, map_off, len(data), map_len)
    fmap = header + b"\0" * 8 + struct.pack(">HH", 28, 28 + len(type_list) + len(refs)) + map_body
    return header + b"\0" * 240 + data + fmap


def apple_double(fork):
    head = struct.pack(">II", 0x00051607, 0x00020000) + b"\0" * 16 + struct.pack(">H", 2)
    head += struct.pack(">III", 9, 50, 32) + struct.pack(">III", 2, 82, len(fork))
    return head + b"Sd2fPTul" + b"\0" * 24 + fork


def write(name, files):
    folder = os.path.join(ROOT, name)
    os.makedirs(folder, exist_ok=True)
    for fname, content in files.items():
        with open(os.path.join(folder, fname), "wb") as f:
            f.write(content)


def main():
    marker = chunk_be(b"basc", struct.pack(">IIhhhhh", 1, 2, 3, 4, 5, 6, 7) + b"\0" * 64)
    write("audiofile_aiff", {
        "aiff16_stereo": aiff(2, 16, samples(64, 2, True)),
        "aiff24_mono": aiff(1, 24, samples(40, 3, True)),
        "aiff8": aiff(1, 8, samples(30, 1, True)),
        "aiff20": aiff(2, 20, samples(20, 3, True)),
        "aiff_chunks": aiff(1, 16, samples(33, 2, True), extra=marker + chunk_be(b"NAME", b"odd")),
        "aifc_none": aiff(2, 16, samples(32, 2, True), comp=b"NONE"),
        "aifc_sowt": aiff(2, 16, samples(32, 2, False), comp=b"sowt"),
        "aifc_sowt24": aiff(1, 24, samples(21, 3, False), comp=b"sowt"),
        "aifc_fl32": aiff(1, 32, floats(32, ">f"), comp=b"fl32"),
        "aifc_fl64": aiff(2, 64, floats(32, ">d"), comp=b"fl64"),
        "aifc_in32": aiff(1, 32, samples(16, 4, True), comp=b"in32"),
        "aifc_ulaw": aiff(1, 8, bytes(range(40)), comp=b"ulaw"),
        "aiff_empty": aiff(1, 16, b""),
        "aiff_zero_padded": aiff(2, 16, samples(32, 2, True), extra=marker) + ZERO_TAIL,
        "aifc_ima4": aiff(1, 0, bytes(34 * 2), comp=b"ima4"),
    })
    write("audiofile_wave", {
        "pcm16": wave(1, 2, 16, samples(64, 2, False)),
        "pcm8": wave(1, 1, 8, bytes((i * 9) & 255 for i in range(50))),
        "pcm24": wave(1, 2, 24, samples(30, 3, False)),
        "pcm32": wave(1, 1, 32, samples(16, 4, False)),
        "float": wave(3, 2, 32, floats(32, "<f")),
        "double": wave(3, 1, 64, floats(16, "<d")),
        "extensible24": wave(1, 6, 24, samples(36, 3, False), extensible=True),
        "extensible20": wave(1, 2, 20, samples(20, 3, False), extensible=True),
        "extensible_float": wave(3, 2, 32, floats(20, "<f"), extensible=True),
        "chunks": wave(1, 1, 16, samples(31, 2, False), extra=chunk_le(b"LIST", b"INFOabc") + chunk_le(b"basc", b"x" * 82)),
        "rf64": wave(1, 2, 16, samples(40, 2, False), rf64=True),
        "alaw": wave(6, 1, 8, bytes(range(30))),
        "zero_padded": wave(1, 2, 16, samples(32, 2, False), extra=chunk_le(b"basc", b"x" * 82)) + ZERO_TAIL,
        "mono_lfe": wave(1, 1, 16, samples(20, 2, False), extensible=True, mask=0x8),
    })
    write("audiofile_caf", {
        "be16": caf(2, 16, samples(64, 2, True)),
        "le24": caf(1, 24, samples(30, 3, False), little=True),
        "le32": caf(2, 32, samples(16, 4, False), little=True),
        "float_le": caf(2, 32, floats(32, "<f"), is_float=True, little=True),
        "double_be": caf(1, 64, floats(16, ">d"), is_float=True),
        "unknown_size": caf(1, 16, samples(40, 2, True), unknown=True),
        "chunks": caf(1, 8, samples(20, 1, True), extra=caf_chunk(b"info", b"\0\0\0\1key\0value\0") + caf_chunk(b"basc", b"y" * 82)),
        "zero_padded": caf(2, 16, samples(32, 2, True)) + ZERO_TAIL,
    })
    fork16 = resource_fork(2, "44100.000000", 2)
    write("audiofile_sd2", {
        "appledouble16": apple_double(fork16),
        "bare16": fork16,
        "appledouble24_mono": apple_double(resource_fork(3, "48000.000000", 1)),
        "with_resources": apple_double(resource_fork(2, "44100", 1, [(b"basc", 128, b"", b"z" * 82),
                                                                   (b"sdML", 1000, b"Marker", b"\0" * 16)])),
    })


if __name__ == "__main__":
    main()
