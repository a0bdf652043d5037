#!/usr/bin/env bash
# Measures the library beside its peers, one thread, and writes docs/performance.md.
# Usage: scripts/bench.sh [--peers] [regular expression of cases]
#   --peers  first installs the peers; without it, those found are used and nothing is installed
# With an expression the table of those cases goes to the terminal, and the page stays as it is.
set -euo pipefail
cd "$(dirname "$0")/.."

if [[ ${1:-} == --peers ]]; then
    shift
    scripts/setup.sh python3 python3-scipy libceres-dev libdlib-dev libeigen3-dev \
        libgsl-dev libopen3d-dev libopencv-{core,imgproc,video}-dev libpcl-dev libqhull-dev
fi
cases=${1:-.}

export OPENBLAS_NUM_THREADS=1 OMP_NUM_THREADS=1

programs=build/release/benchmarks
results=$programs/results
cmake --preset release >/dev/null
cmake --build --preset release --target benchmarks
rm -rf "$results"
mkdir "$results"

# Repetitions of all cases in random order, so that a slow moment of the machine meets every case.
for program in "$programs"/bench-*; do
    name=${program##*/bench-}
    echo "$name" >&2
    "$program" --benchmark_filter="$cases" --benchmark_repetitions=7 --benchmark_min_time=0.05 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
        --benchmark_out_format=json --benchmark_out="$results/$name.json" >/dev/null
done
python=/usr/bin/python3  # the one that Debian's SciPy belongs to
if "$python" -c "import scipy" 2>/dev/null; then
    for script in benchmarks/*_scipy.py; do
        echo "${script##*/}" >&2
        "$python" "$script" | { grep -E -- "$cases" || true; } >"$results/$(basename "$script" .py).txt"
    done
fi

if [[ $cases == . ]]; then
    "$python" benchmarks/table.py --page docs/performance.md "$results"
else
    "$python" benchmarks/table.py "$results"
fi
