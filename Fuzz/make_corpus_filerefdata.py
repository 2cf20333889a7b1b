#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_filerefdata: file-reference blocks, good and damaged.

A block is: alias length A and URL length U (big-endian 32-bit), a keyed archive of one
FileAlias (its "aliasHandle" holds an alias record, itself a binary property list), and
the URL part (UTF-16LE text after FF FE, or a keyed archive of a URL object).
"""
import os
import plistlib
import struct

here = os.path.dirname(os.path.abspath(__file__))
out = os.path.join(here, "corpus", "filerefdata")
os.makedirs(out, exist_ok=True)
UID = plistlib.UID


def keyed(root_fields, class_name, extra_objects=()):
    objects = ["$null", None] + list(extra_objects)
    class_uid = len(objects)
    objects.append({"$classname": class_name, "$classes": [class_name, "NSObject"]})
    root = dict(root_fields)
    root["$class"] = UID(class_uid)
    objects[1] = root
    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver",
                          "$top": {"root": UID(1)}, "$objects": objects}, fmt=plistlib.FMT_BINARY)


def alias_record(path, mount, below, name="Drums"):
    return plistlib.dumps({"version": 1, "path": path, "mountPoint": mount, "volumePath": below,
                          "volumeName": name, "fsType": "tmpfs", "source": "none",
                          "inode": 123456, "kind": 0, "birth": 0}, fmt=plistlib.FMT_BINARY)


def url_text(url):
    return b"\xff\xfe" + url.encode("utf-16-le")


def url_archive(relative, base=None):
    if base is None:
        return keyed({"NS.relative": UID(2), "NS.base": UID(0)}, "NSURL", [relative])
    # objects: $null, url, relative, base-url, base-string, class
    objects = ["$null", None, relative, None, base]
    class_uid = 5
    objects.append({"$classname": "NSURL", "$classes": ["NSURL", "NSObject"]})
    objects[1] = {"NS.relative": UID(2), "NS.base": UID(3), "$class": UID(class_uid)}
    objects[3] = {"NS.relative": UID(4), "NS.base": UID(0), "$class": UID(class_uid)}
    return plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver",
                          "$top": {"root": UID(1)}, "$objects": objects}, fmt=plistlib.FMT_BINARY)


def block(alias, url):
    return struct.pack(">II", len(alias), len(url)) + alias + url


def dag_bomb(levels):
    """A binary property list whose arrays refer twice to the next one."""
    objs = [bytes([0xA2, i + 1, i + 1]) for i in range(levels)] + [bytes([0x10, 1])]
    body = b"bplist00"
    offsets = []
    for o in objs:
        offsets.append(len(body))
        body += o
    table = len(body)
    body += b"".join(struct.pack(">H", o) for o in offsets)
    return body + b"\0" * 6 + bytes([2, 1]) + struct.pack(">QQQ", len(objs), 0, table)


record = alias_record(b"/nonexistent-pavo/Audio/kick.wav", b"/nonexistent-pavo", b"Audio/kick.wav")
alias = keyed({"aliasHandle": record}, "FileAlias")
url = url_text("file:///nonexistent-pavo/Audio/kick.wav")
seeds = {
    "empty": block(b"", b""),
    "url_text_only": block(b"", url),
    "url_archive": block(b"", url_archive("file:///tmp/some%20where/x.wav")),
    "url_archive_relative": block(b"", url_archive("x.wav", "file:///Audio/Sessions/")),
    "alias_and_text": block(alias, url),
    "alias_and_archive": block(alias, url_archive("file:///tmp/x.wav")),
    "alias_wrong_class": block(keyed({"aliasHandle": record}, "NSString"), b""),
    "alias_not_data": block(keyed({"aliasHandle": UID(0)}, "FileAlias"), b""),
    "alias_record_junk": block(keyed({"aliasHandle": b"junk" * 8}, "FileAlias"), b""),
    "alias_lengths_too_long": struct.pack(">II", 0x7FFFFFFF, 0x7FFFFFFF) + alias,
    "url_length_too_long": struct.pack(">II", 0, 1000) + url,
    "short_header": b"\0\0\0",
    "bomb_alias": block(dag_bomb(40), b""),
    "bomb_url": block(b"", dag_bomb(40)),
    "bomb_record": block(keyed({"aliasHandle": dag_bomb(40)}, "FileAlias"), b""),
    "root_uid_out_of_range": block(plistlib.dumps({"$archiver": "NSKeyedArchiver", "$top": {"root": UID(9)},
                                                  "$objects": ["$null"]}, fmt=plistlib.FMT_BINARY), b""),
}
for name, payload in seeds.items():
    with open(os.path.join(out, name), "wb") as f:
        f.write(payload)
