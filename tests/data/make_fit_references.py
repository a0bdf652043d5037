#!/usr/bin/env python3
"""Make fits.csv: points on arcs of noisy shapes near and far, and their fits with 50 digits.

    make_fit_references.py > fits.csv

Needs python3-mpmath. The points are doubles, rounded to the micrometre as an instrument gives them;
the fits minimise what the library's headers state, by Newton's iteration or in closed form on all
digits of the points, and are rounded once.
"""

import math
import random

from mpmath import mp, mpf, matrix, lu_solve, sqrt, atan2, eigsy, svd_r

mp.dps = 50
GENERATOR = random.Random(7)
SIGMA, COUNT = 0.01, 24
ARCS = (360, 180, 60)
OFFSETS = (0, 1e3, 1e6)


def noise():
    return GENERATOR.gauss(0, SIGMA)


def angles(arc):
    return [math.radians(arc) * (i + 0.5) / COUNT - math.radians(arc) / 2 for i in range(COUNT)]


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def gauss_newton(residual, params, constraints=lambda p: []):
    """Least squares of residual(params) by dual numbers, from a start close to the solution."""
    n = len(params)
    for _ in range(400):
        duals = [Dual(p, [mpf(i == j) for j in range(n)]) for i, p in enumerate(params)]
        rows = residual(duals) + constraints(duals)
        J = matrix([row.slope for row in rows])
        step = lu_solve(J.T * J, J.T * matrix([row.value for row in rows]))
        params = [p - s for p, s in zip(params, step)]
        if max(abs(s) for s in step) < mpf(10) ** -40:
            return params
    raise ArithmeticError("no convergence")


class Dual:
    """A number with its derivatives."""

    def __init__(self, value, slope):
        self.value, self.slope = value, slope

    def with_factors(self, value, a, other=None, b=0):
        slopes = other.slope if other else self.slope
        return Dual(value, [a * s + b * t for s, t in zip(self.slope, slopes)])

    def __sub__(self, other):
        if isinstance(other, Dual):
            return self.with_factors(self.value - other.value, 1, other, -1)
        return self.with_factors(self.value - other, 1)

    def __rsub__(self, other):
        return self.with_factors(other - self.value, -1)

    def __add__(self, other):
        if isinstance(other, Dual):
            return self.with_factors(self.value + other.value, 1, other, 1)
        return self.with_factors(self.value + other, 1)

    __radd__ = __add__

    def __mul__(self, other):
        if isinstance(other, Dual):
            return self.with_factors(self.value * other.value, other.value, other, self.value)
        return self.with_factors(self.value * other, other)

    __rmul__ = __mul__

    def __truediv__(self, other):
        value = self.value / other.value
        return self.with_factors(value, 1 / other.value, other, -value / other.value)

    def root(self):
        value = sqrt(self.value)
        return self.with_factors(value, 1 / (2 * value))


def round_points(dimension, arc, offset):
    """A circle of radius 3, or the cap of a sphere."""
    points = []
    for i, a in enumerate(angles(arc)):
        r = 3 + noise()
        tilt = 2.4 * i if dimension == 3 else 0.0
        if dimension == 2:
            points.append([offset + 1 + r * math.cos(a), r * math.sin(a) - offset])
        else:
            points.append([offset + r * math.cos(a), 2 + r * math.sin(a) * math.cos(tilt),
                           r * math.sin(a) * math.sin(tilt) - offset])
    start = [offset + 1, -offset, 3] if dimension == 2 else [offset, 2, -offset, 3]
    return points, start


def fit_round(points, start):
    def residual(p):
        return [sum(((x - c) * (x - c) for x, c in zip(point, p)), 0).root() - p[-1]
                for point in points]
    return gauss_newton(residual, [mpf(s) for s in start])


def cylinder_points(arc, offset):
    axis, u, v = [(2, 3, 6), (3, -6, 2), (6, 2, -3)]
    points = []
    for i, a in enumerate(angles(arc)):
        r, t = 1.5 + noise(), 6.0 * ((7 * i) % COUNT) / COUNT - 3.0
        points.append([c + (t * axis[k] + r * (math.cos(a) * u[k] + math.sin(a) * v[k])) / 7
                       for k, c in enumerate((offset, 2, -offset))])
    return points, [offset, 2, -offset, 2 / 7, 3 / 7, 6 / 7, 1.5]


def fit_cylinder(points, start):
    mean = [sum(c) / len(points) for c in zip(*points)]

    def residual(p):
        rows = []
        for point in points:
            w = [x - c for x, c in zip(point, p)]
            along = dot(w, p[3:6])
            rows.append((dot(w, w) - along * along / dot(p[3:6], p[3:6])).root() - p[6])
        return rows

    def constraints(p):
        return [dot(p[3:6], p[3:6]) - 1, dot([c - m for c, m in zip(p, mean)], p[3:6])]

    p = gauss_newton(residual, [mpf(s) for s in start], constraints)
    largest = max(p[3:6], key=abs)
    return p[:3] + [d if largest > 0 else -d for d in p[3:6]] + p[6:]


def ellipse_points(arc, offset):
    points = []
    for a in angles(arc):
        x, y = (5 + noise()) * math.cos(a), (2 + noise()) * math.sin(a)
        points.append([offset + 1 + 0.8 * x - 0.6 * y, 3 - offset + 0.6 * x + 0.8 * y])
    return points, None


def fit_ellipse(points, _):
    A = matrix([[y * y, x * y, x, y, 1] for x, y in points])
    b = matrix([-x * x for x, _ in points])
    return list(lu_solve(A.T * A, A.T * b))


def line_points(_, offset):
    return [[offset + 0.8 * t - 0.6 * e, 0.6 * t + 0.8 * e - offset]
            for t, e in ((GENERATOR.uniform(-5, 5), noise()) for _ in range(COUNT))], None


def fit_line(points, _):
    n = len(points)
    mx, my = (sum(c) / n for c in zip(*points))
    sxx, syy, sxy = (sum((p[i] - m) * (p[j] - k) for p in points)
                     for i, j, m, k in ((0, 0, mx, mx), (1, 1, my, my), (0, 1, mx, my)))
    theta = atan2(2 * sxy, sxx - syy) / 2
    return [theta, mp.cos(theta) * my - mp.sin(theta) * mx]


def plane_points(_, offset):
    points = []
    for _ in range(COUNT):
        s, t, e = GENERATOR.uniform(-5, 5), GENERATOR.uniform(-5, 5), noise()
        points.append([offset + (2 * s - 2 * t + e) / 3, 1 + (s + 2 * t + 2 * e) / 3,
                       (2 * s + t - 2 * e) / 3 - offset])
    return points, None


def fit_plane(points, _):
    _, _, V = svd_r(matrix([[*p, -1] for p in points]))
    return [V[3, j] for j in range(4)]


MODELS = [("circle", lambda arc, offset: round_points(2, arc, offset), fit_round),
          ("sphere", lambda arc, offset: round_points(3, arc, offset), fit_round),
          ("cylinder", cylinder_points, fit_cylinder), ("ellipse", ellipse_points, fit_ellipse),
          ("line", line_points, fit_line), ("plane", plane_points, fit_plane)]

print("# Two lines a fit: model (0 circle, 1 sphere, 2 cylinder, 3 ellipse, 4 line, 5 plane), arc in\n"
      "# degrees, offset, parameters; then the coordinates, point after point. make_fit_references.py")
for number, (name, make, fit) in enumerate(MODELS):
    for arc in ARCS if number < 4 else ARCS[:1]:
        for offset in OFFSETS:
            points, start = make(arc, offset)
            points = [[round(c, 6) for c in point] for point in points]
            params = fit([[mpf(c) for c in point] for point in points], start)
            print(",".join(repr(float(x)) for x in [number, arc, offset, *params]))
            print(",".join(repr(c) for point in points for c in point))
