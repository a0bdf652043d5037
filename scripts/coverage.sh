#!/usr/bin/env bash
# Runs the tests with clang's coverage and fails when they reach less of library/ than promised. The
# lines and branches that they miss are listed in build/coverage/missed.txt.
# Usage: scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."

least_lines=98
least_branches=92

scripts/setup.sh clang llvm-14
cmake --preset coverage >/dev/null
cmake --build --preset coverage

build=build/coverage
programs=("$build"/tests/measuremath-{tests,fault-tests,thread-tests})
for program in "${programs[@]}"; do
    LLVM_PROFILE_FILE=$program.profraw OPENBLAS_NUM_THREADS=1 "$program" --gtest_brief=1
done
llvm-profdata-14 merge -sparse "${programs[@]/%/.profraw}" -o "$build/profile"

report() {
    llvm-cov-14 "$1" "${programs[0]}" -object "${programs[1]}" -object "${programs[2]}" \
        -instr-profile="$build/profile" -ignore-filename-regex='(^|/)(accuracy|examples|tests)/' "${@:2}"
}
report report -show-branch-summary >"$build/report.txt"
report export -format=lcov | awk -F '[:,]' '
    $1 == "SF" {file = substr($2, index($2, "library/"))}
    $1 == "DA" && $3 == 0 {print file ":" $2 ": line"}
    $1 == "BRDA" && ($5 == 0 || $5 == "-") {print file ":" $2 ": branch"}' |
    sort -u -t : -k 1,1 -k 2,2n -k 3 >"$build/missed.txt"
tail -n 1 "$build/report.txt" | awk -v least_lines="$least_lines" -v least_branches="$least_branches" '
    {print "lines " $10 ", branches " $13; exit $10 + 0 < least_lines || $13 + 0 < least_branches}'
