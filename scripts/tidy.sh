#!/usr/bin/env bash
# Runs clang-tidy over every source: library, tests, examples, benchmarks, accuracy, Python module
# and fuzz targets. Any warning fails.
# Usage: scripts/tidy.sh [regular expression of sources...], by default all of them
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh clang clang-tidy libeigen3-dev libopencv-core-dev pybind11-dev python3-dev
cmake --preset tidy >/dev/null
# Not the generated sources of the build.
run-clang-tidy -p build/tidy -quiet "${@:-$PWD/(?!build/)}"
