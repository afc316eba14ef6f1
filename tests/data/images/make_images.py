#!/usr/bin/env python3
"""Writes the images of this directory from docs/image_format.md, with no code of the library.

The generators stand at seed 1: the word 1 and the multiplier, which is also the second word they give.
"""
import pathlib
import struct

MCG31M1 = (0x100000, struct.pack("<II", 1, 1132489760))
MCG59 = (0x400000, struct.pack("<QQ", 1, 302875106592253))
PRIVATE = (7, (0, 0), b"private block")
KEYED = (9, (0x1122334455667788, 0x99AABBCCDDEEFF00), bytes(range(40)))
EMPTY = (11, (0, 0), b"")


def chunk_record(chunk, with_key=True):
    number, key, data = chunk
    return struct.pack("<I", number) + (struct.pack("<QQ", *key) if with_key else b"") + \
        struct.pack("<I", len(data)) + data


def version_2(generator, chunks=()):
    number, state = generator
    return struct.pack("<B3xIH2xIH2xI", 2, 0x00474E52, 24, len(state), len(chunks), number) + state + \
        b"".join(map(chunk_record, chunks))


def version_1(generator, words, chunks=(), with_key=True):
    number, state = generator
    return struct.pack("<IIHHHHI", *words, 0, len(state), len(chunks), 0, number) + state + \
        b"".join(chunk_record(chunk, with_key) for chunk in chunks)


IMAGES = {
    "mcg31m1_version2": version_2(MCG31M1),
    "mcg59_version2_chunks": version_2(MCG59, [PRIVATE, KEYED, EMPTY]),
    "mcg31m1_version1_magic_first": version_1(MCG31M1, (0x01474E52, 1)),
    "mcg59_version1_keys": version_1(MCG59, (1, 0x00474E52), [KEYED, PRIVATE]),
    "mcg59_version1_no_keys": version_1(MCG59, (0, 0x00474E52), [KEYED, PRIVATE], with_key=False),
}

for name, content in IMAGES.items():
    (pathlib.Path(__file__).parent / f"{name}.img").write_bytes(content)
