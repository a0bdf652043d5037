#!/usr/bin/env python3
"""Recompute the certified values of nist_strd_linear.csv with 60 digits and show what agrees.

A mistyped number of the data shows in the first digits. Needs python3-mpmath.
"""

import pathlib

from mpmath import mp, mpf, matrix, sqrt, log10

mp.dps = 60


def problems():
    lines = pathlib.Path(__file__).with_name("nist_strd_linear.csv").read_text().splitlines()
    name, rows = None, []
    for line in lines + ["# end"]:
        if not line.startswith("#"):
            rows.append([mpf(number) for number in line.split(",")])
        else:
            if rows:
                yield name, rows
            name, rows = line[2:], []


def digits(values, certified):
    errors = [abs(v - c) / (abs(c) or 1) for v, c in zip(values, certified)]
    return float(-log10(max(max(errors), mpf("1e-16"))))


for name, (parameters, deviations, (deviation,), (first, last, _), y, *predictors) in problems():
    A = matrix([[1] * (first == 0) + [x[i] ** p for x in predictors for p in range(1, int(last) + 1)]
                for i in range(len(y))])
    normal = (A.T * A) ** -1
    x = normal * A.T * matrix(y)
    r = A * x - matrix(y)
    s = sqrt((r.T * r)[0] / (A.rows - A.cols))
    print(f"{name:9} parameters {digits(x, parameters):5.1f}  deviations "
          f"{digits([s * sqrt(normal[j, j]) for j in range(A.cols)], deviations):5.1f}  of unit weight "
          f"{digits([s], [deviation]):5.1f}")
