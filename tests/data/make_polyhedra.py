#!/usr/bin/env python3
"""Make the vertices and volumes of polyhedra.csv.

    make_polyhedra.py > polyhedra.csv

Bodies bounded by planes that touch an ellipsoid, in rational arithmetic: every triple of planes is
solved by Cramer's rule, and a vertex is a solution that no plane has outside. The planes are
doubles; vertices and volume are rounded once, at the end.

Lines: "planes, vertices, volume" of a body, then its planes (a, b, c, d), then its vertices
(x, y, z) in the order of their triples.
"""

import math
import random
from fractions import Fraction
from itertools import combinations

BODIES = ((7, (0.0, 0.0, 0.0)), (12, (5.0, -3.0, 0.5)), (20, (0.0, 0.0, 0.0)), (32, (1e4, 2e4, -1e4)))
AXES = (3.0, 1.0, 0.4)


def dot(a, b):
    return sum(p * q for p, q in zip(a, b))


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def minus(a, b):
    return tuple(p - q for p, q in zip(a, b))


def tangent_plane(generator, centre):
    """Touches the ellipsoid at a random place; the normal has a random length."""
    u = [generator.gauss(0, 1) for _ in range(3)]
    length = generator.uniform(0.1, 10.0) / math.sqrt(dot(u, u))
    normal = [length * p for p in u]
    reach = math.sqrt(sum((p * axis) ** 2 for p, axis in zip(normal, AXES)))
    return tuple(Fraction(x) for x in (*normal, -(dot(normal, centre) + reach)))


def vertices(planes):
    found = {}
    for triple in combinations(range(len(planes)), 3):
        (n0, d0), (n1, d1), (n2, d2) = ((planes[i][:3], planes[i][3]) for i in triple)
        det = dot(n0, cross(n1, n2))
        if det == 0:
            continue
        point = tuple(-(d0 * a + d1 * b + d2 * c) / det
                      for a, b, c in zip(cross(n1, n2), cross(n2, n0), cross(n0, n1)))
        if all(dot(plane[:3], point) + plane[3] <= 0 for plane in planes):
            found[triple] = point
    return found


def volume(planes, corners):
    """Cones from one corner over the faces, each face cut into triangles about its first corner."""
    apex = next(iter(corners.values()))
    total = Fraction(0)
    for i, plane in enumerate(planes):
        first, *rest = [minus(point, apex) for triple, point in corners.items() if i in triple]
        along = minus(rest[0], first)
        across = cross(plane[:3], along)
        rest.sort(key=lambda p: math.atan2(dot(minus(p, first), across),
                                           dot(minus(p, first), along)))
        total += sum(abs(dot(first, cross(p, q))) for p, q in zip(rest, rest[1:])) / 6
    return total


def emit(values):
    print(",".join(repr(float(value)) for value in values))


def main():
    generator = random.Random(1)
    print("# planes, vertices, volume; then the planes (4) and the vertices (3); make_polyhedra.py")
    for count, centre in BODIES:
        while True:  # until the body is closed: V - E + F = 2 with three edges at each vertex
            planes = [tangent_plane(generator, centre) for _ in range(count)]
            corners = vertices(planes)
            if len(corners) == 2 * count - 4:
                break
        emit((len(planes), len(corners), volume(planes, corners)))
        for row in (*planes, *corners.values()):
            emit(row)


if __name__ == "__main__":
    main()
