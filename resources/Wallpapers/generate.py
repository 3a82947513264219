#!/usr/bin/env python3
"""Draws the bundled wallpapers: soft colour fields, a few large blurred blobs over a diagonal gradient.

Standard library only, so anyone can regenerate them. Run from this folder:  python3 generate.py
"""
import math
import struct
import zlib

WIDTH, HEIGHT = 1600, 900

# name: (top-left colour, bottom-right colour, [(x, y, radius, colour, strength)]) in 0..1 units.
WALLPAPERS = {
    "default.png": ((0.35, 0.16, 0.62), (0.10, 0.08, 0.28),
                    [(0.2, 0.25, 0.45, (1.0, 0.42, 0.80), 0.75), (0.8, 0.7, 0.5, (0.48, 0.38, 1.0), 0.8),
                     (0.55, 0.1, 0.3, (0.99, 0.65, 0.35), 0.35)]),
    "Aurora.png": ((0.03, 0.10, 0.16), (0.05, 0.18, 0.26),
                   [(0.25, 0.3, 0.5, (0.15, 0.85, 0.60), 0.7), (0.7, 0.2, 0.45, (0.30, 0.55, 1.0), 0.6),
                    (0.6, 0.85, 0.4, (0.55, 0.25, 0.85), 0.45)]),
    "Dusk.png": ((0.98, 0.55, 0.35), (0.28, 0.12, 0.38),
                 [(0.75, 0.25, 0.4, (1.0, 0.85, 0.45), 0.6), (0.2, 0.8, 0.55, (0.45, 0.15, 0.55), 0.7)]),
    "Lagoon.png": ((0.05, 0.45, 0.65), (0.02, 0.15, 0.30),
                   [(0.3, 0.7, 0.5, (0.10, 0.85, 0.85), 0.55), (0.8, 0.3, 0.4, (0.55, 0.95, 0.75), 0.4)]),
    "Graphite.png": ((0.20, 0.21, 0.24), (0.08, 0.08, 0.10),
                     [(0.7, 0.3, 0.6, (0.38, 0.40, 0.46), 0.6), (0.15, 0.85, 0.4, (0.25, 0.27, 0.33), 0.5)]),
}


def png(path, rows):
    raw = b"".join(b"\x00" + bytes(r) for r in rows)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)

    with open(path, "wb") as f:
        f.write(b"\x89PNG\r\n\x1a\n")
        f.write(chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)))
        f.write(chunk(b"IDAT", zlib.compress(raw, 9)))
        f.write(chunk(b"IEND", b""))


def render(start, end, blobs):
    rows = []
    aspect = WIDTH / HEIGHT
    for y in range(HEIGHT):
        v = y / (HEIGHT - 1)
        row = bytearray()
        for x in range(WIDTH):
            u = x / (WIDTH - 1)
            t = (u + v) / 2
            c = [start[k] + (end[k] - start[k]) * t for k in range(3)]
            for bx, by, radius, colour, strength in blobs:
                d2 = ((u - bx) * aspect) ** 2 + (v - by) ** 2
                w = strength * math.exp(-d2 / (2 * (radius * 0.5) ** 2))
                c = [c[k] + (colour[k] - c[k]) * w for k in range(3)]
            # A little ordered dither keeps the 8-bit steps from banding.
            d = ((x * 7 + y * 13) % 4 - 1.5) / 4
            row += bytes(max(0, min(255, int(c[k] * 255 + 0.5 + d))) for k in range(3))
        rows.append(row)
    return rows


if __name__ == "__main__":
    for name, (start, end, blobs) in WALLPAPERS.items():
        png(name, render(start, end, blobs))
        print(name)
