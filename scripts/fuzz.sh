#!/usr/bin/env bash
# Builds the fuzz targets and runs them from their seeds, two at a time; a crash, a hang, a leak or
# a property that does not hold fails the run and leaves the input beside the log.
# Usage: scripts/fuzz.sh [seconds for each target] [target...], by default 20 and all targets.
# Up to 20 seconds repeat the same search, so that a change fails by its own faults; longer runs
# search anew.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-20}
export seed=$((seconds <= 20))
targets=("${@:2}")
if ((${#targets[@]} == 0)); then
    mapfile -t targets < <(basename -s Fuzz.cpp fuzz/*Fuzz.cpp)
fi

scripts/setup.sh clang libclang-rt-14-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/#/fuzz-}"

# The inputs found stay in build/fuzz/corpus, so that the next run goes on from them.
run() {
    local target=$1 seconds=$2 output=build/fuzz/runs/$1
    mkdir -p "build/fuzz/corpus/$target" "$output"
    build/fuzz/fuzz/fuzz-"$target" "build/fuzz/corpus/$target" "fuzz/corpus/$target" \
        -seed="$seed" -max_total_time="$seconds" -timeout=5 -rss_limit_mb=1024 -max_len=512 \
        -artifact_prefix="$output/" -print_final_stats=1 >"$output/log" 2>&1 || {
        echo "$target failed, see $output"
        grep -E 'does not hold|runtime error|ERROR|SUMMARY|Test unit' "$output/log"
        return 1
    }
    awk -v target="$target" '/DONE/ {edges = $4}
        /number_of_executed_units/ {executions = $2}
        END {printf "%-14s %10d executions, %d edges\n", target, executions, edges}' "$output/log"
}
export -f run
export OPENBLAS_NUM_THREADS=1
printf '%s\n' "${targets[@]}" | xargs -P 2 -I {} bash -c "run {} $seconds"
