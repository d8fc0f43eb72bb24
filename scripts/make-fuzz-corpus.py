#!/usr/bin/env python3
"""Writes the small seed corpora of the fuzz targets into fuzz/corpus/<target>/.

Every seed is built here from the formats' own rules, so the corpora hold nothing taken
from elsewhere. Run it again after a format changes; the output is deterministic.
"""
import os
import random
import struct
import zipfile
import io

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "fuzz", "corpus")


def put(target, name, data):
    d = os.path.join(ROOT, target)
    os.makedirs(d, exist_ok=True)
    with open(os.path.join(d, name), "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode())


def i32(v):
    return struct.pack("<i", v)


def u64(v):
    return struct.pack("<Q", v)


def f32(v):
    return struct.pack("<f", v)


def points(pts):
    return i32(len(pts)) + b"".join(f32(x) + f32(y) for x, y in pts)


SQUARE = [(0, 0), (10, 0), (10, 10), (0, 10)]
TRIANGLES = [((0, 0, 0), (1, 0, 0), (0, 1, 0)), ((0, 0, 0), (0, 1, 0), (0, 0, 1))]

# ---- meshes
OBJ = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nvn 0 0 1\nvt 0 0\nf 1 2 3\nf 1/1/1 3/1/1 4/1/1\n"
OBJ_QUAD = "# quad\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf -4 -3 -2 -1\n"


def stl_ascii():
    s = "solid seed\n"
    for tri in TRIANGLES:
        s += " facet normal 0 0 1\n  outer loop\n"
        for v in tri:
            s += "   vertex %g %g %g\n" % v
        s += "  endloop\n endfacet\n"
    return s + "endsolid seed\n"


def stl_binary(tris, count=None):
    out = b"seed binary stl".ljust(80, b" ") + struct.pack("<I", len(tris) if count is None else count)
    for tri in tris:
        out += struct.pack("<3f", 0, 0, 1)
        for v in tri:
            out += struct.pack("<3f", *v)
        out += b"\0\0"
    return out


for t in ("obj_memory",):
    put(t, "tetra.obj", OBJ)
    put(t, "quad.obj", OBJ_QUAD)
for t in ("stl_memory", "stl_file"):
    put(t, "ascii.stl", stl_ascii())
    put(t, "binary.stl", stl_binary(TRIANGLES))
    put(t, "short.stl", stl_binary(TRIANGLES, count=9))


def three_mf_model(with_component):
    model = ('<?xml version="1.0" encoding="UTF-8"?>\n'
             '<model unit="millimeter" xml:lang="en-US" '
             'xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">\n'
             '<resources><object id="1" type="model"><mesh><vertices>'
             '<vertex x="0" y="0" z="0"/><vertex x="1" y="0" z="0"/>'
             '<vertex x="0" y="1" z="0"/><vertex x="0" y="0" z="1"/></vertices><triangles>'
             '<triangle v1="0" v2="1" v3="2"/><triangle v1="0" v2="2" v3="3"/>'
             '</triangles></mesh></object>')
    if with_component:
        model += ('<object id="2" type="model"><components>'
                  '<component objectid="1" transform="1 0 0 0 1 0 0 0 1 5 0 0"/>'
                  '</components></object>')
    model += ('</resources><build><item objectid="%d" transform="1 0 0 0 1 0 0 0 1 0 0 1"/>'
              '</build></model>\n' % (2 if with_component else 1))
    return model


def three_mf(with_component):
    model = three_mf_model(with_component)
    types = ('<?xml version="1.0" encoding="UTF-8"?>\n'
             '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">'
             '<Default Extension="rels" '
             'ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
             '<Default Extension="model" '
             'ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>')
    rels = ('<?xml version="1.0" encoding="UTF-8"?>\n'
            '<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">'
            '<Relationship Target="/3D/3dmodel.model" Id="rel0" '
            'Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/>'
            '</Relationships>')
    buf = io.BytesIO()
    with zipfile.ZipFile(buf, "w", zipfile.ZIP_STORED) as z:
        for name, text in (("[Content_Types].xml", types), ("_rels/.rels", rels),
                           ("3D/3dmodel.model", model)):
            info = zipfile.ZipInfo(name, date_time=(2020, 1, 1, 0, 0, 0))
            z.writestr(info, text)
    return buf.getvalue()


put("threemf", "mesh.3mf", three_mf(False))
put("threemf", "component.3mf", three_mf(True))
# The model's XML alone, for the count of placements made before lib3mf reads a package.
put("threemf_components", "mesh.model", three_mf_model(False))
put("threemf_components", "component.model", three_mf_model(True))
put("threemf_components", "markup.model",
    '<?xml version="1.0"?><!DOCTYPE m [<!ENTITY e "x">]><m:model><!-- <item objectid="2"/> -->'
    '<m:object id="1"/><m:object id=\'2\' name="a>b"><m:components>'
    '<m:component objectid="&#49;"/><m:component objectid=" 1 "/></m:components></m:object>'
    '<![CDATA[<item objectid="2"/>]]><?pi ?><m:item objectid="2"/></m:model>')

# ---- print-model archive


def path(ptype, pid, pts, colours=0, components=()):
    out = i32(ptype) + f32(0.2) + f32(0.4) + i32(pid) + points(pts) + i32(colours)
    out += b"".join(f32(0.5) * 3 for _ in range(colours))
    out += i32(len(components))
    for c in components:
        out += c
    return out


def layer(lid, paths_by_list):
    out = i32(lid) + f32(0.2 * (lid + 1)) + f32(0.2) + i32(1) + f32(0.4)
    for lst in range(8):
        ps = paths_by_list.get(lst, [])
        out += i32(len(ps)) + b"".join(ps)
    return out


extra = i32(1) + i32(3) + i32(1)
extend = i32(2) + points([(0, 0), (1, 1)]) + points([])
l0 = layer(0, {0: [path(0, 0, SQUARE)], 1: [path(2, 0, SQUARE, components=[extra])],
               2: [path(3, -1, [(1, 1), (9, 1)], colours=2, components=[extra, extend])]})
l1 = layer(1, {7: [path(0, 4, SQUARE)]})
put("entity_archive", "empty.bin", i32(0) + f32(0) + i32(0))
put("entity_archive", "two_layers.bin", i32(1) + f32(0.5) + i32(2) + l0 + l1)

# ---- parameter records and testbug files


def lp_string(s):
    b = s.encode()
    return i32(len(b)) + b


def record(names, values, tags=True):
    out = b""
    if tags:
        out += lp_string("TESTBUG VERSION: 0.1.0") + lp_string("LAST COMMIT: seed")
    out += u64(len(names)) + b"".join(bytes(255 - c for c in n.encode()) for n in names)
    out += b"".join(points(v) for v in values)
    return out


def old_record(names, values):
    return i32(len(names)) + b"".join(n.encode() for n in names) + b"".join(points(v) for v in values)


rec = record(["loop"], [SQUARE])
put("testbug_replay", "current", b"\0" + rec + i32(0) * 3)
put("testbug_replay", "old", b"\1" + old_record(["loop"], [SQUARE]))
put("testbug_replay", "notags", b"\0" + record(["loop"], [SQUARE[:2]], tags=False))
put("archive_reader", "one", b"\1" + rec)
put("archive_reader", "three", b"\3" + record(["loop", "holes", "x"], [SQUARE, [], [(1, 2)]]))
put("archive_reader", "none", b"\0" + record([], []))
put("archive_reader", "old", b"\1" + old_record(["loop"], [SQUARE]))

# ---- geometry targets read structured bytes; a few fixed random seeds start them off
rng = random.Random(20261123)
for t in ("fill_line", "fill_order", "clipper", "simplify"):
    for k in range(4):
        put(t, "seed%d" % k, bytes(rng.getrandbits(8) for _ in range(64 + 96 * k)))
