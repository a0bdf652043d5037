#!/usr/bin/env bash
# Runs the tests of the preset dev under valgrind and fails on any invalid access, use of an
# uninitialised value, or leak. Left out are sweeps that only repeat what shorter tests do.
# Usage: scripts/valgrind.sh
set -euo pipefail
cd "$(dirname "$0")/.."

skipped=(
    '*DeathTest.*'
    'BSplineFit.ErrorsSpread*'
    'EllipseEstimator.IsFound*'
    'Munkres.TakesCubicTime*'
    'OfEveryModel/*/cylinder'
    'Poly.RootsRebuild*'
    'RoundModels.AreFound*'
    'RoundModels.Errors*'
    # compare with `long double`, of which valgrind keeps 64 bits only
    'BSplineFit.LargeSmoothing*'
    'MeanEstimator.MeanAndPopulation*'
    # count blocks of the heap, which valgrind replaces
    'TVector.EachCostsOneHeapBlock*'
    'Vector.AChainOfTemporaries*'
)

scripts/setup.sh valgrind
cmake --preset dev >/dev/null
cmake --build --preset dev --target measuremath-tests

# OpenBLAS takes kernels that valgrind knows.
export OPENBLAS_NUM_THREADS=1 OPENBLAS_CORETYPE=Haswell
valgrind --quiet --leak-check=full --error-exitcode=99 \
    build/dev/tests/measuremath-tests --gtest_brief=1 \
    --gtest_filter="-$(IFS=:; echo "${skipped[*]}")"
