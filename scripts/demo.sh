#!/usr/bin/env bash
# Builds the demonstration and fits a plane to a measured street scan.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target measuremath-demo

picture=build/release/plane.svg
build/release/examples/measuremath-demo data/street_scan.csv "$picture"
echo "Picture: $picture"
