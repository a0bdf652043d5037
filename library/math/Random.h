#pragma once

#include "math/Export.h"

/// @file
/// Seeded pseudo-random numbers: thin formulas over the standard library's `std::rand`, one draw
/// of 15 bits each, so that a seed gives the same sequence in every run on one machine.
///
/// The generator and the cache of `vaGauss` are process-wide: draw from one thread at a time.

/// Seeds the generator; seed 1 stands for the clock. The cache of `vaGauss` is left as it is.
MEASUREMATH_API void initRandGene(unsigned int seed);

/// Uniform in [0, 1], both ends included, in steps of 1/32767.
MEASUREMATH_API double randGene();

/// Uniform in [-a, a], both ends included.
MEASUREMATH_API double vaUnif(double a);

/// Normal deviate of mean 0 and standard deviation `sigma`. Deviates are made in pairs; the second
/// one is kept unscaled and serves the next call, whatever its sigma.
///
/// G. Marsaglia and T. A. Bray, A convenient method for generating normal variables, SIAM Review
/// 6 (1964).
MEASUREMATH_API double vaGauss(double sigma);

/// Integer in [a, b - 1] for a < b, which is not checked; b - 1 is about twice as likely as any
/// other value. `rand(a, a)` gives a, and once in 32768 draws a - 1.
MEASUREMATH_API int rand(int a, int b);
/// As the signed form, in modular arithmetic: ranges beyond 131072 are not covered evenly.
MEASUREMATH_API unsigned int rand(unsigned int a, unsigned int b);
