#!/usr/bin/env python3
"""Writes a closed binary STL of about N triangles for timing `quorvex slice`.

The surface is a bumpy sphere of radius about 20 mm: R rings by S segments, 2 R S
triangles less the ones that would collapse at the poles, every corner shared by its
neighbours as in a real model. Sizes grow by the ring and segment counts alone, so the
number of layers stays the same and only the cost per layer grows.

usage: scripts/gen_bench_model.py TRIANGLES OUT.stl
"""
import math
import struct
import sys


def main():
    want, out = int(sys.argv[1]), sys.argv[2]
    rings = max(4, int(math.sqrt(want / 4)))
    segments = max(8, want // (2 * rings))

    def at(i, j):
        if i == 0 or i == rings:  # the poles, exactly one point each
            return (25.0, 25.0, 20.0 + (20.0 if i else -20.0))
        phi = math.pi * i / rings
        theta = 2 * math.pi * j / segments
        r = 20.0 * (1 + 0.08 * math.sin(6 * theta) * math.sin(4 * phi))
        return (r * math.sin(phi) * math.cos(theta) + 25.0,
                r * math.sin(phi) * math.sin(theta) + 25.0,
                -r * math.cos(phi) + 20.0)

    grid = [[at(i, j) for j in range(segments)] for i in range(rings + 1)]
    tris = []
    for i in range(rings):
        for j in range(segments):
            a, b = grid[i][j], grid[i][(j + 1) % segments]
            c, d = grid[i + 1][j], grid[i + 1][(j + 1) % segments]
            if i < rings - 1:  # at the last ring c and d are the same pole
                tris.append((a, d, c))
            if i > 0:  # at the first ring a and b are
                tris.append((a, b, d))
    rec = struct.Struct("<12fH")
    with open(out, "wb") as f:
        f.write(b"bumpy sphere for slice timing".ljust(80, b" "))
        f.write(struct.pack("<I", len(tris)))
        for t in tris:
            f.write(rec.pack(0.0, 0.0, 0.0, *t[0], *t[1], *t[2], 0))
    print("%s: %d triangles" % (out, len(tris)))


main()
