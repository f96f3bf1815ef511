#!/usr/bin/env python3
"""Draws the program's icon: make_icon.py OUTPUT.ico

Three cells of a honeycomb, two full ones and one that is being recovered. Shapes are sampled 8 by 8
times a pixel. Sizes up to 64 are stored as bitmaps, 256 as PNG.
"""
import math
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 40, 48, 64, 256)
SAMPLES = 8
AMBER = (240, 168, 32)
DARK = (168, 100, 8)
BLUE = (44, 110, 190)
PALE = (226, 238, 252)
RADIUS = 0.268  # of a cell, corner to centre, in icon widths
# Centre, edge colour, filling.
CELLS = (
    ((0.5, 0.268), BLUE, PALE),
    ((0.266, 0.678), DARK, AMBER),
    ((0.734, 0.678), DARK, AMBER),
)


def inside(x, y, centre, radius):
    """Whether a point lies in a hexagon that stands on a corner."""
    dx, dy = abs(x - centre[0]), abs(y - centre[1])
    half = radius * math.sqrt(3) / 2
    return dx <= half and dx / math.sqrt(3) + dy <= radius


def colour_at(x, y):
    for centre, edge, filling in CELLS:
        if inside(x, y, centre, RADIUS):
            return filling if inside(x, y, centre, RADIUS * 0.78) else edge
    return None


def pixel(column, row, size):
    red = green = blue = covered = 0
    for i in range(SAMPLES * SAMPLES):
        x = (column + (i % SAMPLES + 0.5) / SAMPLES) / size
        y = (row + (i // SAMPLES + 0.5) / SAMPLES) / size
        colour = colour_at(x, y)
        if colour:
            red, green, blue = red + colour[0], green + colour[1], blue + colour[2]
            covered += 1
    if not covered:
        return (0, 0, 0, 0)
    return (red // covered, green // covered, blue // covered,
            covered * 255 // (SAMPLES * SAMPLES))


def as_bitmap(rows, size):
    head = struct.pack("<IiiHHIIiiII", 40, size, size * 2, 1, 32, 0, 0, 0, 0, 0, 0)
    colours = b"".join(bytes((b, g, r, a)) for row in reversed(rows) for r, g, b, a in row)
    mask_row = (size + 31) // 32 * 4
    return head + colours + bytes(mask_row * size)


def as_png(rows, size):
    def chunk(kind, data):
        check = zlib.crc32(kind + data)
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", check)

    head = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    raw = b"".join(b"\0" + b"".join(bytes(p) for p in row) for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(raw, 9)) +
            chunk(b"IEND", b""))


def main():
    images = []
    for size in SIZES:
        rows = [[pixel(x, y, size) for x in range(size)] for y in range(size)]
        images.append(as_png(rows, size) if size == 256 else as_bitmap(rows, size))
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = 6 + 16 * len(images)
    for size, image in zip(SIZES, images):
        out += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(image), offset)
        offset += len(image)
    with open(sys.argv[1], "wb") as file:
        file.write(out + b"".join(images))


main()
