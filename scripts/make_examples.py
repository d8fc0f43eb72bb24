#!/usr/bin/env python3
"""Writes the sample models of examples/: all of our own making, small enough to commit.

- calibration-cube.stl: binary STL, a 20 mm cube with a round hole (8 mm) through it
  along z, the vertices shared exactly between neighbouring triangles;
- torus.obj: a torus lying flat (major radius 15 mm, minor radius 5 mm);
- two-objects.3mf: two build items, a cube and a six-sided prism, the second placed by a
  build transform.

usage: scripts/make_examples.py [OUT_DIR]   (default: examples)
"""
import math
import os
import struct
import sys
import zipfile


def cube_with_hole(size=20.0, radius=4.0, segments=48):
    """Vertices and triangles (outward normals by the right-hand rule)."""
    h = size / 2
    verts, tris = [], []

    def v(p):
        verts.append(p)
        return len(verts) - 1

    # Ring of the hole and of the square outline, per level, so that top and bottom
    # caps are a triangle strip between square boundary points and circle points.
    square, circle = {}, {}
    for level, z in (("b", 0.0), ("t", size)):
        sq = []
        for k in range(segments):
            t = 2 * math.pi * k / segments
            c, s = math.cos(t), math.sin(t)
            m = max(abs(c), abs(s))
            sq.append(v((h + h * c / m, h + h * s / m, z)))
        square[level] = sq
        circle[level] = [v((h + radius * math.cos(2 * math.pi * k / segments),
                            h + radius * math.sin(2 * math.pi * k / segments), z))
                         for k in range(segments)]
    n = segments
    for k in range(n):
        k1 = (k + 1) % n
        sb, st, cb, ct = square["b"], square["t"], circle["b"], circle["t"]
        # outer wall (normal outward)
        tris.append((sb[k], sb[k1], st[k1]))
        tris.append((sb[k], st[k1], st[k]))
        # hole wall (normal towards the axis)
        tris.append((cb[k], ct[k1], cb[k1]))
        tris.append((cb[k], ct[k], ct[k1]))
        # top cap (normal up) and bottom cap (normal down)
        tris.append((st[k], st[k1], ct[k1]))
        tris.append((st[k], ct[k1], ct[k]))
        tris.append((sb[k], cb[k1], sb[k1]))
        tris.append((sb[k], cb[k], cb[k1]))
    return verts, tris


def torus(R=15.0, r=5.0, nu=64, nv=24, center=(0.0, 0.0, 5.0)):
    verts, tris = [], []
    for i in range(nu):
        u = 2 * math.pi * i / nu
        for j in range(nv):
            w = 2 * math.pi * j / nv
            verts.append((center[0] + (R + r * math.cos(w)) * math.cos(u),
                          center[1] + (R + r * math.cos(w)) * math.sin(u),
                          center[2] + r * math.sin(w)))
    for i in range(nu):
        for j in range(nv):
            a = i * nv + j
            b = ((i + 1) % nu) * nv + j
            c = ((i + 1) % nu) * nv + (j + 1) % nv
            d = i * nv + (j + 1) % nv
            tris.append((a, b, c))
            tris.append((a, c, d))
    return verts, tris


def box(x0, y0, z0, x1, y1, z1):
    verts = [(x0, y0, z0), (x1, y0, z0), (x1, y1, z0), (x0, y1, z0),
             (x0, y0, z1), (x1, y0, z1), (x1, y1, z1), (x0, y1, z1)]
    tris = [(0, 2, 1), (0, 3, 2), (4, 5, 6), (4, 6, 7), (0, 1, 5), (0, 5, 4),
            (1, 2, 6), (1, 6, 5), (2, 3, 7), (2, 7, 6), (3, 0, 4), (3, 4, 7)]
    return verts, tris


def prism(radius=6.0, height=12.0, sides=6):
    verts = []
    for z in (0.0, height):
        for k in range(sides):
            t = 2 * math.pi * k / sides
            verts.append((radius * math.cos(t), radius * math.sin(t), z))
    bc = len(verts)
    verts.append((0.0, 0.0, 0.0))
    tc = len(verts)
    verts.append((0.0, 0.0, height))
    tris = []
    for k in range(sides):
        k1 = (k + 1) % sides
        tris.append((k, k1, sides + k1))
        tris.append((k, sides + k1, sides + k))
        tris.append((bc, k1, k))
        tris.append((tc, sides + k, sides + k1))
    return verts, tris


def normal(a, b, c):
    ux, uy, uz = b[0] - a[0], b[1] - a[1], b[2] - a[2]
    vx, vy, vz = c[0] - a[0], c[1] - a[1], c[2] - a[2]
    n = (uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx)
    length = math.sqrt(sum(x * x for x in n)) or 1.0
    return tuple(x / length for x in n)


def write_binary_stl(path, verts, tris):
    with open(path, "wb") as f:
        f.write(b"binary STL written by scripts/make_examples.py".ljust(80, b" "))
        f.write(struct.pack("<I", len(tris)))
        for (a, b, c) in tris:
            f.write(struct.pack("<3f", *normal(verts[a], verts[b], verts[c])))
            for i in (a, b, c):
                f.write(struct.pack("<3f", *verts[i]))
            f.write(b"\0\0")


def write_obj(path, verts, tris):
    with open(path, "w") as f:
        f.write("# torus written by scripts/make_examples.py\n")
        for p in verts:
            f.write("v %.6f %.6f %.6f\n" % p)
        for (a, b, c) in tris:
            f.write("f %d %d %d\n" % (a + 1, b + 1, c + 1))


def mesh_xml(oid, verts, tris):
    out = ['  <object id="%d" type="model"><mesh><vertices>' % oid]
    out += ['   <vertex x="%.6f" y="%.6f" z="%.6f"/>' % p for p in verts]
    out.append('  </vertices><triangles>')
    out += ['   <triangle v1="%d" v2="%d" v3="%d"/>' % t for t in tris]
    out.append('  </triangles></mesh></object>')
    return "\n".join(out)


def write_3mf(path):
    cube = box(0, 0, 0, 15, 15, 15)
    hexp = prism()
    model = "\n".join([
        '<?xml version="1.0" encoding="UTF-8"?>',
        '<model unit="millimeter" xml:lang="en-US" '
        'xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">',
        ' <resources>',
        mesh_xml(1, *cube),
        mesh_xml(2, *hexp),
        ' </resources>',
        ' <build>',
        '  <item objectid="1"/>',
        '  <item objectid="2" transform="1 0 0 0 1 0 0 0 1 30 7.5 0"/>',
        ' </build>',
        '</model>', ''])
    content_types = (
        '<?xml version="1.0" encoding="UTF-8"?>\n'
        '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
        '<Default Extension="rels" '
        'ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
        '<Default Extension="model" '
        'ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>\n')
    rels = (
        '<?xml version="1.0" encoding="UTF-8"?>\n'
        '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
        '<Relationship Target="/3D/3dmodel.model" Id="rel0" '
        'Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/>'
        '</Relationships>\n')
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as z:
        z.writestr("[Content_Types].xml", content_types)
        z.writestr("_rels/.rels", rels)
        z.writestr("3D/3dmodel.model", model)


def main():
    out = sys.argv[1] if len(sys.argv) > 1 else "examples"
    os.makedirs(out, exist_ok=True)
    write_binary_stl(os.path.join(out, "calibration-cube.stl"), *cube_with_hole())
    write_obj(os.path.join(out, "torus.obj"), *torus())
    write_3mf(os.path.join(out, "two-objects.3mf"))


main()
