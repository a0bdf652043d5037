#!/usr/bin/env bash
# Builds the demonstration, finds the road in a measured street scan and registers a second position.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target measuremath-demo

build/release/examples/measuremath-demo data/street_scan.csv \
    build/release/plane.svg build/release/registration.svg
