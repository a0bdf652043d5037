#!/usr/bin/env bash
# Builds the demonstration, measures the data of this project and shows the results on one page.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target measuremath-demo

build/release/examples/measuremath-demo --data data --page build/release/measuremath.html
