#!/usr/bin/env python3
"""Times SciPy's linear_sum_assignment on the kinds of grids of AssignmentBenchmark.cpp."""

import statistics
import time

import numpy
from scipy.optimize import linear_sum_assignment

REPETITIONS = {10: 2000, 100: 200, 500: 21, 1000: 15}


def grid(generator, rows, cols, limit):
    if limit == 0:
        return generator.random((rows, cols))
    return generator.integers(0, limit, (rows, cols)).astype(float)


def median_time(rows, cols, limit):
    generator = numpy.random.default_rng(1)
    times = []
    for _ in range(REPETITIONS[cols]):
        costs = grid(generator, rows, cols, limit)
        begin = time.perf_counter()
        linear_sum_assignment(costs)
        times.append(time.perf_counter() - begin)
    return statistics.median(times)


for rows, cols in ((10, 10), (100, 100), (500, 500), (1000, 1000), (500, 1000)):
    for limit in (0, 1000, 10):
        time_us = 1e6 * median_time(rows, cols, limit)
        print(f"Assignment/SciPy/{rows}/{cols}/{limit} {time_us:14.1f} us")
