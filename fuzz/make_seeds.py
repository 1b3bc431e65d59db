#!/usr/bin/env python3
"""Makes the inputs that a fuzz target starts from: make_seeds.py TARGET FOLDER"""

import random
import struct
import sys
import zlib
from pathlib import Path

PHOTOS = Path(__file__).resolve().parent.parent / "tests" / "photos"


def numbers(target):
    """For targets that read numbers: every operation with every kind of picture."""
    generator = random.Random(target)
    lengths = (1, 4, 16, 40, 100, 400)
    for i in range(64):
        # Few values at first, so that numbers stay small and choices repeat; then any.
        limit = (4, 32, 256)[i // len(lengths) % 3]
        # The first byte chooses the operation.
        yield bytes([i % 16]) + bytes(generator.randrange(limit) for _ in range(lengths[i % len(lengths)]))


def exif_blocks():
    """TIFF with an orientation, sizes in the EXIF directory, and a thumbnail at its end."""
    for order, mark in (("<", b"II"), (">", b"MM")):
        for orientation in (1, 6, 9):
            exif_at, thumbnail_at = 8 + 2 + 2 * 12 + 4, 8 + 2 + 2 * 12 + 4 + 2 + 2 * 12 + 4
            data_at = thumbnail_at + 2 + 2 * 12 + 4
            yield (mark + struct.pack(order + "HI", 42, 8) + struct.pack(order + "H", 2) +
                   struct.pack(order + "HHIHH", 0x0112, 3, 1, orientation, 0) +
                   struct.pack(order + "HHII", 0x8769, 4, 1, exif_at) + struct.pack(order + "I", thumbnail_at) +
                   struct.pack(order + "H", 2) + struct.pack(order + "HHII", 0xA002, 4, 1, 4000) +
                   struct.pack(order + "HHIHH", 0xA003, 3, 1, 3000, 0) + bytes(4) +
                   struct.pack(order + "H", 2) + struct.pack(order + "HHII", 0x0201, 4, 1, data_at) +
                   struct.pack(order + "HHII", 0x0202, 4, 1, 6) + bytes(4) + b"\xff\xd8\xff\xd9\0\0")


def png(width, height, colour, channels, extra):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    # A bright sky over a dark ground.
    rows = b"".join(b"\0" + bytes([200 if y < height // 2 else 40]) * (width * channels) for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, colour, 0, 0, 0)) +
            b"".join(chunk(kind, data) for kind, data in extra) + chunk(b"IDAT", zlib.compress(rows)) +
            chunk(b"IEND", b""))


def webp_lossless(width, height):
    """The data of a VP8L chunk: a bright and a dark half, told apart by a bit of green a pixel."""
    bits = []

    def put(value, count):
        bits.extend(value >> i & 1 for i in range(count))

    for value, count in ((0x2F, 8), (width - 1, 14), (height - 1, 14), (0, 1 + 3)):
        put(value, count)
    put(0, 3)  # no transform, no colour cache, no groups of codes
    put(0b111, 3)  # a simple code of two symbols, the first one of eight bits
    put(40, 8)
    put(200, 8)
    for symbol in (100, 50, 255, 0):  # the other codes have one
        put(0b101, 3)
        put(symbol, 8)
    for y in range(height):
        bits.extend([int(y < height // 2)] * width)
    bits.extend([0] * (-len(bits) % 8))
    return bytes(sum(bit << i for i, bit in enumerate(bits[at:at + 8])) for at in range(0, len(bits), 8))


def webp_lossy(width, height):
    """The data of a VP8 chunk: a key frame whose coded bits are all 0."""
    header, data = bytes(64), bytes(64)
    tag = 1 << 4 | len(header) << 5
    return struct.pack("<I", tag)[:3] + b"\x9d\x01\x2a" + struct.pack("<HH", width, height) + header + data


def webp(chunks):
    body = b"WEBP" + b"".join(kind + struct.pack("<I", len(data)) + data + bytes(len(data) % 2)
                              for kind, data in chunks)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def webps():
    yield webp([(b"VP8L", webp_lossless(40, 30))])
    yield webp([(b"VP8 ", webp_lossy(40, 30))])
    # Profile, alpha, EXIF and XMP
    extended = bytes([0x3C, 0, 0, 0]) + struct.pack("<I", 39)[:3] + struct.pack("<I", 29)[:3]
    yield webp([(b"VP8X", extended), (b"ICCP", bytes(20)), (b"ALPH", bytes([0]) + bytes(range(40)) * 30),
                (b"VP8 ", webp_lossy(40, 30)), (b"EXIF", list(exif_blocks())[1]),
                (b"XMP ", b"<x tiff:Orientation='6'/>")])


def photos():
    yield from webps()
    blocks = list(exif_blocks())
    yield png(40, 30, 0, 1, [(b"gAMA", struct.pack(">I", 45455))])
    yield png(40, 30, 2, 3, [(b"eXIf", blocks[1]), (b"tEXt", b"Comment\0sea")])
    yield png(40, 30, 6, 4, [(b"pHYs", struct.pack(">IIB", 2835, 2835, 1))])
    for name in ("odd-1x1.jpg", "odd-16bit-alpha.png", "odd-corrupt-header.jpg", "odd-huge-header.png", "uav-06.jpg"):
        yield (PHOTOS / name).read_bytes()


def main(target, folder):
    folder.mkdir(parents=True, exist_ok=True)
    seeds = {"exif": exif_blocks, "photos": photos}.get(target, lambda: numbers(target))
    for i, seed in enumerate(seeds()):
        (folder / f"seed-{i:02}").write_bytes(seed)


main(sys.argv[1], Path(sys.argv[2]))
