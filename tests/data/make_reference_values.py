#!/usr/bin/env python3
"""Make the reference values of the tests of rotations, transforms and principal axes.

    make_reference_values.py rotations > rotations.csv     (and so on for each maker below)

Needs python3-mpmath. The inputs are doubles; the results are computed from them with 60 digits,
by definitions and not by the library's formulas, and rounded once. Lines are numbers; # comments.
"""

import math
import random
import sys

from mpmath import mp, mpf, matrix, cos, sin, sqrt, atan2, acos, asin, eye, norm, eigsy, diff

mp.dps = 60


def emit(*groups):
    print(",".join(repr(float(x)) for group in groups for x in group))


def elements(m):
    return [m[i, j] for i in range(m.rows) for j in range(m.cols)]


def turn(axis, angle):
    """Rotation about coordinate axis 0, 1 or 2."""
    c, s = cos(angle), sin(angle)
    j, k = (axis + 1) % 3, (axis + 2) % 3
    m = eye(3)
    m[j, j], m[j, k], m[k, j], m[k, k] = c, -s, s, c
    return m


def from_euler(e0, e1, e2):
    return turn(2, e0) * turn(1, e1) * turn(0, e2)


def from_vector(r):
    """exp of the cross-product matrix: I + sin θ·K + (1 - cos θ)·K²."""
    theta = norm(matrix(r))
    if theta == 0:
        return eye(3)
    x, y, z = (component / theta for component in r)
    cross = matrix([[0, -z, y], [z, 0, -x], [-y, x, 0]])
    return eye(3) + sin(theta) * cross + (1 - cos(theta)) * cross * cross


def to_euler(m):
    return [atan2(m[1, 0], m[0, 0]),
            atan2(-m[2, 0], sqrt(m[0, 0] ** 2 + m[1, 0] ** 2)),
            atan2(m[2, 1], m[2, 2])]


def rotations():
    print("# rotation vector (3), matrix (9, row after row), quaternion (4), Euler angles (3)")
    edges = [36.0 / 37.0 * math.pi / 180.0, 0.75 * math.pi]
    near = [math.nextafter(edge, to) for edge in edges for to in (0.0, 4.0)]
    angles = [0.0, 1e-12, 1e-3, 0.5, 1.9, 2.4, 3.0, math.nextafter(math.pi, 0.0), math.pi]
    axes = [(1, 0, 0), (0, -1, 0), (0, 0, 1), (1, 1, 1), (3, -2, 1), (-1, 4, -8), (1e-9, 1, -0.5)]
    for axis in axes:
        length = math.sqrt(sum(component ** 2 for component in axis))
        for angle in angles + edges + near:
            r = [mpf(angle * (component / length)) for component in axis]
            theta = norm(matrix(r))
            quaternion = [cos(theta / 2)] + [
                sin(theta / 2) * component / theta if theta else 0 for component in r]
            m = from_vector(r)
            emit(r, elements(m), quaternion, to_euler(m))


def jacobian(function, outputs, inputs):
    """∂ outputs / ∂ inputs, row after row."""
    def partial(i, j):
        def of_input(x):
            return function(*(inputs[:j] + [x] + inputs[j + 1:]))[i]
        return diff(of_input, inputs[j])
    return [partial(i, j) for i in range(outputs) for j in range(len(inputs))]


def jacobians():
    print("# Euler angles (3), point (3), d(R p)/de (9), d(Euler angles of the inverse)/de (9)")
    generator = random.Random(3)
    for scale in (1e-6, 0.3, 1.0, 1.4, 3.0):
        for _ in range(3):
            e = [mpf(generator.uniform(-scale, scale)) for _ in range(3)]
            p = [mpf(generator.uniform(-10, 10)) for _ in range(3)]
            emit(e, p, jacobian(lambda *a: from_euler(*a) * matrix(p), 3, e),
                 jacobian(lambda *a: to_euler(from_euler(*a).T), 3, e))


def directions():
    print("# direction (3), angles (2) and Jacobian (6): standard, then particular")
    generator = random.Random(4)
    special = [(1, 1e-9, 0), (-1, -1e-9, 1e-3), (1e-5, -2e-5, 1), (1e-5, 1, -3e-5), (3, -4, -12)]
    plain = [[generator.uniform(-5, 5) for _ in range(3)] for _ in range(9)]

    def standard(x, y, z):
        return [atan2(y, x) % (2 * mp.pi), acos(z / sqrt(x * x + y * y + z * z))]

    def particular(x, y, z):
        return [atan2(x, z) % (2 * mp.pi), -asin(y / sqrt(x * x + y * y + z * z))]

    for direction in special + plain:
        v = [mpf(float(component)) for component in direction]
        emit(v, standard(*v), jacobian(standard, 2, v), particular(*v), jacobian(particular, 2, v))


def mean(points):
    return sum(points[1:], points[0]) / len(points)


def scatter(a, b):
    a_mean, b_mean = mean(a), mean(b)
    total = matrix(3, 3)
    for p, q in zip(a, b):
        total += (p - a_mean) * (q - b_mean).T
    return total


def surveyed_points(generator, count, extent):
    centre = (4157222.543, 664789.307, 4774952.099)
    return [matrix([mpf(c + generator.uniform(-extent, extent)) for c in centre])
            for _ in range(count)]


def registration():
    print("# first line: scale, R (9), t with that scale (3) and with 1 (3); then pairs a, b (6)")
    generator = random.Random(5)
    a = surveyed_points(generator, 300, 20000.0)
    true_turn = from_vector([mpf(0.3), mpf(-1.2), mpf(2.0)])
    noise = lambda: matrix([mpf(generator.gauss(0, 0.1)) for _ in range(3)])
    b = [(mpf(1.0000056) * true_turn * p + noise()).apply(float).apply(mpf) for p in a]

    u, _, v = mp.svd_r(scatter(a, b))           # R = V·diag(1, 1, det)·Uᵀ
    handed = eye(3)
    handed[2, 2] = mp.det(u * v)
    R = v.T * handed * u.T
    trace = lambda m: m[0, 0] + m[1, 1] + m[2, 2]
    scale = sqrt(trace(scatter(b, b)) / trace(scatter(a, a)))
    emit([scale], elements(R), mean(b) - scale * R * mean(a), mean(b) - R * mean(a))
    for p, q in zip(a, b):
        emit(p, q)


def principal_axes():
    print("# first line: mean (3), covariance (9), its eigenvalues (3), vectors (9); then points (3)")
    generator = random.Random(6)
    box = [matrix([mpf(sigma * generator.gauss(0, 1)) for sigma in (5.0, 1.0, 0.01)])
           for _ in range(300)]
    place = matrix([mpf(4157222.543), mpf(664789.307), mpf(4774952.099)])
    tilt = from_vector([mpf(0.7), mpf(0.4), mpf(-0.9)])
    points = [(tilt * p + place).apply(float).apply(mpf) for p in box]
    covariance = scatter(points, points) / len(points)
    values, vectors = eigsy(covariance)
    emit(mean(points), elements(covariance), values, elements(vectors))
    for p in points:
        emit(p)


if __name__ == "__main__":
    makers = (rotations, jacobians, directions, registration, principal_axes)
    {maker.__name__: maker for maker in makers}[sys.argv[1]]()
