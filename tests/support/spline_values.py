"""Prints the values of BSplineTest's AgreesWithSciPy: s, C(s) and C'(s) of two curves by SciPy."""
import numpy as np
from scipy.interpolate import BSpline


def points(n):
    i = np.arange(n)
    return np.column_stack([3.0 * np.cos(0.9 * i) + i, 2.0 * np.sin(1.3 * i)])


def rows(curve, parameters):
    derivative = curve.derivative()
    for s in parameters:
        values = [s, *curve(s), *derivative(s)]
        print(", ".join(repr(float(v)) for v in values))


print("open, order 4, break points 0, 1, 2.5, 3, multiplicities 4, 1, 2, 4")
rows(BSpline([0, 0, 0, 0, 1, 2.5, 2.5, 3, 3, 3, 3], points(7), 3), [2.75])

print("closed, order 3, break points 0, 0.5, 2, 3, 4, multiplicities 1")
n, k = 4, 3
one_period = np.array([0, 0.5, 2, 3])
knots = np.concatenate([one_period + 4.0 * turn for turn in (-1, 0, 1, 2)])
# Knot 0 of the period is knot 4 of the array; N_i starts at knot i, so it is function i + 4.
control = points(n)[np.arange(len(knots) - k) % n]
rows(BSpline(knots, control, k - 1), [3.9])
