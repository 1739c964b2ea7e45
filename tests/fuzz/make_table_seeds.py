#!/usr/bin/env python3
"""Writes the seed corpus of fuzz_table (tests/fuzz/corpus/fuzz_table/).

The table file is laid out here from its description, independently of the library's own
writer. Each seed starts with fuzz_table's mode byte: 0x00 a version-2 body, 0x02 a whole
file (header and body) loaded through the in-memory file system.
Usage: tests/fuzz/make_table_seeds.py
"""
import os
import struct

MAGIC = b"HV Quellanbrook LocalTable File\0"
BODY_V2 = b"\x00"
WHOLE_FILE = b"\x02"


def header(version, quota=0, used=0, free=0):
    return MAGIC + struct.pack("<III", 68, version, 0) + struct.pack("<QQQ", quota, used, free)


def record(name, size=0, local_time=0, server_time=0, attributes=0x20):
    raw = name.encode("ascii") + b"\0"
    return (struct.pack("<IIII", 48 + len(raw), attributes, size >> 32, size & 0xFFFFFFFF) +
            struct.pack("<QQ", local_time, server_time) + bytes(16) + raw)


def block(name, files=(), folders=()):
    """A folder block: `files` are records, `folders` are child blocks."""
    raw = name.encode("ascii") + b"\0"
    records = b"".join(files)
    records_offset = 12 + 4 * len(folders) + len(raw)
    offsets, at = [], records_offset + len(records)
    for child in folders:
        offsets.append(at)
        at += len(child)
    return (struct.pack("<III", records_offset, len(folders), len(files)) +
            b"".join(struct.pack("<I", o) for o in offsets) + raw + records + b"".join(folders))


def small_tree(server_time):
    docs = block("docs", [record("c.txt", 5, 1, server_time)], [block("empty")])
    return block("", [record("a.txt", 1 << 32, 2, server_time), record("b.jpg", 7, 3, 0)], [docs])


def deep_tree(levels):
    inner = block("d", [record("f", 1)])
    for _ in range(levels - 1):
        inner = block("d", folders=[inner])
    return block("", folders=[inner])


def main():
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "fuzz_table")
    os.makedirs(folder, exist_ok=True)
    filetime = 126256467060000000  # 2001-02-03 04:05:06 UTC
    milliseconds = 981173106000  # the same moment, as version 1 records it
    seeds = {
        "empty_root": BODY_V2 + block(""),
        "small_tree": WHOLE_FILE + header(2, 1 << 31, 12345, (1 << 31) - 12345) +
                      small_tree(filetime),
        "small_tree_body": BODY_V2 + small_tree(filetime),
        "version_1": WHOLE_FILE + header(1) + small_tree(milliseconds),
        # The deepest tree a load accepts: folders 127 levels below the root.
        "deep_tree": BODY_V2 + deep_tree(127),
        # One level more, which a load refuses.
        "too_deep": BODY_V2 + deep_tree(128),
    }
    for name, data in seeds.items():
        with open(os.path.join(folder, name), "wb") as out:
            out.write(data)


if __name__ == "__main__":
    main()
