#!/usr/bin/env python3
"""Makes bookcase_scan.csv: points of a bookcase before a wall, from one shot of a depth camera.

Usage: make_bookcase_scan.py <tests_rgbd.rawlog> <bookcase_scan.csv>

The input is the file of that name in Debian's package mrpt-common (datasets directory; gzip). It
holds one observation, which starts with the points already in metres, as float32: all x, all y,
all z, then the image column and the image row of every point as uint16. Little-endian throughout.
Points are kept on a regular grid of the image.
"""
import array
import gzip
import struct
import sys

CLASS_NAME = b"CObservation3DRangeScan"
VERSION = 9
END_OF_POSE = b"\x88"  # closes the sensor's pose, which stands before the points
POSE_SIZE = 1 + 12 * 8  # its version and 12 doubles
HAS_POINTS = 1
WIDTH, HEIGHT = 640, 480
STEP = 5  # pixels between kept points, along rows and columns

HEADER = """\
# Points of a bookcase before a wall, with the side wall to its right: one shot of a depth camera.
# Metres in the camera's frame: x forward, y left, z up. Depth comes in steps that grow from 8 mm
# at 1.6 m to 18 mm at 2.5 m. Every fifth pixel of every fifth row.
# Origin: Debian package mrpt-common 1:2.5.8+ds-2, datasets/tests_rgbd.rawlog.
# Licence: BSD-3-Clause, notice in LICENSES.md. Made by make_bookcase_scan.py.
x,y,z
"""


def find_points(raw):
    """Offset of the number of points, checked against what the format promises there."""
    version = raw.index(CLASS_NAME) + len(CLASS_NAME)
    if raw[version] != VERSION:
        raise ValueError(f"unexpected version {raw[version]} of the observation")
    pose = raw.index(b"CPose3D", version) + len(b"CPose3D")
    end = pose + POSE_SIZE
    if raw[end:end + 1] != END_OF_POSE or raw[end + 1] != HAS_POINTS:
        raise ValueError("no points after the sensor's pose")
    return end + 2


def column(raw, start, kind, count):
    values = array.array(kind)
    values.frombytes(raw[start:start + count * values.itemsize])
    if sys.byteorder == "big":
        values.byteswap()
    return values, start + count * values.itemsize


def read_points(path):
    """All points as (x, y, z, image column, image row)."""
    with gzip.open(path, "rb") as file:
        raw = file.read()
    start = find_points(raw)
    (count,) = struct.unpack_from("<I", raw, start)
    start += 4
    columns = []
    for kind in "fffHH":
        values, start = column(raw, start, kind, count)
        columns.append(values)
    if max(columns[3]) >= WIDTH or max(columns[4]) >= HEIGHT:
        raise ValueError("a point lies outside the image")
    return list(zip(*columns))


def main():
    source, target = sys.argv[1:3]
    points = read_points(source)
    kept = [p[:3] for p in points if p[3] % STEP == 0 and p[4] % STEP == 0]
    with open(target, "w", encoding="utf-8") as out:
        out.write(HEADER)
        for x, y, z in kept:
            out.write(f"{x:.3f},{y:.3f},{z:.3f}\n")
    print(f"{len(points)} points, {len(kept)} kept")


if __name__ == "__main__":
    main()
